#include "variables/AggregateElement.h"

#include "variables/Stack.h"
#include "variables/Variable.h"

namespace {

// A tree with no more entries than this is no deeper either.
const int kRecursionLimit = 99;

}  // namespace

AggregateElement::AggregateElement(const AggregateIndex& index)
    : m_index(index), m_variable(new Variable)
{
}

AggregateElement::AggregateElement(const AggregateIndex& index, Variable* variable)
    : m_index(index), m_variable(variable)
{
    m_variable->IncRefCount();
}

AggregateElement::AggregateElement(const AggregateElement& other)
    : m_index(other.m_index), m_variable(new Variable(*other.m_variable))
{
}

AggregateElement::~AggregateElement()
{
    m_variable->DecRefCount();
}

// The new count comes first: the old variable may be what keeps the new one alive.
void AggregateElement::SetVariable(Variable* variable)
{
    Variable* former = m_variable;
    variable->IncRefCount();
    m_variable = variable;
    former->DecRefCount();
}

void AggregateElementTree::Displace(int start, int delta)
{
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
