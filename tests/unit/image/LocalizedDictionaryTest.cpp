#include "image/LocalizedDictionary.h"

#include "TestImage.h"

namespace {

class LocalizedDictionaryTest : public ImageTest {
protected:
    // The text with which reading a "locd" body fails; empty when it succeeds.
    std::string ReadError(const std::string& body)
    {
        EXPECT_TRUE(Open(TestImage().Add("locd", body)));
        m_file.Error("cut short");
        return m_dictionary.Read(&m_file) ? "" : m_dictionary.error().data();
    }

    LocalizedDictionary m_dictionary;
};

TEST_F(LocalizedDictionaryTest, ReadTakesTypeIdentifierAndNext)
{
    ASSERT_EQ(ReadError(Dwords({2, 1, 7, 1, 0, 8, -1})), "");
    EXPECT_EQ(m_dictionary.Entries(), 2);
    EXPECT_EQ(m_dictionary.Entry(0)->type, LocalizedDictionaryEntry::kText);
    EXPECT_EQ(m_dictionary.Entry(0)->identifier, 7);
    EXPECT_EQ(m_dictionary.Entry(0)->next, 1);
    EXPECT_EQ(m_dictionary.Entry(1)->type, LocalizedDictionaryEntry::kVariable);
    EXPECT_EQ(m_dictionary.Entry(1)->identifier, 8);
    EXPECT_EQ(m_dictionary.Entry(1)->next, -1);
    for (int index : {-1, 2, 0x7FFFFFFF})
        EXPECT_EQ(m_dictionary.Entry(index), nullptr);
    EXPECT_FALSE(m_file.Section_Read_Start(TagOf("none"), nullptr));
}

TEST_F(LocalizedDictionaryTest, FaultsHaveTheirTexts)
{
    static const char kEntries[] = "loc_dictionary_header.entries out of range";
    static const char kType[] = "Invalid localized dictionary entry type";
    static const struct {
        std::vector<long long> fields;
        const char* error;
    } rows[] = {
        {{0}, ""},
        {{-1}, kEntries},
        {{0xAAAAAAB}, kEntries},
        {{0xAAAAAAA}, "Invalid size"},
        {{0xAAAA000}, "cut short"},
        {{1}, "cut short"},
        {{1, 2, 0, -1}, kType},
        {{1, -1, 0, -1}, kType},
        {{2, 0, 0, -1, 3, 0, 0}, kType},
        {{2, 9, 0, -1}, "cut short"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        EXPECT_EQ(ReadError(Dwords(row.fields)), row.error);
    }
}

TEST_F(LocalizedDictionaryTest, FailedReadKeepsWhatWasThere)
{
    m_dictionary.Entry_Add(1, 5, -1);
    std::string body = Dwords({2, 1, 7, 1, 0, 8, -1});
    for (size_t size = 0; size < body.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(ReadError(body.substr(0, size)), "cut short");
        EXPECT_EQ(m_dictionary.Entries(), 1);
        EXPECT_EQ(m_dictionary.Entry(0)->identifier, 5);
    }
}

TEST_F(LocalizedDictionaryTest, MissingSectionIsInvalid)
{
    ASSERT_TRUE(Open(TestImage()));
    EXPECT_FALSE(m_dictionary.Read(&m_file));
    EXPECT_STREQ(m_dictionary.error().data(), "Invalid section");
}

TEST_F(LocalizedDictionaryTest, EntriesAreAddedAndWritten)
{
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(m_dictionary.Entry_Add(i % 2, i, i - 1), i);
    std::vector<long long> fields = {300};
    for (int i = 0; i < 300; ++i)
        fields.insert(fields.end(), {i % 2, i, i - 1});
    EXPECT_EQ(Written([&](TaggedFile* file) { return m_dictionary.Write(file); }), Dwords(fields));
}

}  // namespace
