// Instructions that move values between the stack, variables and the dictionary.

#include "image/Dictionary.h"
#include "variables/ImmutableVariable.h"
#include "variables/VariableHash.h"
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

int ZephVM::pop()
{
    m_stack->Pop();
    return 1;
}

int ZephVM::store()
{
    Variable* target;
    int owned;
    if (!m_stack->PopV(&target, &owned))
        return 0;
    int result = m_stack->PopV(target);
    if (owned)
        target->DecRefCount();
    return result;
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
