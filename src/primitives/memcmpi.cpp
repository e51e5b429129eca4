#include "primitives/memcmpi.h"

#include <ctype.h>

namespace {

// The value by which a byte compares.
int Folded(signed char c)
{
    return c < 0 ? c : tolower(c);
}

}  // namespace

int memcmpi(const void* a, const void* b, int length)
{
    auto left = static_cast<const signed char*>(a);
    auto right = static_cast<const signed char*>(b);
    for (int i = 0; i < length; ++i) {
        if (left[i] == right[i])
            continue;
        int difference = Folded(left[i]) - Folded(right[i]);
        if (difference != 0)
            return difference < 0 ? -1 : 1;
    }
    return 0;
}
