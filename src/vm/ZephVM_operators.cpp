// The operators: arithmetic, bits, logic, comparison and joining. The right operand is on
// top. Those on whole texts stand in ZephVM_search.cpp, the rounding ones in
// ZephVM_rounding.cpp.
#include <dlfcn.h>

#include "primitives/power.h"
#include "vm/Remainder.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Stack.h"

namespace {

// The operands of an operator, both taken.
struct Doubles {
    explicit Doubles(ZephVM_Stack* stack) : right(stack->PopD()), left(stack->PopD()) {}
    double right;
    double left;
};

struct Integers {
    explicit Integers(ZephVM_Stack* stack) : right(stack->PopI()), left(stack->PopI()) {}
    int right;
    int left;
};

// Nothing is pushed after an operand was missing.
int PushResult(ZephVM* vm, ZephVM_Stack* stack, double value)
{
    if (vm->halted())
        return 0;
    stack->PushD(value);
    return 1;
}

int PushResult(ZephVM* vm, ZephVM_Stack* stack, int value)
{
    if (vm->halted())
        return 0;
    stack->PushI(value);
    return 1;
}

// A shift by 32 or more counts from 0 again.
const int kShiftMask = 31;

}  // namespace

int ZephVM::pushf()
{
    m_stack->PushD(m_double_a);
    return 1;
}

// Arithmetic is done in doubles, and a whole number goes out as one as well: its text has
// no fraction.
int ZephVM::add()
{
    Doubles operands(m_stack);
    return PushResult(this, m_stack, operands.left + operands.right);
}

int ZephVM::sub()
{
    Doubles operands(m_stack);
    return PushResult(this, m_stack, operands.left - operands.right);
}

int ZephVM::mul()
{
    Doubles operands(m_stack);
    return PushResult(this, m_stack, operands.left * operands.right);
}

// The test is on the dividend and not on the divisor, on purpose: 0 / 0 is 0, and 1 / 0 is
// an infinity and no error.
int ZephVM::div()
{
    Doubles operands(m_stack);
    double quotient = operands.left == 0.0 ? 0.0 : operands.left / operands.right;
    return PushResult(this, m_stack, quotient);
}

int ZephVM::pow()
{
    Doubles operands(m_stack);
    double power = 0.0;
    if (!Power(operands.left, operands.right, &power))
        return FatalError(String("Unable to compute a power: ") + dlerror());
    return PushResult(this, m_stack, power);
}

// The least integer by -1 is not guarded, on purpose: it is the machine's trap.
int ZephVM::mod()
{
    Integers operands(m_stack);
    if (m_halted)
        return 0;
    int remainder = operands.right == 0 ? 0 : Remainder(operands.left, operands.right);
    return PushResult(this, m_stack, remainder);
}

int ZephVM::bitand_op()
{
    Integers operands(m_stack);
    return PushResult(this, m_stack, operands.left & operands.right);
}

int ZephVM::bitor_op()
{
    Integers operands(m_stack);
    return PushResult(this, m_stack, operands.left | operands.right);
}

int ZephVM::bitxor_op()
{
    Integers operands(m_stack);
    return PushResult(this, m_stack, operands.left ^ operands.right);
}

int ZephVM::bitoc()
{
    int operand = m_stack->PopI();
    return PushResult(this, m_stack, ~operand);
}

int ZephVM::bitsl()
{
    Integers operands(m_stack);
    unsigned int bits = unsigned(operands.left) << (operands.right & kShiftMask);
    return PushResult(this, m_stack, int(bits));
}

// The sign is shifted in.
int ZephVM::bitsr()
{
    Integers operands(m_stack);
    return PushResult(this, m_stack, operands.left >> (operands.right & kShiftMask));
}

// Both operands are taken whatever the first one says: a compiler that wants to pass over
// the second one jumps.
int ZephVM::and_op()
{
    bool right = m_stack->PopBool();
    bool left = m_stack->PopBool();
    return PushResult(this, m_stack, int(left && right));
}

int ZephVM::or_op()
{
    bool right = m_stack->PopBool();
    bool left = m_stack->PopBool();
    return PushResult(this, m_stack, int(left || right));
}

int ZephVM::not_op()
{
    bool operand = m_stack->PopBool();
    return PushResult(this, m_stack, int(!operand));
}

int ZephVM::isnull()
{
    bool is_null = m_stack->PopNull();
    return PushResult(this, m_stack, int(is_null));
}

int ZephVM::cmp()
{
    int order = m_stack->Compare();
    return PushResult(this, m_stack, order);
}

int ZephVM::eq()
{
    int order = m_stack->Compare();
    return PushResult(this, m_stack, int(order == 0));
}

int ZephVM::ne()
{
    int order = m_stack->Compare();
    return PushResult(this, m_stack, int(order != 0));
}

int ZephVM::ge()
{
    int order = m_stack->Compare();
    return PushResult(this, m_stack, int(order >= 0));
}

int ZephVM::le()
{
    int order = m_stack->Compare();
    return PushResult(this, m_stack, int(order <= 0));
}

int ZephVM::lt()
{
    int order = m_stack->Compare();
    return PushResult(this, m_stack, int(order < 0));
}

int ZephVM::gt()
{
    int order = m_stack->Compare();
    return PushResult(this, m_stack, int(order > 0));
}

int ZephVM::cat()
{
    m_stack->Concatenate();
    return !m_halted;
}
