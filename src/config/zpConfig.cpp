// The zpConfig_ family of the extension interface: what the configuration library
// calls while it starts and while it sets up a script.

#include "config/ExternalConfig.h"
#include "zeph/extension.h"

namespace {

// This family reports success as 0.
int Inverted(bool success)
{
    return success ? 0 : 1;
}

}  // namespace

int zpConfig_SetValue(ExternalConfig* config, int key, const char* text, int length, int owned)
{
    return Inverted(config->SetValue(key, text, length, owned));
}

int zpConfig_SetValue_Integer(ExternalConfig* config, int key, int value)
{
    return Inverted(config->SetValue_Integer(key, value));
}

void zpConfig_Set_DefaultErrorSetting(ExternalConfig* config, const char* tag, int length,
                                      int setting)
{
    config->Set_DefaultErrorSetting(tag, length, setting);
}

void zpConfig_SetVariable_System(ExternalConfig* config, const char* name, int name_length,
                                 const char* value, int value_length)
{
    config->SetVariable_System(name, name_length, value, value_length);
}

void zpConfig_SetVariable_Global(ExternalConfig* config, const char* name, int name_length,
                                 const char* value, int value_length)
{
    config->SetVariable_Global(name, name_length, value, value_length);
}

// The registering functions report success whatever happens, by contract: a library
// that is missing shows when a script asks for it.
int zpConfig_Register_Library_System(ExternalConfig* config, const char* name, const char* path)
{
    config->Register_Library_System(name, path);
    return 0;
}

int zpConfig_Register_Library_Builtin(ExternalConfig* config, const char* path)
{
    config->Register_Library_Builtin(path);
    return 0;
}

int zpConfig_Register_Library_Database(ExternalConfig* config, const char* name, const char* path)
{
    config->Register_Library_Database(name, path);
    return 0;
}

int zpConfig_Register_Library_Commerce(ExternalConfig* config, const char* name, const char* path)
{
    config->Register_Library_Commerce(name, path);
    return 0;
}
