#include "primitives/base64.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Encode(const std::string& text)
{
    std::string out((text.size() + 2) / 3 * 4, '\xEE');
    out.resize(size_t(zp_base64_encode(text.data(), out.data(), int(text.size()))));
    return out;
}

std::string Decode(const std::string& text)
{
    std::string out((text.size() + 3) / 4 * 3, '\xEE');
    out.resize(size_t(zp_base64_decode(text.data(), out.data(), int(text.size()))));
    return out;
}

}  // namespace

TEST(Base64, EncodesTheVectorsOfTheStandard)
{
    static const struct {
        const char* plain;
        const char* encoded;
    } rows[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.plain);
        EXPECT_EQ(Encode(row.plain), row.encoded);
        EXPECT_EQ(Decode(row.encoded), row.plain);
    }
    EXPECT_EQ(Encode("\xFB\xEF\xBE\xFF\xFF\xFF"), "++++////");
    EXPECT_EQ(Decode("++++////"), "\xFB\xEF\xBE\xFF\xFF\xFF");
}

TEST(Base64, PaddingMayBeMissing)
{
    EXPECT_EQ(Decode("QQ=="), "A");
    EXPECT_EQ(Decode("QQ="), "A");
    EXPECT_EQ(Decode("QQ"), "A");
    EXPECT_EQ(Decode("Zm8"), "fo");
}

TEST(Base64, OneStrayCharacterGivesOneByte)
{
    EXPECT_EQ(Decode("Q"), "\x40");
    EXPECT_EQ(Decode("Zm9vQ"), "foo\x40");
}

TEST(Base64, OnlyTwoTrailingEqualSignsAreDropped)
{
    EXPECT_EQ(Decode("==="), std::string(1, '\0'));
    EXPECT_EQ(Decode("===="), std::string(1, '\0'));
    EXPECT_EQ(Decode("="), "");
    EXPECT_EQ(Decode("=="), "");
}

TEST(Base64, CharactersOutsideTheAlphabetCountAsZeroBits)
{
    EXPECT_EQ(Decode("Q Q="), Decode("QAQ="));
    EXPECT_EQ(Decode("\n\xFF-_"), std::string(3, '\0'));
}

TEST(Base64, EveryByteSurvivesInEveryPosition)
{
    for (int byte = 0; byte < 256; ++byte) {
        for (int place = 0; place < 3; ++place) {
            std::string text(size_t(place), 'x');
            text += char(byte);
            ASSERT_EQ(Decode(Encode(text)), text) << byte << " at " << place;
        }
    }
}

TEST(Base64, DecodesInPlace)
{
    char text[] = "Zm9vYmFy";
    EXPECT_EQ(zp_base64_decode(text, text, 8), 6);
    EXPECT_EQ(std::string(text, 6), "foobar");
}

TEST(Base64, ALengthBelowOneWritesNothing)
{
    char out = 'x';
    EXPECT_EQ(zp_base64_encode("a", &out, 0), 0);
    EXPECT_EQ(zp_base64_encode("a", &out, -1), 0);
    EXPECT_EQ(zp_base64_decode("a", &out, -1), 0);
    EXPECT_EQ(out, 'x');
}
