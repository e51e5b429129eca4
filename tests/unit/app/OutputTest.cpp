#include "app/Output.h"

#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "../vm/LiveArrays.h"
#include "variables/LinkBuffer.h"

namespace {

// Keeps each piece that is written, and remembers white space as real outputs do.
class PieceOutput : public Output {
public:
    int Write(const char* text, int length) override
    {
        pieces.emplace_back(text, size_t(length));
        if (length > 0)
            RememberSpace(text, length);
        return length;
    }
    int Flush() override { return ++flushes; }
    int type() override { return kBuffered; }

    std::string All() const
    {
        std::string text;
        for (const std::string& piece : pieces)
            text += piece;
        return text;
    }

    std::vector<std::string> pieces;
    int flushes = 0;
};

struct Row {
    const char* before;
    const char* text;
    const char* expected;
};

TEST(Output, FastCompressionDropsOneSpaceBehindASpace)
{
    static const Row rows[] = {
        {"x", "a", "a"},    {"x", " a", " a"},      {" ", " a", "a"}, {" ", "  a", " a"},
        {"\n", "\ta", "a"}, {" ", "a  b", "a  b"},  {" ", " ", ""},   {"x", " ", " "},
        {" ", "", ""},      {"x ", "\v\fa", "\fa"}, {"x", "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << '\'' << row.before << "' '" << row.text << '\'');
        PieceOutput output;
        output.Write(row.before, int(strlen(row.before)));
        int length = int(strlen(row.text));
        EXPECT_EQ(output.Write_Compressed_Fast(row.text, length), length);
        EXPECT_EQ(output.All(), std::string(row.before) + row.expected);
    }
}

TEST(Output, FullCompressionReducesEachRunToItsFirstCharacter)
{
    static const Row rows[] = {
        {"x", "a  \n b", "a b"},
        {"x", "a\n  b", "a\nb"},
        {"x", " \n a", " a"},
        {" ", " \n a", "a"},
        {" ", "   ", ""},
        {"x", "   ", " "},
        {"x", "a b  c \t d", "a b c d"},
        {"x", "a  ", "a "},
        {" ", "", ""},
        {"x", "", ""},
        {"\n", "a", "a"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << '\'' << row.before << "' '" << row.text << '\'');
        PieceOutput output;
        output.Write(row.before, int(strlen(row.before)));
        int length = int(strlen(row.text));
        EXPECT_EQ(output.Write_Compressed_Full(row.text, length), length);
        EXPECT_EQ(output.All(), std::string(row.before) + row.expected);
    }
}

TEST(Output, LeadingWhiteSpaceOfAPageIsDropped)
{
    PieceOutput fast, full;
    fast.Write_Compressed_Fast(" \nfirst", -1);
    EXPECT_EQ(fast.All(), "\nfirst");
    full.Write_Compressed_Full(" \n first", -1);
    EXPECT_EQ(full.All(), "first");
}

TEST(Output, FullCompressionRemembersSpaceAcrossWrites)
{
    PieceOutput output;
    for (const char* text : {"a ", " ", "  b", "\n", " c"})
        output.Write_Compressed_Full(text, -1);
    EXPECT_EQ(output.All(), "a b\nc");
}

TEST(Output, CompressionTakesBytesAbove127AsText)
{
    PieceOutput output;
    output.Write_Compressed_Full("\xC3\xA4  \xFF", -1);
    EXPECT_EQ(output.All(), "\xC3\xA4 \xFF");
}

TEST(Output, FlagsChooseTheCompression)
{
    static const struct {
        int flags;
        const char* expected;
    } rows[] = {{0, "x  a  b"}, {1, "x  a  b"}, {2, "x a b"}, {3, "x  a  b"}, {4, "x  a  b"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flags);
        PieceOutput output;
        output.SetFlags(row.flags);
        EXPECT_EQ(output.flags(), row.flags);
        output.Write("x", 1);
        EXPECT_EQ(output.Write_Compressed("  a  b", 6), 6);
        EXPECT_EQ(output.All(), row.expected);
    }
    PieceOutput fast;
    EXPECT_EQ(fast.flags(), 0);
    fast.SetFlags(Output::kCompressFast | Output::kCompressFull);
    fast.Write_Compressed("  a  b", 6);
    EXPECT_EQ(fast.All(), " a  b") << "with both bits the fast way is taken";
}

TEST(Output, WriteErrorWritesAndFlushes)
{
    PieceOutput output;
    EXPECT_EQ(output.Write_Error("error", 5), 5);
    EXPECT_EQ(output.All(), "error");
    EXPECT_EQ(output.flushes, 1);
}

TEST(Output, FinalFlushDoesNothing)
{
    PieceOutput output;
    Output* base = &output;
    EXPECT_EQ(base->Flush(1), 0);
    EXPECT_EQ(output.flushes, 0);
}

TEST(Output, HeaderOnlyFreesOwnedTexts)
{
    PieceOutput output;
    EXPECT_EQ(output.Header("name", "value"), 0);
    char* name = new char[5]();
    char* value = new char[5]();
    EXPECT_EQ(output.Header(name, -1, 0, value, -1, 0), 0);
    EXPECT_TRUE(IsLiveArray(name));
    EXPECT_TRUE(IsLiveArray(value));
    EXPECT_EQ(output.Header(name, -1, 1, value, -1, 1), 0);
    EXPECT_FALSE(IsLiveArray(name));
    EXPECT_FALSE(IsLiveArray(value));
}

TEST(Output, LinkBufferIsWrittenBlockByBlock)
{
    LinkBuffer buffer(16, 16);
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        buffer.cat("0123456789", 10);
        expected += "0123456789";
    }
    PieceOutput output;
    buffer.output(&output);
    EXPECT_EQ(output.All(), expected);
    EXPECT_GT(output.pieces.size(), 1u);
}

std::string* swallowed;

int Swallow(const char* text, int length)
{
    swallowed->append(text, size_t(length));
    return 77;
}

TEST(NullOutput, HandsTextToItsCallbackUncompressed)
{
    std::string text;
    swallowed = &text;
    NullOutput output(Swallow);
    output.SetFlags(Output::kCompressFull);
    EXPECT_EQ(output.Write("a  b", 4), 77);
    EXPECT_EQ(output.Write_Compressed("  c", 3), 77);
    EXPECT_EQ(text, "a  b  c");
    EXPECT_EQ(output.type(), 2);
}

TEST(NullOutput, DropsTextWithoutACallback)
{
    NullOutput output(nullptr);
    EXPECT_EQ(output.Write("text", 4), 4);
    EXPECT_EQ(output.Write_Compressed("text", 3), 3);
    EXPECT_EQ(output.Flush(), 1);
    EXPECT_EQ(output.Flush(1), 0);
    EXPECT_EQ(output.Header("name", "value"), 0);
}

}  // namespace
