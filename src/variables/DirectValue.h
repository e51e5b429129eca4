#ifndef ZEPH_VARIABLES_DIRECTVALUE_H
#define ZEPH_VARIABLES_DIRECTVALUE_H

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
        if (!(variable->m_valid & Variable::kIntegerValid)) {
            if (!(variable->m_valid & Variable::kDoubleValid))
                return false;
            variable->m_integer = Variable::Truncated(variable->m_real);
            variable->m_valid |= Variable::kIntegerValid;
        }
        if (variable->m_elements)
            return false;
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
};

#endif
