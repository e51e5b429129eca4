#include "TestImage.h"
#include "image/Dictionary.h"
#include "variables/ClonedVariableHash.h"
#include "variables/SystemVariableHash.h"

namespace {

// "b" in front of "aa", in one bucket.
std::string FileTable()
{
    return Word(1) + char(0) + Dword(2) + Word(0) + Dword(0) + Dwords({0, 1, 1, -1});
}

// A clone of a plain table holds its variables itself; that of the system's table has
// another table behind it. Both are read and written.
class ClonedVariableHashFileTest : public ImageTest {
protected:
    ClonedVariableHashFileTest()
    {
        for (const char* name : {"b", "aa", "old"})
            m_names.Entry_Add(name, -1);
        for (VariableHash* source : {&m_plain, static_cast<VariableHash*>(&m_system)}) {
            source->Insert(2);
            source->SetVariable("old", -1, "1", -1);
        }
    }
    bool OpenTable(const std::string& body)
    {
        bool is_open = Open(TestImage().Add("glbl", body));
        m_file.Error("cut short");
        return is_open;
    }
    std::string WrittenBy(VariableHash* table)
    {
        return Written([=](TaggedFile* file) { return table->Write(file, TagOf("glbl")); });
    }
    std::string WrittenInlineBy(VariableHash* table)
    {
        return Written([=](TaggedFile* file) {
            file->Section_Start(TagOf("glbl"));
            return table->Write(file);
        });
    }
    void ExpectFileTable(VariableHash* table)
    {
        EXPECT_EQ(table->Entries(), 2);
        EXPECT_EQ(table->Seek(-1, "B", -1, nullptr), 0);
        EXPECT_EQ(table->Seek(-1, "AA", -1, nullptr), 1);
        EXPECT_EQ(table->Seek(-1, "old", -1, nullptr), -1);
    }

    Dictionary m_names;
    VariableHash m_plain{&m_names, 0, 8};
    SystemVariableHash m_system{&m_names, 0, 8};
};

TEST_F(ClonedVariableHashFileTest, ThePlainCloneIsWrittenItself)
{
    ClonedVariableHash clone(nullptr, &m_names, m_plain);
    clone.Insert(0);
    std::string expected =
        Word(1) + char(0) + Dword(2) + Word(0) + Dword(1) + Dwords({2, -1, 0, 0});
    EXPECT_EQ(WrittenBy(&clone), expected);
    EXPECT_EQ(WrittenInlineBy(&clone), expected);
}

TEST_F(ClonedVariableHashFileTest, ThePlainCloneIsReadItself)
{
    ClonedVariableHash clone(nullptr, &m_names, m_plain);
    ASSERT_TRUE(OpenTable(FileTable()));
    ASSERT_TRUE(clone.Read(&m_file, TagOf("glbl")));
    ExpectFileTable(&clone);
    EXPECT_EQ(clone.Index(0, 0), nullptr);
    EXPECT_EQ(m_plain.Entries(), 1);
}

TEST_F(ClonedVariableHashFileTest, ThePlainCloneIsReadInlineItself)
{
    ClonedVariableHash clone(nullptr, &m_names, m_plain);
    ASSERT_TRUE(OpenTable(FileTable()));
    ASSERT_TRUE(m_file.Section_Read_Start(TagOf("glbl"), nullptr));
    ASSERT_TRUE(clone.Read(&m_file));
    ExpectFileTable(&clone);
    EXPECT_EQ(m_plain.Entries(), 1);
}

TEST_F(ClonedVariableHashFileTest, TheTableBehindTheCloneIsReadAndWritten)
{
    for (bool is_inline : {false, true}) {
        SCOPED_TRACE(is_inline);
        ClonedVariableHash clone(nullptr, &m_names, m_system);
        VariableHash* real = clone.RealIdentity();
        ASSERT_NE(real, &clone);
        ASSERT_TRUE(OpenTable(FileTable()));
        if (is_inline) {
            ASSERT_TRUE(m_file.Section_Read_Start(TagOf("glbl"), nullptr));
            ASSERT_TRUE(clone.Read(&m_file));
        } else {
            ASSERT_TRUE(clone.Read(&m_file, TagOf("glbl")));
        }
        ExpectFileTable(real);
        EXPECT_EQ(m_system.Entries(), 1);
        EXPECT_EQ(WrittenBy(&clone), FileTable());
        EXPECT_EQ(WrittenInlineBy(&clone), FileTable());
    }
}

TEST_F(ClonedVariableHashFileTest, AFailedReadTellsItself)
{
    ClonedVariableHash plain(nullptr, &m_names, m_plain);
    ClonedVariableHash system(nullptr, &m_names, m_system);
    for (ClonedVariableHash* clone : {&plain, &system}) {
        ASSERT_TRUE(OpenTable(FileTable().substr(0, 20)));
        EXPECT_FALSE(clone->Read(&m_file, TagOf("glbl")));
        EXPECT_STREQ(clone->error().data(), "cut short");
        clone->Error("");
        ASSERT_TRUE(OpenTable(FileTable().substr(0, 20)));
        ASSERT_TRUE(m_file.Section_Read_Start(TagOf("glbl"), nullptr));
        EXPECT_FALSE(clone->Read(&m_file));
        EXPECT_STREQ(clone->error().data(), "cut short");
        EXPECT_EQ(clone->Entries(), 1);
    }
}

}  // namespace
