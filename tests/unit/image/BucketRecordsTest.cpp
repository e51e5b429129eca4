#include "image/BucketRecords.h"

#include "TestImage.h"
#include "variables/HashChains.h"
#include "variables/StringClass.h"

namespace {

const BucketRecordRules kRules = {7, 100, "bits", "count", "entries", "index"};

class BucketRecordsTest : public ImageTest {
protected:
    void SetHeads(unsigned int from, unsigned int to)
    {
        for (unsigned int bucket = from; bucket <= to; ++bucket)
            m_chains.SetHead(bucket, int(bucket));
    }
    // The text with which writing fails; empty when it succeeds.
    std::string WriteError()
    {
        String error;
        EXPECT_TRUE(m_file.Create(Path().c_str(), nullptr, 0));
        m_file.Section_Start(TagOf("glbl"));
        bool is_written = WriteBuckets(&m_file, kRules, m_chains, 1, &error);
        m_file.Section_End();
        EXPECT_EQ(is_written, error.length() == 0);
        return error.data();
    }

    HashChains m_chains{20};
};

TEST_F(BucketRecordsTest, TheLastBucketThatAFileCanNumberIsWritten)
{
    SetHeads(0x7FFF, 0x7FFF);
    EXPECT_EQ(WriteError(), "");
    std::string expected = Word(1) + char(20) + Dword(1) + Word(0x7FFF) + Dword(0x7FFF);
    EXPECT_EQ(Saved().substr(32), expected);
}

TEST_F(BucketRecordsTest, OneBehindItIsRefused)
{
    SetHeads(0x7FFF, 0x8000);
    EXPECT_EQ(WriteError(), "index");
}

TEST_F(BucketRecordsTest, AsManyBucketsAsAFileCanCountAreWritten)
{
    SetHeads(1, 0x7FFF);
    EXPECT_EQ(WriteError(), "");
    std::string bytes = Saved().substr(32);
    EXPECT_EQ(bytes.size(), 7u + 6 * 0x7FFF);
    EXPECT_EQ(bytes.substr(0, 2), Word(0x7FFF));
}

TEST_F(BucketRecordsTest, OneMoreIsRefusedBeforeAnythingIsWritten)
{
    SetHeads(0, 0x7FFF);
    EXPECT_EQ(WriteError(), "entries");
    EXPECT_EQ(Saved().size(), 32u);
}

TEST_F(BucketRecordsTest, AFailedWriteTakesTheFilesError)
{
    String error;
    ASSERT_TRUE(Open(TestImage().Add("glbl", "")));
    EXPECT_FALSE(WriteBuckets(&m_file, kRules, m_chains, 1, &error));
    EXPECT_STREQ(error.data(), m_file.error().data());
    EXPECT_GT(error.length(), 0);
}

}  // namespace
