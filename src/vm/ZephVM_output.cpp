// Instructions that write.

#include "app/Output.h"
#include "app/ZephApplication.h"
#include "variables/LinkBuffer.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

// A link buffer is written block by block, without being made flat.
int ZephVM::out()
{
    Stack_Entry* top = m_stack->Peek();
    if (top && top->kind == Stack_Entry::kLinkBuffer) {
        top->buffer->output(m_application->output());
        m_stack->Pop();
        return 1;
    }
    PoppedText text(m_stack);
    if (m_halted)
        return 0;
    m_application->output()->Write(text.data(), text.length());
    return 1;
}

int ZephVM::out_comp()
{
    PoppedText text(m_stack);
    if (m_halted)
        return 0;
    m_application->output()->Write_Compressed(text.data(), text.length());
    return 1;
}

int ZephVM::stdoutput()
{
    m_frame->standard_output = int(m_a);
    m_application->output()->SetFlags(int(m_a));
    return 1;
}

int ZephVM::erroutput()
{
    m_frame->error_output = int(m_a);
    return 1;
}

int ZephVM::op_errmsg()
{
    PoppedText text(m_stack);
    if (m_halted)
        return 0;
    m_error_prefix.assign(text.data(), text.length());
    return 1;
}
