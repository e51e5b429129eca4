#include "variables/allocation.h"

#include <stdlib.h>

namespace {

void* OrEnd(void* memory)
{
    if (!memory)
        abort();
    return memory;
}

}  // namespace

void* ZeroedMemory(size_t count, size_t size)
{
    return OrEnd(calloc(count ? count : 1, size));
}

void* GrownMemory(void* memory, size_t count, size_t size)
{
    return OrEnd(reallocarray(memory, count ? count : 1, size));
}
