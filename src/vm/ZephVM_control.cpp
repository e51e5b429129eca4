// Instructions that steer the run: jumps, exit and source positions.

#include "app/LogParameter.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Stack.h"

int ZephVM::noop()
{
    return 1;
}

// A distance counts from the end of the instruction and wraps around in 32 bits;
// one that leaves the segment ends the run.
void ZephVM::Jump(bool taken)
{
    if (taken)
        m_pc += m_a;
}

int ZephVM::jmp()
{
    Jump(true);
    return 1;
}

int ZephVM::jmp_eq()
{
    Jump(m_stack->PopI() == 0);
    return 1;
}

int ZephVM::jmp_lt()
{
    Jump(m_stack->PopI() < 0);
    return 1;
}

int ZephVM::jmp_gt()
{
    Jump(m_stack->PopI() > 0);
    return 1;
}

int ZephVM::jmp_le()
{
    Jump(m_stack->PopI() <= 0);
    return 1;
}

int ZephVM::jmp_ge()
{
    Jump(m_stack->PopI() >= 0);
    return 1;
}

int ZephVM::jmp_ne()
{
    Jump(m_stack->PopI() != 0);
    return 1;
}

int ZephVM::exit()
{
    m_pc = m_code_size;
    *m_exit = 1;
    return 1;
}

// A line is traced when it is reached from another one.
int ZephVM::lineno()
{
    m_line = int(m_a);
    if (m_trace_mask & kLogTrace && m_line != m_traced_line) {
        m_traced_line = m_line;
        if (Logs(kLogTrace))
            LogEvent(kLogTrace, {});
    }
    return 1;
}

int ZephVM::sourcefile()
{
    if (m_source_index != int(m_a))
        m_traced_line = 0;
    m_source_index = int(m_a);
    m_source_name = nullptr;
    m_source_length = 0;
    return 1;
}

// The rows are compared as unsigned: a script may write the closing row as well.
int ZephVM::tagerror()
{
    if (m_a < unsigned(kTagErrorRows))
        m_error_settings[m_a].setting = int(m_b);
    return 1;
}
