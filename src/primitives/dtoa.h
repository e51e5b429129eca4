#ifndef ZEPH_PRIMITIVES_DTOA_H
#define ZEPH_PRIMITIVES_DTOA_H

// The decimal digits of a double, correctly rounded. The algorithm is the free-format one
// of "How to Print Floating-Point Numbers Accurately" (1990), the exact arithmetic and the
// calling convention those of "Correctly Rounded Binary-Decimal and Decimal-Binary
// Conversions" (1990).

const int kDtoaShortest = 0;
const int kDtoaShortestToPlaces = 5;

// Marks, in *decpt, a value that is not finite.
const int kDtoaNotFinite = 9999;

// Room for any result: at most 17 digits, or "Infinity", and a NUL.
const int kDtoaBuffer = 18;

// Writes the significant digits of `value` to `buffer`, with a NUL behind them and
// neither leading nor trailing zeros, and returns `buffer`. *decpt becomes the number
// of digits in front of the decimal point, so that the value is 0.DIGITS times ten to
// the power *decpt; *sign is the sign bit, also of zeros and NaN. *rve, when `rve` is
// not null, points to the NUL.
//
// Mode 0 (kDtoaShortest) gives the shortest digits that read back to the same double
// when reading rounds to nearest; among equally short ones those nearest to the value.
// `ndigits` does not count.
//
// Mode 5 (kDtoaShortestToPlaces) gives the same digits when they end within `ndigits`
// places behind the decimal point; a negative `ndigits` means places in front of it.
// Otherwise the exact value is rounded to that many places, a tie going to the even
// digit. A value that rounds to zero has no digits and *decpt is -ndigits.
//
// Zero has the digit "0" and *decpt 1. Infinities have "Infinity", not-a-numbers "NaN",
// and *decpt is kDtoaNotFinite.
char* dtoa(double value, int mode, int ndigits, int* decpt, int* sign, char** rve, char* buffer);

#endif
