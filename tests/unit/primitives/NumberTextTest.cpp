#include "primitives/number_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "HardDoubles.h"
#include "primitives/dtoa.h"

namespace {

const double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Writes into an array of just the room, so that a sanitizer sees what goes beyond it.
std::string Text(double value)
{
    int room = HasShortText(value) ? kShortDoubleRoom : kDoubleRoom;
    std::unique_ptr<char[]> out(new char[size_t(room)]);
    std::memset(out.get(), 'x', size_t(room));
    int length = FormatShortest(value, out.get());
    EXPECT_LT(length, room);
    EXPECT_EQ(int(std::strlen(out.get())), length);
    return std::string(out.get(), size_t(length));
}

// The same text from the digits of `dtoa`.
std::string TextFromDtoa(double value)
{
    char buffer[kDtoaBuffer];
    int decpt, sign;
    dtoa(value, kDtoaShortestToPlaces, 20, &decpt, &sign, nullptr, buffer);
    std::string digits = buffer, text = sign ? "-" : "";
    if (digits.empty())
        return text + "0";
    if (decpt <= 0)
        return text + "0." + std::string(size_t(-decpt), '0') + digits;
    if (size_t(decpt) >= digits.size())
        return text + digits + std::string(size_t(decpt) - digits.size(), '0');
    return text + digits.substr(0, size_t(decpt)) + "." + digits.substr(size_t(decpt));
}

void ExpectTextOfDtoa(double value)
{
    ASSERT_EQ(Text(value), TextFromDtoa(value)) << std::hexfloat << value;
    ASSERT_EQ(Text(-value), TextFromDtoa(-value)) << std::hexfloat << value;
}

}  // namespace

TEST(NumberText, IntegersFitTheirRoom)
{
    static const struct {
        int value;
        const char* text;
    } rows[] = {
        {0, "0"},
        {9, "9"},
        {-10, "-10"},
        {101, "101"},
        {99999999, "99999999"},
        {100000000, "100000000"},
        {-999999999, "-999999999"},
        {1000000000, "1000000000"},
        {-1000000001, "-1000000001"},
        {INT_MAX, "2147483647"},
        {INT_MIN, "-2147483648"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        std::unique_ptr<char[]> out(new char[kIntegerRoom]);
        EXPECT_EQ(FormatInteger(row.value, out.get()), int(std::strlen(row.text)));
        EXPECT_STREQ(out.get(), row.text);
    }
}

TEST(NumberText, IntegersOfEveryLengthAreThoseOfTheCLibrary)
{
    std::mt19937 random(3);
    for (int i = 0; i < 100000; ++i) {
        int value = int(random()) >> random() % 32;
        char out[kIntegerRoom];
        ASSERT_EQ(std::string(out, size_t(FormatInteger(value, out))), std::to_string(value));
    }
}

TEST(NumberText, TheShortestTextHasTheDigitsOfDtoaToTwentyPlaces)
{
    ForEachDouble(ExpectTextOfDtoa);
}

TEST(NumberText, TextsNearTheTwentiethPlaceAreThoseOfDtoa)
{
    std::mt19937_64 random(20);
    for (int i = 0; i < RandomCount(); ++i) {
        // From far below the last place to where all 17 digits fit.
        ExpectTextOfDtoa(std::ldexp(double(random() >> 11 | 1), -int(random() % 70) - 60));
        // Few digits, and exact halves of the last place.
        ExpectTextOfDtoa(double(random() % 1000) / std::pow(10.0, double(random() % 25)));
        ExpectTextOfDtoa(std::ldexp(double(random() % 1000), -int(random() % 30) - 10));
    }
    // Around each power of ten, where the number of zeros changes.
    for (int exponent = -24; exponent <= 23; ++exponent) {
        uint64_t bits = ToBits(std::pow(10.0, exponent));
        for (uint64_t distance = 0; distance < 2000; ++distance) {
            ExpectTextOfDtoa(FromBits(bits + distance));
            ExpectTextOfDtoa(FromBits(bits - distance));
        }
    }
}

TEST(NumberText, EveryLayoutIsWritten)
{
    static const struct {
        double value;
        const char* text;
    } rows[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {3.5, "3.5"},
        {19.99, "19.99"},
        {1234567, "1234567"},
        {12345678.5, "12345678.5"},
        {123456789.25, "123456789.25"},
        {1234567890123456.5, "1234567890123456.5"},
        {9007199254740991.0, "9007199254740991"},
        {9007199254740992.0, "9007199254740992"},
        {12345678901234567.0, "12345678901234568"},
        {123456789012345678.0, "123456789012345680"},
        {-1e21, "-1000000000000000000000"},
        {0.012, "0.012"},
        {0.0001, "0.0001"},
        {0.00012, "0.00012"},
        {-0.00012345678901234567, "-0.00012345678901234567"},
        {0.000012345678901234567, "0.00001234567890123457"},
        {9.9999999999999e-5, "0.000099999999999999"},
        {1e-20, "0.00000000000000000001"},
        {-1e-20, "-0.00000000000000000001"},
        {5e-21, "0"},
        {-6e-21, "-0.00000000000000000001"},
        {4.9e-324, "0"},
        {kInfinity, "Infinity"},
        {-kInfinity, "-Infinity"},
        {std::copysign(kNaN, 1.0), "NaN"},
        {std::copysign(kNaN, -1.0), "-NaN"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Text(row.value), row.text);
    }
}

TEST(NumberText, TheLongestTextsJustFit)
{
    const double longest_short = std::nextafter(1e22, 0.0);
    EXPECT_TRUE(HasShortText(-longest_short));
    EXPECT_EQ(Text(-longest_short).size(), size_t(kShortDoubleRoom) - 1);
    EXPECT_FALSE(HasShortText(1e22));
    EXPECT_EQ(Text(-1e22).size(), size_t(kShortDoubleRoom));
    EXPECT_EQ(Text(-0.00012345678901234567).size(), size_t(kShortDoubleRoom) - 1);
    EXPECT_EQ(Text(-std::numeric_limits<double>::max()).size(), size_t(kDoubleRoom) - 1);
    EXPECT_TRUE(HasShortText(kInfinity));
    EXPECT_TRUE(HasShortText(-kNaN));
}
