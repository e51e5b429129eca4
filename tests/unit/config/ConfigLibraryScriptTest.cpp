// Settings below a heading, for some scripts only.

#include <filesystem>

#include "SettingsFileFixture.h"

namespace {

typedef SettingsFileFixture ConfigLibraryScript;

TEST_F(ConfigLibraryScript, PatternsChooseByThePathBelowTheRoot)
{
    static const struct {
        const char* heading;
        const char* script;
        bool matches;
    } rows[] = {
        {"[script shop/*.zpc]", "shop/a.zpc", true},
        {"[script shop/*.zpc]", "shop/deep/a.zpc", true},
        {"[script shop/*.zpc]", "shop/a.zp", false},
        {"[script shop/*.zpc]", "my/shop/a.zpc", false},
        {"[script shop]", "shop/a.zpc", false},
        {"[script *]", "a.zpc", true},
        {"[script ?.zpc]", "a.zpc", true},
        {"[script ?.zpc]", "ab.zpc", false},
        {"[script [a-c]*.zpc]", "bread.zpc", true},
        {"[script [a-c]*.zpc]", "dread.zpc", false},
        {"[script Shop/*]", "shop/a.zpc", false},
        {"[script /shop/*]", "shop/a.zpc", true},
        {"[script my shop/*]", "my shop/a.zpc", true},
        {"  [script  \t shop/*  ]  # the shop", "shop/a.zpc", true},
        {"[script shop/*]\r", "shop/a.zpc", true},
        {"[script .*]", ".hidden", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.heading) + " " + row.script);
        ConfigRig rig;
        ASSERT_TRUE(Load(rig, std::string(row.heading) + "\ntimeout_global = 5\n")) << rig.Error();
        EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_GLOBAL), 90);
        ASSERT_TRUE(rig.config.LoadScriptConfig(row.script, nullptr));
        EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_GLOBAL), row.matches ? 5 : 90);
    }
}

// A visitor writes the path, and must not get out of the settings by it.
TEST_F(ConfigLibraryScript, TheSpellingOfAPathDoesNotMatter)
{
    static const struct {
        const char* script;
        bool matches;
    } rows[] = {
        {"/shop/a.zpc", true},
        {"//shop///a.zpc", true},
        {"./shop/./a.zpc", true},
        {"shop/x/../a.zpc", true},
        {"x/y/../../shop/a.zpc", true},
        {"../shop/a.zpc", true},
        {"shop/a.zpc/", true},
        {"shop/../a.zpc", false},
        {"...shop/a.zpc", false},
        {"shop/.../a.zpc", false},
        {"shop/..a.zpc", false},
        {"", false},
        {"/", false},
        {"..", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        ConfigRig rig;
        ASSERT_TRUE(Load(rig, "[script shop/a.zpc]\ntimeout_global = 5\n")) << rig.Error();
        ASSERT_TRUE(rig.config.LoadScriptConfig(row.script, nullptr));
        EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_GLOBAL), row.matches ? 5 : 90);
    }
}

TEST_F(ConfigLibraryScript, AnAbsolutePathIsTakenFromTheRootWhereItIsAllowed)
{
    static const struct {
        const char* flags;
        const char* root;
        const char* script;
        bool matches;
    } rows[] = {
        {"0x20", "/srv/zeph", "/srv/zeph/shop/a.zpc", true},
        {"0x20", "/srv//zeph/", "//srv/./zeph/shop/a.zpc", true},
        {"0x20", "/srv/zeph", "shop/a.zpc", true},
        {"0x20", "/srv/zeph", "srv/zeph/shop/a.zpc", false},
        {"0x20", "/srv/zeph", "/srv/zeph-shop/a.zpc", false},
        {"0x20", "/", "/shop/a.zpc", true},
        {"0x1f", "/srv/zeph", "/srv/zeph/shop/a.zpc", false},
        {"0x1f", "/srv/zeph", "/shop/a.zpc", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.flags) + " " + row.root + " " + row.script);
        ConfigRig rig;
        ASSERT_TRUE(Load(rig, std::string("flags_security = ") + row.flags + "\ndir_zeph = " +
                                  row.root + "\n[script shop/*]\ntimeout_global = 5\n"))
            << rig.Error();
        ASSERT_TRUE(rig.config.LoadScriptConfig(row.script, nullptr));
        EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_GLOBAL), row.matches ? 5 : 90);
    }
}

TEST_F(ConfigLibraryScript, EveryKindOfLineMayStandBelowAHeading)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, std::string("variable global v = common\n[script a.zpc]\n"
                                      "dir_data = data\ncookies = 0\nerror ZpEVAL = 0\n"
                                      "variable system s = for a\nvariable global v = for a\n"
                                      "system s = s.so\ndatabase d = d.so\ncommerce c = c.so\n"
                                      "builtin = ") +
                              ZEPH_FunctionLibrary + "\n"))
        << rig.Error();
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), "(null)");
    EXPECT_EQ(ConfigRig::TagSetting(6), 3);
    EXPECT_EQ(rig.calls.libraries(), 0);
    ASSERT_TRUE(rig.config.LoadScriptConfig("a.zpc", nullptr));
    rig.config.AddVariables();
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), tree.Path("data"));
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_COOKIES), 0);
    EXPECT_EQ(ConfigRig::TagSetting(6), 0);
    EXPECT_EQ(ConfigRig::Value(rig.system, "s"), "for a");
    EXPECT_EQ(ConfigRig::Value(rig.global, "v"), "for a");
    EXPECT_EQ(ConfigRig::Registered(rig.systems), "s=" + tree.Path("s.so"));
    EXPECT_EQ(ConfigRig::Registered(rig.databases), "d=" + tree.Path("d.so"));
    EXPECT_EQ(ConfigRig::Registered(rig.commerce), "c=" + tree.Path("c.so"));
    EXPECT_EQ(rig.calls.libraries(), 1);
}

TEST_F(ConfigLibraryScript, OfSeveralHeadingsThatMatchTheLastWins)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig,
                     "max_docache = 1\n"
                     "[script shop/*]\nmax_docache = 2\nlog_filter = shop\n"
                     "[script else/*]\nmax_docache = 3\nlog_filter = else\n"
                     "[script */a.zpc]\nmax_docache = 4\n"))
        << rig.Error();
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_MAX_DOCACHE), 1);
    ASSERT_TRUE(rig.config.LoadScriptConfig("shop/a.zpc", nullptr));
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_MAX_DOCACHE), 4);
    EXPECT_EQ(rig.Text(ZPCONFIG_LOG_FILTER), "shop");
}

TEST_F(ConfigLibraryScript, AHeadingWithoutLinesIsAccepted)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "[script a]\n[script b]\n\n[script c]")) << rig.Error();
    EXPECT_TRUE(rig.config.LoadScriptConfig("b", nullptr));
}

TEST_F(ConfigLibraryScript, AMissingBuiltinLibraryStopsTheScriptsItIsFor)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "[script shop/*]\n\nbuiltin = missing.so\n")) << rig.Error();
    EXPECT_TRUE(rig.config.LoadScriptConfig("a.zpc", nullptr));
    EXPECT_FALSE(rig.config.LoadScriptConfig("shop/a.zpc", nullptr));
    EXPECT_EQ(WithoutPath(rig.Error()), "3: expected a library that can be read, not '" +
                                            tree.Path("missing.so") +
                                            "': No such file or directory");
}

// Several libraries that tell in which order they were asked for their functions.
class ConfigLibraryOrder : public SettingsFileFixture {
protected:
    ConfigLibraryOrder()
    {
        for (const char* name : {"a.so", "b.so", "c.so", "d.so", "e.so"})
            std::filesystem::copy_file(ZEPH_RecordingLibrary, tree.Path(name));
        unsetenv("ZEPH_RECORDED");
    }
    ~ConfigLibraryOrder() override { unsetenv("ZEPH_RECORDED"); }

    static std::string Recorded()
    {
        const char* recorded = getenv("ZEPH_RECORDED");
        return recorded ? recorded : "";
    }
    // "name=file name=file": of two libraries under one name the first is found.
    std::string Registered(LibraryRegistry& registry) const
    {
        std::string all = ConfigRig::Registered(registry);
        for (size_t at; (at = all.find(tree.path() + "/")) != std::string::npos;)
            all.erase(at, tree.path().size() + 1);
        return all;
    }
};

TEST_F(ConfigLibraryOrder, BuiltinLibrariesAreSearchedFromTheUpperLineToTheLower)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "builtin = b.so\nbuiltin = a.so\n")) << rig.Error();
    EXPECT_EQ(Recorded(), "b.so a.so ");
    ASSERT_TRUE(rig.config.LoadScriptConfig("shop/a.zpc", nullptr));
    EXPECT_EQ(Recorded(), "b.so a.so ");
}

TEST_F(ConfigLibraryOrder, LibrariesOfASectionAreFoundBeforeTheCommonOnes)
{
    static const struct {
        const char* script;
        const char* builtins;
        const char* systems;
        const char* databases;
        const char* commerce;
    } rows[] = {
        {"shop/a.zpc", "d.so e.so b.so c.so a.so ", "s=4 s=2 s=1", "d=2 d=1", "c=2 c=1"},
        {"shop/b.zpc", "b.so c.so a.so ", "s=2 s=1", "d=2 d=1", "c=2 c=1"},
        {"else/b.zpc", "a.so ", "s=1", "d=1", "c=1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        unsetenv("ZEPH_RECORDED");
        ConfigRig rig;
        ASSERT_TRUE(Load(rig,
                         "system s = 1\ndatabase d = 1\ncommerce c = 1\nbuiltin = a.so\n"
                         "[script shop/*]\nsystem s = 2\ndatabase d = 2\ncommerce c = 2\n"
                         "builtin = b.so\nbuiltin = c.so\n"
                         "[script none/*]\nsystem s = 3\nbuiltin = a.so\n"
                         "[script */a.zpc]\nsystem s = 4\nbuiltin = d.so\nbuiltin = e.so\n"))
            << rig.Error();
        EXPECT_EQ(Recorded(), "");
        ASSERT_TRUE(rig.config.LoadScriptConfig(row.script, nullptr));
        EXPECT_EQ(Recorded(), row.builtins);
        EXPECT_EQ(Registered(rig.systems), row.systems);
        EXPECT_EQ(Registered(rig.databases), row.databases);
        EXPECT_EQ(Registered(rig.commerce), row.commerce);
    }
}

TEST_F(ConfigLibraryOrder, AMissingCommonLibraryIsFoundThoughItWaitsForTheScript)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "builtin = missing.so\n[script shop/*]\nbuiltin = a.so\n"));
    EXPECT_FALSE(rig.config.LoadScriptConfig("else.zpc", nullptr));
    EXPECT_EQ(WithoutPath(rig.Error()), "1: expected a library that can be read, not '" +
                                            tree.Path("missing.so") +
                                            "': No such file or directory");
}

}  // namespace
