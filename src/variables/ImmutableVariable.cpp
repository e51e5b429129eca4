#include "variables/ImmutableVariable.h"

#include "variables/AggregateElementTree.h"
#include "variables/AggregateWalk.h"
#include "variables/CallbackVariable.h"

ImmutableVariable::ImmutableVariable(bool lock) : m_locked(lock)
{
    m_immutable = true;
}

ImmutableVariable::ImmutableVariable(const char* name, int name_length, bool lock)
    : Variable(name, name_length), m_locked(lock)
{
    m_immutable = true;
}

ImmutableVariable::ImmutableVariable(const char* name, int name_length, const char* text,
                                     int length, bool lock)
    : Variable(name, name_length, text, length), m_locked(lock)
{
    m_immutable = true;
}

ImmutableVariable::ImmutableVariable(const String& name, const String& text, bool lock)
    : Variable(name, text), m_locked(lock)
{
    m_immutable = true;
}

ImmutableVariable::ImmutableVariable(const char* name, int name_length, double value, bool lock)
    : Variable(name, name_length, value), m_locked(lock)
{
    m_immutable = true;
}

ImmutableVariable::ImmutableVariable(const char* name, int name_length, int value, bool lock)
    : Variable(name, name_length, value), m_locked(lock)
{
    m_immutable = true;
}

ImmutableVariable::ImmutableVariable(const char* name, int name_length, char* buffer, int length,
                                     int capacity, bool lock)
    : Variable(name, name_length, buffer, length, capacity), m_locked(lock)
{
    m_immutable = true;
}

ImmutableVariable::ImmutableVariable(const Variable& source, bool lock) : m_locked(false)
{
    m_immutable = true;
    int length;
    const char* name = source.NameBytes(&length);
    m_name.Assign(name, length);
    Variable::SetValue(const_cast<Variable&>(source));
    if (lock)
        SetLocked(true);
}

ImmutableVariable::~ImmutableVariable()
{
    if (m_missing)
        m_missing->DecRefCount();
}

Variable* ImmutableVariable::Clone(ZephApplication*)
{
    return new ImmutableVariable(*this, m_locked);
}

int ImmutableVariable::SetNULL()
{
    return m_locked ? 1 : Variable::SetNULL();
}

int ImmutableVariable::SetValue(const char* text, int length)
{
    return m_locked ? 1 : Variable::SetValue(text, length);
}

int ImmutableVariable::SetValue(Variable& source)
{
    return m_locked ? 1 : Variable::SetValue(source);
}

int ImmutableVariable::SetValue_Nocopy(char* text, int length, int capacity)
{
    if (!m_locked)
        return Variable::SetValue_Nocopy(text, length, capacity);
    delete[] text;
    return 1;
}

int ImmutableVariable::SetValue_Integer(int value)
{
    return m_locked ? 1 : Variable::SetValue_Integer(value);
}

int ImmutableVariable::SetValue_Double(double value)
{
    return m_locked ? 1 : Variable::SetValue_Double(value);
}

Variable* ImmutableVariable::Element(const AggregateIndex& index, int create)
{
    Variable* found = Variable::Element(index, create && !m_locked);
    if (found || !create)
        return found;
    if (!m_missing)
        m_missing = new NULLVariable;
    return m_missing;
}

int ImmutableVariable::SetElement(const AggregateIndex& index, Variable* variable)
{
    if (m_locked)
        return 1;
    if (variable->is_immutable())
        return Variable::SetElement(index, variable);
    Variable* wrapped = new ImmutableVariable(variable);
    Variable::SetElement(index, wrapped);
    wrapped->DecRefCount();
    return 1;
}

int ImmutableVariable::CollapseElements()
{
    return m_locked ? ElementsUsed() : Variable::CollapseElements();
}

void ImmutableVariable::Convert_Aggregate(AggregateType aggregate)
{
    if (!m_locked)
        Variable::Convert_Aggregate(aggregate);
}

void ImmutableVariable::Make_CallbackStruct(CallbackVariableCallback* callback)
{
    CallbackVariableCallback::Delete(callback);
}

void ImmutableVariable::SetLocked(bool locked)
{
    m_locked = locked;
    if (!m_elements || AggregateWalk::IsWalked(this))
        return;
    AggregateWalk walk;
    walk.Enter(this, m_elements, nullptr);
    for (ElementSlot slot; !(slot = walk.Next()).IsEmpty();) {
        // A number that stands in its slot has no variable to be locked.
        if (slot.IsNumber())
            continue;
        AggregateElement* element = slot.element();
        // One that is always NULL stays locked wherever it has been put.
        if (!element->var()->is_immutable() || element->var()->type() == kAlwaysNull)
            continue;
        ImmutableVariable* below = static_cast<ImmutableVariable*>(element->var());
        below->m_locked = locked;
        if (below->m_elements && !AggregateWalk::IsWalked(below))
            walk.Enter(below, below->m_elements, nullptr);
    }
}

double NULLVariable::value_compare(int* error)
{
    *error = 0;
    return 0.0;
}

Variable* NULLVariable::Element(const AggregateIndex&, int create)
{
    return create ? this : nullptr;
}
