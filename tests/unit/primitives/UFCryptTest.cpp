#include "primitives/UFCrypt.h"

#include <crypt.h>
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace {

const std::string kAlphabet = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

std::string Hash(UFCrypt& crypt, const std::string& key, const std::string& salt)
{
    char out[14];
    crypt.crypt(key.data(), int(key.size()), salt.data(), out);
    EXPECT_EQ(out[13], 0);
    return std::string(out, 13);
}

std::string Oracle(const std::string& key, const std::string& salt)
{
    auto state = std::make_unique<crypt_data>();
    const char* hash = crypt_r(key.c_str(), salt.c_str(), state.get());
    return hash ? hash : "refused";
}

std::string RandomKey(std::mt19937& random)
{
    std::string key;
    for (size_t length = random() % 13; key.size() < length;)
        key += char(random() % 255 + 1);
    return key;
}

std::string RandomSalt(std::mt19937& random)
{
    return {kAlphabet[random() % 64], kAlphabet[random() % 64]};
}

class UFCryptTest : public testing::Test {
protected:
    std::unique_ptr<UFCrypt> m_crypt = std::make_unique<UFCrypt>();
};

}  // namespace

TEST_F(UFCryptTest, GivesKnownHashes)
{
    EXPECT_EQ(Hash(*m_crypt, "secret", "ab"), "abNANd1rDfiNc");
    EXPECT_EQ(Hash(*m_crypt, "", ".."), Oracle("", ".."));
}

TEST_F(UFCryptTest, AgreesWithTheLibraryForRandomKeysAndSalts)
{
    std::mt19937 random(25);
    for (int i = 0; i < 5000; ++i) {
        std::string key = RandomKey(random), salt = RandomSalt(random);
        ASSERT_EQ(Hash(*m_crypt, key, salt), Oracle(key, salt)) << i << " " << salt;
    }
}

TEST_F(UFCryptTest, EverySaltCharacterCountsInBothPlaces)
{
    for (char c : kAlphabet) {
        for (const std::string& salt : {std::string{c, 'x'}, std::string{'x', c}})
            ASSERT_EQ(Hash(*m_crypt, "password", salt), Oracle("password", salt)) << salt;
    }
}

TEST_F(UFCryptTest, ASaltUsedBeforeGivesWhatAFreshObjectGives)
{
    for (const char* salt : {"..", "ab", "ab", "zZ", "ab", "ba", "..", "zZ", "zZ"}) {
        auto fresh = std::make_unique<UFCrypt>();
        EXPECT_EQ(Hash(*m_crypt, "secret", salt), Hash(*fresh, "secret", salt)) << salt;
        EXPECT_EQ(Hash(*m_crypt, "secret", salt), Oracle("secret", salt)) << salt;
    }
}

TEST_F(UFCryptTest, OnlyEightBytesOfAKeyCount)
{
    EXPECT_EQ(Hash(*m_crypt, "12345678abc", "ab"), Hash(*m_crypt, "12345678", "ab"));
    EXPECT_NE(Hash(*m_crypt, "12345678", "ab"), Hash(*m_crypt, "1234567", "ab"));
}

TEST_F(UFCryptTest, AKeyEndsAtANulByteAndAtItsLength)
{
    EXPECT_EQ(Hash(*m_crypt, std::string("abc\0def", 7), "ab"), Hash(*m_crypt, "abc", "ab"));
    char out[14];
    m_crypt->crypt("abcdef", 3, "ab", out);
    EXPECT_EQ(out, Hash(*m_crypt, "abc", "ab"));
    m_crypt->crypt("abcdef", 0, "ab", out);
    EXPECT_EQ(out, Hash(*m_crypt, "", "ab"));
}

TEST_F(UFCryptTest, TheTopBitOfAKeyByteDoesNotCount)
{
    EXPECT_EQ(Hash(*m_crypt, "\xE1\xE2\xE3", "ab"), Hash(*m_crypt, "abc", "ab"));
}

TEST_F(UFCryptTest, ASaltByteOutsideTheAlphabetStandsForAMemberAndIsKept)
{
    static const struct {
        const char* salt;
        const char* members;
    } rows[] = {
        {"::", "AA"},  // the byte behind '9'
        {"@.", "G."},
        {"[[", "aa"},  // behind 'Z'
        {"{/", "./"},  // behind 'z', from the start again
        {"a ", "am"},  // in front of '.'
        {"\x80"
         "b",
         "Gb"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.salt);
        std::string hash = Hash(*m_crypt, "secret", row.salt);
        EXPECT_EQ(hash.substr(0, 2), row.salt);
        EXPECT_EQ(hash.substr(2), Oracle("secret", row.members).substr(2));
    }
}

TEST_F(UFCryptTest, WritesThirteenPrintableCharactersAndANul)
{
    char out[15];
    out[14] = '#';
    m_crypt->crypt("secret", 6, "ab", out);
    EXPECT_EQ(out[13], 0);
    EXPECT_EQ(out[14], '#');
    EXPECT_EQ(std::string(out).find_first_not_of(kAlphabet), std::string::npos);
}
