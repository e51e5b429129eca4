#include "primitives/powers_of_ten.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "primitives/bigint.h"

namespace {

const int kBits = 128;

// A large number that frees itself.
class Large {
public:
    explicit Large(Bigint* number) : m_number(number) {}
    ~Large() { Bfree(m_number); }
    Large(const Large&) = delete;
    Large& operator=(const Large&) = delete;
    const Bigint* get() const { return m_number; }

private:
    Bigint* m_number;
};

// The 128 bits, and with `more` one unit of their last above them.
Bigint* Integer(const PowerOfTen& power, uint32_t more)
{
    // A word at a time, which is what multadd adds.
    Bigint* number = lshift(i2b(power.high), 32);
    number = multadd(number, 1, uint32_t(power.low >> 32));
    number = lshift(number, 32);
    number = multadd(number, 1, uint32_t(power.low));
    return multadd(number, 1, more);
}

}  // namespace

TEST(PowersOfTen, EachPowerLiesWithinOneUnitAboveItsBits)
{
    for (int exponent = kLeastPowerOfTen; exponent <= kGreatestPowerOfTen; ++exponent) {
        SCOPED_TRACE(exponent);
        const PowerOfTen& power = HighestBits(exponent);
        ASSERT_NE(power.high >> 63, 0u);
        // What the bits have to be multiplied by.
        const int shift = HighestBitOfPower(exponent) - (kBits - 1) - exponent;
        const int fives = exponent < 0 ? -exponent : 0;
        Large below(lshift(pow5mult(Integer(power, 0), fives), shift > 0 ? shift : 0));
        Large above(lshift(pow5mult(Integer(power, 1), fives), shift > 0 ? shift : 0));
        Large exact(lshift(pow5mult(i2b(1), exponent > 0 ? exponent : 0), shift < 0 ? -shift : 0));
        ASSERT_LE(cmp(below.get(), exact.get()), 0);
        ASSERT_GT(cmp(above.get(), exact.get()), 0);
        const bool is_whole = exponent >= 0 && exponent <= kGreatestWholePower;
        ASSERT_EQ(power.low == 0, is_whole);
        if (exponent < 0 || is_whole) {
            ASSERT_EQ(cmp(below.get(), exact.get()) == 0, is_whole);
        }
    }
    EXPECT_EQ(Bcount(), 0);
}

TEST(PowersOfTen, NoLowWordOverflowsWhenOneIsAdded)
{
    for (int exponent = kLeastPowerOfTen; exponent <= kGreatestPowerOfTen; ++exponent)
        ASSERT_NE(HighestBits(exponent).low, ~uint64_t(0)) << exponent;
}

TEST(PowersOfTen, TheSmallOnesAreWhatTheirTextsSay)
{
    std::string text = "1";
    for (int exponent = 0; exponent <= kGreatestIntegerPower; ++exponent, text += '0')
        EXPECT_EQ(std::to_string(kIntegerPowersOfTen[exponent]), text);
    text = "1";
    for (int exponent = 0; exponent <= kGreatestExactPower; ++exponent, text += '0') {
        char digits[40];
        std::snprintf(digits, sizeof digits, "%.0f", kExactPowersOfTen[exponent]);
        EXPECT_EQ(digits, text);
    }
}
