/* A settings library that refuses, and does not say why. */

#include "zeph/extension.h"

static int Init(ExternalConfig* config, void** data, int flags, void* arguments, int count)
{
    (void)config, (void)data, (void)flags, (void)arguments, (void)count;
    return 1;
}

const zpConfig_Library* zeph_config_library(void)
{
    static const zpConfig_Library library = {.version = 2, .init = Init};
    return &library;
}
