/* A settings library that refuses each script, and does not say why. */

#include "site_settings.h"

static int ScriptConfig(ExternalConfig* config, void** data, const char* script, File* file)
{
    (void)config, (void)data, (void)script, (void)file;
    return 1;
}

const zpConfig_Library* zeph_config_library(void)
{
    static const zpConfig_Library library = {
        .version = 2, .init = Init, .script_config = ScriptConfig};
    return &library;
}
