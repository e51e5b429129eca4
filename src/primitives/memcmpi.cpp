#include "primitives/memcmpi.h"

#include "primitives/letter_case.h"

int memcmpi(const void* a, const void* b, int length)
{
    auto left = static_cast<const unsigned char*>(a);
    auto right = static_cast<const unsigned char*>(b);
    for (int i = 0; i < length; ++i) {
        if (left[i] == right[i])
            continue;
        // As signed bytes: those from 128 on sort first.
        auto left_byte = static_cast<signed char>(LowerLetter(left[i]));
        auto right_byte = static_cast<signed char>(LowerLetter(right[i]));
        if (left_byte != right_byte)
            return left_byte < right_byte ? -1 : 1;
    }
    return 0;
}
