#include "primitives/shortest_digits.h"

#include <gtest/gtest.h>

#include <string>

#include "HardDoubles.h"
#include "primitives/dtoa.h"

namespace {

// Digits without zeros behind them, and the position of the point.
std::string Normal(const ShortestDecimal& decimal, int* decpt)
{
    std::string digits = std::to_string(decimal.digits);
    *decpt = int(digits.size()) + decimal.exponent;
    digits.erase(digits.find_last_not_of('0') + 1);
    return digits;
}

void ExpectDigitsOfDtoa(double value)
{
    char buffer[kDtoaBuffer];
    int expected_decpt, sign, decpt;
    dtoa(value, kDtoaShortest, 0, &expected_decpt, &sign, nullptr, buffer);
    ShortestDecimal shortest = ShortestDigits(value);
    ASSERT_LT(shortest.digits, 100000000000000000u) << std::hexfloat << value;
    ASSERT_EQ(Normal(shortest, &decpt), buffer) << std::hexfloat << value;
    ASSERT_EQ(decpt, expected_decpt) << std::hexfloat << value;
}

}  // namespace

TEST(ShortestDigits, AreThoseOfDtoaForEveryKindOfDouble)
{
    ForEachDouble([](double value) {
        if (value != 0)
            ExpectDigitsOfDtoa(value);
    });
}

TEST(ShortestDigits, AreThoseOfDtoaAtEveryBinaryExponent)
{
    std::mt19937_64 random(17);
    for (uint64_t exponent = 0; exponent < 2047; ++exponent) {
        for (int i = 0; i < 200; ++i) {
            uint64_t fraction = random() >> 12;
            // Sparse ones too: their products have long rows of zeros.
            if (i % 4 == 0)
                fraction &= random() & random() & random();
            if (exponent + fraction > 0)
                ExpectDigitsOfDtoa(FromBits(exponent << 52 | fraction));
        }
    }
}

TEST(ShortestDigits, AreTheNearestOnesAmongEquallyShortOnes)
{
    static const struct {
        double value;
        const char* digits;
        int decpt;
    } rows[] = {
        {4.9e-324, "5", -323},
        {1e-323, "1", -322},
        {1.5e-323, "15", -322},
        {9007199254740993.0, "9007199254740992", 16},
        {9007199254740994.0, "9007199254740994", 16},
        {0x1p89, "6189700196426902", 27},  // a power of two, where the border below is nearer
        {9.5367431640625e-7, "95367431640625", -6},
        {2.2250738585072014e-308, "22250738585072014", -307},
        {1.7976931348623157e308, "17976931348623157", 309},
        {1e23, "1", 24},
        {5e-324 * 3, "15", -322},
        {0.3, "3", 0},
        {0.1 + 0.2, "30000000000000004", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.digits);
        int decpt;
        EXPECT_EQ(Normal(ShortestDigits(row.value), &decpt), row.digits);
        EXPECT_EQ(decpt, row.decpt);
    }
}
