// The table that the runtime takes from this library, and the functions in it. The
// private word of the interface holds the Settings of the request.

#include <new>
#include <stdlib.h>

#include "Settings.h"

namespace {

enum Result {
    kSuccess = 0,
    kFailure = 1
};

Settings* SettingsOf(void** data)
{
    return static_cast<Settings*>(*data);
}

// The C++ library, with its operator new, is not linked in.
int Init(ExternalConfig* config, void** data, int, void*, int)
{
    void* memory = malloc(sizeof(Settings));
    if (!memory)
        return kFailure;
    Settings* settings = new (memory) Settings;
    *data = settings;
    return settings->Load(config) ? kSuccess : kFailure;
}

int GetInteger(ExternalConfig*, void** data, int key, int* value)
{
    const Statement* statement = *data ? SettingsOf(data)->Find(key) : nullptr;
    if (!statement)
        return kFailure;
    *value = statement->number;
    return kSuccess;
}

int GetString(ExternalConfig*, void** data, int key, char** text, int* length, int* owned)
{
    const Statement* statement = *data ? SettingsOf(data)->Find(key) : nullptr;
    if (!statement)
        return kFailure;
    *text = const_cast<char*>(statement->text);
    *length = statement->length;
    *owned = 0;
    return kSuccess;
}

char* Error(ExternalConfig*, void** data)
{
    static char out_of_memory[] = "Out of memory";
    return *data ? SettingsOf(data)->error() : out_of_memory;
}

// The texts of the settings go as well: nobody reads one after this.
void Cleanup(ExternalConfig*, void** data)
{
    if (!*data)
        return;
    SettingsOf(data)->~Settings();
    free(*data);
    *data = nullptr;
}

int ScriptConfig(ExternalConfig* config, void** data, const char* script, File*)
{
    return SettingsOf(data)->LoadScript(config, script) ? kSuccess : kFailure;
}

const int kVersion = 2;

const zpConfig_Library library = {
    kVersion, Init, nullptr, GetInteger, GetString, Error, Cleanup, ScriptConfig,
};

}  // namespace

const zpConfig_Library* zeph_config_library(void)
{
    return &library;
}
