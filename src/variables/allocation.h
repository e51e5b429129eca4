#ifndef ZEPH_VARIABLES_ALLOCATION_H
#define ZEPH_VARIABLES_ALLOCATION_H

#include <stddef.h>

// Memory of the C library for arrays of plain numbers. Exhaustion ends the
// process, as a failed `new` does; a product that does not fit is exhaustion too.

// `count` elements of `size` bytes, all zero. Large arrays come from the system
// untouched, so the parts that stay empty cost nothing. Freed by free().
void* ZeroedMemory(size_t count, size_t size);

// `memory`, which may be null, moved to room for `count` elements of `size` bytes.
void* GrownMemory(void* memory, size_t count, size_t size);

#endif
