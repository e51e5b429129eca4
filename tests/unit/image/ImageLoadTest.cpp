// Whole images through all readers, in the order of a main script.
#include "TestImage.h"
#include "image/Dictionary.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedLanguages.h"
#include "image/Segment.h"
#include "image/SegmentManager.h"
#include "variables/VariableHash.h"

namespace {

// All tables of one image.
struct Image {
    explicit Image(TaggedFile* tagged)
        : file(tagged), languages(nullptr, &dictionary, tagged, 12, 8)
    {
    }
    // The reader that fails, with its text; empty when all succeed.
    std::string Load()
    {
        if (!dictionary.Read(file))
            return std::string("dict: ") + dictionary.error().data();
        if (!system.Read(file, TagOf("syst")))
            return std::string("syst: ") + system.error().data();
        if (!global.Read(file, TagOf("glbl")))
            return std::string("glbl: ") + global.error().data();
        if (!languages.Read())
            return std::string("locl: ") + languages.error().data();
        if (!localized.Read(file))
            return std::string("locd: ") + localized.error().data();
        if (!segments.Read(file))
            return std::string("segs: ") + segments.error().data();
        if (!functions.Read(file))
            return std::string("func: ") + functions.error().data();
        return "";
    }

    TaggedFile* file;
    Dictionary dictionary;
    VariableHash system{&dictionary, 12, 512};
    VariableHash global{&dictionary, 12, 512};
    LocalizedLanguages languages;
    LocalizedDictionary localized;
    SegmentManager segments;
    FunctionManager functions{&dictionary, 8};
};

const std::string kEmptyTable = std::string(7, '\0');
const char* const kTags[] = {"dict", "syst", "glbl", "locl", "locd", "segs", "func"};

std::vector<std::string> Bodies()
{
    std::string table = Word(1) + '\0' + Dword(1) + Word(0) + Dword(0) + Dwords({1, -1});
    std::string function = Word(1) + '\0' + Dword(1) + Word(0) + Dword(0) + Dword(-1) +
                           Dwords({2, 0, 0, 0, 2}) + kEmptyTable;
    return {DictBody({"hello", "x", "f"}), kEmptyTable, table, kEmptyTable, Dword(0),
            Dwords({1, 0, 0, 4}) + "code", function};
}

TestImage Without(const std::string& missing)
{
    TestImage image;
    std::vector<std::string> bodies = Bodies();
    for (int i = 0; i < 7; ++i)
        if (missing != kTags[i])
            image.Add(kTags[i], bodies[size_t(i)]);
    return image;
}

class ImageLoadTest : public ImageTest {
protected:
    std::string LoadError(const std::string& bytes)
    {
        if (!Open(bytes))
            return std::string("open: ") + m_file.error().data();
        Image image(&m_file);
        m_file.Error("cut short");
        return image.Load();
    }
    std::string LoadError(const TestImage& image) { return LoadError(image.Bytes()); }
};

TEST_F(ImageLoadTest, WholeImageLoads)
{
    ASSERT_TRUE(Open(Without("")));
    Image image(&m_file);
    ASSERT_EQ(image.Load(), "");
    EXPECT_EQ(image.dictionary.Entries(), 3);
    EXPECT_EQ(image.global.Seek(-1, "X", 1, nullptr), 0);
    EXPECT_EQ(image.segments.Start()->size(), 4);
    EXPECT_EQ(image.functions.Function_Get("F", 1)->offset(), 2);
}

TEST_F(ImageLoadTest, WholeImageIsOneRead)
{
    MemoryFile* file = new MemoryFile(&m_files, Without("").Bytes());
    ASSERT_TRUE(m_file.Open("name", file));
    Image image(&m_file);
    ASSERT_EQ(image.Load(), "");
    EXPECT_EQ(file->reads, 1);
    EXPECT_EQ(file->seeks, 1);
    EXPECT_EQ(file->lengths, 0);
}

TEST_F(ImageLoadTest, MissingSectionsAreOnlyAsStrictAsTheirReaders)
{
    EXPECT_EQ(LoadError(Without("dict")), "dict: Invalid section");
    // The string pool is still selected and read as a table of variables: its count
    // of 3 means three bucket records, the third of which begins with the byte 5.
    EXPECT_EQ(LoadError(Without("syst")), "syst: variable_hash_bucket.index out of range");
    EXPECT_EQ(LoadError(Without("glbl")), "glbl: Invalid section");
    EXPECT_EQ(LoadError(Without("locl")), "locl: Invalid section");
    EXPECT_EQ(LoadError(Without("locd")), "locd: Invalid section");
    EXPECT_EQ(LoadError(Without("segs")), "segs: Invalid section");
    // The code is still selected, and this code reads as a table of no functions.
    EXPECT_EQ(LoadError(Without("func")), "");
}

TEST_F(ImageLoadTest, PhysicalOrderDoesNotMatter)
{
    std::vector<std::string> bodies = Bodies();
    TestImage image;
    for (int i = 6; i >= 0; --i)
        image.Add(kTags[i], bodies[size_t(i)]);
    EXPECT_EQ(LoadError(image), "");
}

TEST_F(ImageLoadTest, EveryCutOfTheFileFailsInTheDirectory)
{
    std::string bytes = Without("").Bytes();
    for (size_t size = 0; size < bytes.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(LoadError(bytes.substr(0, size)),
                  size < 32
                      ? "open: File is either corrupt or not a valid compiled Zeph Script file"
                      : "open: Unexpected end of file while reading directory");
    }
}

TEST_F(ImageLoadTest, EveryCutBehindAnEarlyDirectoryFailsInASection)
{
    // The directory stands in front, so that the cuts reach the sections.
    std::vector<std::string> bodies = Bodies();
    TestImage image;
    image.directory_offset = 32;
    std::string all;
    std::vector<size_t> ends;
    for (int i = 0; i < 7; ++i) {
        image.AddEntry(kTags[i], 32 + 7 * 12 + (long long)all.size(),
                       (long long)bodies[size_t(i)].size());
        all += bodies[size_t(i)];
        ends.push_back(32 + 7 * 12 + all.size());
    }
    std::string bytes = image.Bytes() + all;
    ASSERT_EQ(LoadError(bytes), "");
    for (size_t size = 32 + 7 * 12; size < bytes.size(); ++size) {
        SCOPED_TRACE(size);
        int section = 0;
        while (ends[size_t(section)] <= size)
            ++section;
        EXPECT_EQ(LoadError(bytes.substr(0, size)), std::string(kTags[section]) + ": cut short");
    }
}

TEST_F(ImageLoadTest, CountsThatTheFileCannotHoldAreNotReadFor)
{
    static const struct {
        int section;
        std::string body;
    } rows[] = {
        {0, Dwords({0x7FFFFFF, 0, 0})},
        {0, Dwords({0, 0x70000000, 0})},
        {1, Word(0) + '\0' + Dword(0x7FFFFFF)},
        {1, Word(0x7FFF) + char(28) + Dword(0)},
        {3, Word(0) + '\0' + Dword(0x7FFFFFF)},
        {4, Dword(0x7FFFFFF)},
        {5, Dwords({0x7FFFFFF, 0})},
        {5, Dwords({1, 0, 0, 0x70000000})},
        {6, Word(0) + '\0' + Dword(0xFFFFFFF)},
        {6, Word(0) + '\0' + Dword(1) + Dwords({-1, 2, 0x7FFFFFF, 0, 0, 2})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        std::vector<std::string> bodies = Bodies();
        bodies[size_t(row.section)] = row.body;
        TestImage image;
        for (int i = 0; i < 7; ++i)
            if (i != row.section)
                image.Add(kTags[i], bodies[size_t(i)]);
        // The section claims to be as large as its count would have it.
        image.AddEntry(kTags[row.section], 32 + (long long)image.bodies.size(), 0x7FFFFFFF);
        image.bodies += row.body;
        image.bodies += std::string(4, '\0');
        MemoryFile* file = new MemoryFile(&m_files, image.Bytes());
        ASSERT_TRUE(m_file.Open("name", file));
        m_file.Error("cut short");
        Image tables(&m_file);
        EXPECT_EQ(tables.Load(), std::string(kTags[row.section]) + ": cut short");
        EXPECT_EQ(file->reads, 1);
        EXPECT_EQ(file->lengths, 1);
    }
}

TEST_F(ImageLoadTest, NoDamagedByteIsMoreThanAnError)
{
    std::string bytes = Without("").Bytes();
    for (size_t place = 0; place < bytes.size(); ++place)
        for (int value : {0, 1, 0x7F, 0x80, 0xFF}) {
            std::string damaged = bytes;
            damaged[place] = char(value);
            if (!Open(damaged))
                continue;
            Image image(&m_file);
            image.Load();
            int size;
            for (int i = 0; i < image.dictionary.Entries() && i < 5; ++i)
                image.dictionary.Entry(i, &size);
            image.functions.Function_Get("nothing", -1);
            image.global.Seek(-1, "nothing", -1, nullptr);
        }
    SUCCEED();
}

}  // namespace
