#ifndef ZEPH_CONFIG_CONFIG_H
#define ZEPH_CONFIG_CONFIG_H

#include "variables/HashTable.h"
#include "zeph/extension.h"

// One setting: an integer, or a text that is freed with it if it is owned (new[]).
class ConfigValue {
public:
    ConfigValue(int key, int value);
    ConfigValue(int key, const char* text, int length, int owned);
    // Always owns a fresh, NUL-terminated copy of the text.
    ConfigValue(const ConfigValue& source);
    ConfigValue& operator=(const ConfigValue&) = delete;
    virtual ~ConfigValue();

    const int* key() const { return &m_key; }
    const char* text() const { return m_text; }
    int length() const { return m_length; }
    int integer() const { return m_integer; }

private:
    int m_key;
    const char* m_text = nullptr;
    int m_length = 0;
    int m_owned = 0;
    int m_integer = 0;
};

// Settings by the four bytes of their key.
class ConfigValues : public HashTable<ConfigValue> {
public:
    ConfigValues() : HashTable(1, 1, 12, 512) {}

protected:
    const char* Key(ConfigValue* value, int* length) override
    {
        *length = sizeof(int);
        return reinterpret_cast<const char*>(value->key());
    }
};

// The settings, by the keys of zpConfig_Key. A setting that was not set takes its
// default when it is first read, and keeps it.
class Config {
public:
    Config() {}
    Config(const Config& source);
    Config& operator=(const Config&) = delete;
    virtual ~Config() {}

    // -1 for a key that is not an integer's or has no value.
    virtual int value_integer(int key);
    // Null, and a length of 0, for a key that is not a text's or has no value.
    // `length` may be null; the text stays the setting's.
    virtual const char* value_string(int key, int* length);
    // True on success, false for a key of the other type. With `owned` the setting
    // takes the new[] array, in that case only.
    virtual bool SetValue(int key, const char* text, int length, int owned);
    virtual bool SetValue_Integer(int key, int value);
    // A new setting with the default of a key, the caller's; null for none.
    virtual ConfigValue* default_value(int key);

private:
    ConfigValue* Lookup(int key);
    void Replace(ConfigValue* value);

    ConfigValues m_values;
};

#endif
