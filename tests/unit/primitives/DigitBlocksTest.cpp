#include "primitives/digit_blocks.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace {

std::string EightDigits(unsigned int number)
{
    char text[16];
    std::snprintf(text, sizeof text, "%08u", number);
    return text;
}

std::string Stored(uint64_t block)
{
    char text[kBlockDigits];
    StoreBlock(block, text);
    return std::string(text, sizeof text);
}

void ExpectSplitAndJoined(unsigned int number)
{
    std::string digits = EightDigits(number);
    ASSERT_EQ(Stored(SplitBlock(number) + kBlockOfZeros), digits);
    ASSERT_EQ(JoinBlock(LoadBlock(digits.data())), number);
}

}  // namespace

TEST(DigitBlocks, SplitAndJoinAreRightForEveryHalfAndAnyWhole)
{
    for (unsigned int half = 0; half < 10000; ++half) {
        ExpectSplitAndJoined(half);
        ExpectSplitAndJoined(half * 10000);
        ExpectSplitAndJoined(half * 10000 + (9999 - half));
    }
    std::mt19937 random(5);
    for (int i = 0; i < 100000; ++i)
        ExpectSplitAndJoined(random() % kBlockLimit);
    ExpectSplitAndJoined(kBlockLimit - 1);
}

TEST(DigitBlocks, ZerosAtBothEndsAreCounted)
{
    static const struct {
        unsigned int number;
        int leading, trailing;
    } rows[] = {
        {1, 7, 0},        {10, 6, 1}, {12345678, 0, 0}, {12000000, 0, 6}, {120000, 2, 4},
        {10000000, 0, 7}, {90, 6, 1}, {99999999, 0, 0}, {10203040, 0, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.number);
        EXPECT_EQ(LeadingZeros(SplitBlock(row.number)), row.leading);
        EXPECT_EQ(TrailingZeros(SplitBlock(row.number)), row.trailing);
    }
}

TEST(DigitBlocks, TheFirstCharacterThatIsNoDigitEndsTheDigits)
{
    EXPECT_EQ(LeadingDigits(LoadBlock("00000000")), 8);
    EXPECT_EQ(LeadingDigits(LoadBlock("99999999")), 8);
    for (int byte = 0; byte < 256; ++byte) {
        for (int position = 0; position < kBlockDigits; ++position) {
            for (char behind : {'0', '9', '/', ':', '\xFF', '\0'}) {
                std::string text = "90817263";
                text.replace(size_t(position), std::string::npos, size_t(kBlockDigits - position),
                             behind);
                text[size_t(position)] = char(byte);
                int expected = 0;
                while (expected < kBlockDigits && text[size_t(expected)] >= '0' &&
                       text[size_t(expected)] <= '9')
                    ++expected;
                ASSERT_EQ(LeadingDigits(LoadBlock(text.data())), expected) << byte << text;
            }
        }
    }
}

TEST(DigitBlocks, FewCharactersAreReadWithoutThoseBehindThem)
{
    for (int count = 1; count < kBlockDigits; ++count) {
        std::string text = std::string("83019265").substr(0, size_t(count));
        // An array of just these, so that a sanitizer sees a read behind them.
        std::unique_ptr<char[]> exact(new char[size_t(count)]);
        std::memcpy(exact.get(), text.data(), size_t(count));
        uint64_t block = LoadFew(exact.get(), count);
        EXPECT_EQ(Stored(block), text + std::string(size_t(kBlockDigits - count), '\0'));
        EXPECT_EQ(LeadingDigits(block), count);
    }
}

TEST(DigitBlocks, FewDigitsAreJoinedWhateverStandsBehindThem)
{
    for (char behind : {'0', '9', '.', '\0', '\xFF'}) {
        for (int count = 1; count <= kBlockDigits; ++count) {
            std::string text = std::string("83019265").substr(0, size_t(count));
            unsigned int expected = unsigned(std::atoi(text.c_str()));
            text.resize(kBlockDigits, behind);
            EXPECT_EQ(JoinFew(LoadBlock(text.data()), count), expected) << text;
        }
    }
}
