#ifndef ZEPH_VM_STEPVALUES_H
#define ZEPH_VM_STEPVALUES_H

#include "variables/DirectValue.h"
#include "vm/DecodedCode.h"
#include "vm/ValueOrder.h"
#include "vm/ZephVM_Stack.h"

// What the short ways of the loop do with values. A result of false has changed nothing.

// The number that arithmetic, or a comparison, sees of an entry.
inline bool ArithmeticValue(const Stack_Entry& entry, double* out)
{
    if (entry.kind == Stack_Entry::kDouble) {
        *out = entry.real;
        return true;
    }
    if (entry.kind == Stack_Entry::kInteger) {
        *out = entry.integer;
        return true;
    }
    return entry.kind == Stack_Entry::kVariable && DirectValue::Double(entry.variable, out);
}

inline bool ComparedValue(const Stack_Entry& entry, double* out)
{
    if (entry.kind != Stack_Entry::kVariable)
        return ArithmeticValue(entry, out);
    return DirectValue::Comparable(entry.variable, out);
}

// An entry that is a number or a variable has been used.
inline void Drop(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kVariable && entry.owned)
        DirectValue::DropCount(entry.variable);
}

inline double Calculated(int operation, double left, double right)
{
    switch (operation) {
        case DecodedStep::kAdd:
            return left + right;
        case DecodedStep::kSubtract:
            return left - right;
        case DecodedStep::kMultiply:
            return left * right;
    }
    // By the dividend, on purpose: nothing divided by anything is nothing.
    return left == 0.0 ? 0.0 : left / right;
}

inline int OutcomeOf(int sign)
{
    return sign == 0 ? DecodedStep::kEqual : sign < 0 ? DecodedStep::kLess : DecodedStep::kGreater;
}

inline int OutcomeOf(double left, double right)
{
    return OutcomeOf(NumberOrder(left, right));
}

inline void SetDouble(Stack_Entry* entry, double value)
{
    entry->kind = Stack_Entry::kDouble;
    entry->owned = 0;
    entry->real = value;
}

inline void SetInteger(Stack_Entry* entry, int value)
{
    entry->kind = Stack_Entry::kInteger;
    entry->owned = 0;
    entry->integer = value;
}

inline void SetVariable(Stack_Entry* entry, Variable* variable)
{
    DirectValue::AddCount(variable);
    entry->kind = Stack_Entry::kVariable;
    entry->owned = 1;
    entry->variable = variable;
}

// Copies an entry, what it owns included. Field by field in the usual cases: it has been
// written so just now, and a processor waits when it is to read more at once.
inline void Move(const Stack_Entry& entry, Stack_Entry* to)
{
    if (entry.kind == Stack_Entry::kDouble) {
        SetDouble(to, entry.real);
    } else if (entry.kind == Stack_Entry::kVariable) {
        to->kind = Stack_Entry::kVariable;
        to->owned = entry.owned;
        to->variable = entry.variable;
    } else {
        *to = entry;
    }
}

// Stores an entry that needs no releasing afterwards.
inline bool Store(Variable* variable, const Stack_Entry& entry)
{
    switch (entry.kind) {
        case Stack_Entry::kInteger:
            return DirectValue::SetInteger(variable, entry.integer);
        case Stack_Entry::kDouble:
            return DirectValue::SetDouble(variable, entry.real);
        case Stack_Entry::kString:
            return !entry.owned && DirectValue::SetText(variable, entry.string, entry.length);
    }
    return false;
}

#endif
