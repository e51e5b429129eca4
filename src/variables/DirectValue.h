#ifndef ZEPH_VARIABLES_DIRECTVALUE_H
#define ZEPH_VARIABLES_DIRECTVALUE_H

#include "variables/AggregateElementTree.h"
#include "variables/Variable.h"

// Short ways to a variable for the machine's inner loop, which cannot afford a virtual call
// for each value. They do what the virtual operations do, for what is at hand and no more:
// a result of false has changed nothing and asks for the operation itself.
//
// Reading goes by the valid forms of any class. Setting goes by a mark that only
// Variable::New gives, so a class whose setters do more is safe without knowing of it.
class DirectValue {
public:
    // value_double().
    static bool Double(Variable* variable, double* out)
    {
        if (!(variable->m_valid & Variable::kDoubleValid))
            return Comparable(variable, out);
        if (variable->m_elements)
            return false;
        *out = variable->m_real;
        return true;
    }
    // value_compare(), without an error.
    static bool Comparable(Variable* variable, double* out)
    {
        if (variable->m_valid == 0 || variable->m_valid & Variable::kTextValid ||
            variable->m_elements)
            return false;
        if (!(variable->m_valid & Variable::kDoubleValid)) {
            variable->m_real = variable->m_integer;
            variable->m_valid |= Variable::kDoubleValid;
        }
        *out = variable->m_real;
        return true;
    }
    // value_integer().
    static bool Integer(Variable* variable, int* out)
    {
        if (variable->m_elements)
            return false;
        if (!(variable->m_valid & Variable::kIntegerValid)) {
            if (!(variable->m_valid & Variable::kDoubleValid))
                return false;
            variable->m_integer = Variable::Truncated(variable->m_real);
            variable->m_valid |= Variable::kIntegerValid;
        }
        *out = variable->m_integer;
        return true;
    }
    // SetValue_Double() and SetValue_Integer().
    static bool SetDouble(Variable* variable, double value)
    {
        if (!variable->m_direct || variable->m_elements)
            return false;
        variable->m_real = value;
        variable->m_valid = Variable::kDoubleValid;
        variable->m_primary = Variable::kDouble;
        return true;
    }
    static bool SetInteger(Variable* variable, int value)
    {
        if (!variable->m_direct || variable->m_elements)
            return false;
        variable->m_integer = value;
        variable->m_valid = Variable::kIntegerValid;
        variable->m_primary = Variable::kInteger;
        return true;
    }

    // SetValue() of a text and, for numbers alone, of another variable.
    static bool SetText(Variable* variable, const char* text, int length)
    {
        if (!variable->m_direct || variable->m_elements)
            return false;
        variable->m_value.assign(text, length);
        variable->SetForm(Variable::kTextValid, Variable::kText);
        return true;
    }
    static bool CopyNumber(Variable* variable, const Variable* source)
    {
        if (!variable->m_direct || variable->m_elements || !source->m_direct ||
            source->m_elements || source->m_valid == 0 || source->m_valid & Variable::kTextValid)
            return false;
        variable->m_real = source->m_real;
        variable->m_integer = source->m_integer;
        variable->m_valid = source->m_valid;
        variable->m_primary = source->m_primary;
        return true;
    }

    // Whether it is a scalar of the class Variable itself.
    static bool IsPlainScalar(const Variable* variable)
    {
        return variable->m_direct && !variable->m_elements;
    }
    // Whether it can be set anew by its only holder instead of being made anew.
    static bool IsReusable(const Variable* variable)
    {
        const int kMostStorage = 64;  // more is given back
        return IsPlainScalar(variable) && variable->m_refcount == 1 &&
               variable->m_value.capacity() <= kMostStorage;
    }
    // A new variable of the name of a plain scalar, null for another variable.
    static Variable* NewLike(const Variable* variable)
    {
        return IsPlainScalar(variable) ? Variable::New(variable->m_name) : nullptr;
    }
    // Sets a plain scalar to its own text and another one, which is not its own, behind it.
    // It costs no more than the bytes that are added.
    static void Append(Variable* variable, const char* text, int length)
    {
        if (!(variable->m_valid & Variable::kTextValid))
            variable->Variable::value();
        variable->m_value.Append(text, length);
        variable->SetForm(Variable::kTextValid, Variable::kText);
    }

    // Element() of a number above 0, for a variable of the class itself that is an array:
    // null if there is none. The second form makes it, and the array too.
    static Variable* Element(Variable* variable, int number)
    {
        if (!variable->m_direct || variable->m_aggregate != kAggregateArray || number < 1)
            return nullptr;
        AggregateElement* element = variable->m_elements->At(number);
        return element ? element->var() : nullptr;
    }
    static Variable* MadeElement(Variable* variable, int number)
    {
        if (Variable* element = Element(variable, number))
            return element;
        if (!variable->m_direct || number < 1)
            return nullptr;
        return variable->Variable::Element(AggregateIndex(number), 1);
    }
    // What an element above 0 of such an array is, if it is a plain number in its slot or a
    // plain scalar last set to one: kInteger or kDouble, and the number. Else kNone, with
    // nothing set; so it is for a double whose text has been asked for, and for all elements
    // of an array with large gaps.
    static Variable::PrimaryType ElementNumber(const Variable* array, int number, int* integer,
                                               double* real)
    {
        const ElementSlot* slot = Slot(array, number);
        if (!slot || !slot->IsNumber())
            return slot && !slot->IsEmpty() ? Number(slot->element()->var(), integer, real)
                                            : Variable::kNone;
        if (!slot->IsInteger()) {
            *real = slot->real();
            return Variable::kDouble;
        }
        *integer = slot->integer();
        return Variable::kInteger;
    }
    // SetValue_Integer() and SetValue_Double() of Element(), which is made if it is missing. A
    // scalar becomes an array. New elements are plain numbers in their slots.
    static bool SetElement(Variable* array, int number, int value)
    {
        return SetElementTo(array, number, value);
    }
    static bool SetElement(Variable* array, int number, double value)
    {
        return SetElementTo(array, number, value);
    }
    // The members of a structure of the class itself, else null.
    static AggregateElementTree* Members(const Variable* variable)
    {
        bool is_structure = variable->m_direct && variable->m_aggregate == kAggregateStructure;
        return is_structure ? variable->m_elements : nullptr;
    }

    // Whether its elements have a stamp that they had when Members() gave them.
    static bool HasStamp(const Variable* variable, unsigned long long stamp)
    {
        return variable->m_elements && variable->m_elements->stamp() == stamp;
    }

    // IncRefCount() and DecRefCount(), always done.
    static void AddCount(Variable* variable)
    {
        if (variable->m_link.target)
            variable->IncRefCount();
        else
            ++variable->m_refcount;
    }
    static void DropCount(Variable* variable)
    {
        if (variable->m_link.target)
            variable->DecRefCount();
        else
            variable->GiveCountBack();
    }

private:
    static ElementSlot* Slot(const Variable* array, int number)
    {
        if (!array->m_direct || array->m_aggregate != kAggregateArray || number < 1)
            return nullptr;
        return array->m_elements->SlotOf(number);
    }
    static Variable::PrimaryType Number(const Variable* variable, int* integer, double* real)
    {
        if (!variable->m_direct || variable->m_elements)
            return Variable::kNone;
        if (variable->m_primary == Variable::kInteger &&
            variable->m_valid & Variable::kIntegerValid) {
            *integer = variable->m_integer;
            return Variable::kInteger;
        }
        // A comparison goes by the text of a double if there is one.
        if (variable->m_primary != Variable::kDouble || variable->m_valid & Variable::kTextValid ||
            !(variable->m_valid & Variable::kDoubleValid))
            return Variable::kNone;
        *real = variable->m_real;
        return Variable::kDouble;
    }
    static bool Set(Variable* variable, int value) { return SetInteger(variable, value); }
    static bool Set(Variable* variable, double value) { return SetDouble(variable, value); }
    template <class Value>
    static bool SetElementTo(Variable* array, int number, Value value)
    {
        ElementSlot* slot = Slot(array, number);
        if (slot && !slot->IsEmpty() && !slot->IsNumber())
            return Set(slot->element()->var(), value);
        if (!ElementSlot::CanHold(value))
            return false;
        if (!slot || slot->IsEmpty())
            return AddNumber(array, number, ElementSlot(value));
        *slot = ElementSlot(value);
        return true;
    }
    static bool AddNumber(Variable* array, int number, ElementSlot value)
    {
        if (!array->m_direct || number < 1)
            return false;
        if (array->m_aggregate == kAggregateNone)
            array->Variable::Convert_Aggregate(kAggregateArray);
        return array->m_aggregate == kAggregateArray && array->m_elements->PutNumber(number, value);
    }
};

#endif
