#include "config/Config.h"

#include <gtest/gtest.h>
#include <string.h>

#include <string>

namespace {

const int kOwned = 1;
const int kBorrowed = 0;

char* NewText(const char* text)
{
    char* copy = new char[strlen(text) + 1];
    return strcpy(copy, text);
}

std::string Text(Config& config, int key)
{
    int length = -1;
    const char* text = config.value_string(key, &length);
    return text ? std::string(text, size_t(length)) : "(null)";
}

TEST(Config, KeysHaveTheirNumbersAndDefaults)
{
    static const struct {
        int key;
        int name;
        int integer;
        const char* text;
    } rows[] = {
        {0x2000001, ZPCONFIG_DIR_ZEPH, -1, nullptr},
        {0x2000002, ZPCONFIG_DIR_COMMERCE, -1, nullptr},
        {0x2000003, ZPCONFIG_DIR_TEMP, -1, nullptr},
        {0x2000004, ZPCONFIG_DIR_DATA, -1, nullptr},
        {0x1000005, ZPCONFIG_LOG_LEVEL, 0, nullptr},
        {0x2000006, ZPCONFIG_LOG_FILE, -1, nullptr},
        {0x1000007, ZPCONFIG_TIMEOUT_GLOBAL, 90, nullptr},
        {0x1000008, ZPCONFIG_TIMEOUT_MAIL, 30, nullptr},
        {0x1000009, ZPCONFIG_TIMEOUT_CALL, 30, nullptr},
        {0x100000a, ZPCONFIG_TIMEOUT_FILE, 30, nullptr},
        {0x100000b, ZPCONFIG_DELAY_FILE, 100, nullptr},
        {0x100000c, ZPCONFIG_COOKIES, 1, nullptr},
        {0x100000d, ZPCONFIG_BUFSZ_IMPORT, 8192, nullptr},
        {0x100000e, ZPCONFIG_BUFSZ_TEMPLATE, 8192, nullptr},
        {0x100000f, ZPCONFIG_BUFSZ_CALL, 8192, nullptr},
        {0x1000010, ZPCONFIG_BUFSZ_SMTP, 8192, nullptr},
        {0x1000011, ZPCONFIG_BUFSZ_CONTENT, 8192, nullptr},
        {0x1000012, ZPCONFIG_BUFSZ_OUTPUT, 8192, nullptr},
        {0x1000013, ZPCONFIG_MAX_FILES, 0, nullptr},
        {0x1000014, ZPCONFIG_LOCK_EXPIRATION, 90, nullptr},
        {0x2000015, ZPCONFIG_LOCK_HOSTNAME, -1, nullptr},
        {0x2000016, ZPCONFIG_DIR_CA, -1, nullptr},
        {0x2000017, ZPCONFIG_DEFAULT_FILE, -1, "index.zpc"},
        {0x1000018, ZPCONFIG_FLAGS_SECURITY, 0, nullptr},
        {0x2000019, ZPCONFIG_DIR_USER, -1, "public_btx"},
        {0x200001a, ZPCONFIG_INFO_SERVERADMIN, -1, "webmaster@localhost"},
        {0x200001b, ZPCONFIG_SSL_OPENSSL, -1, "libssl.so"},
        {0x200001c, ZPCONFIG_SSL_CRYPTO, -1, "libcrypto.so"},
        {0x100001d, ZPCONFIG_BUFSZ_OUTPUT_FLUSH, 1048576, nullptr},
        {0x200001d, ZPCONFIG_SSL_CONFIG, -1, nullptr},
        {0x200001e, ZPCONFIG_DIR_BUILTIN, -1, nullptr},
        {0x1000021, ZPCONFIG_MAX_DOCACHE, 0, nullptr},
        {0x2000025, ZPCONFIG_LOG_FILTER, -1, nullptr},
        {0x1000026, ZPCONFIG_TIMEOUT_POST, 30, nullptr},
        {0x1000027, ZPCONFIG_MAX_POST_VARS, 2000, nullptr},
        {0x1000028, ZPCONFIG_MAX_UNKNOWN_CONTENT_LENGTH, 1048576, nullptr},
        {0x2000028, ZPCONFIG_LOG_COOKIE, -1, nullptr},
        {0x1000029, ZPCONFIG_SSL_SNI, -1, nullptr},
        {0x1000030, ZPCONFIG_MAX_ASYNC_TASKS, 0, nullptr},
        {0x1000031, ZPCONFIG_TIMEOUT_ASYNC, 3600, nullptr},
        {0x1000032, ZPCONFIG_TIMEOUT_ASYNC_SLEEP, 86400, nullptr},
        {0x2000033, ZPCONFIG_FILE_CA, -1, nullptr},
        {0x2000034, ZPCONFIG_ERROR_SYSLOG, -1, nullptr},
        {0x2000035, ZPCONFIG_ERROR_SYSLOG_IDENT, -1, nullptr},
        {0x2000036, ZPCONFIG_ERROR_SYSLOG_FACILITY, -1, nullptr},
        {0x2000037, ZPCONFIG_ERROR_SYSLOG_PRIORITY, -1, nullptr},
    };
    Config config;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(row.name, row.key);
        EXPECT_EQ(config.value_integer(row.key), row.integer);
        EXPECT_EQ(Text(config, row.key), row.text ? row.text : "(null)");
    }
}

TEST(Config, AnAdministratorIsNamedByDefault)
{
    Config config;
    EXPECT_NE(Text(config, ZPCONFIG_INFO_SERVERADMIN), "(null)");
    EXPECT_NE(Text(config, ZPCONFIG_INFO_SERVERADMIN), "");
}

TEST(Config, KeysWithTheSameLowDigitsAreApart)
{
    Config config;
    EXPECT_TRUE(config.SetValue_Integer(ZPCONFIG_BUFSZ_OUTPUT_FLUSH, 7));
    EXPECT_TRUE(config.SetValue(ZPCONFIG_SSL_CONFIG, "a.cnf", -1, kBorrowed));
    EXPECT_EQ(config.value_integer(ZPCONFIG_BUFSZ_OUTPUT_FLUSH), 7);
    EXPECT_EQ(Text(config, ZPCONFIG_SSL_CONFIG), "a.cnf");
}

TEST(Config, ASetterRefusesAKeyOfTheOtherType)
{
    Config config;
    EXPECT_FALSE(config.SetValue(ZPCONFIG_TIMEOUT_CALL, "5", -1, kBorrowed));
    EXPECT_FALSE(config.SetValue_Integer(ZPCONFIG_DIR_DATA, 5));
    EXPECT_EQ(config.value_integer(ZPCONFIG_TIMEOUT_CALL), 30);
    EXPECT_EQ(Text(config, ZPCONFIG_DIR_DATA), "(null)");
}

TEST(Config, AReaderHasNoAnswerForAKeyOfTheOtherType)
{
    Config config;
    config.SetValue(ZPCONFIG_DIR_DATA, "/data", -1, kBorrowed);
    EXPECT_EQ(config.value_integer(ZPCONFIG_DIR_DATA), -1);
    int length = 5;
    EXPECT_EQ(config.value_string(ZPCONFIG_TIMEOUT_CALL, &length), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(config.value_string(ZPCONFIG_TIMEOUT_CALL, nullptr), nullptr);
}

TEST(Config, AnUnknownKeyHasNoValue)
{
    Config config;
    EXPECT_EQ(config.value_integer(0x1000999), -1);
    EXPECT_EQ(Text(config, 0x2000999), "(null)");
}

TEST(Config, TheLastValueSetHolds)
{
    Config config;
    EXPECT_EQ(config.value_integer(ZPCONFIG_MAX_FILES), 0);
    EXPECT_TRUE(config.SetValue_Integer(ZPCONFIG_MAX_FILES, 3));
    EXPECT_TRUE(config.SetValue_Integer(ZPCONFIG_MAX_FILES, 4));
    EXPECT_EQ(config.value_integer(ZPCONFIG_MAX_FILES), 4);
    EXPECT_TRUE(config.SetValue(ZPCONFIG_DIR_DATA, NewText("/first"), -1, kOwned));
    EXPECT_TRUE(config.SetValue(ZPCONFIG_DIR_DATA, NewText("/second"), 4, kOwned));
    EXPECT_EQ(Text(config, ZPCONFIG_DIR_DATA), "/sec");
}

TEST(Config, ABorrowedTextIsNotCopied)
{
    Config config;
    const char text[] = "/data";
    config.SetValue(ZPCONFIG_DIR_DATA, text, -1, kBorrowed);
    EXPECT_EQ(config.value_string(ZPCONFIG_DIR_DATA, nullptr), text);
}

TEST(Config, ACopyHasItsOwnTerminatedTexts)
{
    Config* source = new Config;
    char text[] = "/data/and more";
    source->SetValue(ZPCONFIG_DIR_DATA, text, 5, kBorrowed);
    source->SetValue_Integer(ZPCONFIG_TIMEOUT_CALL, 5);
    Config copy(*source);
    delete source;
    memset(text, 'x', sizeof text);
    EXPECT_STREQ(copy.value_string(ZPCONFIG_DIR_DATA, nullptr), "/data");
    EXPECT_EQ(Text(copy, ZPCONFIG_DIR_DATA), "/data");
    EXPECT_EQ(copy.value_integer(ZPCONFIG_TIMEOUT_CALL), 5);
}

class CountingConfig : public Config {
public:
    ConfigValue* default_value(int key) override
    {
        ++asked;
        return Config::default_value(key);
    }
    int asked = 0;
};

TEST(Config, ADefaultIsLookedUpOnce)
{
    CountingConfig config;
    EXPECT_EQ(config.value_integer(ZPCONFIG_TIMEOUT_CALL), 30);
    EXPECT_EQ(config.value_integer(ZPCONFIG_TIMEOUT_CALL), 30);
    EXPECT_EQ(config.asked, 1);
    config.SetValue_Integer(ZPCONFIG_TIMEOUT_MAIL, 5);
    EXPECT_EQ(config.value_integer(ZPCONFIG_TIMEOUT_MAIL), 5);
    EXPECT_EQ(config.asked, 1);
}

}  // namespace
