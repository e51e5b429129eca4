/* A settings library of version 1, whose way to set up a script is gone. */

#include "site_settings.h"

static void ScriptConfig(void) {}

const zpConfig_Library* zeph_config_library(void)
{
    static const zpConfig_Library library = {
        .version = 1, .init = Init, .script_config_version_1 = ScriptConfig};
    return &library;
}
