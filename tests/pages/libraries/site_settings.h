/* The settings without which no request gets as far as its script. */
#ifndef SITE_SETTINGS_H
#define SITE_SETTINGS_H

#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "zeph/extension.h"

/* Scripts and data lie beside the program's folder, which is the current one. */
static inline int SetSiteSettings(ExternalConfig* config)
{
    static char scripts[PATH_MAX + 16];
    static char data[PATH_MAX + 16];
    char folder[PATH_MAX];
    if (!getcwd(folder, sizeof folder))
        return 1;
    *strrchr(folder, '/') = 0;
    snprintf(scripts, sizeof scripts, "%s/scripts", folder);
    snprintf(data, sizeof data, "%s/data", folder);
    zpConfig_SetValue(config, ZPCONFIG_DIR_ZEPH, scripts, -1, 0);
    zpConfig_SetValue(config, ZPCONFIG_DIR_DATA, data, -1, 0);
    zpConfig_SetValue_Integer(config, ZPCONFIG_COOKIES, 0);
    return 0;
}

static int Init(ExternalConfig* config, void** data, int flags, void* arguments, int count)
{
    (void)data, (void)flags, (void)arguments, (void)count;
    return SetSiteSettings(config);
}

#endif
