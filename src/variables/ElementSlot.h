#ifndef ZEPH_VARIABLES_ELEMENTSLOT_H
#define ZEPH_VARIABLES_ELEMENTSLOT_H

#include <stdint.h>
#include <string.h>

class AggregateElement;
class Variable;

// What one number of an ElementRun has, in 8 bytes: nothing, an element, or a plain number
// in the place of one. A number stands for a new element whose plain variable was then set
// to it, by SetValue_Integer or SetValue_Double according to what it is, and that nobody has
// looked at yet.
//
//   top 16 bits       holds
//   0000              null for nothing, or the address of an element: of those that the
//                     system gives to a program only the lower 48 bits are in use
//   0001 to FFF1      a double, its bits raised by 2^48
//   FFFF              a 32-bit integer in the lower half
//
// Doubles raised that way keep clear of both neighbours, since the last of them that is a
// number, minus infinity, begins with FFF0. A NaN, which could begin with more than that,
// is not held: it needs an element.
//
// Borrows the element. A slot may be moved and cleared as plain memory, all zero being
// nothing.
class ElementSlot {
public:
    ElementSlot() = default;
    explicit ElementSlot(AggregateElement* element) : m_bits(reinterpret_cast<uintptr_t>(element))
    {
    }
    explicit ElementSlot(int number) : m_bits(kInteger | unsigned(number)) {}
    explicit ElementSlot(double number)
    {
        memcpy(&m_bits, &number, sizeof m_bits);
        m_bits += kRaise;
    }

    static bool CanHold(int) { return true; }
    static bool CanHold(double number) { return number == number; }

    bool IsEmpty() const { return m_bits == 0; }
    bool IsNumber() const { return m_bits >= kRaise; }
    bool IsInteger() const { return m_bits >= kInteger; }

    // Whether the text of a number tells all about it. If it does not, a variable that has
    // made its text differs from one that has not: comparisons and judgements go by the text
    // then, which has at most 20 places behind the point, and shows the sign of a zero.
    bool IsToldByText() const;

    // The element, null for none. Not for a number.
    AggregateElement* element() const { return reinterpret_cast<AggregateElement*>(m_bits); }
    int integer() const { return int(unsigned(m_bits)); }
    double real() const
    {
        uint64_t bits = m_bits - kRaise;
        double number;
        memcpy(&number, &bits, sizeof number);
        return number;
    }

    // For a number only: sets a variable to it.
    void SetTo(Variable* variable) const;
    // For a number only: the element that it stands for, which is the caller's.
    AggregateElement* NewElement(int index) const;

private:
    static constexpr uint64_t kRaise = uint64_t(1) << 48;
    static constexpr uint64_t kInteger = uint64_t(0xFFFF) << 48;

    uint64_t m_bits;
};

static_assert(sizeof(void*) == sizeof(uint64_t) && sizeof(ElementSlot) == sizeof(uint64_t));

#endif
