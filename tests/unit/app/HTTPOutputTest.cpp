#include "app/HTTPOutput.h"

#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <deque>
#include <string>
#include <vector>

#include "../vm/LiveArrays.h"
#include "StdoutInMemory.h"
#include "config/Config.h"

namespace {

const int kOwned = 1;

char* NewText(const char* text)
{
    char* copy = new char[strlen(text) + 1];
    strcpy(copy, text);
    return copy;
}

// A response whose way out does as it is told: each call takes the next of `answers`,
// and all bytes once they are used up.
class FakeOutput : public HTTPOutput {
public:
    using HTTPOutput::HTTPOutput;

    void OutputHeaders() override
    {
        ++header_blocks;
        header_text.clear();
        for (HTTPOutput_Header* header = headers()->First(); header; header = headers()->Next())
            header_text += std::string(header->name(), size_t(header->name_length())) + "=" +
                           std::string(header->value(), size_t(header->value_length())) + ";";
    }
    int DoWrite(const char* text, int length) override
    {
        int count = length;
        if (!answers.empty()) {
            count = answers.front();
            answers.pop_front();
        }
        asked.push_back(length);
        if (count > 0)
            sent.append(text, size_t(count));
        return count;
    }

    std::deque<int> answers;
    std::vector<int> asked;
    std::string sent;
    std::string header_text;
    int header_blocks = 0;
};

// Settings that count how often the delay is asked for.
class CountedConfig : public Config {
public:
    int value_integer(int key) override
    {
        if (key == ZPCONFIG_DELAY_FILE)
            ++delays_read;
        return Config::value_integer(key);
    }
    int delays_read = 0;
};

TEST(HTTPOutput_Header, MinusOneMeansAnEndAtTheNul)
{
    HTTPOutput_Header header("name", -1, 0, "value", -1, 0);
    EXPECT_EQ(header.name_length(), 4);
    EXPECT_EQ(header.value_length(), 5);
    HTTPOutput_Header cut("name", 2, 0, "value", 0, 0);
    EXPECT_EQ(cut.name_length(), 2);
    EXPECT_EQ(cut.value_length(), 0);
}

TEST(HTTPOutput_Header, FreesOwnedTextsOnly)
{
    char* name = NewText("name");
    char* value = NewText("value");
    {
        HTTPOutput_Header borrowed(name, -1, 0, value, -1, 0);
    }
    EXPECT_TRUE(IsLiveArray(name));
    EXPECT_TRUE(IsLiveArray(value));
    {
        HTTPOutput_Header owned(name, -1, kOwned, value, -1, kOwned);
    }
    EXPECT_FALSE(IsLiveArray(name));
    EXPECT_FALSE(IsLiveArray(value));
}

TEST(HTTPOutput_Chain, TakesOnlyWhatFitsUnlessItGrows)
{
    HTTPOutput_Chain fixed(4, 0);
    EXPECT_EQ(fixed.Write("abc", 3), 3);
    EXPECT_EQ(fixed.Write("defg", 4), 1);
    EXPECT_EQ(fixed.Write("x", 1), 0);
    EXPECT_EQ(std::string(fixed.data(), size_t(fixed.used())), "abcd");

    HTTPOutput_Chain growing(4, 1);
    EXPECT_EQ(growing.Write("abc", 3), 3);
    EXPECT_EQ(growing.Write("defg", 4), 4);
    std::string rest(1000, 'z');
    EXPECT_EQ(growing.Write(rest.data(), 1000), 1000);
    EXPECT_EQ(std::string(growing.data(), size_t(growing.used())), "abcdefg" + rest);
}

TEST(HTTPOutput_Chain, GrowsByItsOwnSize)
{
    // By its unit alone this would copy the text a million times.
    const int kPieces = 4000000;
    HTTPOutput_Chain growing(4, 1);
    for (int i = 0; i < kPieces; ++i)
        ASSERT_EQ(growing.Write("abcd", 4), 4);
    EXPECT_EQ(growing.used(), 4 * kPieces);
}

TEST(HTTPOutput_Chain, EndsTheBuffersBehindIt)
{
    long before = LiveArrays();
    {
        // So many that a destructor calling itself would run out of stack.
        HTTPOutput_Chain first(1, 0);
        HTTPOutput_Chain* last = &first;
        for (int i = 0; i < 200000; ++i)
            last = last->next = new HTTPOutput_Chain(1, 0);
    }
    EXPECT_EQ(LiveArrays(), before);
}

TEST(HTTPOutput, EmptyWriteChangesNothing)
{
    FakeOutput output(4, 1);
    EXPECT_EQ(output.Write("text", 0), 0);
    EXPECT_EQ(output.Write("", -1), 0);
    EXPECT_EQ(output.header_blocks, 0);
    EXPECT_TRUE(output.asked.empty());
    EXPECT_EQ(output.Write("x", -1), 1);
    EXPECT_EQ(output.sent, "x");
}

TEST(HTTPOutput, EmptyWriteKeepsTheMemoryOfWhiteSpace)
{
    FakeOutput output(64, 1000);
    output.Write("a ", 2);
    output.Write("", 0);
    output.Write_Compressed_Fast(" b", 2);
    output.Flush();
    EXPECT_EQ(output.sent, "a b");
}

TEST(HTTPOutput, WriteReturnsTheLengthAndMinusOneEndsAtTheNul)
{
    FakeOutput output(4, 1000);
    EXPECT_EQ(output.Write("0123456789", -1), 10);
    EXPECT_EQ(output.Write("0123456789", 3), 3);
    EXPECT_EQ(output.Flush(), 13);
    EXPECT_EQ(output.sent, "0123456789012");
}

TEST(HTTPOutput, BodyIsSentBufferByBuffer)
{
    FakeOutput output(4, 1000);
    output.Write("abcdefghij", 10);
    output.Write("kl", 2);
    EXPECT_TRUE(output.asked.empty()) << "nothing goes out before the threshold";
    EXPECT_EQ(output.Flush(0), 12);
    EXPECT_EQ(output.asked, (std::vector<int>{4, 4, 4}));
    EXPECT_EQ(output.sent, "abcdefghijkl");
    EXPECT_EQ(output.Flush(0), 0) << "what was sent is gone";
    output.Write("m", 1);
    EXPECT_EQ(output.Flush(0), 1);
    EXPECT_EQ(output.sent, "abcdefghijklm");
}

TEST(HTTPOutput, FlushKeepsTheFirstBufferOnly)
{
    FakeOutput output(4, 1000);
    output.Write("x", 1);
    long one_buffer = LiveArrays();
    output.Write("0123456789", 10);
    EXPECT_EQ(LiveArrays(), one_buffer + 2);
    output.Flush(0);
    // The table of headers is made at the first search and not before.
    long flushed = LiveArrays();
    output.Write("0123456789", 10);
    output.Flush(0);
    EXPECT_EQ(LiveArrays(), flushed);
}

TEST(HTTPOutput, ThresholdFlushesAndCountsAnew)
{
    FakeOutput output(64, 10);
    output.Write("123456789", 9);
    EXPECT_TRUE(output.asked.empty());
    output.Write("0", 1);
    EXPECT_EQ(output.asked, std::vector<int>{10});
    output.Write("123456789", 9);
    EXPECT_EQ(output.asked.size(), 1u);
    output.Write("0123", 4);
    EXPECT_EQ(output.asked, (std::vector<int>{10, 13}));
}

TEST(HTTPOutput, SizesTakeEffectWithTheNextWrite)
{
    FakeOutput output(4, 1000);
    output.Write("ab", 2);
    output.SetSizes(8, 6);
    output.Write("cdefghijkl", 10);
    EXPECT_EQ(output.asked, (std::vector<int>{4, 8}));
    output.SetSizes(0, 1000);
    output.Write(std::string(13, 'x').data(), 13);
    output.Flush();
    EXPECT_EQ(output.asked, (std::vector<int>{4, 8, 4, 8, 1})) << "a size of 0 is ignored";
}

TEST(HTTPOutput, HeadersGoOutOnceAndBeforeTheBody)
{
    FakeOutput output(4, 1000);
    EXPECT_EQ(output.Header("A", "1"), 1);
    output.Write("x", 1);
    output.Flush(0);
    output.Flush(0);
    output.Flush(1);
    EXPECT_EQ(output.header_blocks, 1);
    EXPECT_EQ(output.header_text, "A=1;");
}

TEST(HTTPOutput, HeaderOfTheSameNameReplacesInAnyLetterCaseAndStandsLast)
{
    FakeOutput output(4, 1000);
    char* name = NewText("X-A");
    char* value = NewText("one");
    EXPECT_EQ(output.Header(name, -1, kOwned, value, -1, kOwned), 1);
    EXPECT_EQ(output.Header("X-B", "two"), 1);
    EXPECT_EQ(output.Header("x-a", "three"), 1);
    EXPECT_FALSE(IsLiveArray(name));
    EXPECT_FALSE(IsLiveArray(value));
    output.Flush(0);
    EXPECT_EQ(output.header_text, "X-B=two;x-a=three;");
}

TEST(HTTPOutput, NameThatOnlyBeginsAlikeReplacesNothing)
{
    FakeOutput output(4, 1000);
    output.Header("X-A", "1");
    output.Header("X-AB", 3, 0, "2", -1, 0);
    output.Header("X-AB", "3");
    output.Flush(0);
    EXPECT_EQ(output.header_text, "X-A=2;X-AB=3;");
}

TEST(HTTPOutput, HeaderBehindTheFirstFlushIsIgnoredAndItsTextsFreed)
{
    FakeOutput output(4, 1000);
    output.Flush(0);
    char* name = NewText("X-A");
    char* value = NewText("one");
    EXPECT_EQ(output.Header(name, -1, kOwned, value, -1, kOwned), 0);
    EXPECT_FALSE(IsLiveArray(name));
    EXPECT_FALSE(IsLiveArray(value));
    EXPECT_EQ(output.Header("X-B", "borrowed"), 0);
    output.Flush(1);
    EXPECT_EQ(output.header_text, "");
}

TEST(HTTPOutput, EndFreesHeadersThatWereNeverSent)
{
    char* name = NewText("X-A");
    {
        FakeOutput output(4, 1000);
        output.Header(name, -1, kOwned, "x", -1, 0);
        EXPECT_TRUE(IsLiveArray(name));
    }
    EXPECT_FALSE(IsLiveArray(name));
}

TEST(HTTPOutput, BodyThatEndsBeforeTheFirstFlushHasAContentLength)
{
    FakeOutput output(4, 1000);
    output.Header("A", "1");
    output.Write("0123456789", 10);
    output.Flush(1);
    EXPECT_EQ(output.header_text, "A=1;Content-Length=10;");
}

TEST(HTTPOutput, EmptyBodyHasAContentLengthOfZero)
{
    FakeOutput output(4, 1000);
    EXPECT_EQ(output.Flush(1), 0);
    EXPECT_EQ(output.header_text, "Content-Length=0;");
    EXPECT_TRUE(output.asked.empty());
}

TEST(HTTPOutput, FlushBeforeTheEndLeavesTheContentLengthOut)
{
    FakeOutput by_script(4, 1000), by_size(4, 5);
    by_script.Write("text", 4);
    by_script.Flush(0);
    by_script.Flush(1);
    EXPECT_EQ(by_script.header_text, "");
    by_size.Write("longer", 6);
    by_size.Flush(1);
    EXPECT_EQ(by_size.header_text, "");
}

TEST(HTTPOutput, ContentLengthOfTheScriptStands)
{
    FakeOutput output(4, 1000);
    output.Header("content-LENGTH", "7");
    output.Write("x", 1);
    output.Flush(1);
    EXPECT_EQ(output.header_text, "content-LENGTH=7;");
}

TEST(HTTPOutput, WriteErrorFlushes)
{
    FakeOutput output(4, 1000);
    EXPECT_EQ(output.Write_Error("error", 5), 5);
    EXPECT_EQ(output.sent, "error");
    EXPECT_EQ(output.header_text, "");
}

class ShortWriteTest : public ::testing::Test {
protected:
    ShortWriteTest()
    {
        m_config.SetValue_Integer(ZPCONFIG_DELAY_FILE, 1);
        m_output.SetConfig(&m_config);
        m_output.Write("0123456789", 10);
    }

    CountedConfig m_config;
    FakeOutput m_output{4, 1000};  // buffers 0123, 4567 and 89
};

TEST_F(ShortWriteTest, IsRetriedUntilAllIsWritten)
{
    m_output.answers = {1, 1, 2};
    EXPECT_EQ(m_output.Flush(0), 10);
    EXPECT_EQ(m_output.asked, (std::vector<int>{4, 3, 2, 4, 2}));
    EXPECT_EQ(m_output.sent, "0123456789");
}

TEST_F(ShortWriteTest, DelayIsReadOnceAndOnlyWhenNeeded)
{
    m_output.Flush(0);
    EXPECT_EQ(m_config.delays_read, 0);
    m_output.Write("0123456789", 10);
    m_output.answers = {1, 1, 1, 1, 2};
    m_output.Flush(0);
    m_output.Write("0123", 4);
    m_output.answers = {2};
    m_output.Flush(0);
    EXPECT_EQ(m_config.delays_read, 1);
    EXPECT_EQ(m_output.sent, "012345678901234567890123");
}

TEST_F(ShortWriteTest, NegativeResultStopsTheFlush)
{
    m_output.answers = {4, -1};
    EXPECT_EQ(m_output.Flush(0), 3) << "the sum of all results";
    EXPECT_EQ(m_output.asked, (std::vector<int>{4, 4}));
    EXPECT_EQ(m_output.sent, "0123");
    EXPECT_EQ(m_output.Flush(0), 0) << "the rest is given up";
}

TEST_F(ShortWriteTest, RetryEndsOnANegativeResult)
{
    m_output.answers = {2, -1};
    EXPECT_EQ(m_output.Flush(0), 1);
    EXPECT_EQ(m_output.asked, (std::vector<int>{4, 2}));
    EXPECT_EQ(m_output.sent, "01");
}

TEST_F(ShortWriteTest, RetryThatSendsNothingEndsItsBufferOnly)
{
    m_output.answers = {2, 0};
    EXPECT_EQ(m_output.Flush(0), 8);
    EXPECT_EQ(m_output.asked, (std::vector<int>{4, 2, 4, 2}));
    EXPECT_EQ(m_output.sent, "01456789");
}

TEST_F(ShortWriteTest, WriteThatSendsNothingIsRetriedOnce)
{
    m_output.answers = {0, 4};
    EXPECT_EQ(m_output.Flush(0), 10);
    EXPECT_EQ(m_output.asked, (std::vector<int>{4, 4, 4, 2}));
}

TEST_F(ShortWriteTest, NeedsNoSettings)
{
    m_output.SetConfig(nullptr);
    m_output.answers = {1};
    EXPECT_EQ(m_output.Flush(0), 10);
}

TEST(CGIOutput, HeadersHaveNoStatusLineAndAnEmptyLineBehindThem)
{
    StdoutInMemory memory;
    CGIOutput output(nullptr);
    output.Header("Content-Type", "text/html");
    output.Header("Status", "404 Not Found");
    output.Write("body", 4);
    output.Flush(1);
    memory.Restore();
    EXPECT_EQ(memory.Text(),
              "Content-Type: text/html\r\nStatus: 404 Not Found\r\nContent-Length: 4\r\n\r\nbody");
}

TEST(CGIOutput, HeaderBlockMayBeLargerThanABuffer)
{
    StdoutInMemory memory;
    CGIOutput output(nullptr);
    output.SetSizes(4, 1000);
    std::string value(5000, 'v');
    output.Header("X", value.c_str());
    output.Flush(0);
    memory.Restore();
    EXPECT_EQ(memory.Text(), "X: " + value + "\r\n\r\n");
}

TEST(CGIOutput, NoHeadersAreAnEmptyLine)
{
    StdoutInMemory memory;
    CGIOutput output(nullptr);
    output.Flush(0);
    memory.Restore();
    EXPECT_EQ(memory.Text(), "\r\n");
}

TEST(CGIOutput, HoldsAMebibyteBack)
{
    StdoutInMemory memory;
    CGIOutput output(nullptr);
    std::string block(65536, 'x');
    for (int i = 0; i < 15; ++i)
        output.Write(block.data(), 65536);
    output.Write(block.data(), 65535);
    long before = memory.Size();
    output.Write("x", 1);
    long after = memory.Size();
    memory.Restore();
    EXPECT_EQ(before, 0);
    EXPECT_EQ(after, 2 + 1048576);
}

TEST(CGIOutput, FailedWriteGivesItsResult)
{
    StdoutInMemory memory;
    CGIOutput output(nullptr);
    close(STDOUT_FILENO);
    int result = output.DoWrite("x", 1);
    memory.Restore();
    EXPECT_LT(result, 0);
}

}  // namespace
