#ifndef ZEPH_PRIMITIVES_DECIMAL_READER_H
#define ZEPH_PRIMITIVES_DECIMAL_READER_H

#include <stddef.h>

// Reads a plain decimal number: an optional '-', digits with at most one '.' among them,
// an optional exponent; nothing else, and no byte behind `length`. *value becomes the
// nearest double, a tie going to the even one.
//
// False, with *value as it was, for any other text, and for the few numbers that it
// leaves to `strtod`: those below the normal range or above the greatest double, and those
// so near to the middle of two doubles that 128 bits cannot tell the sides apart.
bool ReadDecimal(const char* text, size_t length, double* value);

#endif
