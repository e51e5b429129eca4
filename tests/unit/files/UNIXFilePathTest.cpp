#include "files/UNIXFilePath.h"

#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "files/HeldText.h"

namespace {

std::vector<std::string> Elements(UNIXFilePath& path)
{
    std::vector<std::string> elements;
    for (int index = 0; index < path.elements(); ++index)
        elements.push_back(path.Element(index));
    return elements;
}

std::string Collapsed(UNIXFilePath& path)
{
    int length = -1, capacity = -1;
    HeldText text(path.Collapsed_Path(&length, &capacity));
    EXPECT_EQ(static_cast<size_t>(length), strlen(text.get()));
    EXPECT_GT(capacity, length);
    return text.get();
}

std::string Directory(UNIXFilePath& path)
{
    return HeldText(path.Collapsed_Directory()).get();
}

}  // namespace

TEST(UNIXFilePath, SplitsAtRunsOfSlashes)
{
    static const struct {
        const char* text;
        std::vector<std::string> elements;
        bool absolute;
        const char* path;
    } rows[] = {
        {"", {}, false, ""},
        {"x", {"x"}, false, "x"},
        {"x//y/", {"x", "y"}, false, "x/y"},
        {"x/y///", {"x", "y"}, false, "x/y"},
        {"/", {"/"}, true, "/"},
        {"///", {"/"}, true, "/"},
        {"/x", {"/", "x"}, true, "/x"},
        {"//x//yz/", {"/", "x", "yz"}, true, "/x/yz"},
        {"./../x", {".", "..", "x"}, false, "./../x"},
        {"a b/c.d", {"a b", "c.d"}, false, "a b/c.d"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        UNIXFilePath path(row.text);
        EXPECT_EQ(Elements(path), row.elements);
        EXPECT_EQ(path.absolute(), row.absolute);
        EXPECT_STREQ(path.path(), row.path);
    }
}

TEST(UNIXFilePath, ANullPathIsTheEmptyOne)
{
    UNIXFilePath constant(static_cast<const char*>(nullptr));
    EXPECT_EQ(constant.elements(), 0);
    UNIXFilePath taken(static_cast<char*>(nullptr), false);
    EXPECT_STREQ(taken.path(), "");
}

TEST(UNIXFilePath, JoinsADirectoryAndAName)
{
    static const struct {
        const char *directory, *name, *path;
    } rows[] = {
        {"/a", "b", "/a/b"}, {"/", "b", "/b"}, {"a/", "/b/", "a/b"},
        {"a", "", "a"},      {"", "b", "/b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_STREQ(UNIXFilePath(row.directory, row.name).path(), row.path);
    }
}

TEST(UNIXFilePath, TakesAnArrayOverOrCopiesIt)
{
    char* taken = new char[8];
    memcpy(taken, "a//b", 5);
    UNIXFilePath owner(taken, false);
    EXPECT_EQ(owner.path(), taken);
    EXPECT_STREQ(taken, "a/b");

    char kept[] = "a//b";
    UNIXFilePath copy(kept, true);
    EXPECT_STREQ(copy.path(), "a/b");
    EXPECT_STREQ(kept, "a//b");
}

TEST(UNIXFilePath, SpansGiveTheTextBetweenTwoElements)
{
    UNIXFilePath path("/a/bc/d");
    EXPECT_STREQ(path.Element(2), "bc");
    EXPECT_STREQ(path.Span(1, 3), "a/bc/d");
    EXPECT_STREQ(path.Span(0, 2), "/a/bc");
    EXPECT_STREQ(path.Span(0, 0), "/");
    EXPECT_STREQ(path.Element(1), "a");
    EXPECT_STREQ(path.Span(2, 3), "bc/d");
    EXPECT_STREQ(path.path(), "/a/bc/d");
}

TEST(UNIXFilePath, ACopyIsWholeWhereTheSourceIsCut)
{
    UNIXFilePath path("/a/b/c");
    EXPECT_STREQ(path.Element(1), "a");
    UNIXFilePath copy(path);
    EXPECT_STREQ(copy.path(), "/a/b/c");
    EXPECT_EQ(Collapsed(copy), "/a/b/c");

    UNIXFilePath empty("");
    EXPECT_STREQ(UNIXFilePath(empty).path(), "");
}

TEST(UNIXFilePath, CollapsesDotsByTheirTextAlone)
{
    static const struct {
        const char *text, *path, *directory, *filename;
    } rows[] = {
        {"", ".", ".", "."},
        {".", ".", ".", "."},
        {"./.", ".", ".", "."},
        {"x", "x", ".", "x"},
        {"./x/.", "x", ".", "x"},
        {"x/y", "x/y", "x", "y"},
        {"x//y/", "x/y", "x", "y"},
        {"a/../x", "x", ".", "x"},
        {"a/..", ".", ".", "."},
        {"a/b/../../c", "c", ".", "c"},
        {"..", "..", "..", "."},
        {"../..", "../..", "../..", "."},
        {"../x", "../x", "..", "x"},
        {"a/../../x", "../x", "..", "x"},
        {"a/../..", "..", "..", "."},
        {"../a/..", "..", "..", "."},
        {"/", "/", "/", "."},
        {"/.", "/", "/", "."},
        {"/..", "/", "/", "."},
        {"/x", "/x", "/", "x"},
        {"/x/..", "/", "/", "."},
        {"/../../x/y", "/x/y", "/x", "y"},
        {"/a/./b/../c", "/a/c", "/a", "c"},
        {".../x..", ".../x..", "...", "x.."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        UNIXFilePath path(row.text);
        EXPECT_EQ(Collapsed(path), row.path);
        EXPECT_EQ(Directory(path), row.directory);
        EXPECT_STREQ(path.Collapsed_Filename(), row.filename);
    }
}

TEST(UNIXFilePath, CollapsesWhateverElementWasShownBefore)
{
    UNIXFilePath path("/a/./bb/c");
    EXPECT_STREQ(path.Element(3), "bb");
    EXPECT_STREQ(path.Element(1), "a");
    EXPECT_EQ(Collapsed(path), "/a/bb/c");
    EXPECT_EQ(Directory(path), "/a/bb");
}

TEST(UNIXFilePath, MatchesTheKeptElementsButTheIgnoredOnes)
{
    static const struct {
        const char *left, *right;
        int ignore;
        bool matches;
    } rows[] = {
        {"/a/b", "/a/b", 0, true},  {"/a/b", "/a/./x/../b", 0, true},
        {"/a/b", "/a/c", 0, false}, {"/a/b", "/a/c", 1, true},
        {"/a/b", "/a", 0, false},   {"/a/b", "/a/b/c", 1, false},
        {"/a/b", "/x/b", 1, false}, {"a/b", "/a/b", 0, false},
        {"a", "b", 1, true},        {"/a/bb", "/a/b", 0, false},
        {"", ".", 0, true},         {"", "", 1, true},
        {"/a/b", "/A/b", 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.left) + " " + row.right);
        UNIXFilePath left(row.left), right(row.right);
        EXPECT_EQ(left.Matches(right, row.ignore), row.matches);
        EXPECT_EQ(right.Matches(left, row.ignore), row.matches);
    }
}

TEST(UNIXFilePath, ContainsWhatBeginsWithAllItsElements)
{
    static const struct {
        const char *outer, *inner;
        bool contains;
    } rows[] = {
        {"/a", "/a", true},        {"/a", "/a/b/c", true},
        {"/a", "/ab", false},      {"/a/b", "/a", false},
        {"/", "/a", true},         {"/a", "/a/../b", false},
        {"/a", "/a/b/..", true},   {"/a", "/a/b/../..", false},
        {"/a/x/..", "/a/c", true}, {"/a", "a/b", false},
        {"", "x", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.outer) + " " + row.inner);
        UNIXFilePath outer(row.outer), inner(row.inner);
        EXPECT_EQ(outer.Contains(inner), row.contains);
    }
}
