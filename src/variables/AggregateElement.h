#ifndef ZEPH_VARIABLES_AGGREGATEELEMENT_H
#define ZEPH_VARIABLES_AGGREGATEELEMENT_H

#include "variables/AggregateIndex.h"
#include "variables/SplayTree.h"

class Variable;

// A variable at its place in an aggregate. Holds one count of the variable.
class AggregateElement {
public:
    // With a new plain variable.
    explicit AggregateElement(const AggregateIndex& index);
    // Takes a count of its own.
    AggregateElement(const AggregateIndex& index, Variable* variable);
    // With a copy of the variable and of all below it.
    AggregateElement(const AggregateElement& other);
    AggregateElement& operator=(const AggregateElement&) = delete;

    // The order of these is binary interface.

    virtual ~AggregateElement();
    virtual AggregateIndex& index() { return m_index; }
    virtual Variable* var() { return m_variable; }
    virtual void SetVariable(Variable* variable);

private:
    AggregateIndex m_index;
    Variable* m_variable;  // holds one count
};

// The elements of one aggregate, all of them under numbers or all under names.
class AggregateElementTree : public SplayTree<AggregateElement, const AggregateIndex&> {
public:
    using SplayTree::SplayTree;

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
};

#endif
