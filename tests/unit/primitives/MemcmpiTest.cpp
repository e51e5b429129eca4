#include "primitives/memcmpi.h"

#include <gtest/gtest.h>

#include <cctype>

TEST(Memcmpi, OrdersWithoutLetterCase)
{
    static const struct {
        const char* a;
        const char* b;
        int length, order;
    } rows[] =
        {
            {"abc", "ABC", 3, 0}, {"abc", "ABD", 3, -1}, {"ABD", "abc", 3, 1},
            {"abc", "xyz", 0, 0}, {"abc", "xyz", -1, 0}, {"abX", "aby", 2, 0},
            {"a_", "aB", 2, -1},  // by lower case: '_' stands between the cases
            {"[", "a", 1, -1},    {"[", "A", 1, -1},     {"a\0b", "A\0c", 3, -1},
        };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.a << " " << row.b << " " << row.length);
        EXPECT_EQ(memcmpi(row.a, row.b, row.length), row.order);
    }
}

TEST(Memcmpi, BytesAbove127CompareAsTheyStandAndSortFirst)
{
    EXPECT_EQ(memcmpi("\xC4", "\xE4", 1), -1);
    EXPECT_EQ(memcmpi("\xE4", "\xE4", 1), 0);
    EXPECT_EQ(memcmpi("\xE4", "a", 1), -1);
    EXPECT_EQ(memcmpi("\x01", "\xFF", 1), 1);
}

TEST(Memcmpi, EveryPairOfAsciiBytesFollowsToLower)
{
    for (int a = 0; a < 128; ++a) {
        for (int b = 0; b < 128; ++b) {
            char left = char(a), right = char(b);
            int difference = std::tolower(a) - std::tolower(b);
            int order = difference < 0 ? -1 : difference > 0 ? 1 : 0;
            ASSERT_EQ(memcmpi(&left, &right, 1), order) << a << " " << b;
        }
    }
}
