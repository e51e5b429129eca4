#include "primitives/MD5.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const unsigned char* Bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string Printable(unsigned char* digest)
{
    char text[32];
    MD5Encoder::Make_Printable(digest, text);
    return std::string(text, sizeof text);
}

std::string DigestOf(const std::string& message)
{
    MD5Encoder encoder;
    unsigned char digest[16];
    encoder.Encode(Bytes(message), unsigned(message.size()), digest);
    return Printable(digest);
}

std::string HMACOf(const std::string& key, const std::string& message)
{
    MD5Encoder encoder;
    unsigned char digest[16];
    encoder.HMAC(Bytes(message), unsigned(message.size()), Bytes(key), unsigned(key.size()),
                 digest);
    return Printable(digest);
}

}  // namespace

TEST(MD5Encoder, GivesTheDigestsOfTheStandard)
{
    static const struct {
        const char* message;
        const char* digest;
    } rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"123456789012345678901234567890123456789012345678901234567890123456789012345678"
         "90",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        EXPECT_EQ(DigestOf(row.message), row.digest);
    }
}

TEST(MD5Encoder, PadsAtEveryEdgeOfABlock)
{
    static const struct {
        size_t length;
        const char* digest;
    } rows[] = {
        {55, "04364420e25c512fd958a70738aa8f72"},  {56, "668a72d5ba17f08e62dabcafad6db14b"},
        {57, "693037871c4a9d3d8685018905cb530a"},  {63, "7dc2ca208106a2f703567bdff99d8981"},
        {64, "c1bb4f81d892b2d57947682aeb252456"},  {65, "1bc932052302d074bdec39795fe00cf6"},
        {119, "ab347a5f68c8a443cfcddc633f12c24f"}, {120, "fb98667f98096de92620b64f46e1c5b5"},
        {128, "d69cb61a6ee87200676eb0d4b90edbcb"}, {1000, "398533d48111e9f664b1f64cb10c4b63"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        EXPECT_EQ(DigestOf(std::string(row.length, 'x')), row.digest);
    }
}

TEST(MD5Encoder, BlocksAndTailTogetherAreTheMessage)
{
    std::string message(1000, 'x');
    MD5Encoder encoder;
    unsigned char digest[16];
    encoder.Encode_Block(Bytes(message), 128);
    encoder.Encode_Block(Bytes(message) + 128, 640);
    encoder.Encode_Final(Bytes(message) + 768, 232, digest);
    EXPECT_EQ(Printable(digest), "398533d48111e9f664b1f64cb10c4b63");
}

TEST(MD5Encoder, ResetStartsANewDigest)
{
    MD5Encoder encoder;
    unsigned char digest[16];
    encoder.Encode(Bytes("abc"), 3, digest);
    encoder.Reset();
    encoder.Encode(Bytes("abc"), 3, digest);
    EXPECT_EQ(Printable(digest), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(MD5Encoder, HMACUsesAKeyOfABlockAsItStandsAndTheDigestOfALongerOne)
{
    const struct {
        std::string key, message;
        const char* digest;
    } rows[] = {
        {std::string(16, '\x0B'), "Hi There", "9294727a3638bb1c13f48ef8158bfc9d"},
        {"Jefe", "what do ya want for nothing?", "750c783e6ab0b503eaa86e310a5db738"},
        {std::string(16, '\xAA'), std::string(50, '\xDD'), "56be34521d144c88dbb8c733f0e8b3f6"},
        {std::string(80, '\xAA'), "Test Using Larger Than Block-Size Key - Hash Key First",
         "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd"},
        {std::string(64, 'k'), "message", "5b3e99b172f3c3b5aed9a324c65ba911"},
        {std::string(65, 'k'), "message", "dc23d5d92d6f1feb3502b61d7102376b"},
        {"", "", "74e6f7298a9c2d168935f58c001bad88"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.digest);
        EXPECT_EQ(HMACOf(row.key, row.message), row.digest);
    }
}

TEST(MD5Encoder, MakePrintableWritesExactly32LowerCaseCharacters)
{
    unsigned char digest[16];
    for (int i = 0; i < 16; ++i)
        digest[i] = static_cast<unsigned char>(i * 17);
    char text[34];
    text[32] = text[33] = '!';
    MD5Encoder::Make_Printable(digest, text);
    EXPECT_EQ(std::string(text, 34), "00112233445566778899aabbccddeeff!!");
}
