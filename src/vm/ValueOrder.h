#ifndef ZEPH_VM_VALUEORDER_H
#define ZEPH_VM_VALUEORDER_H

#include <string.h>

// The order of two values, the same for the operators and for the fused instructions:
// -1, 0 or 1 as the left one is less than, equal to or greater than the right one.

// A NaN on either side is greater, on purpose: it equals nothing, itself included.
inline int NumberOrder(double left, double right)
{
    if (left == right)
        return 0;
    return right > left ? -1 : 1;
}

// By bytes; of two texts that agree as far as both go, the shorter is the lesser.
inline int TextOrder(const char* left, int left_length, const char* right, int right_length)
{
    int common = left_length < right_length ? left_length : right_length;
    int order = common > 0 ? memcmp(left, right, size_t(common)) : 0;
    if (order == 0)
        order = left_length - right_length;
    return order < 0 ? -1 : order > 0;
}

#endif
