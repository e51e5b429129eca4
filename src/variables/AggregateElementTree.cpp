#include "variables/AggregateElementTree.h"

#include "variables/Stack.h"

AggregateElementTree::AggregateElementTree(const AggregateElementTree& other)
    : SplayTree(other.is_owner())
{
    if (is_owner() && CopyNumbers(other))
        return;
    other.ForEach([this](AggregateElement* element) {
        Append(is_owner() ? new AggregateElement(*element) : element);
    });
}

bool AggregateElementTree::PutIntoRun(AggregateElement* element)
{
    int number = element->index().number();
    return number >= 0 && SplayTree::Entries() == 0 && m_run.Put(number, element);
}

void AggregateElementTree::Insert(AggregateElement* element)
{
    m_stamp = NewStamp();
    if (PutIntoRun(element))
        return;
    MoveToTree();
    SplayTree::Insert(element);
}

void AggregateElementTree::Append(AggregateElement* element)
{
    m_stamp = NewStamp();
    if (PutIntoRun(element))
        return;
    MoveToTree();
    // Numbers that were lowered on top of others may come in any order.
    AggregateElement* last = SplayTree::Last();
    if (last && Compare(element->index(), last) < 0)
        SplayTree::Insert(element);
    else
        SplayTree::Append(element);
}

void AggregateElementTree::MoveToTree()
{
    m_run.ForEach([this](AggregateElement* element) { SplayTree::Append(element); });
    m_run.Clear();
}

AggregateElement* AggregateElementTree::Remove(const AggregateIndex& index)
{
    m_stamp = NewStamp();
    if (!IsRun())
        return SplayTree::Remove(index);
    AggregateElement* element = index.number() < 0 ? nullptr : m_run.Take(index.number());
    if (!m_run.IsDense())
        MoveToTree();
    return element;
}

bool AggregateElementTree::DropNumber(int index)
{
    if (!m_run.Drop(index))
        return false;
    m_stamp = NewStamp();
    if (!m_run.IsDense())
        MoveToTree();
    return true;
}

bool AggregateElementTree::CopyNumbers(const AggregateElementTree& other)
{
    if (other.SplayTree::Entries() > 0 || !m_run.CopyNumbers(other.m_run))
        return false;
    m_stamp = NewStamp();
    return true;
}

AggregateElement* AggregateElementTree::Next(const AggregateIndex& index)
{
    if (IsRun())
        return m_run.AtOrBehind(index.number() + 1LL);
    return SplayTree::Next(index);
}

AggregateElement* AggregateElementTree::Previous(const AggregateIndex& index)
{
    if (IsRun())
        return m_run.AtOrInFrontOf(index.number() - 1LL);
    return SplayTree::Previous(index);
}

int AggregateElementTree::NextNumber(int number)
{
    if (IsRun())
        return m_run.NumberAtOrBehind(number + 1LL);
    return NumberOf(SplayTree::Next(AggregateIndex(number)));
}

int AggregateElementTree::PreviousNumber(int number)
{
    if (IsRun())
        return m_run.NumberAtOrInFrontOf(number - 1LL);
    return NumberOf(SplayTree::Previous(AggregateIndex(number)));
}

AggregateElement* AggregateElementTree::First()
{
    return IsRun() ? m_run.First() : SplayTree::First();
}

AggregateElement* AggregateElementTree::Last()
{
    return IsRun() ? m_run.Last() : SplayTree::Last();
}

// The run is empty before the first element ends: what ends with it may look here.
void AggregateElementTree::Dump()
{
    m_stamp = NewStamp();
    ElementRun ending;
    ending.Swap(m_run);
    if (is_owner())
        ending.ForEachMade([this](AggregateElement* element) { Purge(element); });
    SplayTree::Dump();
}

void AggregateElementTree::AppendToList(List<AggregateElement>& list) const
{
    ForEach([&](AggregateElement* element) { list.Insert(element, kListTail); });
}

int AggregateElementTree::Collapse()
{
    if (!IsRun() && Entries() <= ElementRun::kMaxEntries) {
        int number = 0;
        Release([&](AggregateElement* element) {
            element->index().Renumber(++number);
            m_run.Put(number, element);
        });
    } else if (IsRun()) {
        m_run.Collapse();
    } else {
        int number = 0;
        SplayTree::ForEach([&](AggregateElement* element) { element->index().Renumber(++number); });
    }
    return Entries();
}

void AggregateElementTree::Displace(int start, int delta)
{
    if (IsRun() && m_run.Displace(start, delta))
        return;
    MoveToTree();
    if (delta == 0 || !m_root)
        return;
    AggregateIndex key(start);
    Splay(key);
    if (Compare(key, m_root->element) <= 0)
        m_root->element->index().Displace(delta);
    if (Entries() > kRecursionLimit)
        DisplaceStack(delta, m_root->right);
    else
        DisplaceRecurse(delta, m_root->right);
}

void AggregateElementTree::DisplaceRecurse(int delta, SplayTreeNode<AggregateElement>* node)
{
    if (!node)
        return;
    node->element->index().Displace(delta);
    DisplaceRecurse(delta, node->left);
    DisplaceRecurse(delta, node->right);
}

// Only a node with two children needs the stack, so a long path needs none.
void AggregateElementTree::DisplaceStack(int delta, SplayTreeNode<AggregateElement>* node)
{
    Stack<SplayTreeNode<AggregateElement>> pending(0);
    while (node) {
        node->element->index().Displace(delta);
        if (node->left && node->right)
            pending.Push(node->left);
        if (node->right)
            node = node->right;
        else
            node = node->left ? node->left : pending.Pop();
    }
}
