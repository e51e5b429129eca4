/* A settings library that refuses each script, with a reason. */

#include "site_settings.h"

static char* Error(ExternalConfig* config, void** data)
{
    static char text[] = "This script is on strike";
    (void)config, (void)data;
    return text;
}

static int ScriptConfig(ExternalConfig* config, void** data, const char* script, File* file)
{
    (void)config, (void)data, (void)script, (void)file;
    return 1;
}

const zpConfig_Library* zeph_config_library(void)
{
    static const zpConfig_Library library = {
        .version = 2, .init = Init, .error = Error, .script_config = ScriptConfig};
    return &library;
}
