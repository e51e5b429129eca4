#include "config/Config.h"

#include <string.h>

namespace {

const struct {
    int key;
    int value;
} integer_defaults[] = {
    {ZPCONFIG_LOG_LEVEL, 0},
    {ZPCONFIG_TIMEOUT_GLOBAL, 90},
    {ZPCONFIG_TIMEOUT_MAIL, 30},
    {ZPCONFIG_TIMEOUT_CALL, 30},
    {ZPCONFIG_TIMEOUT_FILE, 30},
    {ZPCONFIG_DELAY_FILE, 100},
    {ZPCONFIG_COOKIES, 1},
    {ZPCONFIG_BUFSZ_IMPORT, 8192},
    {ZPCONFIG_BUFSZ_TEMPLATE, 8192},
    {ZPCONFIG_BUFSZ_CALL, 8192},
    {ZPCONFIG_BUFSZ_SMTP, 8192},
    {ZPCONFIG_BUFSZ_CONTENT, 8192},
    {ZPCONFIG_BUFSZ_OUTPUT, 8192},
    {ZPCONFIG_MAX_FILES, 0},
    {ZPCONFIG_LOCK_EXPIRATION, 90},
    {ZPCONFIG_FLAGS_SECURITY, 0},
    {ZPCONFIG_BUFSZ_OUTPUT_FLUSH, 1048576},
    {ZPCONFIG_MAX_DOCACHE, 0},
    {ZPCONFIG_TIMEOUT_POST, 30},
    {ZPCONFIG_MAX_POST_VARS, 2000},
    {ZPCONFIG_MAX_UNKNOWN_CONTENT_LENGTH, 1048576},
    {ZPCONFIG_SSL_SNI, -1},
    {ZPCONFIG_MAX_ASYNC_TASKS, 0},
    {ZPCONFIG_TIMEOUT_ASYNC, 3600},
    {ZPCONFIG_TIMEOUT_ASYNC_SLEEP, 86400},
};

const struct {
    int key;
    const char* text;
} string_defaults[] = {
    {ZPCONFIG_DEFAULT_FILE, "index.zpc"},
    {ZPCONFIG_DIR_USER, "public_btx"},
    {ZPCONFIG_INFO_SERVERADMIN, "webmaster@localhost"},
    {ZPCONFIG_SSL_OPENSSL, "libssl.so"},
    {ZPCONFIG_SSL_CRYPTO, "libcrypto.so"},
};

const int kBorrowed = 0;
const int kOwned = 1;

const char* Bytes(const int* key)
{
    return reinterpret_cast<const char*>(key);
}

}  // namespace

ConfigValue::ConfigValue(int key, int value) : m_key(key), m_integer(value) {}

ConfigValue::ConfigValue(int key, const char* text, int length, int owned)
    : m_key(key),
      m_text(text),
      m_length(length >= 0 ? length
               : text      ? int(strlen(text))
                           : 0),
      m_owned(owned)
{
}

ConfigValue::ConfigValue(const ConfigValue& source)
    : m_key(source.m_key), m_length(source.m_length), m_integer(source.m_integer)
{
    if (!source.m_text)
        return;
    char* copy = new char[size_t(m_length) + 1];
    memcpy(copy, source.m_text, size_t(m_length));
    copy[m_length] = 0;
    m_text = copy;
    m_owned = kOwned;
}

ConfigValue::~ConfigValue()
{
    if (m_owned)
        delete[] m_text;
}

Config::Config(const Config& source)
{
    for (int slot = 0; slot < source.m_values.Entries(); ++slot)
        if (const ConfigValue* value = source.m_values.Index(slot))
            m_values.Insert(new ConfigValue(*value));
}

ConfigValue* Config::Lookup(int key)
{
    ConfigValue* value = m_values.Find(Bytes(&key), sizeof key);
    if (value)
        return value;
    value = default_value(key);
    if (value)
        m_values.Insert(value);
    return value;
}

int Config::value_integer(int key)
{
    if (!(key & ZPCONFIG_INTEGER))
        return -1;
    ConfigValue* value = Lookup(key);
    return value ? value->integer() : -1;
}

const char* Config::value_string(int key, int* length)
{
    ConfigValue* value = key & ZPCONFIG_STRING ? Lookup(key) : nullptr;
    if (length)
        *length = value ? value->length() : 0;
    return value ? value->text() : nullptr;
}

void Config::Replace(ConfigValue* value)
{
    delete m_values.Remove(Bytes(value->key()), sizeof(int));
    m_values.Insert(value);
}

bool Config::SetValue(int key, const char* text, int length, int owned)
{
    if (!(key & ZPCONFIG_STRING))
        return false;
    Replace(new ConfigValue(key, text, length, owned));
    return true;
}

bool Config::SetValue_Integer(int key, int value)
{
    if (!(key & ZPCONFIG_INTEGER))
        return false;
    Replace(new ConfigValue(key, value));
    return true;
}

ConfigValue* Config::default_value(int key)
{
    for (const auto& row : integer_defaults)
        if (row.key == key)
            return new ConfigValue(key, row.value);
    for (const auto& row : string_defaults)
        if (row.key == key)
            return new ConfigValue(key, row.text, -1, kBorrowed);
    return nullptr;
}
