#include "vm/TagLookup.h"

#include <gtest/gtest.h>
#include <string.h>

#include "vm/TagErrorSettings.h"

namespace {

TEST(TagLookup, FindsEveryTagByItsName)
{
    for (int row = 0; row < 76; ++row) {
        if (row == 62)
            continue;
        const char* name = tag_default_errorsettings[row].tag_name;
        SCOPED_TRACE(name);
        EXPECT_EQ(TagLookup().Lookup(name, -1), row);
    }
}

TEST(TagLookup, KnowsSecondNamesAndIgnoresLetterCase)
{
    static const struct {
        const char* name;
        int row;
    } rows[] = {
        {"expression", 62},
        {"Expression", 62},
        {"zpfuncreturn", 17},
        {"ZpFUNCRETURN", 17},
        {"zpfunctionreturn", 17},
        {"zpasync", 75},
        {"ZPASYNC", 75},
        {"zpasynchronous", 75},
        {"zeph", 48},
        {"ZEPH", 48},
        {"ZPIF", 0},
        {"zpif", 0},
        {"zpLOCALIZED-token", 25},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(TagLookup().Lookup(row.name, -1), row.row);
        EXPECT_EQ(TagLookup().Lookup(row.name, int(strlen(row.name))), row.row);
    }
}

TEST(TagLookup, FindsNothingElse)
{
    for (const char* name : {"", "if", "zpi", "zpiff", "zpif ", " zpif", "(in expression)",
                             "zpexpression", "zpexpression_error", "zpif_error", "zpfunc"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(TagLookup().Lookup(name, -1), -1);
    }
}

TEST(TagLookup, TakesTheGivenLengthOfTheName)
{
    EXPECT_EQ(TagLookup().Lookup("zpifdef", 4), 0);
    EXPECT_EQ(TagLookup().Lookup("zpifdef", 7), 60);
    EXPECT_EQ(TagLookup().Lookup("zpif", 0), -1);
    EXPECT_EQ(TagLookup().Lookup("zpif\0", 5), -1);
}

TEST(TagLookup, RefusesNamesOfMoreThan18Bytes)
{
    ASSERT_EQ(strlen("zpcommercecontinue"), 18u);
    EXPECT_EQ(TagLookup().Lookup("zpcommercecontinue", -1), 67);
    EXPECT_EQ(TagLookup().Lookup("zpcommercecontinue", 18), 67);
    EXPECT_EQ(TagLookup().Lookup("zpcommercecontinuex", 19), -1);
    EXPECT_EQ(TagLookup().Lookup("zpcommercecontinuex", -1), -1);
    EXPECT_EQ(TagLookup().Lookup("zpif", 0x7FFFFFFF), -1) << "the length decides, unread";
}

}  // namespace
