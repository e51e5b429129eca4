#include "variables/AggregateIndex.h"

#include <limits.h>

#include <gtest/gtest.h>

#include "TestVariables.h"

namespace {

TEST(AggregateIndex, TheSignTellsANumberFromAName)
{
    EXPECT_EQ(AggregateIndex(3).type(), kAggregateArray);
    EXPECT_EQ(AggregateIndex(0).type(), kAggregateArray);
    EXPECT_EQ(AggregateIndex("a", 1).type(), kAggregateStructure);
    EXPECT_EQ(AggregateIndex().type(), kAggregateStructure);
    EXPECT_EQ(AggregateIndex().number(), -1);
}

TEST(AggregateIndex, ANegativeNumberBecomesZero)
{
    EXPECT_EQ(AggregateIndex(-7).number(), 0);
    EXPECT_EQ(AggregateIndex(INT_MIN).type(), kAggregateArray);
}

TEST(AggregateIndex, NumbersCompareByValueOneForBefore)
{
    EXPECT_EQ(AggregateIndex(1).Compare(AggregateIndex(2)), 1);
    EXPECT_EQ(AggregateIndex(2).Compare(AggregateIndex(1)), -1);
    EXPECT_EQ(AggregateIndex(2).Compare(AggregateIndex(2)), 0);
    EXPECT_EQ(AggregateIndex(9).Compare(AggregateIndex(10)), 1);
    EXPECT_EQ(AggregateIndex(0).Compare(AggregateIndex(INT_MAX)), 1);
}

TEST(AggregateIndex, NamesCompareWithoutCaseAndShorterFirst)
{
    static const struct {
        const char* left;
        const char* right;
        int order;
    } rows[] = {
        {"name", "NAME", 0}, {"ab", "abc", 1}, {"abc", "ab", -1}, {"abc", "b", 1},
        {"B", "a", -1},      {"a", "B", 1},    {"", "a", 1},      {"", "", 0},
        {"\xe4", "a", 1},    {"a1", "A10", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.left) + " and " + row.right);
        AggregateIndex left(row.left, -1);
        AggregateIndex right(row.right, -1);
        EXPECT_EQ(left.Compare(right), row.order);
        EXPECT_EQ(right.Compare(left), -row.order);
    }
}

TEST(AggregateIndex, ReadsAsItsNameOrItsDigits)
{
    AggregateIndex name("Name", -1);
    String& text = name;
    EXPECT_EQ(TextOf(text), "Name");
    AggregateIndex number(42);
    String& digits = number;
    EXPECT_EQ(TextOf(digits), "42");
    String& again = number;
    EXPECT_EQ(&again, &digits);
}

TEST(AggregateIndex, SerializesAsAScriptWritesIt)
{
    AggregateIndex name("Name", -1);
    AggregateIndex number(42);
    EXPECT_EQ(TextOf(name.serialized()), ":Name");
    EXPECT_EQ(TextOf(number.serialized()), "[42]");
    EXPECT_EQ(TextOf(number.serialized()), "[42]");
}

TEST(AggregateIndex, DisplacingDropsTheTexts)
{
    AggregateIndex index(42);
    index.serialized();
    index.Displace(-1);
    String& digits = index;
    EXPECT_EQ(TextOf(digits), "41");
    EXPECT_EQ(TextOf(index.serialized()), "[41]");
}

TEST(AggregateIndex, DisplacingStopsAtTheLastNumbers)
{
    AggregateIndex high(INT_MAX - 1);
    high.Displace(5);
    EXPECT_EQ(high.number(), INT_MAX);
    AggregateIndex low(2);
    low.Displace(-5);
    EXPECT_EQ(low.number(), 0);
}

TEST(AggregateIndex, ACopyHasTheSameNameAndNumber)
{
    AggregateIndex name("Name", -1);
    AggregateIndex copy(name);
    EXPECT_EQ(copy.Compare(name), 0);
    EXPECT_EQ(TextOf(copy.serialized()), ":Name");
    EXPECT_EQ(AggregateIndex(AggregateIndex(5)).number(), 5);
}

}  // namespace
