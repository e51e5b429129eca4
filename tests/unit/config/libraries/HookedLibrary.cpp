#include "zeph/extension.h"

// Set by the test before the runtime asks.
extern "C" {
ZEPH_EXPORT const zpConfig_Library* hooked_table = nullptr;
}

const zpConfig_Library* zeph_config_library(void)
{
    return hooked_table;
}
