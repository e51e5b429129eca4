#ifndef ZEPH_PRIMITIVES_CONVERSIONS_H
#define ZEPH_PRIMITIVES_CONVERSIONS_H

// Conversions between numbers and their texts, as scripts see them. The program never
// calls `setlocale`, so the decimal point is '.' everywhere. Callers that have room for a
// text take FormatInteger and FormatShortest of number_text.h, which allocate nothing.

// The decimal text of a number, in a new array that the caller owns; NUL-terminated
// and of exact size, the capacity being the length + 1.
char* itos(int value, int* length, int* capacity);

// The number that a text of decimal digits, with an optional '-', or of "0x" and
// hexadecimal digits stands for; what is too large wraps around in 32 bits. A length
// of -1 means that the text ends at its NUL. Any other text gives 0 and sets `*error`
// to 1, which else becomes 0; "-" and the empty text are 0 without an error. `error`
// may be null.
int stoi(const char* text, int length, int* error);

// The decimal text of a number, never with an exponent, in a new array that the caller
// owns; NUL-terminated. With a precision of -1 (any negative one counts as that): the
// shortest text that reads back to the same number, rounded to 20 places behind the
// point where it would have more, with neither trailing zeros nor a bare point. With
// another precision: exactly that many places; the shortest text is rounded only if it
// has more, else zeros fill the rest. Others are "Infinity", "-Infinity", "NaN" and
// "-NaN". A set sign bit always shows, also as "-0".
//
// The array has room for some characters more than the text. `length` and `capacity`
// may be null.
char* dtos(double value, int* length, int* capacity, int precision);

// The number that all of a text stands for, as `strtod` of the C library reads it,
// which takes leading white space, '+', exponents and hexadecimal numbers too; "NaN",
// "Inf" and "Infinity" in any case of letters, with an optional '-'. `length` excludes
// the NUL, and -1 means that the text ends at its NUL; `capacity` tells how much can be
// read: a text whose NUL does not stand within it is copied first. `*error` becomes 1
// for any other text, which gives 0.0, and for a number too large, which gives the
// infinity; else 0. The empty text is 0.0 without an error. `error` may be null.
double stod(const char* text, int length, int capacity, int* error);

#endif
