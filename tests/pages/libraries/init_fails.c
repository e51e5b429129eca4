/* A settings library that refuses, with a reason. */

#include "zeph/extension.h"

static int Init(ExternalConfig* config, void** data, int flags, void* arguments, int count)
{
    (void)config, (void)data, (void)flags, (void)arguments, (void)count;
    return 1;
}

static char* Error(ExternalConfig* config, void** data)
{
    static char text[] = "The settings are on strike";
    (void)config, (void)data;
    return text;
}

const zpConfig_Library* zeph_config_library(void)
{
    static const zpConfig_Library library = {.version = 2, .init = Init, .error = Error};
    return &library;
}
