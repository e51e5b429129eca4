#include "variables/ReferenceVariable.h"

#include <utility>

// Make_Reference builds one where a variable stood.
static_assert(sizeof(ReferenceVariable) == sizeof(Variable));

ReferenceVariable::ReferenceVariable(const char* name, int name_length, Variable* target)
    : Variable(name, name_length)
{
    target->IncRefCount();
    m_link.target = target;
}

ReferenceVariable::ReferenceVariable(const char* name, int name_length, Variable* base,
                                     List<AggregateIndex>* path)
    : ReferenceVariable(name, name_length, base->Element(path, 1))
{
}

ReferenceVariable::ReferenceVariable(VariableName&& name, Variable* target, int refcount)
    : Variable(std::move(name), refcount)
{
    m_link.target = target;
}

// One that ends by its last count has none left; this is for one that is not stored.
ReferenceVariable::~ReferenceVariable()
{
    for (; m_refcount > 0; --m_refcount)
        m_link.target->DecRefCount();
}

Variable* ReferenceVariable::Clone(ZephApplication*)
{
    return new Variable(*this);
}

Variable* ReferenceVariable::RealIdentity()
{
    Variable* variable = m_link.target;
    for (Variable* next; (next = variable->NextIdentity()) != variable;)
        variable = next;
    return variable;
}

AggregateElementTree* ReferenceVariable::aggregateelements()
{
    return RealIdentity()->aggregateelements();
}

int ReferenceVariable::SetValue(const char* text, int length)
{
    return RealIdentity()->SetValue(text, length);
}

int ReferenceVariable::SetValue_Nocopy(char* text, int length, int capacity)
{
    return RealIdentity()->SetValue_Nocopy(text, length, capacity);
}

Variable* ReferenceVariable::Element(const AggregateIndex& index, int create)
{
    return RealIdentity()->Element(index, create);
}

Variable* ReferenceVariable::Element(List<AggregateIndex>* path, int create)
{
    return RealIdentity()->Element(path, create);
}

int ReferenceVariable::SetElement(const AggregateIndex& index, Variable* variable)
{
    return RealIdentity()->SetElement(index, variable);
}

void ReferenceVariable::InsertElement(int position, Variable* variable)
{
    RealIdentity()->InsertElement(position, variable);
}

void ReferenceVariable::DeleteElement(const AggregateIndex& index, bool collapse)
{
    RealIdentity()->DeleteElement(index, collapse);
}

void ReferenceVariable::DeleteElements(int start, int count, bool collapse)
{
    RealIdentity()->DeleteElements(start, count, collapse);
}

void ReferenceVariable::MergeElements(Variable* source, int start, int count, int destination,
                                      bool copy)
{
    RealIdentity()->MergeElements(source, start, count, destination, copy);
}

void ReferenceVariable::CopyElements(Variable* source, int start, int count, int destination,
                                     bool copy)
{
    RealIdentity()->CopyElements(source, start, count, destination, copy);
}

void ReferenceVariable::Convert_Aggregate(AggregateType aggregate)
{
    RealIdentity()->Convert_Aggregate(aggregate);
}

void ReferenceVariable::Make_Reference(Variable* target)
{
    if (target == this || target == m_link.target || target->RealIdentity() == RealIdentity())
        return;
    int counts = m_refcount;
    for (int i = 0; i < counts; ++i)
        target->IncRefCount();
    Variable* former = std::exchange(m_link.target, target);
    for (int i = 0; i < counts; ++i)
        former->DecRefCount();
}

void ReferenceVariable::Make_CallbackStruct(CallbackVariableCallback* callback)
{
    RealIdentity()->Make_CallbackStruct(callback);
}
