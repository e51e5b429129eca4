#include "variables/AggregateElement.h"

#include "variables/Variable.h"

AggregateElement::AggregateElement(const AggregateIndex& index)
    : m_index(index), m_variable(Variable::New(nullptr, 0))
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
