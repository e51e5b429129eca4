#include "vm/ZephVM_Frame.h"

#include "image/Function.h"
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

ZephVM_FunctionFrame::ZephVM_FunctionFrame(Function* function)
    : ZephVM_Frame(kFunction), m_function(function), m_slots(function->locals()->slots())
{
    bool has_flags = function->flags() & Function::kAllFlags;
    m_plain_parameters = has_flags ? -1 : function->PlainParameters();
}
