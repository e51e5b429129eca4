#include "primitives/decimal_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "HardDoubles.h"

namespace {

const double kUntouched = -77.25;

// From an array of just these characters, so that a sanitizer sees a read behind them.
bool Read(const std::string& text, double* value)
{
    std::unique_ptr<char[]> exact(new char[text.size()]);
    std::memcpy(exact.get(), text.data(), text.size());
    return ReadDecimal(exact.get(), text.size(), value);
}

// Whatever is answered must be what the C library reads; true if there was an answer.
bool AnswersRightly(const std::string& text)
{
    double value = kUntouched;
    char* end;
    double expected = std::strtod(text.c_str(), &end);
    if (!Read(text, &value)) {
        EXPECT_EQ(ToBits(value), ToBits(kUntouched)) << text;
        return false;
    }
    EXPECT_EQ(end, text.c_str() + text.size()) << text;
    EXPECT_EQ(ToBits(value), ToBits(expected)) << text;
    return true;
}

std::string Digits(std::mt19937_64& random, size_t count)
{
    std::string text;
    while (text.size() < count)
        text += char('0' + random() % 10);
    return text;
}

// All digits of a number, or of the middle between it and the next one.
std::string ExactText(double value, bool is_middle)
{
    char text[1200];
    if (!is_middle) {
        std::snprintf(text, sizeof text, "%.1080f", value);
    } else {
        // The type has bits enough for the middle.
        long double next = std::nextafter(value, INFINITY);
        std::snprintf(text, sizeof text, "%.1080Lf", (value + next) / 2);
    }
    std::string exact = text;
    exact.erase(exact.find_last_not_of('0') + 1);
    return exact;
}

}  // namespace

TEST(DecimalReader, ReadsPlainDecimals)
{
    static const struct {
        const char* text;
        double value;
    } rows[] = {
        {"0", 0.0},
        {"-0", -0.0},
        {"-0.0", -0.0},
        {"0e5", 0.0},
        {"0e-999", 0.0},
        {"3.5", 3.5},
        {"19.99", 19.99},
        {"-1234567", -1234567.0},
        {".5", 0.5},
        {"5.", 5.0},
        {"00012.50", 12.5},
        {"1e3", 1000.0},
        {"1E+3", 1000.0},
        {"12.5e-1", 1.25},
        {"1e22", 1e22},
        {"1e23", 1e23},
        {"123456789012345678", 123456789012345680.0},
        {"0.000000000000000000000000000001", 1e-30},
        {"1000000000000000000000000000000", 1e30},
        {"1000000000000000000000000000000.000", 1e30},
        {"9007199254740993", 9007199254740992.0},  // a tie, exactly known
        {"9007199254740995", 9007199254740996.0},
        {"9007199254740993000", 9007199254740993024.0},
        {"12345678901234567890123", 12345678901234567890123.0},
        {"0.1000000000000000055511151231257827", 0.1},
        {"1.7976931348623157e308", 1.7976931348623157e308},
        {"2.2250738585072014e-308", 2.2250738585072014e-308},
        {"1.00000000000000000000000000000000000000000000000000000000000000000000000", 1.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        double value = kUntouched;
        EXPECT_TRUE(Read(row.text, &value));
        EXPECT_EQ(ToBits(value), ToBits(row.value));
    }
}

TEST(DecimalReader, LeavesAllElseAlone)
{
    for (const char* text : {"-",        ".",
                             "-.",       "+1",
                             " 1",       "1 ",
                             "1e",       "1e+",
                             "1e-",      "e5",
                             ".e5",      "1e5.",
                             "1e5 ",     "1.2.3",
                             "--1",      "1-",
                             "0x10",     "nan",
                             "inf",      "12abc",
                             "1,5",      "1/2",
                             "1:",       "12345678/",
                             "1234567:", "1e1234567890123",
                             "1e309",    "1e-310",
                             "4.9e-324", "1e-400",
                             "1e9999",   "2.2250738585072011e-308"}) {
        SCOPED_TRACE(text);
        double value = kUntouched;
        EXPECT_FALSE(Read(text, &value));
        EXPECT_EQ(value, kUntouched);
    }
    double value = kUntouched;
    EXPECT_FALSE(Read("", &value));
    EXPECT_FALSE(Read(std::string("1\0", 2), &value));
    EXPECT_FALSE(Read(std::string("12345678\0", 9), &value));
    EXPECT_EQ(value, kUntouched);
}

TEST(DecimalReader, AnswersForWhateverTheSystemWrites)
{
    std::mt19937_64 random(8);
    for (int i = 0; i < RandomCount(); ++i) {
        char text[400];
        double value = AnyDouble(random);
        if (value < 2.3e-308)
            continue;
        std::snprintf(text, sizeof text, "%.17g", value);
        ASSERT_TRUE(AnswersRightly(text)) << text;
        std::snprintf(text, sizeof text, "%.16g", EverydayDouble(random));
        ASSERT_TRUE(AnswersRightly(text)) << text;
    }
}

TEST(DecimalReader, AnswersAsTheCLibraryForRandomDigits)
{
    std::mt19937_64 random(9);
    int answered = 0;
    for (int i = 0; i < RandomCount(); ++i) {
        std::string text = Digits(random, random() % 25 + 1);
        if (random() % 4 != 0)
            text.insert(random() % (text.size() + 1), ".");
        if (random() % 2 == 0)
            text += (random() % 2 ? "e" : "E") + std::to_string(int(random() % 680) - 350);
        if (random() % 2 == 0)
            text.insert(0, "-");
        answered += AnswersRightly(text) ? 1 : 0;
    }
    EXPECT_GT(answered, RandomCount() / 100 * 85);
}

TEST(DecimalReader, IsNeverWrongAboutTheMiddleBetweenTwoDoubles)
{
    std::mt19937_64 random(10);
    const int count = RandomCount() / 10;
    for (int i = 0; i < count; ++i) {
        double value = i % 2 ? EverydayDouble(random)
                             : std::ldexp(double(random() >> 11), int(random() % 400) - 250);
        if (value < 1e-300)
            continue;
        for (bool is_middle : {false, true}) {
            std::string exact = ExactText(value, is_middle);
            AnswersRightly(exact);
            // A hair below and above it, and cut off at every useful number of digits.
            std::string below = exact;
            size_t last = below.find_last_not_of("0.");
            --below[last];
            AnswersRightly(below + "9");
            AnswersRightly(exact + (exact.find('.') == std::string::npos ? ".1" : "1"));
            for (size_t digits = 15; digits < 25 && digits < exact.size(); ++digits) {
                if (exact.find('.') < digits)
                    AnswersRightly(exact.substr(0, digits));
            }
        }
    }
}

TEST(DecimalReader, TakesTextsOfAnyLength)
{
    for (size_t zeros : {10u, 100u, 1000u, 99000u, 100001u, 300000u}) {
        AnswersRightly("0." + std::string(zeros, '0') + "1");
        AnswersRightly("1" + std::string(zeros, '0'));
        AnswersRightly("1" + std::string(zeros, '0') + "e-" + std::to_string(zeros % 10000));
        AnswersRightly("1." + std::string(zeros, '0') + "1");
    }
    double value = kUntouched;
    EXPECT_TRUE(Read("0." + std::string(1000, '0') + "1e1000", &value));
    EXPECT_EQ(value, 0.1);
}
