#include "variables/LinkBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "variables/Variable.h"

namespace {

void Cat(LinkBuffer& buffer, const std::string& text)
{
    buffer.cat(text.data(), int(text.size()));
}

void Prepend(LinkBuffer& buffer, const std::string& text)
{
    buffer.prepend(text.data(), int(text.size()));
}

char* Array(const std::string& text)
{
    char* array = new char[text.size() + 1];
    std::memcpy(array, text.data(), text.size());
    return array;
}

std::string Text(const LinkBuffer& buffer)
{
    std::string text(size_t(buffer.length()), '?');
    buffer.append_to(text.data());
    return text;
}

std::vector<std::string> Blocks(const LinkBuffer& buffer)
{
    std::vector<std::string> blocks;
    buffer.ForEachBlock(
        [&](const char* text, int length) { blocks.emplace_back(text, size_t(length)); });
    return blocks;
}

typedef std::vector<std::string> Texts;

}  // namespace

TEST(LinkBuffer, EmptyYieldsTheEmptyText)
{
    LinkBuffer buffer(8, 4);
    int length = -1, capacity = -1;
    EXPECT_STREQ(buffer.data(&length, &capacity), "");
    EXPECT_EQ(length, 0);
    EXPECT_EQ(capacity, 1);
    EXPECT_EQ(Blocks(buffer), Texts());
    char* array = buffer.release(&length, &capacity, 5);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(capacity, 1);
    EXPECT_EQ(array[0], 0);
    delete[] array;
    buffer.coalesce(100);
    EXPECT_EQ(buffer.length(), 0);
}

TEST(LinkBuffer, FirstBlockIsOneUnitMoreThanTheTextFills)
{
    static const struct {
        int length, capacity;
    } rows[] = {{0, 8}, {1, 8}, {7, 8}, {8, 16}, {9, 16}, {16, 24}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        LinkBuffer buffer(8, 4);
        Cat(buffer, std::string(size_t(row.length), 'x'));
        int length, capacity;
        buffer.data(&length, &capacity);
        EXPECT_EQ(length, row.length);
        EXPECT_EQ(capacity, row.capacity);
    }
}

TEST(LinkBuffer, CatFillsTheTailThenMakesOneBlock)
{
    LinkBuffer buffer(8, 4);
    Cat(buffer, "abcde");
    Cat(buffer, "fghijklmn");
    EXPECT_EQ(Blocks(buffer), (Texts{"abcdefgh", "ijklmn"}));
    Cat(buffer, "op");  // the new block has 4 * (6 / 4 + 1) = 8 bytes
    Cat(buffer, "q");
    EXPECT_EQ(Blocks(buffer), (Texts{"abcdefgh", "ijklmnop", "q"}));
    EXPECT_EQ(buffer.length(), 17);
    EXPECT_EQ(Text(buffer), "abcdefghijklmnopq");
}

TEST(LinkBuffer, PrependPutsABlockInFront)
{
    LinkBuffer buffer(8, 4);
    Prepend(buffer, "c");
    EXPECT_EQ(Blocks(buffer), Texts{"c"});
    Prepend(buffer, "b");
    Prepend(buffer, "a");
    EXPECT_EQ(Blocks(buffer), (Texts{"a", "b", "c"}));
    Cat(buffer, "d");
    EXPECT_EQ(Blocks(buffer), (Texts{"a", "b", "cd"}));
    EXPECT_EQ(Text(buffer), "abcd");
}

TEST(LinkBuffer, ALengthBelowOneAddsNothing)
{
    LinkBuffer buffer(8, 4);
    buffer.cat("abc", -1);
    buffer.prepend("abc", -1);
    buffer.prepend("abc", 0);
    buffer.cat(nullptr, 0);
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_STREQ(buffer.data(nullptr, nullptr), "");
}

TEST(LinkBuffer, NocopyTakesTheArrayOver)
{
    LinkBuffer buffer(8, 4);
    char* array = Array("bc");
    buffer.cat_nocopy(array, 2, 3);
    buffer.prepend_nocopy(Array("a"), 1, 2);
    buffer.cat_nocopy(Array("de"), 2, 3);
    EXPECT_EQ(Blocks(buffer), (Texts{"a", "bc", "de"}));
    Cat(buffer, "fg");  // one byte is free in the last array
    EXPECT_EQ(Blocks(buffer), (Texts{"a", "bc", "def", "g"}));
    LinkBuffer single(8, 4);
    array = Array("text");
    single.prepend_nocopy(array, 4, 5);
    EXPECT_EQ(single.data(nullptr, nullptr), array);
    EXPECT_STREQ(array, "text");
}

TEST(LinkBuffer, NocopyNeverWritesBehindTheArray)
{
    LinkBuffer buffer(8, 4);
    char* exact = new char[2];
    std::memcpy(exact, "ab", 2);
    buffer.cat_nocopy(exact, 2, 1);
    Cat(buffer, "c");
    EXPECT_STREQ(buffer.data(nullptr, nullptr), "abc");
    LinkBuffer empty(8, 4);
    empty.cat_nocopy(nullptr, 0, 0);
    EXPECT_STREQ(empty.data(nullptr, nullptr), "");
}

TEST(LinkBuffer, NumbersAreTheirDecimalText)
{
    LinkBuffer buffer(8, 4);
    buffer.cat(-12);
    buffer.cat(3);
    buffer.prepend(2147483647);
    EXPECT_EQ(Text(buffer), "2147483647-123");
    EXPECT_EQ(buffer.length(), 14);
}

TEST(LinkBuffer, DoublesAreTheirShortestText)
{
    LinkBuffer buffer(8, 8);
    buffer.cat(0.5);
    buffer.cat(3.0);
    buffer.prepend(-2.25);
    EXPECT_EQ(Text(buffer), "-2.250.53");
}

TEST(LinkBuffer, VariablesGiveTheirText)
{
    Variable text("t", -1, "text", -1);
    Variable number("n", -1, 12);
    LinkBuffer buffer(8, 8);
    buffer.cat(&text);
    buffer.cat(&number);
    buffer.prepend(&number);
    EXPECT_EQ(Text(buffer), "12text12");
    text.SetValue("other", -1);
    EXPECT_EQ(Text(buffer), "12text12");
}

TEST(LinkBuffer, CopiesAnotherBlockByBlock)
{
    LinkBuffer source(4, 4);
    Cat(source, "abc");
    source.cat_nocopy(Array(""), 0, 1);
    Prepend(source, "_");
    LinkBuffer target(8, 4);
    target.cat(&source);
    EXPECT_EQ(Text(target), "_abc");
    target.prepend(&source);
    EXPECT_EQ(Blocks(target), (Texts{"_", "abc", "_abc"}));
    EXPECT_EQ(Blocks(source), (Texts{"_", "abc"}));
    LinkBuffer fresh(8, 4);
    fresh.prepend(&source);
    EXPECT_EQ(Text(fresh), "_abc");
    EXPECT_EQ(fresh.length(), 4);
}

TEST(LinkBuffer, CopiesItself)
{
    LinkBuffer buffer(4, 4);
    Cat(buffer, "abcde");
    buffer.cat(&buffer);
    EXPECT_EQ(Text(buffer), "abcdeabcde");
    buffer.prepend(&buffer);
    EXPECT_EQ(Text(buffer), "abcdeabcdeabcdeabcde");
    // Here the copy of the first block goes into the last one, which is copied next.
    LinkBuffer two(4, 8);
    Cat(two, "abc");
    Cat(two, "de");
    EXPECT_EQ(Blocks(two), (Texts{"abcd", "e"}));
    two.cat(&two);
    EXPECT_EQ(Text(two), "abcdeabcde");
    LinkBuffer empty(4, 4);
    empty.cat(&empty);
    empty.prepend(&empty);
    EXPECT_EQ(empty.length(), 0);
}

TEST(LinkBuffer, DestroyFormsSpliceTheChain)
{
    LinkBuffer buffer(4, 4);
    Cat(buffer, "mid");
    LinkBuffer* behind = new LinkBuffer(4, 4);
    Cat(*behind, "end");
    Prepend(*behind, "-");
    buffer.cat_destroy(behind);
    LinkBuffer* front = new LinkBuffer(4, 4);
    Cat(*front, "start");
    buffer.prepend_destroy(front);
    EXPECT_EQ(Blocks(buffer), (Texts{"start", "mid", "-", "end"}));
    EXPECT_EQ(buffer.length(), 12);
    Cat(buffer, "!");
    Prepend(buffer, "^");
    EXPECT_EQ(Text(buffer), "^startmid-end!");
    LinkBuffer copy(4, 4);
    copy.prepend(&buffer);  // walks the chain backward
    EXPECT_EQ(Text(copy), "^startmid-end!");
    buffer.cat_destroy(new LinkBuffer(4, 4));
    buffer.prepend_destroy(new LinkBuffer(4, 4));
    EXPECT_EQ(buffer.length(), 14);
}

TEST(LinkBuffer, HexIsTwoUpperCaseDigits)
{
    LinkBuffer buffer(8, 8);
    buffer.cat_hex(0);
    buffer.cat_hex(0x0A);
    buffer.cat_hex(0xFF);
    buffer.cat_hex(0x9c);
    EXPECT_EQ(Text(buffer), "000AFF9C");
}

TEST(LinkBuffer, CoalesceMovesTheTextOnlyWhereItMust)
{
    LinkBuffer buffer(8, 4);
    Cat(buffer, "abcd");
    int capacity;
    const char* block = buffer.data(nullptr, &capacity);
    EXPECT_EQ(capacity, 8);
    buffer.coalesce(4);
    EXPECT_EQ(buffer.data(nullptr, &capacity), block);
    EXPECT_EQ(capacity, 8);
    buffer.coalesce(5);
    buffer.data(nullptr, &capacity);
    EXPECT_EQ(capacity, 9);
    Cat(buffer, "efghijkl");
    EXPECT_EQ(Blocks(buffer).size(), 2u);
    buffer.coalesce(3);
    EXPECT_EQ(Blocks(buffer), Texts{"abcdefghijkl"});
    buffer.data(nullptr, &capacity);
    EXPECT_EQ(capacity, 15);
}

TEST(LinkBuffer, DataIsTerminated)
{
    LinkBuffer buffer(4, 4);
    Cat(buffer, "abcdefgh");
    Cat(buffer, "ijkl");  // the first block is full to the last byte
    int length, capacity;
    EXPECT_STREQ(buffer.data(&length, &capacity), "abcdefghijkl");
    EXPECT_EQ(length, 12);
    EXPECT_EQ(capacity, 13);
}

TEST(LinkBuffer, ReleaseHandsTheArrayOverAndLeavesTheBufferUsable)
{
    LinkBuffer buffer(4, 4);
    Cat(buffer, "abcde");
    Cat(buffer, "fghi");
    int length, capacity;
    char* array = buffer.release(&length, &capacity, 1);
    EXPECT_EQ(std::string(array, size_t(length)), "abcdefghi");
    EXPECT_EQ(capacity, 10);
    delete[] array;
    EXPECT_EQ(buffer.length(), 0);
    Cat(buffer, "again");
    EXPECT_EQ(Text(buffer), "again");
    array = buffer.release(nullptr, nullptr, 0);
    EXPECT_EQ(std::memcmp(array, "again", 5), 0);
    delete[] array;
}

TEST(LinkBuffer, UnitsBelowOneCountAsOne)
{
    LinkBuffer buffer(0, -5);
    Cat(buffer, "abc");
    Cat(buffer, "def");
    Prepend(buffer, "_");
    EXPECT_EQ(Text(buffer), "_abcdef");
}

TEST(LinkBuffer, AMillionBlocksAreFreedWithoutRecursion)
{
    LinkBuffer buffer(1, 1);
    for (int i = 0; i < 1000000; ++i)
        buffer.prepend_nocopy(nullptr, 0, 0);
    EXPECT_EQ(buffer.length(), 0);
}
