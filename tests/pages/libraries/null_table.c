/* A settings library that keeps its table to itself. */

#include "zeph/extension.h"

const zpConfig_Library* zeph_config_library(void)
{
    return 0;
}
