#ifndef ZEPH_VARIABLES_AGGREGATEELEMENTTREE_H
#define ZEPH_VARIABLES_AGGREGATEELEMENTTREE_H

#include "variables/AggregateElement.h"
#include "variables/ElementRun.h"
#include "variables/SplayTree.h"

// The elements of one aggregate, all of them under numbers or all under names.
//
// Numbers without large gaps, the usual array, are kept in an ElementRun, where an
// element is found by its number at once, and where it may be a plain number until somebody
// asks for the element itself; all else is in the nodes of the tree. Which of
// the two holds the elements shows in nothing but the time that an operation takes, as long
// as no numbers are lowered on top of others: which of those are then hidden from look-ups
// is not defined. What the run cannot do moves all elements into the tree, and Collapse
// brings them back.
class AggregateElementTree final
    : public SplayTree<AggregateElement, const AggregateIndex&, AggregateElementTree> {
public:
    using SplayTree::SplayTree;
    AggregateElementTree(const AggregateElementTree& other);
    ~AggregateElementTree() override { AggregateElementTree::Dump(); }

    void Insert(AggregateElement* element) override;
    AggregateElement* Remove(const AggregateIndex& index) override;
    AggregateElement* Find(const AggregateIndex& index) override
    {
        return IsRun() ? InRun(index) : SplayTree::Find(index);
    }
    AggregateElement* Next(const AggregateIndex& index) override;
    AggregateElement* Previous(const AggregateIndex& index) override;
    AggregateElement* First() override;
    AggregateElement* Last() override;
    void Dump() override;
    const AggregateIndex& Key(AggregateElement* element) override { return element->index(); }
    int Compare(const AggregateIndex& key, AggregateElement* element) override
    {
        return -key.Compare(element->index());
    }

    // The order of these is binary interface, behind the operations of SplayTree.

    // Adds `delta` to all numbers from `start` on. Nothing moves in the tree: a caller
    // that lowers numbers has made sure that none is overtaken.
    virtual void Displace(int start, int delta);
    // The same for all below a node. The first one is for small trees, the second one
    // keeps a stack of its own.
    virtual void DisplaceRecurse(int delta, SplayTreeNode<AggregateElement>* node);
    virtual void DisplaceStack(int delta, SplayTreeNode<AggregateElement>* node);

    // These stand in the place of those of SplayTree, and do the same.
    int Entries() const { return m_run.Entries() + SplayTree::Entries(); }
    void AppendToList(List<AggregateElement>& list) const;
    void Append(AggregateElement* element);
    template <class Visit>
    void ForEach(Visit visit) const
    {
        m_run.ForEach(visit);
        SplayTree::ForEach(visit);
    }

    // Numbers the elements from 1 on, in order, and returns their count.
    int Collapse();

    // What First, Last, Next and Previous find, by its number and without making an element
    // of a plain number: -1 for a name, kNoNumber where they find nothing.
    static constexpr int kNoNumber = ElementRun::kNoNumber;
    int FirstNumber() { return IsRun() ? m_run.FirstNumber() : NumberOf(SplayTree::First()); }
    int LastNumber() { return IsRun() ? m_run.LastNumber() : NumberOf(SplayTree::Last()); }
    int NextNumber(int number);
    int PreviousNumber(int number);

    // The element of a number, as by Find.
    AggregateElement* At(int number)
    {
        return IsRun() ? m_run.At(number) : SplayTree::Find(AggregateIndex(number));
    }
    // The slot of a number in the run, null if there is none. It may be set anew if it has a
    // plain number.
    ElementSlot* SlotOf(int number) const { return m_run.SlotOf(number); }
    // Puts a plain number into the place of an element that is not there, for an owner. False
    // if the run has no place for it.
    bool PutNumber(int index, ElementSlot number)
    {
        if (SplayTree::Entries() > 0 || !m_run.Put(index, number))
            return false;
        m_stamp = NewStamp();
        return true;
    }
    // Takes a plain number out; false if there is none.
    bool DropNumber(int index);
    // Makes an empty owner a copy of another one that has nothing but plain numbers; false
    // if it has more.
    bool CopyNumbers(const AggregateElementTree& other);
    // The run, null if it has no elements.
    const ElementRun* run() const { return IsRun() ? &m_run : nullptr; }

    // A number that no other tree has, and that changes with every element that comes or
    // goes: whoever keeps an element can tell by it whether it is still there.
    unsigned long long stamp() const { return m_stamp; }
    void Restamp() { m_stamp = NewStamp(); }

private:
    bool IsRun() const { return m_run.Entries() > 0; }
    AggregateElement* InRun(const AggregateIndex& index) const
    {
        return index.number() < 0 ? nullptr : m_run.At(index.number());
    }
    static int NumberOf(AggregateElement* element)
    {
        return element ? element->index().number() : kNoNumber;
    }
    bool PutIntoRun(AggregateElement* element);
    void MoveToTree();

    // Aggregates of all kinds are changed by one thread at a time.
    static unsigned long long NewStamp()
    {
        static unsigned long long s_last;
        return ++s_last;
    }

    ElementRun m_run;  // empty while the nodes hold the elements
    unsigned long long m_stamp = NewStamp();
};

#endif
