#include "primitives/string_search.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace {

typedef int (*Search)(const char*, int, const char*, int);

struct Form {
    const char* name;
    Search search;
    bool nocase, reverse, skips_start;
};

const Form kForms[] = {
    {"bf_search", bf_search, false, false, false},
    {"bm_search", bm_search, false, false, false},
    {"bf_searchi", bf_searchi, true, false, false},
    {"bm_searchi", bm_searchi, true, false, false},
    {"bf_search_reverse", bf_search_reverse, false, true, false},
    {"bm_search_reverse", bm_search_reverse, false, true, false},
    {"bf_searchi_reverse", bf_searchi_reverse, true, true, false},
    {"bm_searchi_reverse", bm_searchi_reverse, true, true, false},
    {"rk_search", rk_search, false, false, true},
    {"rk_searchi", rk_searchi, true, false, true},
};

int Position(Search search, const std::string& needle, const std::string& haystack)
{
    // Of exact size, so that a read behind the end is seen.
    std::vector<char> exact_needle(needle.begin(), needle.end());
    std::vector<char> exact(haystack.begin(), haystack.end());
    return search(exact_needle.data(), int(needle.size()), exact.data(), int(haystack.size()));
}

std::string Upper(std::string text)
{
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 128)
            c = char(std::toupper(c));
    }
    return text;
}

int Expected(const Form& form, const std::string& needle, const std::string& haystack)
{
    std::string n = form.nocase ? Upper(needle) : needle;
    std::string h = form.nocase ? Upper(haystack) : haystack;
    size_t found = form.reverse ? h.rfind(n) : h.find(n, form.skips_start ? 1 : 0);
    return found == std::string::npos ? -1 : int(found);
}

}  // namespace

TEST(StringSearch, FindsTheFirstOrLastOccurrence)
{
    static const struct {
        const char* needle;
        const char* haystack;
    } rows[] = {
        {"b", "abcabc"},
        {"abc", "abc"},
        {"abc", "ab"},
        {"aab", "aaaaab"},
        {"abab", "abaababab"},
        {"x", "abc"},
        {"Bc", "aBCxbC"},
        {"tEsT", "a test TEST"},
        {"needle", "no such thing here"},
        {"\xE4", "a\xC4\xE4"},
        {"aa", "aaa"},
        {"ana", "banana"},
        {"@", "`@"},
        {"[", "{["},
        {"anpanman", "anpananpanmanpanman"},
    };
    for (const auto& row : rows) {
        for (const Form& form : kForms) {
            SCOPED_TRACE(testing::Message()
                         << form.name << " " << row.needle << " in " << row.haystack);
            EXPECT_EQ(Position(form.search, row.needle, row.haystack),
                      Expected(form, row.needle, row.haystack));
        }
    }
}

TEST(StringSearch, AgreesWithThePlainSearchOnRandomTexts)
{
    unsigned int seed = 7;
    auto next = [&](unsigned int range) {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 16) % range;
    };
    static const char kLetters[] = "aAbB\xE1\xC1";
    for (int round = 0; round < 5000; ++round) {
        std::string needle, haystack;
        for (unsigned int i = 1 + next(4); i > 0; --i)
            needle += kLetters[next(6)];
        for (unsigned int i = next(40); i > 0; --i)
            haystack += kLetters[next(6)];
        for (const Form& form : kForms) {
            ASSERT_EQ(Position(form.search, needle, haystack), Expected(form, needle, haystack))
                << form.name << " " << needle << " in " << haystack;
        }
    }
}

// Long enough for whole blocks, with few and with many places where an end fits.
TEST(StringSearch, AgreesWithThePlainSearchOnLongTexts)
{
    unsigned int seed = 11;
    auto next = [&](unsigned int range) {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 16) % range;
    };
    for (int round = 0; round < 3000; ++round) {
        std::string haystack(next(700), ' ');
        unsigned int letters = round % 3 == 0 ? 1 : 26;
        for (char& c : haystack)
            c = char((next(9) == 0 ? 'A' : 'a') + next(letters));
        unsigned int length = 1 + next(round % 2 == 0 ? 6 : 90);
        std::string needle(length, 'a');
        if (!haystack.empty() && round % 4 != 0)
            needle = haystack.substr(next(unsigned(haystack.size())), length);
        for (const Form& form : kForms) {
            ASSERT_EQ(Position(form.search, needle, haystack), Expected(form, needle, haystack))
                << form.name << " " << needle << " in " << haystack;
        }
    }
}

TEST(StringSearch, WhatIsSaidOfLengthsThatLeaveNothingToSearch)
{
    static const struct {
        int needle, haystack, bf, bm, bf_reverse, bm_reverse, rk;
    } rows[] = {{0, 0, -1, 0, -1, 0, -1},   {0, 3, 0, 0, 3, 3, 1}, {-1, 3, -1, 0, -1, 3, 1},
                {-1, 0, -1, 0, -1, 0, -1},  {0, 1, 0, 0, 1, 1, 1}, {2, 1, -1, -1, -1, -1, -1},
                {1, -1, -1, -1, -1, -1, -1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.needle << " in " << row.haystack);
        EXPECT_EQ(bf_search("ab", row.needle, "xyz", row.haystack), row.bf);
        EXPECT_EQ(bf_searchi("ab", row.needle, "xyz", row.haystack), row.bf);
        EXPECT_EQ(bm_search("ab", row.needle, "xyz", row.haystack), row.bm);
        EXPECT_EQ(bm_searchi("ab", row.needle, "xyz", row.haystack), row.bm);
        EXPECT_EQ(bf_search_reverse("ab", row.needle, "xyz", row.haystack), row.bf_reverse);
        EXPECT_EQ(bf_searchi_reverse("ab", row.needle, "xyz", row.haystack), row.bf_reverse);
        EXPECT_EQ(bm_search_reverse("ab", row.needle, "xyz", row.haystack), row.bm_reverse);
        EXPECT_EQ(bm_searchi_reverse("ab", row.needle, "xyz", row.haystack), row.bm_reverse);
        EXPECT_EQ(rk_search("ab", row.needle, "xyz", row.haystack), row.rk);
        EXPECT_EQ(rk_searchi("ab", row.needle, "xyz", row.haystack), row.rk);
    }
}

TEST(StringSearch, EmptyHaystackIsMinusOneForBruteForce)
{
    EXPECT_EQ(bf_search("", 0, "", 0), -1);
    EXPECT_EQ(bf_searchi("", 0, "", 0), -1);
    EXPECT_EQ(bf_search("a", 1, "", 0), -1);
    EXPECT_EQ(bf_search_reverse("", 0, "", 0), -1);
    EXPECT_EQ(rk_search("", 0, "", 0), -1);
}

TEST(StringSearch, EmptyNeedleStandsAtTheStartOrTheEnd)
{
    EXPECT_EQ(bf_search("", 0, "abc", 3), 0);
    EXPECT_EQ(bm_search("", 0, "abc", 3), 0);
    EXPECT_EQ(bm_search("", 0, "", 0), 0);
    EXPECT_EQ(bm_searchi("", 0, "", 0), 0);
    EXPECT_EQ(bf_search_reverse("", 0, "abc", 3), 3);
    EXPECT_EQ(bm_search_reverse("", 0, "abc", 3), 3);
}

TEST(StringSearch, NeedleEqualToTheHaystackStandsAtZero)
{
    for (const Form& form : kForms) {
        SCOPED_TRACE(form.name);
        EXPECT_EQ(Position(form.search, "whole text", "whole text"), form.skips_start ? -1 : 0);
    }
}

TEST(StringSearch, BoyerMooreFindsTheFirstOccurrenceOfOneByte)
{
    EXPECT_EQ(bm_search("c", 1, "abcabc", 6), 2);
    EXPECT_EQ(bm_search("a", 1, "a", 1), 0);
    EXPECT_EQ(bm_search("z", 1, "abcabc", 6), -1);
}

TEST(StringSearch, RabinKarpDoesNotReportTheStart)
{
    EXPECT_EQ(rk_search("ab", 2, "abcab", 5), 3);
    EXPECT_EQ(rk_search("ab", 2, "abc", 3), -1);
    EXPECT_EQ(rk_searchi("AB", 2, "abcab", 5), 3);
}

TEST(StringSearch, EqualHashesAreNoMatch)
{
    // "aa" and "b" + 'A' have the same hash: 32 * 97 + 97 == 32 * 98 + 65.
    EXPECT_EQ(rk_search("aa", 2, "xbA", 3), -1);
    EXPECT_EQ(rk_search("aa", 2, "xbAaa", 5), 3);
}

TEST(StringSearch, NulBytesAreBytes)
{
    for (const Form& form : kForms) {
        SCOPED_TRACE(form.name);
        EXPECT_EQ(Position(form.search, std::string("\0b", 2), std::string("a\0a\0bc", 6)), 3);
    }
}
