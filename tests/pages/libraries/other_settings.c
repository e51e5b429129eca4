/* A settings library that works, and tells scripts that it is not the usual one. */

#include "site_settings.h"

static int InitOther(ExternalConfig* config, void** data, int flags, void* arguments, int count)
{
    zpConfig_SetVariable_System(config, "settings", -1, "other", -1);
    return Init(config, data, flags, arguments, count);
}

const zpConfig_Library* zeph_config_library(void)
{
    static const zpConfig_Library library = {.version = 2, .init = InitOther};
    return &library;
}
