#include "primitives/hash.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <string>

namespace {

unsigned int HashOf(const std::string& key, unsigned int initval)
{
    return hash(reinterpret_cast<const unsigned char*>(key.data()), unsigned(key.size()), initval);
}

unsigned int HashiOf(const std::string& key, unsigned int initval)
{
    return hashi(reinterpret_cast<const unsigned char*>(key.data()), unsigned(key.size()), initval);
}

// A second form of the algorithm, written over three words in an array.
uint32_t Model(const std::string& key, uint32_t initval)
{
    static const int kShifts[] = {-13, 8, -13, -12, 16, -5, -3, 10, -15};
    uint32_t word[3] = {0x9E3779B9u, 0x9E3779B9u, initval};
    auto mix = [&] {
        for (int i = 0; i < 9; ++i) {
            uint32_t last = word[(i + 2) % 3];
            uint32_t value = word[i % 3] - word[(i + 1) % 3] - last;
            word[i % 3] = value ^ (kShifts[i] < 0 ? last >> -kShifts[i] : last << kShifts[i]);
        }
    };
    size_t whole = key.size() / 12 * 12;
    for (size_t i = 0; i < key.size(); ++i) {
        size_t place = i % 12;
        if (i == whole)
            word[2] += uint32_t(key.size());
        if (i >= whole && place >= 8)
            ++place;  // the length has the low byte of the third word
        word[place / 4] += uint32_t(static_cast<unsigned char>(key[i])) << (place % 4 * 8);
        if (i % 12 == 11)
            mix();
    }
    if (whole == key.size())
        word[2] += uint32_t(key.size());
    mix();
    return word[2];
}

}  // namespace

TEST(Hash, GivesThePublishedValues)
{
    static const struct {
        const char* key;
        unsigned int initval, value;
    } rows[] = {
        {"", 0, 0xBD49D10Du},
        {"", 0x1, 0x6DDFB8C9u},
        {"a", 0, 0x29EEC818u},
        {"abc", 0, 0x251E4793u},
        {"abcd", 0, 0x5AE61FA5u},
        {"abcde", 0, 0x03A96866u},
        {"abcdefgh", 0, 0x053F775Eu},
        {"abcdefghi", 0, 0x3A7B0A5Fu},
        {"abcdefghijk", 0, 0xE52B8E4Cu},
        {"abcdefghijkl", 0, 0x0B1B3EA5u},
        {"abcdefghijklm", 0x7, 0xB3B454FCu},
        {"content_type", 0, 0x14619A8Au},
        {"The quick brown fox jumps over", 0x12345678, 0x6AD82C4Eu},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(HashOf(row.key, row.initval), row.value);
    }
}

TEST(Hash, AgreesWithTheModelForEveryLengthAndByte)
{
    uint32_t seed = 1;
    for (size_t length = 0; length < 64; ++length) {
        std::string key;
        for (size_t i = 0; i < length; ++i) {
            seed = seed * 1664525u + 1013904223u;
            key += char(seed >> 24);
        }
        ASSERT_EQ(HashOf(key, seed), Model(key, seed)) << length;
    }
    for (int byte = 0; byte < 256; ++byte)
        ASSERT_EQ(HashOf(std::string(1, char(byte)), 0), Model(std::string(1, char(byte)), 0));
}

TEST(Hash, NulBytesCount)
{
    EXPECT_NE(HashOf(std::string("a\0", 2), 0), HashOf("a", 0));
    EXPECT_EQ(HashOf(std::string("a\0b", 3), 0), Model(std::string("a\0b", 3), 0));
}

TEST(Hashi, IsTheHashOfTheLowerCasedKey)
{
    for (size_t length = 0; length < 40; ++length) {
        std::string key, lowered;
        for (size_t i = 0; i < length; ++i) {
            char c = char(i * 37 + length * 11);
            key += c;
            lowered += char(std::tolower(static_cast<unsigned char>(c)));
        }
        ASSERT_EQ(HashiOf(key, 5), HashOf(lowered, 5)) << length;
    }
    EXPECT_EQ(HashiOf("Content_TYPE", 0), 0x14619A8Au);
}
