#include "image/SegmentManager.h"

#include "TestImage.h"
#include "image/Segment.h"

namespace {

class SegmentManagerTest : public ImageTest {
protected:
    // The text with which reading a "segs" body fails; empty when it succeeds.
    std::string ReadError(const std::string& body)
    {
        EXPECT_TRUE(Open(TestImage().Add("segs", body)));
        m_file.Error("cut short");
        std::vector<Segment*> former;
        for (int i = 0; i < m_segments.count(); ++i)
            former.push_back(m_segments.Get(i));
        if (!m_segments.Read(&m_file))
            return m_segments.error().data();
        for (Segment* segment : former)
            delete segment;  // the manager leaves them to whoever still uses them
        return "";
    }
    std::string Code(int number)
    {
        Segment* segment = m_segments.Get(number);
        return segment ? std::string(segment->code(), size_t(segment->size())) : "none";
    }

    SegmentManager m_segments;
};

TEST_F(SegmentManagerTest, NewOneHasAStartSegmentOnDemand)
{
    EXPECT_EQ(m_segments.count(), 1);
    EXPECT_EQ(m_segments.capacity(), 64);
    EXPECT_EQ(m_segments.Get(0), nullptr);
    Segment* start = m_segments.Start();
    ASSERT_TRUE(start);
    EXPECT_EQ(start->number(), 0);
    EXPECT_EQ(m_segments.Start(), start);
    EXPECT_EQ(m_segments.Get(0), start);
    EXPECT_EQ(m_segments.Get(1), nullptr);
    EXPECT_EQ(m_segments.Get(-1), nullptr);
}

TEST_F(SegmentManagerTest, AddedSegmentsAreNumberedAndTheTableGrowsBy64)
{
    for (int i = 1; i < 64; ++i)
        EXPECT_EQ(m_segments.Segment_Add()->number(), i);
    EXPECT_EQ(m_segments.capacity(), 64);
    EXPECT_EQ(m_segments.Segment_Add()->number(), 64);
    EXPECT_EQ(m_segments.capacity(), 128);
    EXPECT_EQ(m_segments.count(), 65);
    EXPECT_EQ(m_segments.Get(0), nullptr);
    EXPECT_EQ(m_segments.Get(64)->number(), 64);
    EXPECT_EQ(m_segments.Get(65), nullptr);
}

TEST_F(SegmentManagerTest, ReadHonoursStoredOffsets)
{
    std::string headers = Dwords({3, 2, 4, 2, 0, 3, 1, 4});
    ASSERT_EQ(ReadError(headers + "abcdef"), "");
    EXPECT_EQ(m_segments.count(), 3);
    EXPECT_EQ(m_segments.capacity(), 3);
    EXPECT_EQ(m_segments.start(), 2);
    EXPECT_EQ(Code(0), "ef");
    EXPECT_EQ(Code(1), "abc");
    EXPECT_EQ(Code(2), "bcde");
    EXPECT_EQ(m_segments.Start(), m_segments.Get(2));
    EXPECT_EQ(m_segments.Get(1)->capacity(), 3);
    EXPECT_EQ(m_segments.Get(1)->number(), 1);
    for (int i = 0; i < Segment::kSpareBytes; ++i)
        EXPECT_EQ(m_segments.Get(2)->code()[4 + i], 0);
}

TEST_F(SegmentManagerTest, HeadersAreTestedInOrder)
{
    static const struct {
        long long entries, start;
        const char* error;
    } rows[] = {
        {1, -1, "segment_list.start out of range"},
        {1, 1, "segment_list.start out of range"},
        {0, 0, "segment_list.start out of range"},
        {-1, 0, "segment_list.start out of range"},
        {-0x80000000LL, 0, "segment_list.start out of range"},
        {0x10000000, 0, "segment_list.entries out of range"},
        {0x7FFFFFFF, 0, "segment_list.entries out of range"},
        {0xFFFFFFF, 0, "Invalid size"},
        {0x8000000, 0, "cut short"},
        {100, 0, "cut short"},
        {1, 0, "cut short"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.entries) + " from " + std::to_string(row.start));
        EXPECT_EQ(ReadError(Dwords({row.entries, row.start})), row.error);
    }
}

TEST_F(SegmentManagerTest, SegmentHeadersAreTested)
{
    static const struct {
        long long offset, size;
        const char* error;
    } rows[] = {
        {0, 4, ""},
        {4, 0, ""},
        {0, -1, "segment_header.size out of range"},
        {1, 4, "cut short"},
        {0, 100000000, "cut short"},
        {0, 0x7FFFFFFF, "Invalid size"},
        {5, 0, "Invalid offset"},
        {-17, 1, "Invalid offset"},
        {0x7FFFFFFF, 1, "Invalid offset"},
        {-0x80000000LL, 1, "Invalid offset"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.size) + " at " + std::to_string(row.offset));
        EXPECT_EQ(ReadError(Dwords({1, 0, row.offset, row.size}) + "code"), row.error);
    }
    EXPECT_EQ(ReadError(Dwords({1, 0, -16, 4}) + "code"), "");
    EXPECT_EQ(Code(0), Dword(1));
}

TEST_F(SegmentManagerTest, FailedReadKeepsWhatWasThere)
{
    ASSERT_EQ(ReadError(Dwords({1, 0, 0, 4}) + "code"), "");
    Segment* segment = m_segments.Get(0);
    EXPECT_EQ(ReadError(Dwords({2, 1, 0, 4, 0, -1}) + "CODE"), "segment_header.size out of range");
    EXPECT_EQ(m_segments.count(), 1);
    EXPECT_EQ(m_segments.start(), 0);
    EXPECT_EQ(m_segments.Get(0), segment);
    EXPECT_EQ(Code(0), "code");
}

TEST_F(SegmentManagerTest, SegmentsThatShareBytesAreHeldToTheLengthOfTheFile)
{
    // Two thousand segments, all of the same 16 KiB: 32 MB out of a file of 32 KB.
    std::string headers = Dwords({2000, 0});
    for (int i = 0; i < 2000; ++i)
        headers += Dwords({0, 16384});
    EXPECT_EQ(ReadError(headers + std::string(16384, 'c')), "Allocation failed");
}

TEST_F(SegmentManagerTest, MissingSectionIsInvalid)
{
    ASSERT_TRUE(Open(TestImage()));
    EXPECT_FALSE(m_segments.Read(&m_file));
    EXPECT_STREQ(m_segments.error().data(), "Invalid section");
}

TEST_F(SegmentManagerTest, LoadedTableGrowsOn)
{
    ASSERT_EQ(ReadError(Dwords({1, 0, 0, 4}) + "code"), "");
    EXPECT_EQ(m_segments.Segment_Add()->number(), 1);
    EXPECT_EQ(m_segments.capacity(), 65);
    EXPECT_EQ(Code(0), "code");
    EXPECT_EQ(m_segments.Get(1)->capacity(), 8192);
}

TEST_F(SegmentManagerTest, WriteEmitsTheBytesThatCount)
{
    m_segments.Start()->Write_Word(0, 0x4241);
    m_segments.Segment_Add()->Write_Byte(0, 'C');
    m_segments.Segment_Add();
    m_segments.Segment_Add()->Write_Byte(0, 'D');
    m_segments.SetStart(1);
    EXPECT_EQ(Written([&](TaggedFile* file) { return m_segments.Write(file); }),
              Dwords({4, 1, 0, 2, 2, 1, 3, 0, 3, 1}) + "ABCD");
}

TEST_F(SegmentManagerTest, CopySharesNothing)
{
    m_segments.Start()->Write_Byte(0, 'a');
    m_segments.Segment_Add()->Write_Byte(0, 'b');
    SegmentManager copy(m_segments);
    m_segments.Get(1)->Write_Byte(0, 'x');
    EXPECT_EQ(copy.count(), 2);
    EXPECT_EQ(copy.capacity(), 64);
    EXPECT_EQ(copy.Get(0)->code()[0], 'a');
    EXPECT_EQ(copy.Get(1)->code()[0], 'b');
}

}  // namespace
