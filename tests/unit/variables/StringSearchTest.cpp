#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "variables/StringClass.h"

namespace {

std::string Text(const String& string)
{
    return std::string(string.data(), size_t(string.length()));
}

}  // namespace

TEST(StringSearching, SearchGivesThePositionOrMinusOne)
{
    static const struct {
        const char* text;
        const char* needle;
        int start, position;
    } rows[] = {
        {"abcabc", "bc", 0, 1}, {"abcabc", "bc", 2, 4},    {"abcabc", "bc", 5, -1},
        {"abc", "", 0, -1},     {"", "a", 0, -1},          {"ab", "abc", 0, -1},
        {"aaab", "aab", 0, 1},  {"abc", "abc", 0, 0},      {"abc", "a", -5, 0},
        {"abc", "c", 3, -1},    {"abc", "a", INT_MAX, -1}, {"abc", nullptr, 0, -1},
        {"abc", "C", 0, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " " << (row.needle ? row.needle : "(null)")
                                        << " " << row.start);
        String string(row.text);
        EXPECT_EQ(string.search(row.needle, row.start), row.position);
        EXPECT_EQ(string.contains(row.needle, row.start), row.position >= 0);
        if (row.start == 0) {
            EXPECT_EQ(string.index(row.needle), row.position);
        }
    }
    EXPECT_EQ(String().search("a", 0), -1);
    EXPECT_EQ(String("\0ab", 3).search("ab", 0), 1);
}

TEST(StringSearching, SearchStopsAtTheLength)
{
    String string("abcdef");
    string.truncate(3);
    EXPECT_EQ(string.search("cd", 0), -1);
    EXPECT_EQ(string.search("bc", 0), 1);
}

TEST(StringSearching, FreqCountsOverlappingMatches)
{
    EXPECT_EQ(String("aaa").freq("aa"), 2);
    EXPECT_EQ(String("abab").freq("ab"), 2);
    EXPECT_EQ(String("abab").freq("x"), 0);
    EXPECT_EQ(String("abab").freq(""), 0);
    EXPECT_EQ(String().freq("a"), 0);
}

TEST(StringSearching, ContainsACharacterFromAPosition)
{
    String string("abc");
    EXPECT_TRUE(string.contains('a', 0));
    EXPECT_FALSE(string.contains('a', 1));
    EXPECT_TRUE(string.contains('c', 2));
    EXPECT_FALSE(string.contains('c', 3));
    EXPECT_FALSE(string.contains('\0', 0));
    EXPECT_TRUE(string.contains('a', -1));
    EXPECT_FALSE(String().contains('a', 0));
}

TEST(StringSearching, MatchesACharacterUpToTheNul)
{
    String string("abc");
    EXPECT_TRUE(string.matches('a', 0));
    EXPECT_TRUE(string.matches('c', 2));
    EXPECT_FALSE(string.matches('b', 2));
    EXPECT_TRUE(string.matches('\0', 3));
    EXPECT_FALSE(string.matches('\0', 4));
    EXPECT_FALSE(string.matches('a', -1));
    EXPECT_TRUE(String().matches('\0', 0));
}

TEST(StringSearching, MatchesTheRestOfTheTextIgnoringCase)
{
    static const struct {
        const char* text;
        const char* rest;
        int position;
        bool matches;
    } rows[] = {
        {"page.HTML", ".html", 4, true},
        {"page.html", ".HTML", 4, true},
        {"page.html", ".htm", 4, false},
        {"page.htm", ".html", 4, false},
        {"page", "", 4, true},
        {"page", "", 9, true},
        {"page", "x", 4, false},
        {"page", "x", 9, false},
        {"page", "PAGE", 0, true},
        {"page", "", 0, false},
        {"p\xE4", "P\xC4", 0, false},
        {"p\xE4", "P\xE4", 0, true},
        {"", "", 0, true},
        {"[", "{", 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " " << row.rest << " " << row.position);
        EXPECT_EQ(String(row.text).matches(row.rest, row.position), row.matches);
    }
}

TEST(StringSearching, ANulByteIsPartOfTheRest)
{
    EXPECT_FALSE(String("a\0", 2).matches("a", 0));
}

TEST(StringSearching, AtGivesARangeClampedToTheText)
{
    String string("abcdef");
    EXPECT_EQ(Text(string.at(1, 3)), "bc");
    EXPECT_EQ(Text(string.at(0, 6)), "abcdef");
    EXPECT_EQ(Text(string.at(4, 99)), "ef");
    EXPECT_EQ(Text(string.at(6, 9)), "");
    EXPECT_EQ(Text(string.at(9, 12)), "");
    EXPECT_EQ(Text(string.at(3, 2)), "");
    EXPECT_EQ(Text(string.at(-2, 2)), "ab");
    EXPECT_EQ(Text(String("a\0b", 3).at(0, 3)), std::string("a\0b", 3));
}

TEST(StringSearching, FromAfterAndBeforeAPosition)
{
    String string("abcdef");
    EXPECT_EQ(Text(string.from(0)), "abcdef");
    EXPECT_EQ(Text(string.from(4)), "ef");
    EXPECT_EQ(Text(string.from(6)), "");
    EXPECT_EQ(Text(string.from(7)), "");
    EXPECT_EQ(Text(string.after(0)), "bcdef");
    EXPECT_EQ(Text(string.after(5)), "");
    EXPECT_EQ(Text(string.after(INT_MAX)), "");
    EXPECT_EQ(Text(string.before(2)), "ab");
    EXPECT_EQ(Text(string.before(0)), "");
    EXPECT_EQ(Text(string.before(-1)), "");
    EXPECT_EQ(Text(string.before(6)), "abcdef");
    EXPECT_EQ(Text(string.before(99)), "abcdef");
}

TEST(StringSearching, FromAfterAndBeforeAText)
{
    String string("key=value=x");
    EXPECT_EQ(Text(string.from("=")), "=value=x");
    EXPECT_EQ(Text(string.from("=", 4)), "=x");
    EXPECT_EQ(Text(string.from("?")), "");
    EXPECT_EQ(Text(string.after("=")), "value=x");
    EXPECT_EQ(Text(string.after("=", 4)), "x");
    EXPECT_EQ(Text(string.after("x")), "");
    EXPECT_EQ(Text(string.after("?")), "");
    EXPECT_EQ(Text(string.before("=")), "key");
    EXPECT_EQ(Text(string.before("key")), "");
    EXPECT_EQ(Text(string.before("?")), "key=value=x");
}

TEST(StringSearching, FromAndAfterEndAtTheFirstNul)
{
    String string("ab\0cd", 5);
    EXPECT_EQ(Text(string.from(1)), "b");
    EXPECT_EQ(Text(string.after(0)), "b");
    EXPECT_EQ(Text(string.from(3)), "cd");
    EXPECT_EQ(Text(string.before(4)), std::string("ab\0c", 4));
}

TEST(StringSearching, PadsToAWidth)
{
    String string("abc");
    EXPECT_EQ(Text(string.padr(5, '.')), "abc..");
    EXPECT_EQ(Text(string.padl(5, '.')), "..abc");
    EXPECT_EQ(Text(string.padr(3, '.')), "abc");
    EXPECT_EQ(Text(string.padl(2, '.')), "abc");
    EXPECT_EQ(Text(string.padl(-1, '.')), "abc");
    EXPECT_EQ(Text(String().padl(2, '0')), "00");
    EXPECT_EQ(string.padr(24, ' ').capacity(), 48);
}

TEST(StringSearching, GsubReplacesWithoutRescanning)
{
    static const struct {
        const char* text;
        const char* pattern;
        const char* replacement;
        const char* result;
    } rows[] = {
        {"a.b.c", ".", "::", "a::b::c"},
        {"aaa", "aa", "b", "ba"},
        {"aaaa", "a", "aa", "aaaaaaaa"},
        {"abc", "b", nullptr, "ac"},
        {"abc", "b", "", "ac"},
        {"abc", "", "x", "abc"},
        {"abc", "x", "y", "abc"},
        {"abc", "abc", "", ""},
        {"", "a", "b", ""},
        {"xabx", "x", "", "ab"},
        {"abc", nullptr, "x", "abc"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " " << row.result);
        String string(row.text);
        string.gsub(row.pattern, row.replacement);
        EXPECT_EQ(Text(string), row.result);
        EXPECT_EQ(string.data()[string.length()], 0);
    }
}

TEST(StringSearching, GsubKeepsStorageThatIsLargeEnough)
{
    String string("a.b");
    const char* storage = string.data();
    string.gsub(".", "--");
    EXPECT_EQ(string.data(), storage);
    string.gsub("-", "0123456789");
    EXPECT_EQ(Text(string), "a01234567890123456789b");
    EXPECT_EQ(string.capacity(), 24);
    string.gsub("b", "bcd");
    EXPECT_EQ(string.capacity(), 48);
    String nul("a\0.b", 4);
    nul.gsub(".", "!");
    EXPECT_EQ(Text(nul), std::string("a\0!b", 4));
}
