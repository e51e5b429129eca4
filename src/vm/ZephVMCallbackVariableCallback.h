#ifndef ZEPH_VM_ZEPHVMCALLBACKVARIABLECALLBACK_H
#define ZEPH_VM_ZEPHVMCALLBACKVARIABLECALLBACK_H

#include "variables/CallbackVariable.h"
#include "variables/StringClass.h"

class ZephVM;

// Members of a structure that a script function supplies: it is called with the structure,
// the name of the member and a variable of whoever made the callback, and what it returns
// is the member.
//
// Holds a count of the machine and of that variable. A function that asks the structure
// for a member of its own gets none: a callback does not run within itself.
class ZephVMCallbackVariableCallback : public CallbackVariableCallback {
public:
    // A null `data` stands for a NULL value.
    ZephVMCallbackVariableCallback(ZephVM* vm, const char* function, int length, Variable* data);
    ~ZephVMCallbackVariableCallback() override;

    // Whatever the call comes to, the result is set once the function has been asked for:
    // what it failed to supply is NULL.
    bool RunFunction(Variable* variable, AggregateIndex index, Variable** result) override;

private:
    Variable* FreshResult();

    ZephVM* m_vm;  // holds one count
    String m_function;
    bool m_is_running = false;
    Variable* m_result = nullptr;  // holds one count; null before the first call
    Variable* m_data;              // holds one count
};

#endif
