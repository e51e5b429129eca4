// What the settings library makes of the lines of its file.

#include "SettingsFileFixture.h"

namespace {

typedef SettingsFileFixture ConfigLibrary;

TEST_F(ConfigLibrary, AnswersWithTheFilesValues)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "timeout_call = 7\ndir_data = /data\n")) << rig.Error();
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL), 7);
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), "/data");
    EXPECT_STREQ(rig.config.value_string(ZPCONFIG_DIR_DATA, nullptr), "/data");
}

TEST_F(ConfigLibrary, LeavesTheDefaultsOfWhatTheFileDoesNotSay)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "")) << rig.Error();
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL), 30);
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_ZEPH), "(null)");
    EXPECT_EQ(rig.Text(ZPCONFIG_DEFAULT_FILE), "index.zpc");
    EXPECT_TRUE(rig.config.LoadScriptConfig("a.zpc", nullptr));
}

TEST_F(ConfigLibrary, KeepsSettingsWithTheSameLowDigitsApart)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "log_cookie = c\nmax_unknown_content_length = -1\n")) << rig.Error();
    EXPECT_EQ(rig.Text(ZPCONFIG_LOG_COOKIE), "c");
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_MAX_UNKNOWN_CONTENT_LENGTH), -1);
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_SSL_SNI), -1);
}

TEST_F(ConfigLibrary, ReadsTextsInAnyDress)
{
    static const struct {
        const char* line;
        const char* text;
    } rows[] = {
        {"log_filter=a", "a"},
        {"\t log_filter \t=\t a \t", "a"},
        {"log_filter = a\r", "a"},
        {"log_filter = a b", "a b"},
        {"log_filter = a # b", "a"},
        {"log_filter = a\t# b", "a"},
        {"log_filter = a#b", "a#b"},
        {"log_filter =#b", "#b"},
        {"log_filter = a = b", "a = b"},
        {"log_filter = \"a # b\"", "a # b"},
        {"log_filter = \" a \" # b", " a "},
        {"log_filter = \"\"", ""},
        {"log_filter = \"a \"\"b\"\" c\"", "a \"b\" c"},
        {"log_filter = \"\"\"\"", "\""},
        {"log_filter = a \"b", "a \"b"},
        {"log_filter = \xC3\xA4<&>", "\xC3\xA4<&>"},
        {"# log_filter = a\n\n  # b = c\nlog_filter = d", "d"},
    };
    for (const auto& row : rows)
        for (const char* end : {"", "\n", "\r\n", "\n\n#"}) {
            SCOPED_TRACE(std::string(row.line) + end);
            ConfigRig rig;
            ASSERT_TRUE(Load(rig, std::string(row.line) + end)) << rig.Error();
            EXPECT_EQ(rig.Text(ZPCONFIG_LOG_FILTER), row.text);
            EXPECT_STREQ(rig.config.value_string(ZPCONFIG_LOG_FILTER, nullptr), row.text);
        }
}

TEST_F(ConfigLibrary, ReadsNumbersUpToTheEdgesOfTheirRanges)
{
    static const struct {
        const char* line;
        int key;
        int number;
    } rows[] = {
        {"timeout_call = 0", ZPCONFIG_TIMEOUT_CALL, 0},
        {"timeout_call = 010", ZPCONFIG_TIMEOUT_CALL, 10},
        {"timeout_call = \"5\"", ZPCONFIG_TIMEOUT_CALL, 5},
        {"timeout_call = 2147483647", ZPCONFIG_TIMEOUT_CALL, 2147483647},
        {"log_level = 0x7fffffff", ZPCONFIG_LOG_LEVEL, 2147483647},
        {"log_level = 0X1aB", ZPCONFIG_LOG_LEVEL, 427},
        {"flags_security = 0x7000", ZPCONFIG_FLAGS_SECURITY, 0x7000},
        {"ssl_sni = -1", ZPCONFIG_SSL_SNI, -1},
        {"ssl_sni = -0x1", ZPCONFIG_SSL_SNI, -1},
        {"ssl_sni = 1", ZPCONFIG_SSL_SNI, 1},
        {"cookies = 0", ZPCONFIG_COOKIES, 0},
        {"max_unknown_content_length = -1", ZPCONFIG_MAX_UNKNOWN_CONTENT_LENGTH, -1},
        {"bufsz_import = 1", ZPCONFIG_BUFSZ_IMPORT, 1},
        {"bufsz_output = 1073741824", ZPCONFIG_BUFSZ_OUTPUT, 1073741824},
        {"bufsz_output_flush = 0", ZPCONFIG_BUFSZ_OUTPUT_FLUSH, 0},
        {"delay_file = 1", ZPCONFIG_DELAY_FILE, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        ConfigRig rig;
        ASSERT_TRUE(Load(rig, row.line)) << rig.Error();
        EXPECT_EQ(rig.config.value_integer(row.key), row.number);
    }
}

// HERE stands for the folder of the settings file.
TEST_F(ConfigLibrary, MakesPathsAbsoluteBelowTheFolderOfTheFile)
{
    static const struct {
        const char* line;
        int key;
        const char* text;
    } rows[] = {
        {"dir_zeph = scripts", ZPCONFIG_DIR_ZEPH, "HERE/scripts"},
        {"dir_data = ../data", ZPCONFIG_DIR_DATA, "HERE/../data"},
        {"dir_temp = .", ZPCONFIG_DIR_TEMP, "HERE/."},
        {"dir_commerce = a/b", ZPCONFIG_DIR_COMMERCE, "HERE/a/b"},
        {"dir_builtin = b", ZPCONFIG_DIR_BUILTIN, "HERE/b"},
        {"dir_ca = \"c # d\"", ZPCONFIG_DIR_CA, "HERE/c # d"},
        {"file_ca = ca.pem", ZPCONFIG_FILE_CA, "HERE/ca.pem"},
        {"file_ca = /etc/ca.pem", ZPCONFIG_FILE_CA, "/etc/ca.pem"},
        {"ssl_config = tls.cnf", ZPCONFIG_SSL_CONFIG, "HERE/tls.cnf"},
        {"ssl_openssl = libssl.so.3", ZPCONFIG_SSL_OPENSSL, "libssl.so.3"},
        {"ssl_openssl = tls/libssl.so", ZPCONFIG_SSL_OPENSSL, "HERE/tls/libssl.so"},
        {"ssl_crypto = /tls/libcrypto.so", ZPCONFIG_SSL_CRYPTO, "/tls/libcrypto.so"},
        {"log_file = zeph.log", ZPCONFIG_LOG_FILE, "zeph.log"},
        {"dir_user = web", ZPCONFIG_DIR_USER, "web"},
        {"default_file = home.zpc", ZPCONFIG_DEFAULT_FILE, "home.zpc"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        ConfigRig rig;
        ASSERT_TRUE(Load(rig, row.line)) << rig.Error();
        std::string expected = row.text;
        if (expected.compare(0, 4, "HERE") == 0)
            expected.replace(0, 4, tree.path());
        EXPECT_EQ(rig.Text(row.key), expected);
    }
}

TEST_F(ConfigLibrary, RegistersLibrariesInTheOrderOfTheLines)
{
    ConfigRig rig;
    const std::string builtin = std::string("builtin = ") + ZEPH_FunctionLibrary + "\n";
    ASSERT_TRUE(Load(rig, builtin + builtin +
                              "system z = z.so\n"
                              "system a = /a.so\n"
                              "database d = d/d.so\n"
                              "commerce c = c.so # cards\n"))
        << rig.Error();
    EXPECT_EQ(rig.calls.libraries(), 2);
    EXPECT_EQ(ConfigRig::Registered(rig.systems), "z=" + tree.Path("z.so") + " a=/a.so");
    EXPECT_EQ(ConfigRig::Registered(rig.databases), "d=" + tree.Path("d/d.so"));
    EXPECT_EQ(ConfigRig::Registered(rig.commerce), "c=" + tree.Path("c.so"));
}

TEST_F(ConfigLibrary, SetsTheErrorSettingOfEveryTagUnderEachOfItsNames)
{
    const int kExpressionRow = 62;
    for (int row = 0; row < kTagErrorRows - 1; ++row)
        for (int setting = 0; setting <= 3; ++setting) {
            std::string name = tag_default_errorsettings[row].tag_name;
            if (row == kExpressionRow)
                name = "expression";
            SCOPED_TRACE(name);
            ConfigRig rig;
            ASSERT_TRUE(Load(rig, "error " + name + " = " + std::to_string(setting)))
                << rig.Error();
            EXPECT_EQ(ConfigRig::TagSetting(row), setting);
        }
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, "error ZPFUNCRETURN = 0\nerror zpasync = 2\nerror zpeval = 1"))
        << rig.Error();
    EXPECT_EQ(ConfigRig::TagSetting(17), 0);
    EXPECT_EQ(ConfigRig::TagSetting(75), 2);
    EXPECT_EQ(ConfigRig::TagSetting(6), 1);
}

TEST_F(ConfigLibrary, QueuesVariablesForTheirScopes)
{
    ConfigRig rig;
    ASSERT_TRUE(Load(rig,
                     "variable system site = \"My site\"\n"
                     "variable global site = 5 # the other\n"
                     "variable global nothing = \"\"\n"))
        << rig.Error();
    rig.config.AddVariables();
    EXPECT_EQ(ConfigRig::Value(rig.system, "site"), "My site");
    EXPECT_EQ(ConfigRig::Value(rig.global, "site"), "5");
    EXPECT_EQ(ConfigRig::Value(rig.global, "nothing"), "");
    EXPECT_EQ(ConfigRig::Value(rig.system, "nothing"), "(none)");
}

TEST_F(ConfigLibrary, AcceptsAnyNumberOfLines)
{
    for (const int count : {31, 32, 33, 64, 65, 1000}) {
        SCOPED_TRACE(count);
        std::string text;
        for (int i = 0; i < count; ++i)
            text += "variable global v" + std::to_string(i) + " = " + std::to_string(i) + "\n";
        ConfigRig rig;
        ASSERT_TRUE(Load(rig, text)) << rig.Error();
        rig.config.AddVariables();
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(ConfigRig::Value(rig.global, ("v" + std::to_string(i)).c_str()),
                      std::to_string(i));
    }
}

TEST_F(ConfigLibrary, AcceptsAFileUpToItsLimit)
{
    const std::string setting = "\ntimeout_call = 7";
    std::string text = "#" + std::string(256 * 1024 - setting.size() - 1, 'x') + setting;
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, text)) << rig.Error();
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_CALL), 7);
}

}  // namespace
