#include <gtest/gtest.h>

#include <string>

#include "ConfigRig.h"
#include "HookedConfigLibrary.h"
#include "config/ExternalConfig.h"

namespace {

const char kObsolete[] =
    "Configuration library uses no longer supported v1 API script-specific configuration load "
    "method";

void ObsoleteScriptConfig() {}

TEST(ExternalConfigScript, WithoutALibraryThereIsNoScriptConfiguration)
{
    ConfigRig rig;
    EXPECT_FALSE(rig.config.LoadScriptConfig("a.zpc", nullptr));
}

TEST(ExternalConfigScript, TheScriptAndItsFileAreHandedOver)
{
    HookedConfigLibrary library;
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    File* file = reinterpret_cast<File*>(&library);  // passed through, never looked at
    EXPECT_TRUE(rig.config.LoadScriptConfig("shop/a.zpc", file));
    EXPECT_EQ(library.calls.back(), "script");
    EXPECT_EQ(library.script, "shop/a.zpc");
    EXPECT_EQ(library.file, file);
}

TEST(ExternalConfigScript, VersionsDecideAboutTheObsoleteFunction)
{
    static const struct {
        long long version;
        bool obsolete;
        bool accepted;
    } rows[] = {{1, true, false},           {1, false, true}, {2, true, true}, {3, true, true},
              {0x700000001, true, false}, {0x700000002, true, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.version << (row.obsolete ? " with" : " without"));
        HookedConfigLibrary library;
        library.table.version = row.version;
        library.table.script_config_version_1 = row.obsolete ? ObsoleteScriptConfig : nullptr;
        ConfigRig rig;
        ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
        EXPECT_EQ(rig.config.LoadScriptConfig("a.zpc", nullptr), row.accepted);
        EXPECT_EQ(rig.Error(), row.accepted ? "" : kObsolete);
        EXPECT_EQ(library.calls.back(), row.accepted ? "script" : "init");
    }
}

TEST(ExternalConfigScript, NoFunctionIsSuccess)
{
    HookedConfigLibrary library;
    library.table.script_config = nullptr;
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_TRUE(rig.config.LoadScriptConfig("a.zpc", nullptr));
}

TEST(ExternalConfigScript, AFailureGivesTheLibrarysText)
{
    HookedConfigLibrary library;
    library.script_result = 1;
    library.error_text = "Not this script";
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_FALSE(rig.config.LoadScriptConfig("a.zpc", nullptr));
    EXPECT_EQ(rig.Error(), "Not this script");
}

TEST(ExternalConfigScript, AFailureWithoutATextIsStillNamed)
{
    HookedConfigLibrary library;
    library.script_result = 1;
    library.table.error = nullptr;
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_HookedLibrary));
    EXPECT_FALSE(rig.config.LoadScriptConfig("a.zpc", nullptr));
    EXPECT_EQ(rig.Error(), "Error loading script-specific configuration");
}

}  // namespace
