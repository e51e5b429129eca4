#include "config/ExternalConfig.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ConfigRig.h"
#include "HookedConfigLibrary.h"

namespace {

TEST(ExternalConfig, ALibraryThatCannotBeOpenedGivesTheLoadersReason)
{
    ConfigRig rig;
    EXPECT_FALSE(rig.Load("/nowhere/libzephconfig.so"));
    EXPECT_NE(rig.Error().find("/nowhere/libzephconfig.so: cannot open shared object file"),
              std::string::npos)
        << rig.Error();
}

TEST(ExternalConfig, ALibraryWithoutTheEntryIsRefused)
{
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(ZEPH_PlainLibrary));
    EXPECT_EQ(rig.Error(), "Unknown symbol 'zeph_config_library'");
}

TEST(ExternalConfig, ALibraryWithoutATableIsRefused)
{
    HookedConfigLibrary library;
    library.Install(nullptr);
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_EQ(rig.Error(), "Unable to retrieve configuration descriptor table");
}

TEST(ExternalConfig, ATableOfNoFunctionsLoads)
{
    HookedConfigLibrary library;
    library.table = {2, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    ConfigRig rig;
    EXPECT_TRUE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL), 30);
    EXPECT_EQ(rig.Text(ZPCONFIG_DEFAULT_FILE), "index.zpc");
    EXPECT_TRUE(rig.config.LoadScriptConfig("a.zpc", nullptr));
}

TEST(ExternalConfig, AFailedStartGivesTheLibrarysText)
{
    HookedConfigLibrary library;
    library.init_result = 1;
    library.error_text = "No luck";
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_EQ(rig.Error(), "No luck");
}

TEST(ExternalConfig, AFailedStartWithoutATextIsStillNamed)
{
    HookedConfigLibrary library;
    library.init_result = 1;
    library.table.error = nullptr;
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_EQ(rig.Error(), "Error initializing configuration library");
}

TEST(ExternalConfig, TheLibraryIsStartedOnceWithTheArguments)
{
    HookedConfigLibrary library;
    char program[] = "zeph";
    char* arguments[] = {program, nullptr};
    ConfigRig rig;
    EXPECT_TRUE(rig.config.Load(ZEPH_HookedLibrary, 5, arguments, 1));
    EXPECT_EQ(library.calls, std::vector<std::string>{"init"});
    EXPECT_EQ(library.arguments, arguments);
    EXPECT_EQ(library.argument_count, 1);
    EXPECT_EQ(library.flags, 5);
    EXPECT_EQ(library.config, &rig.config);
}

TEST(ExternalConfig, TheWordOfTheLibraryStartsNullAndIsKept)
{
    HookedConfigLibrary library;
    int mark;
    library.word_to_set = &mark;
    {
        ConfigRig rig;
        EXPECT_TRUE(rig.Load(ZEPH_HookedLibrary));
        EXPECT_EQ(library.word_at_init, nullptr);
        rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL);
        EXPECT_EQ(library.word_seen, &mark);
        library.word_seen = nullptr;
    }
    EXPECT_EQ(library.word_seen, &mark);
    EXPECT_EQ(library.calls.back(), "cleanup");
}

TEST(ExternalConfig, AnAnswerIsAskedForOnce)
{
    HookedConfigLibrary library;
    library.integers[ZPCONFIG_TIMEOUT_CALL] = 7;
    library.texts[ZPCONFIG_DIR_DATA] = "/data";
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL), 7);
        EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), "/data");
    }
    const std::vector<std::string> expected{"init", "integer 1000009", "string 2000004"};
    EXPECT_EQ(library.calls, expected);
}

TEST(ExternalConfig, AMissingAnswerWithADefaultIsAskedForOnce)
{
    HookedConfigLibrary library;
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL), 30);
        EXPECT_EQ(rig.Text(ZPCONFIG_DIR_USER), "public_btx");
    }
    const std::vector<std::string> expected{"init", "integer 1000009", "string 2000019"};
    EXPECT_EQ(library.calls, expected);
}

TEST(ExternalConfig, AnOwnedAnswerIsFreedByTheSettings)
{
    HookedConfigLibrary library;
    library.texts[ZPCONFIG_DIR_DATA] = "/data/and more";
    library.owned = true;
    library.length = 5;
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), "/data");  // the leak checker sees the rest
}

TEST(ExternalConfig, NothingIsAskedBeforeTheLibraryIsLoaded)
{
    HookedConfigLibrary library;
    ConfigRig rig;
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_MAIL), 30);
    EXPECT_TRUE(library.calls.empty());
}

TEST(ExternalConfig, ACopyAsksTheLibraryNoMore)
{
    HookedConfigLibrary library;
    library.integers[ZPCONFIG_TIMEOUT_CALL] = 7;
    library.integers[ZPCONFIG_TIMEOUT_MAIL] = 8;
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL);
    Config copy(rig.config);
    EXPECT_EQ(copy.value_integer(ZPCONFIG_TIMEOUT_CALL), 7);
    EXPECT_EQ(copy.value_integer(ZPCONFIG_TIMEOUT_MAIL), 30);
    EXPECT_EQ(library.calls.size(), 2u);
}

TEST(ExternalConfig, AValueSetWhileStartingIsNotAskedFor)
{
    HookedConfigLibrary library;
    library.at_init = [](ExternalConfig* config) {
        EXPECT_EQ(zpConfig_SetValue_Integer(config, ZPCONFIG_TIMEOUT_CALL, 9), 0);
        EXPECT_EQ(zpConfig_SetValue(config, ZPCONFIG_DIR_DATA, "/set", -1, 0), 0);
    };
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL), 9);
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), "/set");
    EXPECT_EQ(library.calls, std::vector<std::string>{"init"});
}

// The exported functions report success as 0, the methods as true.
TEST(ExternalConfig, TheExportedSettersReportAKeyOfTheOtherTypeAsOne)
{
    ConfigRig rig;
    EXPECT_EQ(zpConfig_SetValue(&rig.config, ZPCONFIG_TIMEOUT_CALL, "1", -1, 0), 1);
    EXPECT_EQ(zpConfig_SetValue_Integer(&rig.config, ZPCONFIG_DIR_DATA, 1), 1);
    EXPECT_EQ(zpConfig_SetValue(&rig.config, ZPCONFIG_DIR_DATA, "1", -1, 0), 0);
    EXPECT_EQ(zpConfig_SetValue_Integer(&rig.config, ZPCONFIG_TIMEOUT_CALL, 1), 0);
}

TEST(ExternalConfig, RegisteringReportsSuccessWhateverHappens)
{
    ConfigRig rig;
    EXPECT_EQ(zpConfig_Register_Library_Builtin(&rig.config, ZEPH_FunctionLibrary), 0);
    EXPECT_EQ(zpConfig_Register_Library_Builtin(&rig.config, "/nowhere/lib.so"), 0);
    EXPECT_EQ(rig.calls.libraries(), 1);
    EXPECT_EQ(zpConfig_Register_Library_System(&rig.config, "s", "/nowhere/s.so"), 0);
    EXPECT_EQ(zpConfig_Register_Library_Database(&rig.config, "d", "/nowhere/d.so"), 0);
    EXPECT_EQ(zpConfig_Register_Library_Commerce(&rig.config, "c", "/nowhere/c.so"), 0);
    EXPECT_EQ(ConfigRig::Registered(rig.systems), "s=/nowhere/s.so");
    EXPECT_EQ(ConfigRig::Registered(rig.databases), "d=/nowhere/d.so");
    EXPECT_EQ(ConfigRig::Registered(rig.commerce), "c=/nowhere/c.so");
}

TEST(ExternalConfig, QueuedVariablesWaitForTheirScope)
{
    ConfigRig rig;
    zpConfig_SetVariable_System(&rig.config, "place", 5, "system scope", 6);
    zpConfig_SetVariable_Global(&rig.config, "place", -1, "global", -1);
    zpConfig_SetVariable_Global(&rig.config, "twice", -1, "first", -1);
    zpConfig_SetVariable_Global(&rig.config, "TWICE", -1, "second", -1);
    EXPECT_EQ(ConfigRig::Value(rig.system, "place"), "(none)");
    EXPECT_EQ(ConfigRig::Value(rig.global, "place"), "(none)");
    rig.config.AddVariables();
    EXPECT_EQ(ConfigRig::Value(rig.system, "place"), "system");
    EXPECT_EQ(ConfigRig::Value(rig.global, "place"), "global");
    EXPECT_EQ(ConfigRig::Value(rig.global, "twice"), "second");
}

TEST(ExternalConfig, QueuedVariablesOfAnEndedRequestAreFreed)
{
    ConfigRig rig;
    zpConfig_SetVariable_System(&rig.config, "left", -1, "behind", -1);
    EXPECT_EQ(ConfigRig::Value(rig.system, "left"), "(none)");  // the leak checker sees the rest
}

TEST(ExternalConfig, DefaultErrorSettingsAreFoundInAnyCase)
{
    static const struct {
        const char* name;
        int length, row;
    } rows[] = {
        {"ZpEVAL", -1, 6},        {"zpeval", -1, 6},   {"ZpEVALUATE", 6, 6},
        {"zpfuncreturn", -1, 17}, {"ZpAsync", -1, 75}, {"expression", -1, 62},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ConfigRig rig;
        ASSERT_EQ(ConfigRig::TagSetting(row.row), row.row == 75 ? 1 : 3);
        zpConfig_Set_DefaultErrorSetting(&rig.config, row.name, row.length, 2);
        EXPECT_EQ(ConfigRig::TagSetting(row.row), 2);
    }
}

TEST(ExternalConfig, AnUnknownTagChangesNothing)
{
    ConfigRig rig;
    TagErrorSetting before[kTagErrorRows];
    memcpy(before, tag_default_errorsettings, sizeof before);
    for (const char* name : {"ZpNOTHING", "", "(in expression)", "ZpEVALZpEVALZpEVALZpEVAL"}) {
        SCOPED_TRACE(name);
        zpConfig_Set_DefaultErrorSetting(&rig.config, name, -1, 2);
        EXPECT_EQ(memcmp(before, tag_default_errorsettings, sizeof before), 0);
    }
}

}  // namespace
