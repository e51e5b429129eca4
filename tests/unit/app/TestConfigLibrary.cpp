// A configuration library for tests: a setting is the environment variable "TEST_" and
// its key in hexadecimal digits. TEST_INIT_ERROR makes the start fail with its text.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zeph/extension.h"

namespace {

char* Value(int key)
{
    char name[32];
    snprintf(name, sizeof name, "TEST_%x", unsigned(key));
    return getenv(name);
}

int Init(ExternalConfig*, void**, int, void*, int)
{
    return getenv("TEST_INIT_ERROR") ? 1 : 0;
}

int GetInteger(ExternalConfig*, void**, int key, int* value)
{
    const char* text = Value(key);
    if (!text)
        return 1;
    *value = atoi(text);
    return 0;
}

int GetString(ExternalConfig*, void**, int key, char** text, int* length, int* owned)
{
    *text = Value(key);
    if (!*text)
        return 1;
    *length = int(strlen(*text));
    *owned = 0;
    return 0;
}

char* Error(ExternalConfig*, void**)
{
    return getenv("TEST_INIT_ERROR");
}

const zpConfig_Library library = {2, Init, nullptr, GetInteger, GetString, Error, nullptr, nullptr};

}  // namespace

const zpConfig_Library* zeph_config_library(void)
{
    return &library;
}
