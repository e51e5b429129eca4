#include "variables/StringClass.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

namespace {

std::string Text(const String& string)
{
    return std::string(string.data(), size_t(string.length()));
}

// A new[] array with `text` at its start.
char* Buffer(const char* text, int capacity)
{
    char* buffer = new char[size_t(capacity)];
    std::memcpy(buffer, text, std::strlen(text));
    return buffer;
}

}  // namespace

TEST(String, WithoutStorageReadsAsTheEmptyText)
{
    String string;
    EXPECT_STREQ(string.data(), "");
    EXPECT_EQ(string.length(), 0);
    EXPECT_EQ(string.capacity(), 0);
    String copy(string);
    EXPECT_EQ(copy.capacity(), 0);
}

TEST(String, AssigningNothingMakesStorage)
{
    String string;
    string.assign(nullptr, 0);
    EXPECT_EQ(string.length(), 0);
    EXPECT_STREQ(string.data(), "");
    EXPECT_EQ(string.capacity(), 24);
    int length, capacity;
    char* array = string.release(&length, &capacity);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(*array, 0);
    delete[] array;
}

TEST(String, CapacityIsTheNeededSizeRoundedUpTo24)
{
    static const struct {
        int length, capacity;
    } rows[] = {{0, 24}, {1, 24}, {22, 24}, {23, 24}, {24, 48}, {47, 48}, {48, 72}, {1000, 1008}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        std::string text(size_t(row.length), 'x');
        String string(text.data(), row.length);
        EXPECT_EQ(string.capacity(), row.capacity);
        EXPECT_EQ(Text(string), text);
        EXPECT_EQ(String(string).capacity(), row.capacity);
    }
}

TEST(String, AssignKeepsStorageThatIsLargeEnough)
{
    String string("a text of more than twenty-four bytes");
    EXPECT_EQ(string.capacity(), 48);
    const char* storage = string.data();
    string.assign("short");
    EXPECT_EQ(string.data(), storage);
    EXPECT_STREQ(string.data(), "short");
    string.assign(nullptr, -1);
    EXPECT_EQ(string.data(), storage);
    EXPECT_STREQ(string.data(), "");
    string.assign('x');
    EXPECT_EQ(string.capacity(), 48);
    EXPECT_EQ(Text(string), "x");
    string.assign(std::string(47, 'y').c_str());
    EXPECT_EQ(string.capacity(), 48);
    string.assign(std::string(48, 'y').c_str());
    EXPECT_EQ(string.capacity(), 72);
}

TEST(String, AssignACharacterAllocates24Bytes)
{
    String string;
    string.assign('x');
    EXPECT_EQ(Text(string), "x");
    EXPECT_EQ(string.capacity(), 24);
    EXPECT_STREQ(string.data(), "x");
}

TEST(String, MayHoldNulBytes)
{
    String string("a\0b", 3);
    EXPECT_EQ(string.length(), 3);
    string.cat("\0c", 2);
    EXPECT_EQ(Text(string), std::string("a\0b\0c", 5));
    EXPECT_TRUE(string == String("a\0b\0c", 5));
    EXPECT_FALSE(string == "a");
}

TEST(String, AssignNocopyAdoptsABufferWithRoomForTheNul)
{
    String string("before");
    char* buffer = Buffer("hello", 7);
    string.assign_nocopy(buffer, 5, 7);
    EXPECT_EQ(string.data(), buffer);
    EXPECT_STREQ(string.data(), "hello");
    EXPECT_EQ(string.capacity(), 7);
}

TEST(String, AssignNocopyCopiesAndFreesABufferWithoutRoom)
{
    char* buffer = Buffer("hello", 5);
    String string(buffer, 5, 5);
    EXPECT_NE(string.data(), buffer);
    EXPECT_STREQ(string.data(), "hello");
    EXPECT_EQ(string.capacity(), 24);
    string.assign_nocopy(nullptr, 0, 0);
    EXPECT_STREQ(string.data(), "");
    EXPECT_EQ(string.capacity(), 24);
}

TEST(String, CatAppendsWithinTheCapacityOrByTheRule)
{
    String string;
    string.cat("abc");
    EXPECT_EQ(string.capacity(), 24);
    const char* storage = string.data();
    string.cat(std::string(20, 'x').c_str());
    EXPECT_EQ(string.data(), storage);
    EXPECT_EQ(string.length(), 23);
    string.cat("y", 1);
    EXPECT_EQ(string.capacity(), 48);
    string.cat(std::string(100, 'z').c_str(), 100);
    EXPECT_EQ(string.capacity(), 144);
    EXPECT_EQ(Text(string), "abc" + std::string(20, 'x') + "y" + std::string(100, 'z'));
    EXPECT_EQ(string.data()[string.length()], 0);
    string.cat(nullptr, 5);
    EXPECT_EQ(string.length(), 124);
}

TEST(String, CatOfACharacterGrowsBy24OneByteEarly)
{
    String string;
    std::string expected;
    int capacity = 0;
    for (int length = 0; length < 100; ++length) {
        // In place only while length + 2 is below the capacity.
        if (length + 2 >= capacity)
            capacity += 24;
        string.cat('a');
        expected += 'a';
        ASSERT_EQ(string.capacity(), capacity) << length;
        ASSERT_EQ(Text(string), expected);
        ASSERT_EQ(string.data()[string.length()], 0);
    }
}

TEST(String, CatOfACharacterRoundsAnOddCapacityUp)
{
    String string(Buffer("hello", 7), 5, 7);
    string.cat('!');
    EXPECT_STREQ(string.data(), "hello!");
    EXPECT_EQ(string.capacity(), 24);
}

TEST(String, PrependMakesANewBuffer)
{
    String string;
    string.prepend("c");
    EXPECT_EQ(string.capacity(), 24);
    string.prepend("ab", 2);
    EXPECT_EQ(string.capacity(), 24);
    EXPECT_STREQ(string.data(), "abc");
    string.prepend('_');
    EXPECT_STREQ(string.data(), "_abc");
    string.prepend(std::string(19, 'x').c_str());
    EXPECT_EQ(string.length(), 23);
    EXPECT_EQ(string.capacity(), 24);
    string.prepend('y');
    EXPECT_EQ(string.capacity(), 48);
    EXPECT_EQ(Text(string), "y" + std::string(19, 'x') + "_abc");
    static const struct {
        int length, capacity;
    } rows[] = {{1, 7}, {5, 7}, {6, 24}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        String wide(Buffer("a", 7), 1, 7);
        wide.prepend(std::string(size_t(row.length), 'b').c_str());
        EXPECT_EQ(wide.capacity(), row.capacity);
        EXPECT_EQ(Text(wide), std::string(size_t(row.length), 'b') + "a");
    }
}

TEST(String, WhatWasCutOffComesBackWhereTheNulEndsTheText)
{
    String stripped("ab  cd");
    stripped.truncate(2);
    stripped.StripWhitespace();
    EXPECT_EQ(Text(stripped), "ab  cd");
    String trimmed(" ab");
    trimmed.chop(1);
    trimmed.ltrim();
    EXPECT_EQ(Text(trimmed), "ab");
    String compressed("a  bc");
    compressed.chop(2);
    compressed.CompressWhitespace();
    EXPECT_EQ(Text(compressed), "a bc");
    String cut("abcdef");
    cut.truncate(3);
    EXPECT_EQ(Text(cut.from(1)), "bcdef");
    EXPECT_EQ(Text(cut.after("b")), "cdef");
    EXPECT_EQ(Text(cut), "abc");
}

TEST(String, ArgumentsMayPointIntoTheStringItself)
{
    String string("abcdef");
    string.assign(string.data() + 2, 3);
    EXPECT_STREQ(string.data(), "cde");
    for (int i = 0; i < 5; ++i)
        string.cat(string.data(), string.length());
    EXPECT_EQ(string.length(), 96);
    string.prepend(string.data() + 1, 2);
    EXPECT_EQ(Text(string).substr(0, 5), "decde");
    string = string;
    string.gsub(string.data() + string.length() - 1, "E");
    EXPECT_EQ(Text(string).substr(0, 5), "dEcdE");
}

TEST(String, ReleaseHandsTheArrayOver)
{
    String string("hello");
    int length = -1, capacity = -1;
    char* array = string.release(&length, &capacity);
    EXPECT_STREQ(array, "hello");
    EXPECT_EQ(length, 5);
    EXPECT_EQ(capacity, 24);
    EXPECT_EQ(string.length(), 0);
    EXPECT_EQ(string.capacity(), 0);
    EXPECT_STREQ(string.data(), "");
    delete[] array;
    EXPECT_EQ(string.release(nullptr, nullptr), nullptr);
    string = "again";
    string.destroy();
    EXPECT_EQ(string.capacity(), 0);
    EXPECT_EQ(string.length(), 0);
}

TEST(String, ChopAndTruncateShortenAndWriteNoNul)
{
    String string("abcdef");
    string.chop(2);
    EXPECT_EQ(Text(string), "abcd");
    EXPECT_STREQ(string.data(), "abcdef");
    string.chop(5);
    EXPECT_EQ(string.length(), 4);
    string.chop(-1);
    EXPECT_EQ(string.length(), 4);
    string.chop(4);
    EXPECT_EQ(string.length(), 0);
    string = "abcdef";
    string.truncate(7);
    EXPECT_EQ(string.length(), 6);
    string.truncate(2);
    EXPECT_EQ(Text(string), "ab");
    EXPECT_STREQ(string.data(), "abcdef");
}

TEST(String, CaseMapsLettersBelow128Only)
{
    String string("aZ_9\xE4\xC4");
    EXPECT_EQ(Text(string.upper()), "AZ_9\xE4\xC4");
    EXPECT_EQ(Text(string.lower()), "az_9\xE4\xC4");
    EXPECT_EQ(Text(string), "aZ_9\xE4\xC4");
    string.upcase();
    EXPECT_EQ(Text(string), "AZ_9\xE4\xC4");
    string.lowcase();
    EXPECT_EQ(Text(string), "az_9\xE4\xC4");
    String nul("a\0b", 3);
    nul.upcase();
    EXPECT_EQ(Text(nul), std::string("A\0B", 3));
}

TEST(String, TrimsExactlySpaceTabCRAndLF)
{
    static const struct {
        const char* text;
        const char* ltrimmed;
        const char* stripped;
        const char* compressed;
    } rows[] = {
        {" \t\r\n a b \t\r\n", "a b \t\r\n", "a b", " a b "},
        {"a\t \nb", "a\t \nb", "a\t \nb", "a\tb"},
        {"\n\n a", "a", "a", "\na"},
        {"\v\fa\v", "\v\fa\v", "\v\fa\v", "\v\fa\v"},
        {"   ", "", "", " "},
        {"", "", "", ""},
        {"plain", "plain", "plain", "plain"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        String string(row.text);
        string.ltrim();
        EXPECT_EQ(Text(string), row.ltrimmed);
        string = row.text;
        string.StripWhitespace();
        EXPECT_EQ(Text(string), row.stripped);
        EXPECT_STREQ(string.data(), row.stripped);
        string = row.text;
        string.CompressWhitespace();
        EXPECT_EQ(Text(string), row.compressed);
    }
}

TEST(String, TrimmingEndsAtTheFirstNul)
{
    String string("  a b \0 c", 9);
    string.StripWhitespace();
    EXPECT_EQ(Text(string), "a b");
    string.assign(" a  b\0c", 7);
    string.ltrim();
    EXPECT_EQ(Text(string), "a  b");
    EXPECT_STREQ(string.data(), "a  b");
    string.assign("a  b\0c", 6);
    string.CompressWhitespace();
    EXPECT_EQ(Text(string), "a b");
    String nothing;
    nothing.ltrim();
    nothing.StripWhitespace();
    nothing.CompressWhitespace();
    EXPECT_EQ(nothing.length(), 0);
}

TEST(String, Base64)
{
    EXPECT_EQ(Text(String("foobar").Base64_Encode()), "Zm9vYmFy");
    EXPECT_EQ(Text(String("Zm9vYg==").Base64_Decode()), "foob");
    EXPECT_EQ(Text(String().Base64_Encode()), "");
    EXPECT_EQ(Text(String("AAA=").Base64_Decode()), std::string(2, '\0'));
    EXPECT_EQ(String("0123456789012345678").Base64_Encode().capacity(), 48);
}

TEST(String, ComposesMessages)
{
    String path("data/file.dbf");
    String text = "Error opening '" + path + "': " + "not found";
    EXPECT_STREQ(text.data(), "Error opening 'data/file.dbf': not found");
    EXPECT_STREQ((path + path).data(), "data/file.dbfdata/file.dbf");
    EXPECT_STREQ(path.data(), "data/file.dbf");
    text = "a";
    text += path;
    text += "b";
    text += 'c';
    EXPECT_TRUE(text == "adata/file.dbfbc");
    EXPECT_TRUE("adata/file.dbfbc" == text);
    EXPECT_FALSE(text == path);
    EXPECT_TRUE(text != path);
    EXPECT_TRUE(String() == "");
    EXPECT_TRUE(String() == String(""));
}

TEST(String, MovesItsStorage)
{
    String source("hello");
    const char* storage = source.data();
    String target(std::move(source));
    EXPECT_EQ(target.data(), storage);
    EXPECT_EQ(source.capacity(), 0);
    String other("other");
    other = std::move(target);
    EXPECT_EQ(other.data(), storage);
    EXPECT_EQ(target.length(), 0);
    EXPECT_STREQ(target.data(), "");
}

TEST(String, CopiesAreIndependent)
{
    String source("hello");
    String copy(source);
    String assigned;
    assigned = source;
    source.upcase();
    EXPECT_STREQ(copy.data(), "hello");
    EXPECT_STREQ(assigned.data(), "hello");
    assigned = String();
    EXPECT_STREQ(assigned.data(), "");
}

TEST(StringDup, CopiesUpToTheNul)
{
    char* copy = zeph_strdup("hello");
    EXPECT_STREQ(copy, "hello");
    delete[] copy;
    EXPECT_EQ(zeph_strdup(nullptr), nullptr);
}
