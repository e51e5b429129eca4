// Instructions that move values between the stack, variables and the dictionary.

#include "image/Dictionary.h"
#include "variables/ImmutableVariable.h"
#include "variables/VariableHash.h"
#include "vm/PoppedVariable.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

const int kCreate = 1;
const int kNoCreate = 0;
const int kAddRef = 1;
const int kOwned = 1;
const int kBorrowed = 0;

}  // namespace

// The entry on the stack points into the dictionary: nothing is copied.
int ZephVM::pushc()
{
    int length;
    const char* text = m_dictionary->Entry(int(m_a), &length);
    if (!text)
        return FatalError("Invalid dictionary reference");
    m_stack->PushS(text, length, length, kBorrowed);
    return 1;
}

int ZephVM::pushi()
{
    m_stack->PushI(int(m_a));
    return 1;
}

int ZephVM::PushVariable(Variable* variable)
{
    m_stack->PushV(variable, kAddRef, kOwned);
    return 1;
}

int ZephVM::pushs()
{
    Variable* variable = m_system_variables->Index(int(m_a), kNoCreate);
    return PushVariable(variable ? variable : m_null);
}

int ZephVM::pushg()
{
    return PushVariable(m_global_variables->Index(int(m_a), kCreate));
}

int ZephVM::pushl()
{
    return PushVariable(m_frame->locals()->Index(int(m_a), kCreate));
}

int ZephVM::pushn()
{
    PoppedText name(m_stack);
    if (m_halted)
        return 0;
    return PushNamed(Lookup_Variable(name.data(), name.length()));
}

int ZephVM::pushnc()
{
    return PushNamed(NamedByEntry(m_a));
}

int ZephVM::PushNamed(Variable* variable)
{
    return m_halted ? 0 : PushVariable(variable ? variable : m_null);
}

int ZephVM::pops()
{
    Variable* variable = m_system_variables->Index(int(m_a), kNoCreate);
    if (variable)
        return m_stack->PopV(variable);
    return pop();
}

int ZephVM::popg()
{
    return m_stack->PopV(m_global_variables->Index(int(m_a), kCreate));
}

int ZephVM::popl()
{
    return m_stack->PopV(m_frame->locals()->Index(int(m_a), kCreate));
}

int ZephVM::popn()
{
    PoppedText name(m_stack);
    if (m_halted)
        return 0;
    return PopNamed(Lookup_Variable(name.data(), name.length()));
}

int ZephVM::popnc()
{
    return PopNamed(NamedByEntry(m_a));
}

// Where there is no variable the value stays on the stack, on purpose: unlike pops, which
// drops it.
int ZephVM::PopNamed(Variable* variable)
{
    return variable ? m_stack->PopV(variable) : 0;
}

int ZephVM::pop()
{
    m_stack->Pop();
    return 1;
}

int ZephVM::store()
{
    PoppedVariable target(m_stack);
    if (m_halted)
        return 0;
    return m_stack->PopV(target.get());
}

int ZephVM::dup()
{
    m_stack->Dupe();
    return 1;
}

int ZephVM::swap()
{
    m_stack->Swap(0, 1);
    return 1;
}

int ZephVM::swapn()
{
    m_stack->Swap(int(m_a), int(m_b));
    return 1;
}

int ZephVM::spush()
{
    m_system_variables->Push();
    return 1;
}

int ZephVM::spop()
{
    if (m_system_variables->Pop())
        return 1;
    return FatalError("System variable stack underflow");
}

int ZephVM::poprn()
{
    PoppedText name(m_stack);
    PoppedVariable target(m_stack);
    if (m_halted)
        return 0;
    return Refer(Lookup_Variable(name.data(), name.length()), target.get());
}

int ZephVM::poprnc()
{
    PoppedVariable target(m_stack);
    if (m_halted)
        return 0;
    return Refer(NamedByEntry(m_a), target.get());
}

int ZephVM::refer()
{
    PoppedVariable source(m_stack);
    PoppedVariable destination(m_stack);
    if (m_halted)
        return 0;
    return Refer(destination.get(), source.get());
}

// A name may lead to no variable; then nothing refers to the target.
int ZephVM::Refer(Variable* variable, Variable* target)
{
    if (!variable)
        return 0;
    variable->Make_Reference(target);
    return 1;
}

int ZephVM::poprg()
{
    return PopReference(m_global_variables);
}

int ZephVM::poprl()
{
    return PopReference(m_frame->locals());
}

// A slot that is not there takes no reference, and nobody is told.
int ZephVM::PopReference(VariableHash* variables)
{
    PoppedVariable target(m_stack);
    if (m_halted)
        return 0;
    return variables->SetVariable_Reference(int(m_a), target.get());
}
