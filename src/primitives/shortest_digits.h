#ifndef ZEPH_PRIMITIVES_SHORTEST_DIGITS_H
#define ZEPH_PRIMITIVES_SHORTEST_DIGITS_H

#include <stdint.h>

// A decimal number: digits * 10^exponent.
struct ShortestDecimal {
    uint64_t digits;
    int exponent;
};

// The shortest decimal that reads back to `value` when reading rounds to nearest; among
// equally short ones the one nearest to it, a tie going to the even digit. These are the
// digits of `dtoa` in its mode 0, but zeros may stand behind them. `value` is positive and
// finite; the digits are below 10^17.
//
// The algorithm is the one of "The Schubfach way to render doubles" (2020): one power of
// ten of 128 bits, and no loop.
ShortestDecimal ShortestDigits(double value);

#endif
