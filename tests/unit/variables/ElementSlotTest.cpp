#include "variables/ElementSlot.h"

#include <float.h>
#include <limits.h>
#include <math.h>

#include <memory>
#include <random>

#include <gtest/gtest.h>

#include "TestVariables.h"

namespace {

uint64_t BitsOf(double number)
{
    uint64_t bits;
    memcpy(&bits, &number, sizeof bits);
    return bits;
}

double FromBits(uint64_t bits)
{
    double number;
    memcpy(&number, &bits, sizeof number);
    return number;
}

TEST(ElementSlot, TellsIntegersFromDoublesAndBothFromElements)
{
    for (int number : {0, 1, -1, 77, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(number);
        ElementSlot slot(number);
        EXPECT_TRUE(slot.IsNumber());
        EXPECT_TRUE(slot.IsInteger());
        EXPECT_FALSE(slot.IsEmpty());
        EXPECT_EQ(slot.integer(), number);
    }
    for (double number : {0.0, -0.0, 1.0, -1.0, 0.1, DBL_MAX, -DBL_MAX, DBL_MIN, HUGE_VAL,
                          -HUGE_VAL, FromBits(1), FromBits(1ull << 63 | 1)}) {
        SCOPED_TRACE(number);
        ASSERT_TRUE(ElementSlot::CanHold(number));
        ElementSlot slot(number);
        EXPECT_TRUE(slot.IsNumber());
        EXPECT_FALSE(slot.IsInteger());
        EXPECT_FALSE(slot.IsEmpty());
        EXPECT_EQ(BitsOf(slot.real()), BitsOf(number));
    }
    EXPECT_FALSE(ElementSlot::CanHold(NAN));
    EXPECT_FALSE(ElementSlot::CanHold(-NAN));
    AggregateElement element(AggregateIndex(1));
    ElementSlot slot(&element);
    EXPECT_FALSE(slot.IsNumber());
    EXPECT_FALSE(slot.IsInteger());
    EXPECT_FALSE(slot.IsEmpty());
    EXPECT_EQ(slot.element(), &element);
    EXPECT_TRUE(ElementSlot(nullptr).IsEmpty());
    EXPECT_EQ(ElementSlot(nullptr).element(), nullptr);
}

TEST(ElementSlot, HoldsAnyDoubleThatIsANumber)
{
    std::mt19937_64 random(5);
    for (int i = 0; i < 100000; ++i) {
        double number = FromBits(random());
        if (!ElementSlot::CanHold(number))
            continue;
        ElementSlot slot(number);
        ASSERT_TRUE(slot.IsNumber() && !slot.IsInteger()) << number;
        ASSERT_EQ(BitsOf(slot.real()), BitsOf(number));
    }
}

TEST(ElementSlot, MakesTheElementThatANumberStandsFor)
{
    std::unique_ptr<AggregateElement> integer(ElementSlot(-7).NewElement(3));
    EXPECT_EQ(integer->index().number(), 3);
    EXPECT_EQ(integer->var()->primary_type(), Variable::kInteger);
    EXPECT_EQ(ValueOf(*integer->var()), "-7");
    EXPECT_EQ(NameOf(*integer->var()), "");
    EXPECT_EQ(integer->var()->refcount(), 1);
    std::unique_ptr<AggregateElement> real(ElementSlot(2.0).NewElement(0));
    EXPECT_EQ(real->index().number(), 0);
    EXPECT_EQ(real->var()->primary_type(), Variable::kDouble);
    EXPECT_EQ(real->var()->value_double(), 2.0);
}

// The claim of IsToldByText: a variable that has made its text reads as one that has not.
void ExpectToldByText(double number)
{
    Held with = Fresh();
    Held without = Fresh();
    with->SetValue_Double(number);
    without->SetValue_Double(number);
    with->value();
    int error = -1;
    EXPECT_EQ(BitsOf(with->value_compare(&error)), BitsOf(number)) << number;
    EXPECT_EQ(error, 0);
    EXPECT_EQ(with->IsTrue(), without->IsTrue()) << number;
    EXPECT_EQ(with->value_integer(), without->value_integer()) << number;
}

TEST(ElementSlot, KnowsWhoseTextTellsAll)
{
    static const struct {
        double number;
        bool is_told;
    } rows[] = {{0.0, true},
                {-0.0, false},
                {1.5, true},
                {-3, true},
                {1e-4, true},
                {-1e-4, true},
                {9.9e-5, false},
                {-1e-300, false},
                {1e22, true},
                {DBL_MAX, true},
                {HUGE_VAL, true},
                {-HUGE_VAL, true},
                {nextafter(1e-4, 1), true},
                {nextafter(1e-4, 0), false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.number);
        EXPECT_EQ(ElementSlot(row.number).IsToldByText(), row.is_told);
        if (row.is_told)
            ExpectToldByText(row.number);
    }
    EXPECT_TRUE(ElementSlot(0).IsToldByText());
    std::mt19937_64 random(9);
    for (int i = 0; i < 20000; ++i) {
        // Every third one is near the least number.
        double number = FromBits(random());
        if (i % 3 == 0)
            number = 1e-4 * (1 + double(random() % 1000000) / 999983);
        if (ElementSlot::CanHold(number) && ElementSlot(number).IsToldByText())
            ExpectToldByText(number);
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

}  // namespace
