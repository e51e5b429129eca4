#include "image/Dictionary.h"

#include "TestImage.h"

namespace {

const char kOffsetFault[] = "dictionary_entry.offset out of range";
const char kSizeFault[] = "dictionary_entry.offset + dictionary_entry.size out of range";
const char kEntriesFault[] = "dictionary_header.entries out of range";
const char kDataFault[] = "( dictionary_header.data_size / TF_DATA_BLOCK_SIZE ) + 1 out of range";

class DictionaryTest : public ImageTest {
protected:
    // The text with which reading a "dict" body fails; empty when it succeeds.
    std::string ReadError(const std::string& body)
    {
        EXPECT_TRUE(Open(TestImage().Add("dict", body)));
        m_file.Error("cut short");
        return m_dictionary.Read(&m_file) ? "" : m_dictionary.error().data();
    }
    static std::string Text(Dictionary* dictionary, int index)
    {
        int size = -7;
        const char* text = dictionary->Entry(index, &size);
        return text ? std::string(text, size_t(size)) : "none";
    }
    std::string Text(int index) { return Text(&m_dictionary, index); }

    Dictionary m_dictionary;
};

TEST(DictionaryDataBlock, StringWithinAnEarlierOneTakesItsBytes)
{
    DictionaryDataBlock block(16);
    EXPECT_EQ(block.Add("abc", 3), 0);
    EXPECT_EQ(block.Add("bc", 2), 1);
    EXPECT_EQ(block.Add("abc", 3), 0);
    EXPECT_EQ(block.used(), 3);
    EXPECT_EQ(block.Add("abcd", 4), 3);
    EXPECT_EQ(block.Add("cab", 3), 2);  // across two strings
    EXPECT_EQ(block.Add("a", 1), 0);    // the leftmost
    EXPECT_EQ(block.used(), 7);
}

TEST(DictionaryDataBlock, BytesAreAnyBytes)
{
    DictionaryDataBlock block(16);
    EXPECT_EQ(block.Add("a\0b", 3), 0);
    EXPECT_EQ(block.Add("\0b\xFF", 3), 3);
    EXPECT_EQ(block.Add("\0b", 2), 1);
    EXPECT_EQ(block.Add("ab", 2), 6);
}

TEST(DictionaryDataBlock, WhatNeitherStandsThereNorFitsIsRefused)
{
    DictionaryDataBlock block(4);
    EXPECT_EQ(block.Add("", 0), 0);
    EXPECT_EQ(block.Add("abcde", 5), -1);
    EXPECT_EQ(block.Add("abcd", 4), 0);
    EXPECT_EQ(block.Add("x", 1), -1);
    EXPECT_EQ(block.Add("bcd", 3), 1);
    EXPECT_EQ(block.Add("", 0), 0);
    EXPECT_EQ(block.used(), 4);
}

TEST_F(DictionaryTest, IndexOutOfRangeHasNoText)
{
    int size = 5;
    EXPECT_EQ(m_dictionary.Entry(0, &size), nullptr);
    EXPECT_EQ(size, 0);
    m_dictionary.Entry_Add("one", 3);
    for (int index : {-1, 1, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
        SCOPED_TRACE(index);
        size = 5;
        EXPECT_EQ(m_dictionary.Entry(index, &size), nullptr);
        EXPECT_EQ(size, 0);
        EXPECT_EQ(m_dictionary.Entry(index, nullptr), nullptr);
    }
}

TEST_F(DictionaryTest, SameStringTwiceHasTwoIndicesAndOneSetOfBytes)
{
    EXPECT_EQ(m_dictionary.Entry_Add("same", 4), 0);
    EXPECT_EQ(m_dictionary.Entry_Add("same", -1), 1);
    EXPECT_EQ(m_dictionary.Entries(), 2);
    EXPECT_EQ(m_dictionary.Entry(0, nullptr), m_dictionary.Entry(1, nullptr));
    EXPECT_EQ(Text(1), "same");
}

TEST_F(DictionaryTest, EmptyStringHasAnAddress)
{
    EXPECT_EQ(m_dictionary.Entry_Add("", 0), 0);
    EXPECT_NE(m_dictionary.Entry(0, nullptr), nullptr);
    EXPECT_EQ(Text(0), "");
}

TEST_F(DictionaryTest, LongStringsGetBlocksOfTheirOwn)
{
    std::string large(8192, 'x'), small(100, 'y');
    m_dictionary.Entry_Add(small.data(), 100);
    m_dictionary.Entry_Add(large.data(), 8192);
    m_dictionary.Entry_Add("z", 1);  // the large string's block has 8192 bytes more
    EXPECT_EQ(m_dictionary.Entry(2, nullptr), m_dictionary.Entry(1, nullptr) + 8192);
    EXPECT_EQ(Text(0), small);
    EXPECT_EQ(Text(1), large);
    // Only the block of the moment is searched.
    m_dictionary.Entry_Add(small.data(), 100);
    EXPECT_NE(m_dictionary.Entry(3, nullptr), m_dictionary.Entry(0, nullptr));
}

TEST_F(DictionaryTest, ManyEntriesKeepTheirTexts)
{
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(m_dictionary.Entry_Add(std::to_string(i * 7919).c_str(), -1), i);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(Text(i), std::to_string(i * 7919));
}

TEST_F(DictionaryTest, ReadTakesEntriesAndFlags)
{
    std::string body = Dwords({4, 6, 5, 0, 6, 2, 3, 5, 1, 5, 0}) + std::string("ab\0def", 6);
    ASSERT_EQ(ReadError(body), "");
    EXPECT_EQ(m_dictionary.Entries(), 4);
    EXPECT_EQ(m_dictionary.flags(), 5);
    EXPECT_EQ(Text(0), std::string("ab\0def", 6));
    EXPECT_EQ(Text(1), std::string("\0de", 3));
    EXPECT_EQ(Text(2), "f");
    EXPECT_EQ(Text(3), "");
    EXPECT_EQ(Text(4), "none");
    int size = -1;
    EXPECT_TRUE(m_file.Section_Read_Start(TagOf("syst"), &size));  // "dict" is still selected
    EXPECT_EQ(size, int(body.size()));
}

TEST_F(DictionaryTest, FieldsAreTestedInOrder)
{
    static const struct {
        std::vector<long long> fields;
        const char* error;
    } rows[] = {
        {{0, 0, 0}, ""},
        {{-1, -16384, 0}, kEntriesFault},
        {{0x8000000, 0, 0}, kEntriesFault},
        {{0x10000000, 0, 0}, kEntriesFault},
        {{0x7FFFFFFF, 0, 0}, kEntriesFault},
        {{1, -16384, 0}, kDataFault},
        {{0, -0x80000000LL, 0}, kDataFault},
        {{0, 0x3FFFF * 8192LL, 0}, kDataFault},
        {{0, 0x7FFFFFFF, 0}, kDataFault},
        {{0, 0x3FFFF * 8192LL - 1, 0}, "cut short"},
        {{0, 0x3FFFE * 8192LL, 0}, "cut short"},
        {{0, -1, 0}, "Invalid size"},
        {{0, -8192, 0}, "Invalid size"},
        {{0, 1, 0}, "cut short"},
        {{0x7FFFFFF, 0, 0}, "cut short"},
        {{1, 0, 0}, "cut short"},
        {{1, 0, 0, 0, 0}, kOffsetFault},
        {{1, -1, 0, 0, 0}, kOffsetFault},
        {{1, 4, 0, -1, 0}, kOffsetFault},
        {{1, 4, 0, 4, 0}, kOffsetFault},
        {{1, 4, 0, 0, 5, 0}, kSizeFault},
        {{1, 4, 0, 3, 0x7FFFFFFF, 0}, kSizeFault},
        {{1, 4, 0, 3, -4, 0}, kSizeFault},
        {{1, 4, 0, 3, -1, 0}, kSizeFault},
        {{2, 4, 0, 0, 5, -1, 0}, kSizeFault},
        {{1, 4, 0, 3, 1, 0}, ""},
        {{1, 4, 0, 3, 1}, "cut short"},
        {{1, 1000000, 0, 999999, 1}, "cut short"},
        {{1, 1000000, 0, 1000000, 1}, kOffsetFault},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        EXPECT_EQ(ReadError(Dwords(row.fields)), row.error);
    }
}

TEST_F(DictionaryTest, EveryCutOfTheSectionIsAShortRead)
{
    std::string body = DictBody({"abc", "de"});
    for (size_t size = 0; size < body.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(ReadError(body.substr(0, size)), "cut short");
        EXPECT_EQ(m_dictionary.Entries(), 0);
    }
}

TEST_F(DictionaryTest, FailedReadKeepsWhatWasThere)
{
    m_dictionary.Entry_Add("kept", 4);
    EXPECT_EQ(ReadError(Dwords({1, 4, 1, 4, 0})), kOffsetFault);
    EXPECT_EQ(m_dictionary.flags(), 0);
    EXPECT_EQ(m_dictionary.Entries(), 1);
    EXPECT_EQ(Text(0), "kept");
}

TEST_F(DictionaryTest, AdditionsNeverTouchTheLoadedBlock)
{
    m_dictionary.Entry_Add("replaced", 8);
    ASSERT_EQ(ReadError(DictBody({"abc"})), "");
    const char* loaded = m_dictionary.Entry(0, nullptr);
    EXPECT_EQ(m_dictionary.Entry_Add("abc", 3), 1);
    EXPECT_NE(m_dictionary.Entry(1, nullptr), loaded);
    EXPECT_EQ(Text(0), "abc");
    EXPECT_EQ(Text(1), "abc");
}

TEST_F(DictionaryTest, MissingSectionIsInvalid)
{
    ASSERT_TRUE(Open(TestImage()));
    EXPECT_FALSE(m_dictionary.Read(&m_file));
    EXPECT_STREQ(m_dictionary.error().data(), "Invalid section");
}

TEST_F(DictionaryTest, WriteSharesBytesAndAddsUpBlocks)
{
    m_dictionary.Entry_Add("hello", 5);
    m_dictionary.Entry_Add("ell", 3);
    std::string large(8190, 'x');
    m_dictionary.Entry_Add(large.data(), 8190);
    m_dictionary.Entry_Add("", 0);
    m_dictionary.SetFlags(1);
    EXPECT_EQ(Written([&](TaggedFile* file) { return m_dictionary.Write(file); }),
              Dwords({4, 8195, 1, 0, 5, 1, 3, 5, 8190, 5, 0}) + "hello" + large);
}

TEST_F(DictionaryTest, CompressFoldsAllTextIntoOneBlock)
{
    std::string large(8190, 'x');
    m_dictionary.Entry_Add("hello", 5);
    m_dictionary.Entry_Add(large.data(), 8190);
    m_dictionary.Entry_Add("ell", 3);
    m_dictionary.Compress();
    EXPECT_EQ(m_dictionary.Entries(), 3);
    EXPECT_EQ(Text(0), "hello");
    EXPECT_EQ(Text(1), large);
    EXPECT_EQ(Text(2), "ell");
    EXPECT_EQ(m_dictionary.Entry(2, nullptr), m_dictionary.Entry(0, nullptr) + 1);
    // The block is current: what stands in it is found.
    m_dictionary.Entry_Add("llo", 3);
    EXPECT_EQ(m_dictionary.Entry(3, nullptr), m_dictionary.Entry(0, nullptr) + 2);
    EXPECT_EQ(Written([&](TaggedFile* file) { return m_dictionary.Write(file); }),
              Dwords({4, 8195, 0, 0, 5, 5, 8190, 1, 3, 2, 3}) + "hello" + large);
}

TEST_F(DictionaryTest, CompressFindsRoomForAPartThatComesBeforeTheWhole)
{
    ASSERT_EQ(ReadError(Dwords({2, 6, 0, 2, 3, 0, 6}) + "abcdef"), "");
    m_dictionary.Compress();
    EXPECT_EQ(Text(0), "cde");
    EXPECT_EQ(Text(1), "abcdef");
    EXPECT_EQ(m_dictionary.Entry_Add("new", 3), 2);
    EXPECT_EQ(Text(2), "new");
}

TEST_F(DictionaryTest, CompressOfNothingIsNothing)
{
    m_dictionary.Compress();
    EXPECT_EQ(m_dictionary.Entries(), 0);
    EXPECT_EQ(m_dictionary.Entry_Add("x", 1), 0);
    EXPECT_EQ(Text(0), "x");
}

TEST_F(DictionaryTest, CopySharesNothingAndNoTwoEntriesShare)
{
    m_dictionary.Entry_Add("abc", 3);
    m_dictionary.Entry_Add("bc", 2);
    m_dictionary.SetFlags(3);
    Dictionary copy(m_dictionary);
    EXPECT_EQ(copy.flags(), 3);
    EXPECT_EQ(copy.Entries(), 2);
    EXPECT_EQ(Text(&copy, 0), "abc");
    EXPECT_EQ(Text(&copy, 1), "bc");
    EXPECT_NE(copy.Entry(0, nullptr), m_dictionary.Entry(0, nullptr));
    EXPECT_NE(copy.Entry(1, nullptr), copy.Entry(0, nullptr) + 1);
    // Additions go to the clone of the last entry that stood in the current block.
    copy.Entry_Add("c", 1);
    EXPECT_EQ(copy.Entry(2, nullptr), copy.Entry(1, nullptr) + 1);
    copy.Entry_Add("new", 3);
    EXPECT_EQ(m_dictionary.Entries(), 2);
    EXPECT_EQ(Text(&copy, 3), "new");
}

}  // namespace
