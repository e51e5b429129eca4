#ifndef ZEPH_PRIMITIVES_MEMCMPI_H
#define ZEPH_PRIMITIVES_MEMCMPI_H

// Orders two byte ranges of `length` bytes without regard to letter case: -1, 0
// or 1. Bytes below 128 compare by `tolower`; a byte above counts as a negative
// char and so sorts before all of them. A length of 0 or less gives 0.
int memcmpi(const void* a, const void* b, int length);

#endif
