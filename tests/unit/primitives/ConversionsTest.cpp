#include "primitives/conversions.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

TEST(Conversions, ItosGivesDecimalDigitsInAnArrayOfExactSize)
{
    static const struct {
        int value;
        const char* text;
    } rows[] = {
        {0, "0"},
        {7, "7"},
        {-1, "-1"},
        {10, "10"},
        {-100, "-100"},
        {INT_MAX, "2147483647"},
        {INT_MIN + 1, "-2147483647"},
        {INT_MIN, "-2147483648"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int length = -1, capacity = -1;
        char* text = itos(row.value, &length, &capacity);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(length, int(std::strlen(row.text)));
        EXPECT_EQ(capacity, length + 1);
        delete[] text;
    }
}

TEST(Conversions, StoiReadsDecimalAndHexadecimalDigits)
{
    static const struct {
        const char* text;
        int length, value, error;
    } rows[] = {
        {"12", -1, 12, 0},
        {"0x10", -1, 16, 0},
        {"0XfF", -1, 255, 0},
        {"-12", -1, -12, 0},
        {"007", -1, 7, 0},
        {"-", -1, 0, 0},
        {"", -1, 0, 0},
        {"12abc", -1, 0, 1},
        {"12abc", 2, 12, 0},
        {"12.7", -1, 0, 1},
        {"0x", -1, 0, 1},
        {"0xg", -1, 0, 1},
        {"0x1g", -1, 0, 1},
        {"0x10", 2, 0, 1},
        {"-0x10", -1, 0, 1},
        {"--1", -1, 0, 1},
        {"+1", -1, 0, 1},
        {" 1", -1, 0, 1},
        {"1 ", -1, 0, 1},
        {"a", -1, 0, 1},
        {"2147483647", -1, INT_MAX, 0},
        {"-2147483648", -1, INT_MIN, 0},
        {"2147483648", -1, INT_MIN, 0},
        {"4294967297", -1, 1, 0},
        {"0xFFFFFFFF", -1, -1, 0},
        {"0x100000001", -1, 1, 0},
        {"100000000000000000000", -1, 1661992960, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " " << row.length);
        int error = -1;
        EXPECT_EQ(stoi(row.text, row.length, &error), row.value);
        EXPECT_EQ(error, row.error);
        EXPECT_EQ(stoi(row.text, row.length, nullptr), row.value);
    }
}
