/* A settings library that sends the program a signal when the script is known. */

#include <signal.h>

#include "site_settings.h"

static int ScriptConfig(ExternalConfig* config, void** data, const char* script, File* file)
{
    (void)config, (void)data, (void)script, (void)file;
    return raise(SIGTERM);
}

const zpConfig_Library* zeph_config_library(void)
{
    static const zpConfig_Library library = {
        .version = 2, .init = Init, .script_config = ScriptConfig};
    return &library;
}
