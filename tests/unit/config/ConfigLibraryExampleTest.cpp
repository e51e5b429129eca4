// The example file says what is true.

#include <fstream>
#include <set>
#include <sstream>

#include "SettingsFileFixture.h"

namespace {

class ConfigLibraryExample : public SettingsFileFixture {
protected:
    ConfigLibraryExample()
    {
        std::ifstream in(ZEPH_ExampleFile);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
    }
    // "name = value" of a line that is commented out without a blank, else empty.
    static std::string Uncommented(const std::string& line)
    {
        bool setting = line.size() > 1 && line[0] == '#' && islower(line[1]) &&
                       line.find(" = ") != std::string::npos;
        return setting ? line.substr(1) : "";
    }

    std::vector<std::string> lines;
};

const struct {
    const char* name;
    int key;
} settings[] = {
    {"dir_zeph", ZPCONFIG_DIR_ZEPH},
    {"dir_commerce", ZPCONFIG_DIR_COMMERCE},
    {"dir_temp", ZPCONFIG_DIR_TEMP},
    {"dir_data", ZPCONFIG_DIR_DATA},
    {"log_level", ZPCONFIG_LOG_LEVEL},
    {"log_file", ZPCONFIG_LOG_FILE},
    {"timeout_global", ZPCONFIG_TIMEOUT_GLOBAL},
    {"timeout_mail", ZPCONFIG_TIMEOUT_MAIL},
    {"timeout_call", ZPCONFIG_TIMEOUT_CALL},
    {"timeout_file", ZPCONFIG_TIMEOUT_FILE},
    {"delay_file", ZPCONFIG_DELAY_FILE},
    {"cookies", ZPCONFIG_COOKIES},
    {"bufsz_import", ZPCONFIG_BUFSZ_IMPORT},
    {"bufsz_template", ZPCONFIG_BUFSZ_TEMPLATE},
    {"bufsz_call", ZPCONFIG_BUFSZ_CALL},
    {"bufsz_smtp", ZPCONFIG_BUFSZ_SMTP},
    {"bufsz_content", ZPCONFIG_BUFSZ_CONTENT},
    {"bufsz_output", ZPCONFIG_BUFSZ_OUTPUT},
    {"max_files", ZPCONFIG_MAX_FILES},
    {"lock_expiration", ZPCONFIG_LOCK_EXPIRATION},
    {"lock_hostname", ZPCONFIG_LOCK_HOSTNAME},
    {"dir_ca", ZPCONFIG_DIR_CA},
    {"default_file", ZPCONFIG_DEFAULT_FILE},
    {"flags_security", ZPCONFIG_FLAGS_SECURITY},
    {"dir_user", ZPCONFIG_DIR_USER},
    {"info_serveradmin", ZPCONFIG_INFO_SERVERADMIN},
    {"ssl_openssl", ZPCONFIG_SSL_OPENSSL},
    {"ssl_crypto", ZPCONFIG_SSL_CRYPTO},
    {"bufsz_output_flush", ZPCONFIG_BUFSZ_OUTPUT_FLUSH},
    {"ssl_config", ZPCONFIG_SSL_CONFIG},
    {"dir_builtin", ZPCONFIG_DIR_BUILTIN},
    {"max_docache", ZPCONFIG_MAX_DOCACHE},
    {"log_filter", ZPCONFIG_LOG_FILTER},
    {"timeout_post", ZPCONFIG_TIMEOUT_POST},
    {"max_post_vars", ZPCONFIG_MAX_POST_VARS},
    {"max_unknown_content_length", ZPCONFIG_MAX_UNKNOWN_CONTENT_LENGTH},
    {"log_cookie", ZPCONFIG_LOG_COOKIE},
    {"ssl_sni", ZPCONFIG_SSL_SNI},
    {"max_async_tasks", ZPCONFIG_MAX_ASYNC_TASKS},
    {"timeout_async", ZPCONFIG_TIMEOUT_ASYNC},
    {"timeout_async_sleep", ZPCONFIG_TIMEOUT_ASYNC_SLEEP},
    {"file_ca", ZPCONFIG_FILE_CA},
    {"error_syslog", ZPCONFIG_ERROR_SYSLOG},
    {"error_syslog_ident", ZPCONFIG_ERROR_SYSLOG_IDENT},
    {"error_syslog_facility", ZPCONFIG_ERROR_SYSLOG_FACILITY},
    {"error_syslog_priority", ZPCONFIG_ERROR_SYSLOG_PRIORITY},
};

TEST_F(ConfigLibraryExample, SetsWhatASiteMustSet)
{
    std::string all;
    for (const std::string& line : lines)
        all += line + "\n";
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, all)) << rig.Error();
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_ZEPH), "/srv/zeph/scripts");
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), "/srv/zeph/data");
    EXPECT_EQ(rig.Text(ZPCONFIG_SSL_OPENSSL), "libssl.so.3");
    EXPECT_EQ(rig.Text(ZPCONFIG_SSL_CRYPTO), "libcrypto.so.3");
    EXPECT_EQ(rig.Text(ZPCONFIG_FILE_CA), "/etc/ssl/certs/ca-certificates.crt");
    Config defaults;
    for (const auto& setting : settings)
        if (setting.key & ZPCONFIG_INTEGER) {
            SCOPED_TRACE(setting.name);
            EXPECT_EQ(rig.config.value_integer(setting.key), defaults.value_integer(setting.key));
        }
}

TEST_F(ConfigLibraryExample, ShowsTheDefaultOfEverySettingThatHasOne)
{
    std::string commented;
    std::set<std::string> shown;
    for (const std::string& line : lines) {
        commented += Uncommented(line) + "\n";
        std::string setting = line[0] == '#' ? Uncommented(line) : line;
        shown.insert(setting.substr(0, setting.find(" = ")));
    }
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, commented)) << rig.Error();
    for (const auto& setting : settings) {
        SCOPED_TRACE(setting.name);
        EXPECT_EQ(shown.count(setting.name), 1u);
        Config defaults;
        ConfigValue* value = defaults.default_value(setting.key);
        if (!value)
            continue;
        if (setting.key & ZPCONFIG_INTEGER) {
            EXPECT_EQ(rig.config.value_integer(setting.key), value->integer());
        } else {
            EXPECT_EQ(rig.Text(setting.key), std::string(value->text(), size_t(value->length())));
        }
        delete value;
    }
}

// The examples of libraries, tags, variables and headings, which stand indented.
TEST_F(ConfigLibraryExample, HasExamplesThatCanBeRead)
{
    std::string examples;
    for (const std::string& line : lines)
        if (line.compare(0, 4, "#   ") == 0 && line.compare(0, 6, "#   0x") != 0 &&
            line.find("builtin") == std::string::npos)
            examples += line.substr(4) + "\n";
    ConfigRig rig;
    ASSERT_TRUE(Load(rig, examples)) << rig.Error();
    EXPECT_EQ(ConfigRig::TagSetting(11), 3);
    ASSERT_TRUE(rig.config.LoadScriptConfig("shop/a.zpc", nullptr));
    EXPECT_EQ(ConfigRig::Registered(rig.databases), "sqlite=/usr/lib/zeph/libzephsqlite.so");
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_TIMEOUT_GLOBAL), 20);
}

}  // namespace
