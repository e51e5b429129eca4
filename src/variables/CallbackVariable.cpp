#include "variables/CallbackVariable.h"

#include <utility>

// Make_CallbackStruct builds one where a variable stood, and Make_Reference a reference
// where one stood.
static_assert(sizeof(CallbackVariable) == sizeof(Variable));
static_assert(sizeof(CallbackStructVariable) == sizeof(Variable));

void CallbackVariableCallback::Delete(CallbackVariableCallback* callback)
{
    if (callback && --callback->m_uses == 0)
        delete callback;
}

CallbackVariable::CallbackVariable(const char* name, int name_length,
                                   CallbackVariableCallback* callback)
    : Variable(name, name_length)
{
    m_link.callback = callback;
}

CallbackVariable::CallbackVariable(Variable&& source, int refcount,
                                   CallbackVariableCallback* callback)
    : Variable(std::move(source), refcount)
{
    m_link.callback = callback;
}

CallbackVariable::~CallbackVariable()
{
    CallbackVariableCallback::Delete(m_link.callback);
}

CallbackStructVariable::CallbackStructVariable(Variable&& source, int refcount,
                                               CallbackVariableCallback* callback)
    : CallbackVariable(std::move(source), refcount, callback)
{
}

// The callback may do anything to this variable, even make it another one: what a
// member is, is looked up again after the call.
Variable* CallbackStructVariable::Element(const AggregateIndex& index, int create)
{
    if (index.type() != kAggregateStructure)
        return Variable::Element(index, create);
    if (m_aggregate == kAggregateStructure) {
        if (Variable* found = Variable::Element(index, 0))
            return found;
    }
    if (!create)
        return Ask(index);
    HeldVariable held(this);
    Variable::Element(index, 1);
    Variable* result = Ask(index);
    Variable* now = RealIdentity();
    if (result)
        now->SetElement(index, result);
    return now == this ? Variable::Element(index, 1) : now->Element(index, 1);
}

Variable* CallbackStructVariable::Ask(const AggregateIndex& index)
{
    CallbackVariableCallback* callback = m_link.callback;
    if (!callback)
        return nullptr;
    HeldVariable held(this);
    ++callback->m_uses;
    Variable* result = nullptr;
    callback->RunFunction(this, index, &result);
    // One that was replaced meanwhile ends now, and its result with it.
    if (callback->m_uses == 1)
        result = nullptr;
    CallbackVariableCallback::Delete(callback);
    return result;
}

void CallbackStructVariable::Make_CallbackStruct(CallbackVariableCallback* callback)
{
    CallbackVariableCallback::Delete(std::exchange(m_link.callback, callback));
}
