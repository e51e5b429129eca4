#include "primitives/dtoa.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "DecimalModel.h"
#include "HardDoubles.h"
#include "primitives/bigint.h"

namespace {

struct Result {
    std::string digits;
    int decpt, sign;
};

Result Convert(double value, int mode, int ndigits)
{
    char buffer[kDtoaBuffer];
    char* end = nullptr;
    Result result;
    char* start = dtoa(value, mode, ndigits, &result.decpt, &result.sign, &end, buffer);
    EXPECT_EQ(start, buffer);
    EXPECT_EQ(*end, 0);
    result.digits.assign(start, end);
    return result;
}

}  // namespace

TEST(Dtoa, ShortestDigitsAreThoseOfTheOracle)
{
    ForEachDouble([](double value) {
        Result result = Convert(value, kDtoaShortest, 0);
        if (value == 0)
            return;
        Decimal expected = ShortestDecimal(value);
        ASSERT_EQ(result.digits, expected.digits) << std::hexfloat << value;
        ASSERT_EQ(result.decpt, expected.decpt) << std::hexfloat << value;
        ASSERT_EQ(result.sign, 0);
    });
    EXPECT_EQ(Bcount(), 0);
}

TEST(Dtoa, DigitsToPlacesStopAtTheShortestAndElseRoundTheExactValue)
{
    static const int kPlaces[] = {0, 1, 2, 5, 14, 17, 20, 30, 300, 330};
    int turn = 0;
    ForEachDouble([&turn](double value) {
        if (value == 0)
            return;
        // Every number meets the system's own 20 and one other count.
        for (int places : {20, kPlaces[turn++ % std::size(kPlaces)]}) {
            Result result = Convert(value, kDtoaShortestToPlaces, places);
            Decimal expected = DecimalToPlaces(value, places);
            ASSERT_EQ(result.digits, expected.digits) << std::hexfloat << value << " " << places;
            ASSERT_EQ(result.decpt, expected.decpt) << std::hexfloat << value << " " << places;
        }
    });
    EXPECT_EQ(Bcount(), 0);
}

TEST(Dtoa, RoundsAtEveryPlace)
{
    for (double value : {0.1, 2.0 / 3.0, 1e-5, 9.9999999999999e-5, 123456.789, 0.5, 0.25, 6.25e-2,
                         1.0 / 1024, 4.9e-324, 2.5e-320, 1.7976931348623157e308, 9.5, 1e22}) {
        for (int places = 0; places <= 345; ++places) {
            Result result = Convert(value, kDtoaShortestToPlaces, places);
            Decimal expected = DecimalToPlaces(value, places);
            ASSERT_EQ(result.digits, expected.digits) << value << " " << places;
            ASSERT_EQ(result.decpt, expected.decpt) << value << " " << places;
        }
    }
}

TEST(Dtoa, TiesGoToTheEvenDigit)
{
    static const struct {
        double value;
        int places;
        const char* digits;
        int decpt;
    } rows[] = {
        {0.5, 0, "", 0},
        {1.5, 0, "2", 1},
        {2.5, 0, "2", 1},
        {0.125, 2, "12", 0},
        {0.375, 2, "38", 0},
        {9.5, 0, "1", 2},
        {0.0625, 3, "62", -1},
        // Through big numbers.
        {std::ldexp(1.0, -20), 19, "9536743164062", -6},
        {std::ldexp(3.0, -20), 19, "28610229492188", -5},
        {5e21, -22, "", 22},
        {1.5e22, -22, "2", 23},
        {2.5e21, -21, "2", 22},
        {3.5e21, -21, "4", 22},
        {9.5e20, -20, "1", 22},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << " " << row.places);
        Result result = Convert(row.value, kDtoaShortestToPlaces, row.places);
        EXPECT_EQ(result.digits, row.digits);
        EXPECT_EQ(result.decpt, row.decpt);
    }
}

TEST(Dtoa, ANegativeCountRoundsInFrontOfThePoint)
{
    static const struct {
        double value;
        int places;
        const char* digits;
        int decpt;
    } rows[] = {
        {1234, -1, "123", 4},
        {1235, -1, "124", 4},
        {1250, -2, "12", 4},
        {1350, -2, "14", 4},
        {6, -1, "1", 2},
        {5, -1, "", 1},
        {4, -1, "", 1},
        {51, -2, "1", 3},
        {99, -3, "", 3},
        {1e300, -299, "1", 301},
        {1e300, -300, "1", 301},
        {9e299, -300, "1", 301},
        {4e299, -300, "", 300},
        {1234, std::numeric_limits<int>::min() + 1, "", std::numeric_limits<int>::max()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << " " << row.places);
        Result result = Convert(row.value, kDtoaShortestToPlaces, row.places);
        EXPECT_EQ(result.digits, row.digits);
        EXPECT_EQ(result.decpt, row.decpt);
    }
}

TEST(Dtoa, ADenormalStopsAtItsShortestDigits)
{
    for (int places = 324; places < 800; places += 7) {
        Result result = Convert(4.9e-324, kDtoaShortestToPlaces, places);
        EXPECT_EQ(result.digits, "5") << places;
        EXPECT_EQ(result.decpt, -323) << places;
    }
    EXPECT_EQ(Convert(4.9e-324, kDtoaShortestToPlaces, 323).digits, "");
}

TEST(Dtoa, ZeroAndWhatIsNotFiniteHaveFixedAnswers)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    static const struct {
        double value;
        const char* digits;
        int decpt, sign;
    } rows[] = {
        {0.0, "0", 1, 0},
        {-0.0, "0", 1, 1},
        {infinity, "Infinity", kDtoaNotFinite, 0},
        {-infinity, "Infinity", kDtoaNotFinite, 1},
        {std::copysign(nan, 1.0), "NaN", kDtoaNotFinite, 0},
        {std::copysign(nan, -1.0), "NaN", kDtoaNotFinite, 1},
        {std::numeric_limits<double>::signaling_NaN(), "NaN", kDtoaNotFinite, 0},
    };
    for (int mode : {kDtoaShortest, kDtoaShortestToPlaces}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << row.digits << " " << row.sign << " " << mode);
            Result result = Convert(row.value, mode, 2);
            EXPECT_EQ(result.digits, row.digits);
            EXPECT_EQ(result.decpt, row.decpt);
            EXPECT_EQ(result.sign, row.sign);
        }
    }
    EXPECT_EQ(kDtoaNotFinite, 9999);
}

TEST(Dtoa, TheSignIsToldAndChangesNoDigit)
{
    for (double value : {1.5, 1e-300, 0.001, 4.9e-324}) {
        for (int places : {0, 2, 20}) {
            Result positive = Convert(value, kDtoaShortestToPlaces, places);
            Result negative = Convert(-value, kDtoaShortestToPlaces, places);
            EXPECT_EQ(positive.sign, 0);
            EXPECT_EQ(negative.sign, 1);
            EXPECT_EQ(positive.digits, negative.digits);
            EXPECT_EQ(positive.decpt, negative.decpt);
        }
    }
}

TEST(Dtoa, TheEndNeedNotBeAskedFor)
{
    char buffer[kDtoaBuffer];
    int decpt, sign;
    EXPECT_STREQ(dtoa(0.25, kDtoaShortest, 0, &decpt, &sign, nullptr, buffer), "25");
    EXPECT_EQ(decpt, 0);
}
