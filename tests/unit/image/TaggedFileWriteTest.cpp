#include "TestImage.h"
#include "image/TaggedFile.h"

namespace {

class TaggedFileWriteTest : public ImageTest {
protected:
    bool Create(const char* identifier = nullptr, int version = 0)
    {
        return m_file.Create(Path().c_str(), identifier, version);
    }
};

TEST_F(TaggedFileWriteTest, NewFileIsAHeader)
{
    ASSERT_TRUE(Create());
    m_file.Close();
    EXPECT_EQ(Saved(), std::string("Zeph\x0B\x00\x01\x00", 8) + std::string(24, '\0'));
}

TEST_F(TaggedFileWriteTest, IdentifierAndVersionAreStored)
{
    ASSERT_TRUE(Create("0123456789abcdef", 0x10007));
    m_file.Close();
    EXPECT_EQ(Saved(),
              std::string("Zeph\x07\x00\x01\x00", 8) + "0123456789abcdef" + std::string(8, '\0'));
}

TEST_F(TaggedFileWriteTest, FlushPutsTheDirectoryBehindTheSections)
{
    ASSERT_TRUE(Create());
    m_file.Section_Start(TagOf("aaaa"));
    EXPECT_EQ(m_file.Section_Write("12", 2), 2);
    EXPECT_EQ(m_file.Section_Write("345", 3), 3);
    m_file.Section_Start(TagOf("bbbb"));  // ends the first
    m_file.Section_End();
    m_file.Section_End();  // there is none to end
    m_file.Section_Start(0);
    EXPECT_EQ(m_file.Section_Write("6", 1), 1);
    m_file.Section_End();
    ASSERT_TRUE(m_file.Section_Flush());
    m_file.Close();
    EXPECT_EQ(Saved(), std::string("Zeph\x0B\x00\x01\x00", 8) + std::string(16, '\0') +
                           std::string("\x26\0\0\0\x03\0\0\0", 8) + "123456" + "aaaa" +
                           std::string("\x20\0\0\0\x05\0\0\0", 8) + "bbbb" +
                           std::string("\x25\0\0\0\0\0\0\0", 8) + std::string(4, '\0') +
                           std::string("\x25\0\0\0\x01\0\0\0", 8));
}

TEST_F(TaggedFileWriteTest, DirectoryGrowsWithTheSections)
{
    ASSERT_TRUE(Create());
    for (int i = 0; i < 40; ++i) {
        m_file.Section_Start(1000 + i);
        EXPECT_EQ(m_file.Section_Write("x", 1), 1);
    }
    m_file.Section_End();
    ASSERT_TRUE(m_file.Section_Flush());
    ASSERT_TRUE(m_file.Open(Path().c_str(), 1));
    for (int i = 0; i < 40; ++i)
        EXPECT_TRUE(m_file.Section_Exists(1000 + i));
    EXPECT_FALSE(m_file.Section_Exists(1040));
}

TEST_F(TaggedFileWriteTest, CreateEmptiesAnOlderFileAndStartsAnew)
{
    ASSERT_TRUE(Create());
    m_file.Section_Start(TagOf("aaaa"));
    EXPECT_EQ(m_file.Section_Write("12345", 5), 5);
    ASSERT_TRUE(Create());
    m_file.Section_Start(TagOf("bbbb"));
    EXPECT_EQ(m_file.Section_Write("x", 1), 1);
    m_file.Section_End();
    ASSERT_TRUE(m_file.Section_Flush());
    m_file.Close();
    EXPECT_EQ(Saved(), TestImage().Add("bbbb", "x").Bytes());
}

TEST_F(TaggedFileWriteTest, FailedCreateTakesTheManagersError)
{
    EXPECT_FALSE(m_file.Create((m_folder + "/no/folder").c_str(), nullptr, 0));
    EXPECT_STREQ(m_file.error().data(), "No such file or directory");
}

TEST_F(TaggedFileWriteTest, FailedWriteTakesTheFilesError)
{
    MemoryFile* file = new MemoryFile(&m_files, TestImage().Bytes());
    ASSERT_TRUE(m_file.Open("name", file));
    m_file.Section_Start(TagOf("aaaa"));
    EXPECT_LT(m_file.Section_Write("x", 1), 0);
    EXPECT_STREQ(m_file.error().data(), "No space left on device");
    m_file.Error("");
    EXPECT_FALSE(m_file.Section_Flush());
    EXPECT_STREQ(m_file.error().data(), "No space left on device");
}

}  // namespace
