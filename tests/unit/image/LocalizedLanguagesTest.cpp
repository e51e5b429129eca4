#include "image/LocalizedLanguages.h"

#include "TestImage.h"
#include "app/VMApplication.h"
#include "image/Dictionary.h"
#include "image/LocalizedIndex.h"

namespace {

// An application that speaks a language and counts how often it is asked for it.
class SpeakingApplication : public VMApplication {
public:
    FileManager* filemanager() override { return nullptr; }
    ExternalLibraryManager* librarymanager() override { return nullptr; }
    Config* config() override { return nullptr; }
    const char* basename() override { return ""; }
    const char* hostname() override { return ""; }
    const char* lasterror() override { return ""; }
    Output* output() override { return nullptr; }
    Output* SetOutput(Output*) override { return nullptr; }
    char* MakeSessionID(int*) override { return nullptr; }
    int processid() override { return 0; }
    int threadid() override { return 0; }
    const char* lockhostname() override { return ""; }
    int lockexpiration() override { return 0; }
    int OutputError(const char*, int) override { return 0; }
    void Sleep(int) override {}
    const String& GetUserID() override { return m_user; }
    void AsynchronousSleep(long, Zeph_PathType, const char*) override {}
    const char* process_name() override { return ""; }
    void SetProcessName(const char*, int) override {}

private:
    String m_user;
};

std::string Tag(int language)
{
    return "\x4C\x58" + Word(language);
}

std::string Table(int bucket_entries, int bits, long long count)
{
    return Word(bucket_entries) + char(bits) + Dword(count);
}

// An index of one bucket in which the keys, in the order of their names, lead to
// the given entries.
std::string Index(const std::vector<std::pair<int, int>>& keys)
{
    std::string body = Table(1, 0, (long long)keys.size()) + Dword(0) + Word(0) + Dword(0);
    for (size_t i = 0; i < keys.size(); ++i)
        body +=
            Dwords({keys[i].first, i + 1 < keys.size() ? (long long)i + 1 : -1, keys[i].second});
    return body;
}

// Names: "de" 0, "en" 1, "fr" 2; keys "one" 3, "two" 4, "only" 5.
class LocalizedLanguagesTest : public ImageTest {
protected:
    LocalizedLanguagesTest()
    {
        for (const char* name : {"de", "en", "fr", "one", "two", "only"})
            m_dictionary.Entry_Add(name, -1);
    }
    // Languages de, en, fr in one bucket.
    static std::string Languages()
    {
        return Table(1, 0, 3) + Word(0) + Dword(0) + Dwords({0, 1, 1, 2, 2, -1});
    }
    static TestImage GoodImage()
    {
        return TestImage()
            .Add("locl", Languages())
            .Add(Tag(0), Index({{3, 100}}))
            .Add(Tag(1), Index({{3, 200}, {4, 201}}));
    }
    std::string ReadError(const std::string& body)
    {
        EXPECT_TRUE(Open(TestImage().Add("locl", body)));
        m_file.Error("cut short");
        return m_languages.Read() ? "" : m_languages.error().data();
    }
    int First(int identifier)
    {
        LocalizedIndexEntry* entry = m_languages.Get_Entry(identifier);
        return entry ? entry->first : -2;
    }
    void Speak(const char* language, const char* default_language)
    {
        m_application.SetLanguage(language, -1);
        m_application.SetDefaultLanguage(default_language, -1);
    }

    SpeakingApplication m_application;
    Dictionary m_dictionary;
    LocalizedLanguages m_languages{&m_application, &m_dictionary, &m_file, 12, 8};
};

TEST_F(LocalizedLanguagesTest, MissingSectionFails)
{
    ASSERT_TRUE(Open(TestImage()));
    EXPECT_FALSE(m_languages.Read());
    EXPECT_STREQ(m_languages.error().data(), "Invalid section");
}

TEST_F(LocalizedLanguagesTest, HeaderIsTestedInOrder)
{
    static const char kBits[] = "localized_language_header.bucket_bits out of range";
    static const char kBuckets[] = "read_bucket_size out of range";
    static const char kCount[] = "localized_language_header.index_count out of range";
    static const char kEntries[] = "localized_language_header.bucket_entries out of range";
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
        EXPECT_EQ(ReadError(Table(row.entries, row.bits, row.count)), row.error);
    }
    EXPECT_EQ(ReadError(Table(1, 32, 0) + Word(1) + Dword(0)),
              "localized_language_bucket.index out of range");
    EXPECT_EQ(ReadError(Table(1, 32, 0) + Word(0) + Dword(0)), "");
}

TEST_F(LocalizedLanguagesTest, EveryCutIsAShortReadAndKeepsTheTable)
{
    m_languages.Add_Entry("kept", -1);
    std::string body = Languages();
    for (size_t size = 0; size < body.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(ReadError(body.substr(0, size)), "cut short");
        EXPECT_EQ(m_languages.Entries(), 1);
        EXPECT_TRUE(m_languages.Get_Language_Entry("KEPT", 4));
    }
}

TEST_F(LocalizedLanguagesTest, LanguageIsFoundInAnyLetterCaseAndItsIndexRead)
{
    ASSERT_TRUE(Open(GoodImage()));
    ASSERT_TRUE(m_languages.Read());
    EXPECT_EQ(m_languages.Entries(), 3);
    EXPECT_EQ(m_languages.Get_Entry(1, 3), nullptr);  // not loaded yet
    LocalizedLanguage* english = m_languages.Get_Language_Entry("EN", -1);
    ASSERT_TRUE(english);
    ASSERT_TRUE(english->index);
    EXPECT_EQ(english->name, 1);
    EXPECT_EQ(english->index->language(), 1);
    EXPECT_EQ(m_languages.Get_Entry(1, 3)->first, 200);
    LocalizedIndex* index = english->index;
    EXPECT_EQ(m_languages.Get_Language_Entry("en", 2)->index, index);
    EXPECT_EQ(m_languages.Get_Language_Entry("es", 2), nullptr);
    EXPECT_EQ(m_languages.Get_Language_Entry("e", 1), nullptr);
    EXPECT_EQ(m_languages.Get_Language_Entry("eng", 3), nullptr);
}

TEST_F(LocalizedLanguagesTest, LanguageWithoutAnIndexIsAbsent)
{
    ASSERT_TRUE(Open(GoodImage()));
    ASSERT_TRUE(m_languages.Read());
    EXPECT_EQ(m_languages.Get_Language_Entry("fr", 2), nullptr);
    EXPECT_STREQ(m_languages.error().data(), "Invalid section");
    // Another one that was read before leaves nothing behind for it.
    ASSERT_TRUE(m_languages.Get_Language_Entry("de", 2));
    EXPECT_EQ(m_languages.Get_Language_Entry("fr", 2), nullptr);
}

TEST_F(LocalizedLanguagesTest, TheHandleIsGivenUpAfterAnIndexWasReadOrNot)
{
    for (const char* name : {"de", "fr"}) {
        SCOPED_TRACE(name);
        MemoryFile* file = new MemoryFile(&m_files, GoodImage().Bytes());
        m_files.FileOpened(file);
        ASSERT_TRUE(m_file.Open("name", file));
        LocalizedLanguages languages(nullptr, &m_dictionary, &m_file, 12, 8);
        ASSERT_TRUE(languages.Read());
        EXPECT_EQ(file->deactivations, 0);
        languages.Get_Language_Entry(name, 2);
        EXPECT_EQ(file->deactivations, 1);
    }
}

TEST_F(LocalizedLanguagesTest, ClosedFileHasNoIndex)
{
    ASSERT_TRUE(Open(GoodImage()));
    ASSERT_TRUE(m_languages.Read());
    ASSERT_TRUE(m_languages.Get_Language_Entry("de", 2));
    m_file.Close();
    EXPECT_TRUE(m_languages.Get_Language_Entry("de", 2));
    EXPECT_EQ(m_languages.Get_Language_Entry("en", 2), nullptr);
    EXPECT_EQ(m_languages.error().length(), 0);
}

TEST_F(LocalizedLanguagesTest, TextFallsBackOnTheDefaultLanguage)
{
    ASSERT_TRUE(Open(GoodImage()));
    ASSERT_TRUE(m_languages.Read());
    static const struct {
        const char* language;
        const char* default_language;
        int one, two, only;
    } rows[] = {
        {"de", "en", 100, 201, -2}, {"en", "de", 200, 201, -2}, {"es", "en", 200, 201, -2},
        {"fr", "de", 100, -2, -2},  {"es", "it", -2, -2, -2},   {"DE", "fr", 100, -2, -2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.language) + " " + row.default_language);
        Speak(row.language, row.default_language);
        EXPECT_EQ(First(3), row.one);
        EXPECT_EQ(First(4), row.two);
        EXPECT_EQ(First(5), row.only);
    }
}

TEST_F(LocalizedLanguagesTest, OneLookupForEachValueOfTheCounter)
{
    // The index of "fr" cannot be read, so each lookup of it costs a read.
    TestImage image = GoodImage();
    image.Add(Tag(2), Table(0, 33, 0) + Dword(0));
    MemoryFile* file = new MemoryFile(&m_files, image.Bytes());
    ASSERT_TRUE(m_file.Open("name", file));
    ASSERT_TRUE(m_languages.Read());
    Speak("fr", "de");
    EXPECT_EQ(First(3), 100);
    EXPECT_STREQ(m_languages.error().data(), "localized_index_header.bucket_bits out of range");
    int reads = file->reads;
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(First(3), 100);
    EXPECT_EQ(file->reads, reads);
    Speak("fr", "de");
    EXPECT_EQ(First(3), 100);
    EXPECT_EQ(file->reads, reads + 1);
}

TEST_F(LocalizedLanguagesTest, RereadTableForgetsWhatItFound)
{
    ASSERT_TRUE(Open(GoodImage()));
    ASSERT_TRUE(m_languages.Read());
    Speak("de", "de");
    EXPECT_EQ(First(3), 100);
    ASSERT_EQ(ReadError(Table(0, 0, 0)), "");
    EXPECT_EQ(First(3), -2);
}

TEST_F(LocalizedLanguagesTest, DamagedChainsEnd)
{
    static const long long values[] = {0, 1, 9, -2, 0x7FFFFFFF, -0x80000000LL};
    for (long long head : values)
        for (long long next : values) {
            SCOPED_TRACE(std::to_string(head) + " " + std::to_string(next));
            ASSERT_EQ(
                ReadError(Table(1, 0, 2) + Word(0) + Dword(head) + Dwords({0, next, 99, next})),
                "");
            EXPECT_EQ(m_languages.Get_Language_Entry("zzz", 3), nullptr);
        }
}

TEST_F(LocalizedLanguagesTest, WriteIsTheTableAndAnIndexForEachLanguage)
{
    LocalizedLanguages built(nullptr, &m_dictionary, nullptr, 0, 8);
    EXPECT_EQ(built.Add_Entry("it", -1), 0);  // name 6
    EXPECT_EQ(built.Add_Entry("DA", -1), 1);  // name 7
    int one = built.Add_Entry(0, 3, 40);
    EXPECT_EQ(one, 0);
    EXPECT_EQ(built.Add_Entry(2, 3, 40), -1);
    EXPECT_EQ(built.Get_Entry(0, 3)->first, 40);
    EXPECT_EQ(built.Get_Entry(1, 3), nullptr);
    ASSERT_TRUE(m_file.Create(Path().c_str(), nullptr, 0));
    ASSERT_TRUE(built.Write(&m_file));
    ASSERT_TRUE(m_file.Section_Flush());
    ASSERT_TRUE(m_file.Open(Path().c_str(), 1));
    std::string expected = Table(1, 0, 2) + Word(0) + Dword(1) + Dwords({6, -1, 7, 0});
    std::string bytes(expected.size(), ' ');
    int size;
    ASSERT_TRUE(m_file.Section_Read_Start(TagOf("locl"), &size));
    EXPECT_EQ(size, int(expected.size()));
    m_file.Section_Read(bytes.data(), size);
    EXPECT_EQ(bytes, expected);
    ASSERT_TRUE(m_languages.Read());
    ASSERT_TRUE(m_languages.Get_Language_Entry("it", 2));
    EXPECT_EQ(m_languages.Get_Entry(0, 3)->first, 40);
    ASSERT_TRUE(m_languages.Get_Language_Entry("da", 2));
    EXPECT_EQ(m_languages.Get_Entry(1, 3), nullptr);
}

TEST_F(LocalizedLanguagesTest, ManyLanguagesAreFound)
{
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(m_languages.Add_Entry(("l" + std::to_string(i)).c_str(), -1), i);
    for (int i = 0; i < 50; ++i) {
        LocalizedLanguage* entry =
            m_languages.Get_Language_Entry(("L" + std::to_string(i)).c_str(), -1);
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->index->language(), i);
    }
}

}  // namespace
