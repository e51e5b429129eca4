#include "variables/CallbackVariable.h"

#include <utility>

#include "variables/AggregateElementTree.h"

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

// The callback may do anything to this variable, even make it another one or give back its
// last count: what a member is, is looked up again after the call.
Variable* CallbackStructVariable::Element(const AggregateIndex& asked_index, int create)
{
    if (asked_index.type() != kAggregateStructure)
        return Variable::Element(asked_index, create);
    if (m_aggregate == kAggregateStructure) {
        if (Variable* found = Variable::Element(asked_index, 0))
            return found;
    }
    AggregateIndex index(asked_index);
    HeldVariable held(this);
    Variable* answer = create ? NewMember(index) : Ask(index);
    // With nobody else left to hold this variable, the answer ends with it.
    return m_refcount > 1 ? answer : nullptr;
}

Variable* CallbackStructVariable::NewMember(const AggregateIndex& index)
{
    const int kOwner = 1;
    if (m_aggregate != kAggregateStructure) {
        m_valid = 0;
        ReplaceElements(new AggregateElementTree(kOwner), kAggregateStructure);
    }
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
