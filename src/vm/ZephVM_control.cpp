// Instructions that steer the run: jumps, exit, source positions, and the fused
// forms that a compiler emits for loops on globals.

#include <signal.h>

#include "variables/VariableHash.h"
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

int ZephVM::lineno()
{
    m_line = int(m_a);
    return 1;
}

int ZephVM::sourcefile()
{
    m_source_index = int(m_a);
    return 1;
}

// The rows are compared as unsigned: a script may write the closing row as well.
int ZephVM::tagerror()
{
    if (m_a < unsigned(kTagErrorRows))
        m_error_settings[m_a].setting = int(m_b);
    return 1;
}

// The global in a slot, made where it is missing; null after the fatal error of a
// slot that does not exist.
Variable* ZephVM::Global(unsigned int slot)
{
    Variable* variable = m_global_variables->Index(int(slot), 1);
    if (!variable)
        FatalError("Invalid variable reference");
    return variable;
}

int ZephVM::incg()
{
    Variable* variable = Global(m_a);
    if (!variable)
        return 0;
    return variable->SetValue_Integer(int(unsigned(variable->value_integer()) + m_b));
}

// There is no test of the divisor, on purpose: division by zero is the machine's
// arithmetic trap and ends the process. The trap is raised here by name, since the
// language gives the compiler leave to drop a division that cannot succeed.
int ZephVM::modgg()
{
    Variable* left = Global(m_a);
    Variable* right = Global(m_b);
    if (!left || !right)
        return 0;
    int dividend = left->value_integer();
    int divisor = right->value_integer();
    if (divisor == 0 || (divisor == -1 && unsigned(dividend) == 0x80000000u)) {
        signal(SIGFPE, SIG_DFL);
        raise(SIGFPE);
        return 0;
    }
    m_stack->PushI(dividend % divisor);
    return 1;
}

int ZephVM::storegi()
{
    Variable* variable = Global(m_a);
    return variable ? variable->SetValue_Integer(int(m_b)) : 0;
}
