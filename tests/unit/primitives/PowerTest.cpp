#include "primitives/power.h"

#include <gtest/gtest.h>
#include <math.h>

namespace {

double PowerOf(double base, double exponent)
{
    double power = 0;
    EXPECT_TRUE(Power(base, exponent, &power));
    return power;
}

}  // namespace

// The arguments are not constants, so that the C library computes the expectation as well.
TEST(Power, IsThatOfTheCLibraryToTheBit)
{
    static const struct {
        double base, exponent;
    } rows[] = {{2, 10},  {2, -1},  {10, 22},     {10, 23},     {1.1, 7.3},       {-2, 3},
                {-2, 2},  {0, 0},   {0.5, 1e300}, {1e200, 2},   {3.7, -211.0625}, {9, 0.5},
                {-0., 3}, {7, 0.1}, {1, 1e308},   {1.0001, 9e5}};
    for (volatile const auto& row : rows) {
        double base = row.base;
        double exponent = row.exponent;
        SCOPED_TRACE(testing::Message() << base << " to the power of " << exponent);
        EXPECT_EQ(PowerOf(base, exponent), pow(base, exponent));
    }
}

TEST(Power, IsNoNumberForARootOfANegativeNumber)
{
    EXPECT_TRUE(isnan(PowerOf(-8, 1.0 / 3)));
}
