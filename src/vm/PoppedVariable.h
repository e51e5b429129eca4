#ifndef ZEPH_VM_POPPEDVARIABLE_H
#define ZEPH_VM_POPPEDVARIABLE_H

#include "variables/Variable.h"
#include "vm/ZephVM_Stack.h"

// A variable popped from a stack, whose count is given back at the end of the block if it
// was owned. Null after the fatal error of a stack that is empty or has a constant on top.
class PoppedVariable {
public:
    explicit PoppedVariable(ZephVM_Stack* stack) { stack->PopV(&m_variable, &m_owned); }
    ~PoppedVariable()
    {
        if (m_owned)
            m_variable->DecRefCount();
    }
    PoppedVariable(const PoppedVariable&) = delete;
    PoppedVariable& operator=(const PoppedVariable&) = delete;

    Variable* get() const { return m_variable; }
    Variable* operator->() const { return m_variable; }

private:
    Variable* m_variable = nullptr;
    int m_owned = 0;
};

#endif
