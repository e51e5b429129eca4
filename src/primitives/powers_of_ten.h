#ifndef ZEPH_PRIMITIVES_POWERS_OF_TEN_H
#define ZEPH_PRIMITIVES_POWERS_OF_TEN_H

#include <stdint.h>

// Powers of ten for the conversions between doubles and texts. All of them are constants
// that the compiler computes; nothing is done at start-up, and a page of memory is touched
// only when a number needs a power that stands in it.

const int kLeastPowerOfTen = -342;
const int kGreatestPowerOfTen = 324;

// The 128 highest bits of a power of ten, cut off behind them: with n for these bits as one
// integer, 2^127 <= n < 2^128, and the power lies in [n, n + 1) times a power of two.
struct PowerOfTen {
    uint64_t high;
    uint64_t low;
};

struct PowersOfTen {
    PowerOfTen of[kGreatestPowerOfTen - kLeastPowerOfTen + 1];
};
extern const PowersOfTen kPowersOfTen;

// From 10^0 up to this one the bits are all there is, and `low` is 0.
const int kGreatestWholePower = 27;

// `exponent` lies between the least and the greatest one.
inline const PowerOfTen& HighestBits(int exponent)
{
    return kPowersOfTen.of[exponent - kLeastPowerOfTen];
}

// The exponent of the highest bit: 2^result <= 10^exponent < 2^(result + 1). For
// exponents between -1233 and 1233.
inline int HighestBitOfPower(int exponent)
{
    return exponent * 1741647 >> 19;  // 1741647 / 2^19 is log2(10)
}

// All powers of ten that a double holds exactly.
const int kGreatestExactPower = 22;
inline constexpr double kExactPowersOfTen[kGreatestExactPower + 1] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// All powers of ten below 2^64.
const int kGreatestIntegerPower = 19;
inline constexpr uint64_t kIntegerPowersOfTen[kGreatestIntegerPower + 1] = {1u,
                                                                            10u,
                                                                            100u,
                                                                            1000u,
                                                                            10000u,
                                                                            100000u,
                                                                            1000000u,
                                                                            10000000u,
                                                                            100000000u,
                                                                            1000000000u,
                                                                            10000000000u,
                                                                            100000000000u,
                                                                            1000000000000u,
                                                                            10000000000000u,
                                                                            100000000000000u,
                                                                            1000000000000000u,
                                                                            10000000000000000u,
                                                                            100000000000000000u,
                                                                            1000000000000000000u,
                                                                            10000000000000000000u};

#endif
