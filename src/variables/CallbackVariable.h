#ifndef ZEPH_VARIABLES_CALLBACKVARIABLE_H
#define ZEPH_VARIABLES_CALLBACKVARIABLE_H

#include "variables/Variable.h"

// What a callback variable asks for its values. Belongs to its variable; while it runs
// it stays alive even if the variable ends or gets another one.
class CallbackVariableCallback {
public:
    CallbackVariableCallback() {}
    CallbackVariableCallback(const CallbackVariableCallback&) = delete;
    CallbackVariableCallback& operator=(const CallbackVariableCallback&) = delete;
    virtual ~CallbackVariableCallback() {}

    // Sets `*result` to the value of element `index` of `variable`, or to null if there
    // is none. The callback keeps the result, the caller only borrows it. False for a
    // failed call.
    virtual bool RunFunction(Variable* variable, AggregateIndex index, Variable** result) = 0;

    // The end of a callback, at once or when it no longer runs. Null is fine.
    static void Delete(CallbackVariableCallback* callback);

private:
    friend class CallbackStructVariable;

    int m_uses = 1;  // the variable's and those of calls under way
};

// A variable that holds a callback.
class CallbackVariable : public Variable {
public:
    CallbackVariable(const char* name, int name_length, CallbackVariableCallback* callback);
    CallbackVariable(const CallbackVariable&) = delete;
    ~CallbackVariable() override;

protected:
    CallbackVariable(Variable&& source, int refcount, CallbackVariableCallback* callback);
};

// A structure whose members come from a callback. A read asks it for each member that
// has not been stored; a use that may change the member stores what it answers.
class CallbackStructVariable : public CallbackVariable {
public:
    using CallbackVariable::CallbackVariable;
    // For Make_CallbackStruct: takes over the value of `source`.
    CallbackStructVariable(Variable&& source, int refcount, CallbackVariableCallback* callback);

    // The caller holds a count of this variable; null if the callback gives back the last
    // one of them.
    Variable* Element(const AggregateIndex& asked_index, int create) override;
    // Takes another callback and ends the present one.
    void Make_CallbackStruct(CallbackVariableCallback* callback) override;

    using Variable::Element;

private:
    Variable* NewMember(const AggregateIndex& index);
    Variable* Ask(const AggregateIndex& index);
};

#endif
