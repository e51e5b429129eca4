#include "primitives/crc32.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

unsigned int Checksum(const std::string& bytes)
{
    return crc32_final(crc32_data(crc32_init(), bytes.data(), int(bytes.size())));
}

// Long division of the message, its first 32 bits inverted and 32 zeros behind it, by
// the polynomial x^32 + ... + 1.
unsigned int Divided(const std::string& bytes)
{
    std::vector<int> bits;
    for (char c : bytes) {
        for (int i = 7; i >= 0; --i)
            bits.push_back(c >> i & 1);
    }
    bits.resize(bits.size() + 32);
    for (int i = 0; i < 32; ++i)
        bits[size_t(i)] ^= 1;
    for (size_t i = 0; i + 32 < bits.size(); ++i) {
        if (!bits[i])
            continue;
        for (int power : {0, 1, 2, 4, 5, 7, 8, 10, 11, 12, 16, 22, 23, 26, 32})
            bits[i + size_t(32 - power)] ^= 1;
    }
    unsigned int rest = 0;
    for (size_t i = bits.size() - 32; i < bits.size(); ++i)
        rest = rest << 1 | unsigned(bits[i]);
    return ~rest;
}

}  // namespace

TEST(Crc32, GivesTheUnreflectedChecksum)
{
    EXPECT_EQ(crc32_init(), 0xFFFFFFFFu);
    EXPECT_EQ(Checksum("123456789"), 0xFC891918u);
    EXPECT_EQ(crc32_data(crc32_init(), "123456789", 9), 0x0376E6E7u);
    EXPECT_EQ(Checksum(""), 0u);
}

TEST(Crc32, AgreesWithLongDivision)
{
    std::mt19937 random(3);
    for (int length = 0; length < 200; ++length) {
        std::string bytes;
        for (int i = 0; i < length; ++i)
            bytes += char(random());
        ASSERT_EQ(Checksum(bytes), Divided(bytes)) << length;
    }
}

TEST(Crc32, PiecesGiveTheChecksumOfTheWhole)
{
    const std::string bytes = "The quick brown fox jumps over the lazy dog";
    for (int cut = 0; cut <= int(bytes.size()); ++cut) {
        unsigned int crc = crc32_data(crc32_init(), bytes.data(), cut);
        crc = crc32_data(crc, bytes.data() + cut, int(bytes.size()) - cut);
        ASSERT_EQ(crc32_final(crc), Checksum(bytes)) << cut;
    }
}

TEST(Crc32, ALengthBelowOneLeavesTheRegister)
{
    for (unsigned int crc : {0u, 1u, 0xFFFFFFFFu, 0x12345678u}) {
        EXPECT_EQ(crc32_data(crc, "abc", 0), crc);
        EXPECT_EQ(crc32_data(crc, "abc", -1), crc);
        EXPECT_EQ(crc32_data(crc, nullptr, 0), crc);
    }
}
