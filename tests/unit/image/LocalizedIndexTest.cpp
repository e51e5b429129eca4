#include "image/LocalizedIndex.h"

#include "TestImage.h"
#include "image/Dictionary.h"

namespace {

const std::string kTag("\x4C\x58\x02\x00", 4);  // language 2
const std::string kSingleTag(4, '\0');

std::string Header(int bucket_entries, int bits, long long count)
{
    return Word(bucket_entries) + char(bits) + Dword(count) + Dword(0);
}

// "a" starts at 11, "bb" at 10, in one bucket.
std::string GoodIndex()
{
    return Header(1, 0, 2) + Word(0) + Dword(1) + Dwords({0, -1, 10, 1, 0, 11});
}

class LocalizedIndexTest : public ImageTest {
protected:
    LocalizedIndexTest()
    {
        for (const char* name : {"bb", "a", "BB", "zz"})
            m_dictionary.Entry_Add(name, -1);
    }
    std::string ReadError(const TestImage& image)
    {
        EXPECT_TRUE(Open(image));
        m_file.Error("cut short");
        return m_index.Read(&m_file, LocalizedIndex::Tag(2)) ? "" : m_index.error().data();
    }
    std::string ReadError(const std::string& body)
    {
        return ReadError(TestImage().Add(kTag, body));
    }
    int First(int identifier)
    {
        LocalizedIndexEntry* entry = m_index.Get_Entry(identifier);
        return entry ? entry->first : -2;
    }

    Dictionary m_dictionary;
    LocalizedIndex m_index{&m_dictionary, 2, 0, 128};
};

TEST_F(LocalizedIndexTest, TagHasTheLanguageInItsUpperHalf)
{
    EXPECT_EQ(LocalizedIndex::Tag(2), TagOf(kTag.c_str()));
    EXPECT_EQ(LocalizedIndex::Tag(0xFFFF), int(0xFFFF584C));
}

TEST_F(LocalizedIndexTest, KeysAreFoundByTextInAnyLetterCase)
{
    ASSERT_EQ(ReadError(GoodIndex()), "");
    EXPECT_EQ(m_index.Entries(), 2);
    EXPECT_EQ(First(0), 10);
    EXPECT_EQ(First(1), 11);
    EXPECT_EQ(First(2), 10);  // "BB"
    EXPECT_EQ(First(3), -2);
    EXPECT_EQ(First(4), -2);
    EXPECT_EQ(First(-1), -2);
}

TEST_F(LocalizedIndexTest, HeaderIsTestedInOrder)
{
    static const char kBits[] = "localized_index_header.bucket_bits out of range";
    static const char kBuckets[] = "read_bucket_size out of range";
    static const char kCount[] = "localized_index_header.index_count out of range";
    static const char kEntries[] = "localized_index_header.bucket_entries out of range";
    static const struct {
        int entries, bits;
        long long count;
        const char* error;
    } rows[] = {
        {-1, 33, -1, kBits},
        {-1, 29, -1, kBuckets},
        {-1, 0, -1, kCount},
        {-1, 0, 0x10000000, kCount},
        {-1, 0, 0xFFFFFFF, kEntries},
        {0, 0, 0xFFFFFFF, "Invalid size"},
        {0, 0, 0x1000000, "cut short"},
        {1, 0, 0, "cut short"},
        {0, 32, 0, ""},
        {0, 28, 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        EXPECT_EQ(ReadError(Header(row.entries, row.bits, row.count)), row.error);
    }
    EXPECT_EQ(ReadError(Header(1, 32, 0) + Word(1) + Dword(0)),
              "localized_index_bucket.index out of range");
    EXPECT_EQ(ReadError(Header(1, 32, 0) + Word(0) + Dword(0)), "");
}

TEST_F(LocalizedIndexTest, EveryCutIsAShortReadAndKeepsTheTable)
{
    m_index.Add_Entry(3, 33);
    std::string body = GoodIndex();
    for (size_t size = 0; size < body.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(ReadError(body.substr(0, size)), "cut short");
        EXPECT_EQ(m_index.Entries(), 1);
        EXPECT_EQ(First(3), 33);
    }
}

TEST_F(LocalizedIndexTest, OldFileWithoutTheTagHasOneIndex)
{
    for (unsigned int version : {0x10001u, 0x10007u, 0x10008u}) {
        SCOPED_TRACE(version);
        TestImage image;
        image.version = version;
        image.Add(kSingleTag, GoodIndex());
        EXPECT_EQ(ReadError(image), version <= 0x10007 ? "" : "Invalid section");
    }
}

TEST_F(LocalizedIndexTest, OldFileWithTheTagUsesIt)
{
    TestImage image;
    image.version = 0x10007;
    image.Add(kSingleTag, Header(0, 0, 0)).Add(kTag, GoodIndex());
    ASSERT_EQ(ReadError(image), "");
    EXPECT_EQ(m_index.Entries(), 2);
}

TEST_F(LocalizedIndexTest, AbsentLanguageIsNeverReadFromAnotherSection)
{
    TestImage image;
    image.Add("locl", GoodIndex());
    ASSERT_TRUE(Open(image));
    ASSERT_TRUE(m_file.Section_Read_Start(TagOf("locl"), nullptr));
    EXPECT_FALSE(m_index.Read(&m_file, LocalizedIndex::Tag(2)));
    EXPECT_STREQ(m_index.error().data(), "Invalid section");
}

TEST_F(LocalizedIndexTest, SectionEndsWhateverTheOutcome)
{
    for (const std::string& body : {GoodIndex(), Header(0, 33, 0)}) {
        ReadError(body);
        EXPECT_FALSE(m_file.Section_Read_Start(TagOf("none"), nullptr));
    }
}

TEST_F(LocalizedIndexTest, DamagedChainsEnd)
{
    static const long long values[] = {0, 1, 9, -2, 0x7FFFFFFF, -0x80000000LL};
    for (long long head : values)
        for (long long next : values) {
            SCOPED_TRACE(std::to_string(head) + " " + std::to_string(next));
            ASSERT_EQ(ReadError(Header(1, 0, 2) + Word(0) + Dword(head) +
                                Dwords({1, next, 5, 77, next, 6})),
                      "");
            EXPECT_EQ(First(3), -2);
            m_index.Add_Entry(3, 8);
            First(3);
        }
}

TEST_F(LocalizedIndexTest, WriteIsTheTableByteForByte)
{
    m_index.Add_Entry(0, 10);
    m_index.Add_Entry(1, 11);
    EXPECT_EQ(
        Written([&](TaggedFile* file) { return m_index.Write(file, LocalizedIndex::Tag(2)); }),
        GoodIndex());
}

TEST_F(LocalizedIndexTest, ManyKeysAreFound)
{
    LocalizedIndex wide(&m_dictionary, 0, 12, 128);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(wide.Add_Entry(m_dictionary.Entry_Add(std::to_string(i).c_str(), -1), i), i);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(wide.Get_Entry(4 + i)->first, i);
}

}  // namespace
