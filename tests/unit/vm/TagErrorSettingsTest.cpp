#include "vm/TagErrorSettings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Row {
    int id;
    const char* name;
};

// Faults in program logic: fatal, shown.
const Row fatal_rows[] = {
    {0, "ZpIF"},
    {1, "ZpELSE"},
    {3, "ZpIMPORTSTOP"},
    {5, "ZpASSIGN"},
    {6, "ZpEVAL"},
    {7, "ZpHIDE"},
    {9, "ZpPOPSTOP"},
    {12, "ZpWHILE"},
    {13, "ZpWHILESTOP"},
    {14, "ZpCALL"},
    {15, "ZpCALLSTOP"},
    {16, "ZpFUNCTION"},
    {17, "ZpFUNCTIONRETURN"},
    {18, "ZpELSEIF"},
    {19, "ZpCOMMERCE"},
    {20, "ZpCOMMERCESTOP"},
    {21, "ZpCOMMENT"},
    {22, "ZpDO"},
    {23, "ZpLOCKFILE"},
    {24, "ZpLOCALIZED"},
    {25, "ZpLOCALIZED-TOKEN"},
    {26, "ZpLOCALIZED-TEXT"},
    {27, "ZpEXIT"},
    {32, "ZpPRIMARY"},
    {39, "ZpMAKEINDEX"},
    {48, "ZEPH"},
    {49, "ZpASSIGNARRAY"},
    {50, "ZpDIMENSION"},
    {51, "ZpMEMBER"},
    {62, "(in expression)"},
    {63, "ZpIMPORTCONTINUE"},
    {64, "ZpPOPCONTINUE"},
    {65, "ZpWHILECONTINUE"},
    {66, "ZpCALLCONTINUE"},
    {67, "ZpCOMMERCECONTINUE"},
    {68, "ZpFOREACH"},
    {69, "ZpFOREACHSTOP"},
    {70, "ZpFOREACHCONTINUE"},
    {71, "ZpFOR"},
    {72, "ZpFORSTOP"},
    {73, "ZpFORCONTINUE"},
};

// Tags that touch the outside world: shown, not fatal.
const Row shown_rows[] = {
    {2, "ZpIMPORT"},
    {4, "ZpEXPORT"},
    {8, "ZpPOP"},
    {10, "ZpPOPDELETE"},
    {11, "ZpSMTP"},
    {28, "ZpOPEN"},
    {29, "ZpCLOSE"},
    {30, "ZpSKIP"},
    {31, "ZpGO"},
    {33, "ZpFIND"},
    {34, "ZpSETINDEX"},
    {35, "ZpUPDATE"},
    {36, "ZpDELETE"},
    {37, "ZpUNDELETE"},
    {38, "ZpADD"},
    {40, "ZpPACK"},
    {41, "ZpREINDEX"},
    {42, "ZpCREATE"},
    {43, "ZpREVEALSTRUCTURE"},
    {44, "ZpOPENVIEW"},
    {45, "ZpCLOSEVIEW"},
    {46, "ZpQUERY"},
    {47, "ZpFILTER"},
    {52, "ZpCOMMIT"},
    {53, "ZpROLLBACK"},
    {55, "ZpTRANSACT"},
    {56, "ZpREFERENCE"},
    {57, "ZpREFERENCEARRAY"},
    {58, "ZpDBCOMMAND"},
    {59, "ZpCAPTURE"},
    {75, "ZpASYNCHRONOUS"},
};

const Row silent_rows[] = {
    {54, "ZpINCLUDE"},
    {60, "ZpIFDEF"},
    {61, "ZpIFNDEF"},
    {74, "ZpASSEMBLY"},
};

template <size_t count>
void ExpectRows(const Row (&rows)[count], int setting)
{
    for (const Row& row : rows) {
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
