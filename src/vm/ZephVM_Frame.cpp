#include "vm/ZephVM_Frame.h"

#include "variables/VariableHash.h"
#include "vm/ZephVM_Stack.h"

ZephVM_Frame::~ZephVM_Frame()
{
    Set_LocalVariable_Hash(nullptr, false);
    Set_Stack(nullptr, false);
}

void ZephVM_Frame::Set_LocalVariable_Hash(VariableHash* locals, bool own)
{
    if (m_owns_locals)
        delete m_locals;
    m_locals = locals;
    m_owns_locals = own;
}

void ZephVM_Frame::Set_Stack(ZephVM_Stack* stack, bool own)
{
    if (m_owns_stack)
        delete m_stack;
    m_stack = stack;
    m_owns_stack = own;
}
