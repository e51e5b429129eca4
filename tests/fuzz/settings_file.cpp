// Any bytes as the settings file: the configuration library reads it, answers for every
// setting, and sets up scripts.
#include <stdlib.h>
#include <string.h>

#include "FuzzFile.h"
#include "FuzzTarget.h"
#include "zeph/extension.h"

namespace {

volatile unsigned int sum;

void Touch(const char* text, int length)
{
    if (!text)
        return;
    size_t count = length < 0 ? strlen(text) : size_t(length);
    for (size_t i = 0; i < count; ++i)
        sum = sum + static_cast<unsigned char>(text[i]);
}

}  // namespace

// The side of the runtime: each call reads what it is given.

int zpConfig_SetValue(ExternalConfig*, int, const char* text, int length, int)
{
    Touch(text, length);
    return 0;
}

int zpConfig_SetValue_Integer(ExternalConfig*, int, int)
{
    return 0;
}

void zpConfig_Set_DefaultErrorSetting(ExternalConfig*, const char* tag, int length, int)
{
    Touch(tag, length);
}

void zpConfig_SetVariable_System(ExternalConfig*, const char* name, int name_length,
                                 const char* value, int value_length)
{
    Touch(name, name_length);
    Touch(value, value_length);
}

void zpConfig_SetVariable_Global(ExternalConfig*, const char* name, int name_length,
                                 const char* value, int value_length)
{
    Touch(name, name_length);
    Touch(value, value_length);
}

int zpConfig_Register_Library_System(ExternalConfig*, const char* name, const char* path)
{
    Touch(name, -1);
    Touch(path, -1);
    return 0;
}

int zpConfig_Register_Library_Builtin(ExternalConfig*, const char* path)
{
    Touch(path, -1);
    return 0;
}

int zpConfig_Register_Library_Database(ExternalConfig*, const char* name, const char* path)
{
    Touch(name, -1);
    Touch(path, -1);
    return 0;
}

int zpConfig_Register_Library_Commerce(ExternalConfig*, const char* name, const char* path)
{
    Touch(name, -1);
    Touch(path, -1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzFile input(bytes, size);
    setenv("ZpCONFIG_FILE", input.path(), 1);
    const zpConfig_Library* library = zeph_config_library();
    void* settings = nullptr;
    if (library->init(nullptr, &settings, 0, nullptr, 0) != 0)
        Touch(library->error(nullptr, &settings), -1);
    for (int key = 1; key < 0x40; ++key) {
        int number;
        library->get_integer(nullptr, &settings, ZPCONFIG_INTEGER | key, &number);
        char* text = nullptr;
        int length = 0, owned = 0;
        if (library->get_string(nullptr, &settings, ZPCONFIG_STRING | key, &text, &length,
                                &owned) == 0)
            Touch(text, length);
    }
    static const char* const scripts[] = {"index.zpc", "shop/cart.zpc", "/a/../b.zpc", ""};
    for (const char* script : scripts)
        if (settings && library->script_config(nullptr, &settings, script, nullptr) != 0)
            Touch(library->error(nullptr, &settings), -1);
    library->cleanup(nullptr, &settings);
    return 0;
}
