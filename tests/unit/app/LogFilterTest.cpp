// Which source positions are logged.
#include "app/LogFilter.h"

#include <gtest/gtest.h>
#include <string.h>

namespace {

bool Passes(LogFilter* filter, const char* file, int line)
{
    return filter->Passes(file, int(strlen(file)), line);
}

TEST(LogFilter, WithoutItemsEverythingPasses)
{
    LogFilter filter;
    EXPECT_TRUE(Passes(&filter, "main.zp", 1));
    EXPECT_TRUE(Passes(&filter, "", 0));
    for (const char* text : {"", " ", " \t\n", static_cast<const char*>(nullptr)}) {
        filter.Parse(text);
        EXPECT_TRUE(Passes(&filter, "main.zp", 1));
    }
}

TEST(LogFilter, ItemsLimitFileAndLines)
{
    static const struct {
        const char* text;
        int first, last;  // of the lines from 1 to 9 that pass; 0 for none
    } rows[] = {
        {"main.zp", 1, 9},
        {"main.zp:4", 4, 4},
        {"main.zp:4-6", 4, 6},
        {"main.zp:4-", 4, 9},
        {"main.zp:-6", 1, 6},
        {"main.zp:-", 1, 9},
        {"main.zp:0", 1, 9},
        {"main.zp:0-0", 1, 9},
        {"main.zp:4-0", 4, 9},
        {"main.zp:6-4", 0, 0},
        {"main.zp:,other.zp", 1, 9},
        {" main.zp : 4 - 6 ,other.zp", 4, 6},
        {"\tmain.zp\n:\r4", 4, 4},
        {"main.zp 4-6", 1, 9},
        {"main.zp:4 to 6", 4, 4},
        {"main.zp:x", 1, 9},
        {"main.zp:4-x", 4, 9},
        {"other.zp,main.zp:4", 4, 4},
        {"other.zp , main.zp:4 ", 4, 4},
        {"main.zp:4,", 4, 4},
        {",main.zp:4", 4, 4},
        {"!main.zp:1-3,!main.zp:7-", 4, 6},
        {"!main.zp", 0, 0},
        {"!other.zp", 1, 9},
        {"! main.zp:2-", 1, 1},
        {"main.zp,!main.zp:3-", 1, 2},
        {"!main.zp:3-,main.zp", 1, 2},
        {"main.zp:2-7,!main.zp:5-", 2, 4},
        {"other.zp", 0, 0},
        {"main", 0, 0},
        {"main.zp2", 0, 0},
        {"MAIN.ZP", 0, 0},
        {"other.zp,main.zp:", 0, 0},
        {"main.zp:4,other.zp:", 4, 4},
        {"!main.zp:", 1, 9},
        {"!other.zp, ", 1, 9},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        LogFilter filter;
        filter.Parse(row.text);
        for (int line = 1; line <= 9; ++line) {
            SCOPED_TRACE(line);
            EXPECT_EQ(Passes(&filter, "main.zp", line), row.first <= line && line <= row.last);
        }
    }
}

TEST(LogFilter, ColonAtTheEndDropsItsItemOnly)
{
    LogFilter filter;
    filter.Parse("main.zp:");
    EXPECT_TRUE(Passes(&filter, "other.zp", 1)) << "no include list at all";
    filter.Parse("main.zp: ");
    EXPECT_TRUE(Passes(&filter, "other.zp", 1));
}

TEST(LogFilter, RangeAndExcludedFileTogether)
{
    LogFilter filter;
    filter.Parse("main.zp:10-20,!lib.zp");
    EXPECT_FALSE(Passes(&filter, "main.zp", 9));
    EXPECT_TRUE(Passes(&filter, "main.zp", 10));
    EXPECT_TRUE(Passes(&filter, "main.zp", 20));
    EXPECT_FALSE(Passes(&filter, "main.zp", 21));
    EXPECT_FALSE(Passes(&filter, "lib.zp", 10));
    EXPECT_FALSE(Passes(&filter, "other.zp", 10));
}

TEST(LogFilter, ParsingReplacesBothLists)
{
    LogFilter filter;
    filter.Parse("main.zp,!lib.zp");
    filter.Parse("lib.zp");
    EXPECT_FALSE(Passes(&filter, "main.zp", 1));
    EXPECT_TRUE(Passes(&filter, "lib.zp", 1));
    filter.Parse(nullptr);
    EXPECT_TRUE(Passes(&filter, "main.zp", 1));
}

TEST(LogFilter, NameHasTheGivenLength)
{
    LogFilter filter;
    filter.Parse("main.zp");
    EXPECT_TRUE(filter.Passes("main.zp and more", 7, 1));
    EXPECT_FALSE(filter.Passes("main.zp", 6, 1));
    EXPECT_FALSE(filter.Passes("main.zp\0", 8, 1));
}

}  // namespace
