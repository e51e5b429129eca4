#ifndef ZEPH_TESTS_HARDDOUBLES_H
#define ZEPH_TESTS_HARDDOUBLES_H

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

// The doubles that the tests of numbers run over: those at every edge that the format
// or an algorithm has, and random ones.

inline double FromBits(uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline uint64_t ToBits(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// How many random doubles of each kind; many more when ZEPH_LONG_TESTS is set.
inline int RandomCount()
{
    return std::getenv("ZEPH_LONG_TESTS") ? 1000000 : 100000;
}

// Appends a positive double with its neighbours.
inline void AddWithNeighbours(double value, std::vector<double>* doubles)
{
    uint64_t bits = ToBits(value);
    for (uint64_t distance = 0; distance <= 3; ++distance) {
        if (std::isfinite(FromBits(bits + distance)))
            doubles->push_back(FromBits(bits + distance));
        if (distance > 0 && bits > distance)
            doubles->push_back(FromBits(bits - distance));
    }
}

inline std::vector<double> StructuredDoubles()
{
    std::vector<double> doubles;
    for (int exponent = -1074; exponent <= 1023; ++exponent)
        AddWithNeighbours(std::ldexp(1.0, exponent), &doubles);
    for (int exponent = -323; exponent <= 308; ++exponent) {
        std::string power = "1e" + std::to_string(exponent);
        for (int factor = 1; factor <= 9; ++factor) {
            power[0] = char('0' + factor);
            double value = std::strtod(power.c_str(), nullptr);
            if (std::isfinite(value))
                AddWithNeighbours(value, &doubles);
        }
    }
    // Exact ties of every number of places: odd multiples of powers of two.
    for (int places = 1; places <= 30; ++places) {
        for (int odd = 1; odd < 200; odd += 2)
            doubles.push_back(std::ldexp(double(odd), -places));
    }
    for (int whole = 0; whole < 2000; ++whole)
        doubles.push_back(whole + 0.5);
    for (uint64_t step = 0; step < 64; ++step) {
        AddWithNeighbours(std::ldexp(1.0, 53) + double(2 * step), &doubles);
        doubles.push_back(FromBits(1 + step));                    // denormals, upwards
        doubles.push_back(FromBits((uint64_t(1) << 52) - step));  // and downwards
        doubles.push_back(FromBits(0x7FEFFFFFFFFFFFFFu - step));  // the largest ones
        doubles.push_back(FromBits(uint64_t(1) << (step % 52)));  // denormal powers of two
        doubles.push_back(FromBits(0x0010000000000000u * (step + 1) - 1));
    }
    static const double kKnown[] = {0.1,
                                    0.2,
                                    0.1 + 0.2,
                                    1.0 / 3.0,
                                    2.0 / 3.0,
                                    9.5,
                                    9.995,
                                    99.995,
                                    999999999999999.9,
                                    0.5,
                                    0.05,
                                    0.005,
                                    0.0005,
                                    5e-21,
                                    4.9999999999999999e-21,
                                    1e-20,
                                    1.5e-20,
                                    2.5e-20,
                                    9007199254740991.0,
                                    9007199254740992.0,
                                    9007199254740994.0,
                                    123456789012345678.0,
                                    2.2250738585072011e-308,
                                    2.2250738585072014e-308,
                                    1.7976931348623157e308,
                                    9.5e-5,
                                    1e23,
                                    9.999999999999999e22,
                                    8.41e21,
                                    2.0e-44,
                                    5.684341886080801e-14,
                                    4.35,
                                    0.285,
                                    1.005,
                                    2.675,
                                    1e21,
                                    123456.789e3};
    doubles.insert(doubles.end(), std::begin(kKnown), std::end(kKnown));
    return doubles;
}

// Any bits that are a finite number; its sign is positive.
inline double AnyDouble(std::mt19937_64& random)
{
    for (;;) {
        double value = FromBits(random() & 0x7FFFFFFFFFFFFFFFu);
        if (std::isfinite(value))
            return value;
    }
}

// What pages count with: sums of money, quotients, measures between 1e-9 and 1e19.
inline double EverydayDouble(std::mt19937_64& random)
{
    switch (random() % 4) {
        case 0:
            return double(random() % 100000000) / 100.0;
        case 1:
            return double(random() % 100000 + 1) / double(random() % 1000 + 1);
        case 2:
            return std::ldexp(double(random() >> 11), -int(random() % 84));
        default:
            return double(random() % 1000000) / std::pow(10.0, double(random() % 12));
    }
}

template <typename Check>
void ForEachDouble(Check check)
{
    for (double value : StructuredDoubles())
        check(value);
    std::mt19937_64 random(20240229);
    for (int i = 0; i < RandomCount(); ++i) {
        check(AnyDouble(random));
        check(EverydayDouble(random));
    }
}

#endif
