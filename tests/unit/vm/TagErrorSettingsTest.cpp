#include "vm/TagErrorSettings.h"

#include <gtest/gtest.h>

#include <string>

#include "TagRows.h"

namespace {

template <size_t count>
void ExpectRows(const TagRow (&rows)[count], int setting)
{
    for (const TagRow& row : rows) {
        SCOPED_TRACE(row.name);
        const TagErrorSetting& found = tag_default_errorsettings[row.id];
        EXPECT_EQ(found.id, row.id);
        EXPECT_STREQ(found.tag_name, row.name);
        EXPECT_EQ(found.setting, setting);
        std::string variable = row.id == 62 ? "ZpEXPRESSION" : row.name;
        EXPECT_EQ(found.error_variable, variable + "_Error");
    }
}

TEST(TagErrorSettings, FaultsInProgramLogicAreFatalAndShown)
{
    ExpectRows(fatal_rows, 3);
}

TEST(TagErrorSettings, TagsThatTouchTheOutsideWorldAreShownOnly)
{
    ExpectRows(shown_rows, 1);
}

TEST(TagErrorSettings, CompileTimeTagsAreNeither)
{
    ExpectRows(silent_rows, 0);
}

TEST(TagErrorSettings, HaveARowOfZerosBehindThe76Tags)
{
    EXPECT_EQ(std::size(fatal_rows) + std::size(shown_rows) + std::size(silent_rows), 76u);
    ASSERT_EQ(kTagErrorRows, 77);
    const TagErrorSetting& last = tag_default_errorsettings[76];
    EXPECT_EQ(last.id, 0);
    EXPECT_EQ(last.tag_name, nullptr);
    EXPECT_EQ(last.error_variable, nullptr);
    EXPECT_EQ(last.setting, 0);
}

TEST(TagErrorSettings, BitsAreOneForShownAndTwoForFatal)
{
    EXPECT_EQ(TagErrorSetting::kDisplay, 1);
    EXPECT_EQ(TagErrorSetting::kFatal, 2);
}

}  // namespace
