#ifndef ZEPH_PRIMITIVES_CONVERSIONS_H
#define ZEPH_PRIMITIVES_CONVERSIONS_H

// Conversions between numbers and their texts, as scripts see them.

// The decimal text of a number, in a new array that the caller owns; NUL-terminated
// and of exact size, the capacity being the length + 1.
char* itos(int value, int* length, int* capacity);

// The number that a text of decimal digits, with an optional '-', or of "0x" and
// hexadecimal digits stands for; what is too large wraps around in 32 bits. A length
// of -1 means that the text ends at its NUL. Any other text gives 0 and sets `*error`
// to 1, which else becomes 0; "-" and the empty text are 0 without an error. `error`
// may be null.
int stoi(const char* text, int length, int* error);

#endif
