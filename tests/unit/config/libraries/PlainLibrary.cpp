#include "zeph/extension.h"

extern "C" ZEPH_EXPORT int plain_library(void)
{
    return 1;
}
