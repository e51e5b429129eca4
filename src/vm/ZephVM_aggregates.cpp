// Elements of arrays and members of structures.

#include "variables/AggregateIndex.h"
#include "variables/ImmutableVariable.h"
#include "variables/VariableHash.h"
#include "vm/PoppedVariable.h"
#include "vm/TagErrorSettings.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Stack.h"

namespace {

const int kCreate = 1;
const int kReadOnly = 0;

}  // namespace

int ZephVM::elem()
{
    return PushElement(kCreate);
}

int ZephVM::elem_readonly()
{
    return PushElement(kReadOnly);
}

int ZephVM::memb()
{
    return PushMember(kCreate);
}

int ZephVM::memb_readonly()
{
    return PushMember(kReadOnly);
}

// A bad index is told before the aggregate is taken: where the settings let the script go
// on, the aggregate stays on the stack.
int ZephVM::PushElement(int create)
{
    int number = m_stack->PopI();
    if (m_halted)
        return 0;
    if (number < 1)
        return RuntimeError(kExpressionTag, VariableHash::kArrayIndexFault);
    PoppedVariable aggregate(m_stack);
    if (m_halted)
        return 0;
    return PushFound(aggregate->Element(AggregateIndex(number), create), create);
}

int ZephVM::PushMember(int create)
{
    PoppedText name(m_stack);
    PoppedVariable aggregate(m_stack);
    if (m_halted)
        return 0;
    return PushFound(aggregate->Element(AggregateIndex(name.data(), name.length()), create),
                     create);
}

// A read finds the NULL variable where nothing is.
int ZephVM::PushFound(Variable* variable, int create)
{
    return PushVariable(variable || create ? variable : m_null);
}
