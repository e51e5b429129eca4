#ifndef ZEPH_TESTS_UNIT_VM_PROGRAMVALUES_H
#define ZEPH_TESTS_UNIT_VM_PROGRAMVALUES_H

#include <math.h>

#include <random>

#include "ProgramWorld.h"

// Random instructions that push values, take them and work on them.
class ProgramValues {
protected:
    explicit ProgramValues(unsigned int seed) : m_random(seed) {}

    unsigned int Seed() { return unsigned(m_random()); }
    int Below(int limit) { return int(m_random() % unsigned(limit)); }
    bool OneOf(int count) { return Below(count) == 0; }

    // In a function its locals, which are others than the globals; elsewhere the same.
    int Push() { return OneOf(2) ? kPushL : kPushG; }
    int Slot(int limit) { return OneOf(300) ? limit + Below(9) : Below(limit); }
    std::string Variable()
    {
        int word = Push();
        if (word == kPushG && OneOf(8))
            return Op(kPushG, OneOf(2) ? kSharedSlot : kStepSlot);
        return Op(word, OneOf(400) ? 77 : Below(m_locals));
    }
    std::string Into() { return Op(OneOf(2) ? kPopL : kPopG, OneOf(400) ? 77 : Below(m_locals)); }
    std::string Number()
    {
        // Of two NaNs the processor gives the one that the compiler has put first: all here
        // have the sign of those that arithmetic makes.
        static const double kDoubles[] = {0.0,      -0.0, 1.5,  1e300,   -3.25, -NAN,
                                          INFINITY, 1e21, 1e22, 0.00001, kCut};
        if (OneOf(3))
            return OpDouble(kPushF, kDoubles[Below(11)]);
        return Op(kPushI, OneOf(8) ? int(m_random()) : Below(7) - 2);
    }
    std::string Text() { return Op(kPushC, OneOf(400) ? 99 : Below(8)); }
    std::string Value()
    {
        int which = Below(5);
        return which == 0 ? Text() : which == 1 ? Number() : which == 2 ? Operand() : Variable();
    }
    std::string Index()
    {
        int which = Below(6);
        return which == 0               ? Variable()
               : which == 1 && OneOf(3) ? Number()
               : OneOf(15)              ? Op(kPushI, 1 << (8 + Below(14)))
                                        : Op(kPushI, 1 + Below(8));
    }
    std::string Member() { return Op(kPushC, OneOf(4) ? Below(8) : Below(2)); }
    std::string Operand()
    {
        int which = Below(6);
        if (which == 0)
            return Variable() + Index() + Op(kElemReadonly);
        if (which == 1)
            return Variable() + Member() + Op(kMembReadonly);
        return which == 2 ? Number() : Variable();
    }
    std::string Store()
    {
        int which = Below(4);
        if (which == 0)
            return Variable() + Index() + Op(kElem) + Op(kStore);
        return which == 1 ? Variable() + Member() + Op(kMemb) + Op(kStore) : Into();
    }
    std::string Arithmetic()
    {
        static const int kWords[] = {kAdd, kSub, kMul, kDiv};
        return Op(kWords[Below(4)]);
    }
    std::string Comparison()
    {
        static const int kWords[] = {kCmp, kEq, kNe, kGe, kLe, kLt, kGt};
        return Op(kWords[Below(7)]);
    }
    int ConditionalJump()
    {
        static const int kWords[] = {kJmpEq, kJmpLt, kJmpGt, kJmpLe, kJmpGe, kJmpNe};
        return kWords[Below(6)];
    }
    // The same element or member as one to read.
    static std::string ReadOnly(std::string place)
    {
        char& word = place[place.size() - 2];
        word = char(word == char(kElem) ? kElemReadonly : kMembReadonly);
        return place;
    }

    int m_locals = kValueSlots;  // slots of locals that may have any value

private:
    std::mt19937 m_random;
};

#endif
