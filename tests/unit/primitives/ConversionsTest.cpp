#include "primitives/conversions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "DecimalModel.h"
#include "HardDoubles.h"

namespace {

const double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// The text of a number; the array's length, its NUL and its room are tested on the way.
std::string TextOfDouble(double value, int precision)
{
    int length = -1, capacity = -1;
    std::unique_ptr<char[]> text(dtos(value, &length, &capacity, precision));
    EXPECT_EQ(int(std::strlen(text.get())), length);
    EXPECT_GT(capacity, length);
    return std::string(text.get(), size_t(length));
}

double ReadDouble(const std::string& text, int* error)
{
    return stod(text.c_str(), int(text.size()), int(text.size()) + 1, error);
}

// Compares all bits, so that -0 is not 0 and a NaN equals itself.
void ExpectSame(double value, double expected)
{
    EXPECT_EQ(ToBits(value), ToBits(expected)) << value << " is not " << expected;
}

}  // namespace

TEST(Conversions, ItosGivesDecimalDigitsInAnArrayOfExactSize)
{
    static const struct {
        int value;
        const char* text;
    } rows[] = {
        {0, "0"},
        {7, "7"},
        {-1, "-1"},
        {10, "10"},
        {-100, "-100"},
        {INT_MAX, "2147483647"},
        {INT_MIN + 1, "-2147483647"},
        {INT_MIN, "-2147483648"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int length = -1, capacity = -1;
        char* text = itos(row.value, &length, &capacity);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(length, int(std::strlen(row.text)));
        EXPECT_EQ(capacity, length + 1);
        delete[] text;
    }
}

TEST(Conversions, StoiReadsDecimalAndHexadecimalDigits)
{
    static const struct {
        const char* text;
        int length, value, error;
    } rows[] = {
        {"12", -1, 12, 0},
        {"0x10", -1, 16, 0},
        {"0XfF", -1, 255, 0},
        {"-12", -1, -12, 0},
        {"007", -1, 7, 0},
        {"-", -1, 0, 0},
        {"", -1, 0, 0},
        {"12abc", -1, 0, 1},
        {"12abc", 2, 12, 0},
        {"12.7", -1, 0, 1},
        {"0x", -1, 0, 1},
        {"0xg", -1, 0, 1},
        {"0x1g", -1, 0, 1},
        {"0x10", 2, 0, 1},
        {"-0x10", -1, 0, 1},
        {"--1", -1, 0, 1},
        {"+1", -1, 0, 1},
        {" 1", -1, 0, 1},
        {"1 ", -1, 0, 1},
        {"a", -1, 0, 1},
        {"2147483647", -1, INT_MAX, 0},
        {"-2147483648", -1, INT_MIN, 0},
        {"2147483648", -1, INT_MIN, 0},
        {"4294967297", -1, 1, 0},
        {"0xFFFFFFFF", -1, -1, 0},
        {"0x100000001", -1, 1, 0},
        {"100000000000000000000", -1, 1661992960, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " " << row.length);
        int error = -1;
        EXPECT_EQ(stoi(row.text, row.length, &error), row.value);
        EXPECT_EQ(error, row.error);
        EXPECT_EQ(stoi(row.text, row.length, nullptr), row.value);
    }
}

TEST(Conversions, DtosGivesTheShortestTextOrExactlyTheAskedPlaces)
{
    static const struct {
        double value;
        int precision;
        const char* text;
    } rows[] = {
        {0.1, -1, "0.1"},
        {1.0 / 3.0, -1, "0.3333333333333333"},
        {1e21, -1, "1000000000000000000000"},
        {1e23, -1, "100000000000000000000000"},
        {3.0, -1, "3"},
        {-1.5, -1, "-1.5"},
        {0.1 + 0.2, -1, "0.30000000000000004"},
        {0.0, -1, "0"},
        {-0.0, -1, "-0"},
        {120, -1, "120"},
        {0.001, -1, "0.001"},
        {1e-20, -1, "0.00000000000000000001"},
        {1e-21, -1, "0"},
        {-1e-21, -1, "-0"},
        {5e-21, -1, "0"},
        {6e-21, -1, "0.00000000000000000001"},
        {1.0 / 3000.0, -1, "0.0003333333333333333"},
        {1.0 / 30000.0, -1, "0.00003333333333333333"},
        {4.9e-324, -1, "0"},
        {3.0, 2, "3.00"},
        {0.001, 2, "0.00"},
        {-0.001, 2, "-0.00"},
        {0.006, 2, "0.01"},
        {0.125, 2, "0.12"},
        {0.375, 2, "0.38"},
        {2.675, 2, "2.67"},
        {0.0, 2, "0.00"},
        {-0.0, 2, "-0.00"},
        {999.999, 2, "1000.00"},
        {0.05, 3, "0.050"},
        {0.1, 30, "0.100000000000000000000000000000"},
        {1e21, 2, "1000000000000000000000.00"},
        {0.5, 0, "0"},
        {1.5, 0, "2"},
        {2.5, 0, "2"},
        {0.6, 0, "1"},
        {-0.4, 0, "-0"},
        {9.5, 0, "10"},
        {3.0, 0, "3"},
        {3.25, -2, "3.25"},
        {3.25, INT_MIN, "3.25"},
        {kInfinity, -1, "Infinity"},
        {-kInfinity, 2, "-Infinity"},
        {std::copysign(kNaN, 1.0), -1, "NaN"},
        {std::copysign(kNaN, -1.0), 2, "-NaN"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " " << row.precision);
        EXPECT_EQ(TextOfDouble(row.value, row.precision), row.text);
    }
}

TEST(Conversions, DtosTellsTheRoomBehindItsText)
{
    static const struct {
        double value;
        int precision, capacity;
    } rows[] = {
        {0.1, -1, 20 + 3 + 1 + 1},  // one more when decpt is 0
        {0.01, -1, 20 + 3 + 1},
        {3.0, 2, 2 + 3 + 1},
        {1e21, -1, 20 + 3 + 22},
        {0.0, -1, 20 + 3 + 1},
        {120, -1, 20 + 3 + 3},
        {123456789012.0, -1, 20 + 3 + 12},
        {12.345678901234567, -1, 20 + 3 + 17},
        {1.5e-5, -1, 20 + 3 + 2},
        {1e-21, -1, 20 + 3 + 0},
        {123.25, 1, 1 + 3 + 4},
        {0.5, 0, 0 + 3 + 0 + 1},
        {0.001, 2, 2 + 3 + 0},
        // Its 5 characters and the NUL do not fit into the usual 5.
        {-0.001, 2, 6},
        {kInfinity, -1, 9},
        {std::copysign(kNaN, -1.0), -1, 5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << " " << row.precision);
        int length = -1, capacity = -1;
        std::unique_ptr<char[]> text(dtos(row.value, &length, &capacity, row.precision));
        EXPECT_EQ(capacity, row.capacity);
        EXPECT_LT(length, capacity);
        text.get()[capacity - 1] = 0;
        text.reset(dtos(row.value, nullptr, nullptr, row.precision));
        EXPECT_EQ(int(std::strlen(text.get())), length);
    }
}

TEST(Conversions, DtosAgreesWithTheOracles)
{
    static const int kPrecisions[] = {0, 1, 2, 3, 6, 10, 15, 19, 20, 25, 310};
    int turn = 0;
    ForEachDouble([&turn](double value) {
        if (value == 0)
            return;
        ASSERT_EQ(TextOfDouble(value, -1), TextOf(value)) << std::hexfloat << value;
        int precision = kPrecisions[turn++ % std::size(kPrecisions)];
        ASSERT_EQ(TextOfDouble(-value, precision), "-" + TextToPlaces(value, precision))
            << std::hexfloat << value << " " << precision;
    });
}

TEST(Conversions, DtosHoldsManyPlaces)
{
    std::string text = TextOfDouble(-1.0 / 3.0, 100000);
    EXPECT_EQ(text.size(), 100003u);
    EXPECT_EQ(text.substr(0, 20), "-0.33333333333333330");
    EXPECT_EQ(text.find_first_not_of('0', 19), std::string::npos);
}

TEST(Conversions, StodReadsWhatTheCLibraryReads)
{
    static const struct {
        const char* text;
        double value;
        int error;
    } rows[] = {
        {"", 0.0, 0},
        {"0", 0.0, 0},
        {"-0", -0.0, 0},
        {"12.7", 12.7, 0},
        {"-12.70", -12.7, 0},
        {".5", 0.5, 0},
        {"5.", 5.0, 0},
        {"-.5", -0.5, 0},
        {"+5", 5.0, 0},
        {" \t12", 12.0, 0},
        {"1e3", 1000.0, 0},
        {"1E-2", 0.01, 0},
        {"0x10", 16.0, 0},
        {"0XfF", 255.0, 0},
        {"-0x10", -16.0, 0},
        {"0x1.8p1", 3.0, 0},
        {"00012", 12.0, 0},
        {"9007199254740993", 9007199254740992.0, 0},
        {"0.1000000000000000055511151231257827", 0.1, 0},
        {"123456789012345678901234567890", 123456789012345678901234567890.0, 0},
        {"0.00000000000000000000000123", 1.23e-24, 0},
        {"1e-400", 0.0, 0},
        {"4.9e-324", 4.9e-324, 0},
        {"12abc", 0.0, 1},
        {"abc", 0.0, 1},
        {".", 0.0, 1},
        {"-", 0.0, 1},
        {"-.", 0.0, 1},
        {"+", 0.0, 1},
        {"1.2.3", 0.0, 1},
        {"1..2", 0.0, 1},
        {"--1", 0.0, 1},
        {"1-", 0.0, 1},
        {"1 ", 0.0, 1},
        {" ", 0.0, 1},
        {"1,5", 0.0, 1},
        {"0x", 0.0, 1},
        {"0xg", 0.0, 1},
        {"0x1g", 0.0, 1},
        {"1e", 0.0, 1},
        {"1/2", 0.0, 1},
        {"1:", 0.0, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int error = -1;
        ExpectSame(ReadDouble(row.text, &error), row.value);
        EXPECT_EQ(error, row.error);
        error = -1;
        ExpectSame(stod(row.text, -1, -1, &error), row.value);
        EXPECT_EQ(error, row.error);
        ExpectSame(stod(row.text, -1, -1, nullptr), row.value);
    }
}

TEST(Conversions, StodKnowsTheWordsInAnyCase)
{
    static const struct {
        const char* text;
        double value;
        int error;
    } rows[] = {
        {"NAN", std::copysign(kNaN, 1.0), 0},
        {"NaN", std::copysign(kNaN, 1.0), 0},
        {"-nan", std::copysign(kNaN, -1.0), 0},
        {"INF", kInfinity, 0},
        {"-iNf", -kInfinity, 0},
        {"INFINITY", kInfinity, 0},
        {"Infinity", kInfinity, 0},
        {"-Infinity", -kInfinity, 0},
        {"INFINIT", 0.0, 1},
        {"INFI", 0.0, 1},
        {"NA", 0.0, 1},
        {"NANA", 0.0, 1},
        {"--NAN", 0.0, 1},
        {"INFINITYX", 0.0, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int error = -1;
        ExpectSame(ReadDouble(row.text, &error), row.value);
        EXPECT_EQ(error, row.error);
    }
}

TEST(Conversions, StodReportsOverflowAndKeepsTheInfinity)
{
    for (const char* text : {"1e309", "1e99999", "0x1p1024"}) {
        SCOPED_TRACE(text);
        int error = -1;
        ExpectSame(ReadDouble(text, &error), kInfinity);
        EXPECT_EQ(error, 1);
        error = -1;
        ExpectSame(ReadDouble(std::string("-") + text, &error), -kInfinity);
        EXPECT_EQ(error, 1);
    }
    // A word is an infinity that was meant, and an error before counts no more.
    errno = ERANGE;
    int error = -1;
    ExpectSame(ReadDouble("+inf", &error), kInfinity);
    EXPECT_EQ(error, 0);
}

TEST(Conversions, StodReadsNoFurtherThanTheLengthAndTheCapacity)
{
    static const struct {
        const char* bytes;
        int length;
        double value;
    } rows[] = {
        {"1.57", 3, 1.5},           {"1e57", 3, 1e5}, {"0x1F0", 4, 31.0},
        {"infinity", 3, kInfinity}, {"1e5", 3, 1e5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.bytes << " " << row.length);
        // An array that ends with the text, so that a sanitizer sees a read behind it.
        std::unique_ptr<char[]> exact(new char[size_t(row.length)]);
        std::memcpy(exact.get(), row.bytes, size_t(row.length));
        for (int capacity : {row.length, 0, -1}) {
            int error = -1;
            ExpectSame(stod(exact.get(), row.length, capacity, &error), row.value);
            EXPECT_EQ(error, 0);
        }
        // Room behind the text, but no NUL at its end.
        int error = -1;
        ExpectSame(stod(row.bytes, row.length, row.length + 1, &error), row.value);
        EXPECT_EQ(error, 0);
    }
}

TEST(Conversions, StodDoesNotTouchAnEmptyText)
{
    int error = -1;
    ExpectSame(stod(nullptr, 0, 0, &error), 0.0);
    EXPECT_EQ(error, 0);
}

TEST(Conversions, StodCopiesTextsOfAnyLength)
{
    for (size_t zeros : {98u, 99u, 100u, 101u, 102u, 103u, 104u, 5000u}) {
        std::string text = "1e" + std::string(zeros, '0') + "57";
        int error = -1;
        ExpectSame(stod(text.data(), int(text.size()) - 1, int(text.size()) - 1, &error), 1e5);
        EXPECT_EQ(error, 0);
    }
}

TEST(Conversions, StodRefusesANulWithinTheText)
{
    for (const std::string& text : {std::string("12\0", 3),
                                    std::string("1\0"
                                                "2",
                                                3),
                                    std::string("\0", 1),
                                    std::string("1e5\0"
                                                "0",
                                                5)}) {
        int error = -1;
        ExpectSame(stod(text.data(), int(text.size()), int(text.size()) + 1, &error), 0.0);
        EXPECT_EQ(error, 1);
        error = -1;
        ExpectSame(stod(text.data(), int(text.size()), int(text.size()), &error), 0.0);
        EXPECT_EQ(error, 1);
    }
}

TEST(Conversions, StodReadsRandomDecimalsCorrectlyRounded)
{
    std::mt19937_64 random(99);
    for (int i = 0; i < RandomCount(); ++i) {
        std::string text;
        for (size_t count = random() % 20 + 1; text.size() < count;)
            text += char('0' + random() % 10);
        if (random() % 4 != 0)
            text.insert(random() % (text.size() + 1), ".");
        if (random() % 8 == 0)
            text += "e" + std::to_string(int(random() % 640) - 330);
        if (text == ".")
            continue;
        double expected = -1.0;
        auto result = std::from_chars(text.data(), text.data() + text.size(), expected);
        if (result.ec != std::errc())
            continue;
        int error = -1;
        double value = ReadDouble("-" + text, &error);
        ASSERT_EQ(ToBits(value), ToBits(-expected)) << text;
        ASSERT_EQ(error, 0) << text;
    }
}

TEST(Conversions, StodJudgesAnyTextAsTheCLibraryDoes)
{
    // What strtod says of a text without a word in it.
    auto judged = [](const std::string& text, double* value) {
        char* end;
        errno = 0;
        *value = std::strtod(text.c_str(), &end);
        bool whole = end == text.c_str() + text.size();
        if (!whole)
            *value = 0.0;
        return whole && !(errno == ERANGE && std::isinf(*value));
    };
    static const char kCharacters[] = "00112345678999..--+eE xXafp";
    std::mt19937_64 random(7);
    int numbers = 0;
    for (int i = 0; i < 10 * RandomCount(); ++i) {
        std::string text;
        for (size_t count = random() % 14 + 1; text.size() < count;)
            text += kCharacters[random() % (sizeof kCharacters - 1)];
        double expected;
        int expected_error = judged(text, &expected) ? 0 : 1, error = -1;
        double value = ReadDouble(text, &error);
        ASSERT_EQ(ToBits(value), ToBits(expected)) << text;
        ASSERT_EQ(error, expected_error) << text;
        numbers += error == 0 ? 1 : 0;
    }
    EXPECT_GT(numbers, RandomCount() / 10);
}

TEST(Conversions, StodKeepsTheRulesOfOverflowAndUnderflowAtTheirLimits)
{
    static const struct {
        const char* text;
        double value;
        int error;
    } rows[] = {
        {"1.7976931348623157e308", 1.7976931348623157e308, 0},
        {"179769313486231570000000000000000000000e270", 1.7976931348623157e308, 0},
        {"1.7976931348623158e308", 1.7976931348623157e308, 0},
        {"1.7976931348623159e308", kInfinity, 1},
        {"2e308", kInfinity, 1},
        {"-1e5000", -kInfinity, 1},
        {"1e99999999999999999999", kInfinity, 1},
        {"2.2250738585072014e-308", 2.2250738585072014e-308, 0},
        {"2.2250738585072011e-308", 2.2250738585072011e-308, 0},
        {"1e-310", 1e-310, 0},
        {"-4.9e-324", -4.9e-324, 0},
        {"2e-324", 0.0, 0},
        {"-1e-5000", -0.0, 0},
        {"1e-99999999999999999999", 0.0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int error = -1;
        ExpectSame(ReadDouble(row.text, &error), row.value);
        EXPECT_EQ(error, row.error);
    }
}

TEST(Conversions, StodReadsBackWhatDtosWritesWithAllItsDigits)
{
    ForEachDouble([](double value) {
        int error = -1;
        double read = ReadDouble(TextOfDouble(value, 340), &error);
        ASSERT_EQ(ToBits(read), ToBits(value)) << std::hexfloat << value;
        ASSERT_EQ(error, 0);
    });
}
