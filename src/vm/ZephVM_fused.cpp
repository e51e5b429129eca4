// The fused instructions, which a compiler emits for loops and comparisons on globals: each
// stands for three or more that would pass the values over the stack.
#include "primitives/conversions.h"
#include "variables/VariableHash.h"
#include "vm/Remainder.h"
#include "vm/ValueOrder.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Stack.h"

// The global in a slot, made where it is missing; null after the fatal error of a
// slot that does not exist.
Variable* ZephVM::Global(unsigned int slot)
{
    Variable* variable = m_global_variables->Index(int(slot), 1);
    if (!variable)
        FatalError("Invalid variable reference");
    return variable;
}

// As ZephVM_Stack::Compare, of values that are at hand.
int ZephVM::Compare(Variable* left, Variable* right)
{
    int nonnumeric;
    double left_number = left->value_compare(&nonnumeric);
    if (!nonnumeric) {
        double right_number = right->value_compare(&nonnumeric);
        if (!nonnumeric)
            return NumberOrder(left_number, right_number);
    }
    // The bytes are looked at when both texts are made: the sides may be one aggregate.
    const String& left_text = left->value();
    const String& right_text = right->value();
    return TextOrder(left_text.data(), left_text.length(), right_text.data(), right_text.length());
}

int ZephVM::Compare(Variable* left, int right)
{
    int nonnumeric;
    double left_number = left->value_compare(&nonnumeric);
    if (!nonnumeric)
        return NumberOrder(left_number, right);
    const String& left_text = left->value();
    int length;
    char* right_text = itos(right, &length, nullptr);
    int order = TextOrder(left_text.data(), left_text.length(), right_text, length);
    delete[] right_text;
    return order;
}

int ZephVM::cmpgg()
{
    Variable* left = Global(m_a);
    Variable* right = Global(m_b);
    if (!left || !right)
        return 0;
    m_stack->PushI(Compare(left, right));
    return 1;
}

int ZephVM::cmpgi()
{
    Variable* left = Global(m_a);
    if (!left)
        return 0;
    m_stack->PushI(Compare(left, int(m_b)));
    return 1;
}

int ZephVM::incg()
{
    Variable* variable = Global(m_a);
    if (!variable)
        return 0;
    return variable->SetValue_Integer(int(unsigned(variable->value_integer()) + m_b));
}

// There is no test of the divisor, on purpose: 0 is the machine's trap.
int ZephVM::modgg()
{
    Variable* left = Global(m_a);
    Variable* right = Global(m_b);
    if (!left || !right)
        return 0;
    int dividend = left->value_integer();
    int divisor = right->value_integer();
    m_stack->PushI(Remainder(dividend, divisor));
    return 1;
}

int ZephVM::storegi()
{
    Variable* variable = Global(m_a);
    return variable ? variable->SetValue_Integer(int(m_b)) : 0;
}
