// Rounding to a count of places, by the digits of the shortest text.
#include <limits.h>

#include <cmath>
#include <random>

#include "OperatorModel.h"
#include "StackValues.h"
#include "TestMachine.h"

namespace {

class RoundingTest : public MachineTest {
protected:
    std::string RoundS(double value, int places)
    {
        EXPECT_EQ(Run(OpDouble(kPushF, value) + Op(kPushI, places) + Op(kRoundS)), 1);
        EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kString);
        return PoppedString(stack());
    }
    double RoundF(double value, int places)
    {
        EXPECT_EQ(Run(OpDouble(kPushF, value) + Op(kPushI, places) + Op(kRoundF)), 1);
        EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kDouble);
        return stack()->PopD();
    }
};

TEST_F(RoundingTest, RoundsMakesATextWithThatManyPlaces)
{
    static const struct {
        double value;
        int places;
        const char* text;
    } rows[] = {
        // No digit is cut off: zeros fill the rest.
        {1, 2, "1.00"},
        {1.5, 1, "1.5"},
        {-1.25, 4, "-1.2500"},
        {0, 0, "0"},
        {0, 3, "0.000"},
        {-0.0, 1, "-0.0"},
        {1e21, 1, "1000000000000000000000.0"},
        {0.1, 25, "0.1000000000000000000000000"},
        // A whole number goes by the exact value, a tie to the even one.
        {2.5, 0, "2"},
        {3.5, 0, "4"},
        {0.5, 0, "0"},
        {-0.5, 0, "-0"},
        {2.5000000001, 0, "3"},
        // The digit at the cut.
        {1.24, 1, "1.2"},
        {1.26, 1, "1.3"},
        {1.29, 1, "1.3"},
        {-1.26, 1, "-1.3"},
        {9.99, 1, "10.0"},
        {0.999, 2, "1.00"},
        {123456.789, 2, "123456.79"},
        // A 5 with nothing behind it goes to the even digit, any other one up.
        {0.125, 2, "0.12"},
        {0.375, 2, "0.38"},
        {1.005, 2, "1.00"},
        {1.015, 2, "1.02"},
        {1.0051, 2, "1.01"},
        {2.675, 2, "2.68"},
        {0.25, 1, "0.2"},
        {0.35, 1, "0.4"},
        {-0.125, 2, "-0.12"},
        {0.05, 1, "0.0"},
        {0.15, 1, "0.2"},
        {1.45, 1, "1.4"},
        {1.4500000000000002, 1, "1.5"},
        // Zeros between the point and the first digit do not count.
        {0.0006, 2, "0.01"},
        {0.0004, 2, "0.00"},
        {0.0005, 2, "0.00"},
        {0.00051, 2, "0.01"},
        {-0.0006, 2, "-0.01"},
        {-0.0004, 2, "-0.00"},
        {0.00000009, 1, "0.1"},
        {1e-19, 2, "0.00"},
        {9e-19, 2, "0.01"},
        // What has no digit in 20 places.
        {1e-25, 2, "0.00"},
        {9e-25, 2, "0.00"},
        {-9e-25, 2, "-0.00"},
        // Negative counts are 0.
        {2.5, -1, "2"},
        {123, INT_MIN, "123"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << " to " << row.places);
        EXPECT_EQ(RoundS(row.value, row.places), row.text);
    }
}

TEST_F(RoundingTest, RoundfGivesTheNumber)
{
    static const struct {
        double value;
        int places;
        double result;
    } rows[] = {{2.5, 0, 2.5},       {2.5, -3, 2.5},    {1.005, 2, 1.0},
                {0.125, 2, 0.12},    {0.375, 2, 0.38},  {0.0006, 2, 0.01},
                {-0.0006, 2, -0.01}, {1.5, 5, 1.5},     {123456.789, 2, 123456.79},
                {9.99, 1, 10.0},     {1e300, 2, 1e300}, {0.1, INT_MAX, 0.1},
                {1e-25, 25, 1e-25},  {1e-25, 2, 0.0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << " to " << row.places);
        EXPECT_EQ(RoundF(row.value, row.places), row.result);
    }
    EXPECT_TRUE(std::signbit(RoundF(-0.0004, 2)));
    EXPECT_TRUE(std::signbit(RoundF(-0.0, 2)));
}

TEST_F(RoundingTest, WhatIsNotFiniteHasNoPlaces)
{
    for (int places : {-1, 0, 2, INT_MAX}) {
        SCOPED_TRACE(places);
        EXPECT_EQ(RoundS(NAN, places), "NaN");
        EXPECT_EQ(RoundS(-NAN, places), "NaN");
        EXPECT_EQ(RoundS(INFINITY, places), "Infinity");
        EXPECT_EQ(RoundS(-INFINITY, places), "Infinity");
        EXPECT_EQ(RoundF(NAN, places), INFINITY);
        EXPECT_EQ(RoundF(INFINITY, places), INFINITY);
        EXPECT_EQ(RoundF(-INFINITY, places), INFINITY);
    }
    EXPECT_EQ(Run(OpDouble(kPushF, NAN) + Op(kPushI, 2) + Op(kRoundS)), 1);
    EXPECT_EQ(stack()->Peek()->owned, 0);
    EXPECT_EQ(Run(OpDouble(kPushF, 1) + Op(kPushI, 2) + Op(kRoundS)), 1);
    EXPECT_EQ(stack()->Peek()->owned, 1);
}

// A text of two gigabytes of zeros helps nobody.
TEST_F(RoundingTest, RoundsFillsAMillionPlacesAndNoMore)
{
    std::string text = "1.25" + std::string(999998, '0');
    EXPECT_EQ(RoundS(1.25, 1000000), text);
    EXPECT_EQ(RoundS(1.25, 1000001), text);
    EXPECT_EQ(RoundS(1.25, INT_MAX), text);
    EXPECT_EQ(RoundS(1.25, 999999).size(), text.size() - 1);
}

TEST_F(RoundingTest, OperandsOfEveryKind)
{
    for (Shape value : kTextShapes) {
        for (Shape places : kTextShapes) {
            SCOPED_TRACE(testing::Message() << ShapeName(value) << " to " << ShapeName(places));
            End();
            NoArrayLeft none;
            StackValues values;
            Code(Op(kRoundS));
            values.Push(stack(), value, "2.675");
            values.Push(stack(), places, "2");
            EXPECT_EQ(vm()->Go(), 1);
            EXPECT_EQ(PoppedString(stack()), "2.68");
            EXPECT_EQ(depth(), 0);
            EXPECT_TRUE(values.CountsAreBack());
            End();
        }
    }
}

// A number that is likely to be interesting.
double RandomValue(std::mt19937_64& random)
{
    double value;
    switch (random() % 5) {
        case 0:  // few places, many ties
            value = double(random() % 100000) / std::pow(10.0, double(random() % 7));
            break;
        case 1:  // a 5 at the end
            value = (double(random() % 10000) * 10 + 5) / std::pow(10.0, double(random() % 9));
            break;
        case 2:
            value = double(random() % 1000000) * std::pow(10.0, -double(random() % 30));
            break;
        case 3:
            value = double(random()) / double(1ull << (random() % 64));
            break;
        default:
            do {
                unsigned long long bits = random();
                memcpy(&value, &bits, sizeof value);
            } while (!std::isfinite(value) || std::fabs(value) > 1e40);
    }
    return random() % 2 ? -value : value;
}

TEST_F(RoundingTest, AgreesWithTheModelForRandomNumbers)
{
    std::mt19937_64 random(3);
    int count = getenv("ZEPH_LONG_TESTS") ? 1000000 : 50000;
    for (int i = 0; i < count; ++i) {
        double number = RandomValue(random);
        int places = int(random() % 28) - 2;
        ASSERT_EQ(RoundS(number, places), model::RoundS(number, places))
            << testing::PrintToString(number) << " to " << places;
        ASSERT_EQ(RoundF(number, places), model::RoundF(number, places))
            << testing::PrintToString(number) << " to " << places;
    }
}

}  // namespace
