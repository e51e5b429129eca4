#include <gtest/gtest.h>

#include <string>

#include "variables/StringClass.h"

TEST(Split, FillsFieldsFromLeftToRight)
{
    static const struct {
        const char* text;
        int max;
        const char* separator;
        int count;
        const char* fields[4];  // as they stand afterwards; "?" is one not touched
    } rows[] = {
        {"a,b,", 4, ",", 2, {"a", "b", "", "?"}},
        {"a,b,c", 4, ",", 3, {"a", "b", "c", "?"}},
        {"a,b,c", 3, ",", 3, {"a", "b", "c", "?"}},
        {"a,b,c", 2, ",", 2, {"a", "b", "?", "?"}},
        {"a,b,c", 0, ",", 0, {"?", "?", "?", "?"}},
        {",a", 4, ",", 2, {"", "a", "?", "?"}},
        {",", 4, ",", 1, {"", "", "?", "?"}},
        {"", 4, ",", 0, {"", "?", "?", "?"}},
        {"abc", 4, ",", 1, {"abc", "?", "?", "?"}},
        {"a--b-c--d", 4, "--", 3, {"a", "b-c", "d", "?"}},
        {"a,b", 4, "", 1, {"a,b", "?", "?", "?"}},
        {"a,b", 0, "", 0, {"?", "?", "?", "?"}},
        {"", 4, "", 1, {"", "?", "?", "?"}},
        {"a,b", 4, nullptr, 1, {"a,b", "?", "?", "?"}},
        {"a,b", -1, ",", 0, {"?", "?", "?", "?"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "'" << row.text << "' max " << row.max);
        String fields[4] = {"?", "?", "?", "?"};
        EXPECT_EQ(split(row.text, fields, row.max, row.separator), row.count);
        for (int i = 0; i < 4; ++i)
            EXPECT_STREQ(fields[i].data(), row.fields[i]) << i;
    }
}

TEST(Split, KeepsNulBytes)
{
    String fields[2];
    EXPECT_EQ(split(String("a\0b,c\0", 6), fields, 2, ","), 2);
    EXPECT_TRUE(fields[0] == String("a\0b", 3));
    EXPECT_TRUE(fields[1] == String("c\0", 2));
}
