#include "TestImage.h"
#include "image/Dictionary.h"
#include "variables/ReferenceVariableHash.h"

namespace {

std::string Header(int bucket_entries, int bits, long long count)
{
    return Word(bucket_entries) + char(bits) + Dword(count);
}

// "b" in front of "aa", in one bucket.
std::string FileTable()
{
    return Header(1, 0, 2) + Word(0) + Dword(0) + Dwords({0, 1, 1, -1});
}

class ReferenceVariableHashFileTest : public ImageTest {
protected:
    ReferenceVariableHashFileTest()
    {
        m_names.Entry_Add("b", -1);
        m_names.Entry_Add("aa", -1);
        m_target.SetVariable("one", -1, "1", -1);
        m_target.SetVariable("AA", -1, "2", -1);
        m_target.SetVariable("B", -1, "3", -1);
    }
    // The text with which reading the view's table fails; empty when it succeeds.
    std::string ReadError(const std::string& body)
    {
        EXPECT_TRUE(Open(TestImage().Add("glbl", body)));
        m_file.Error("cut short");
        return m_view.Read(&m_file, TagOf("glbl")) ? "" : m_view.error().data();
    }
    std::string Value(int slot)
    {
        Variable* variable = m_view.Index(slot, 0);
        return variable ? variable->value().data() : "none";
    }

    Dictionary m_target_names, m_names;
    VariableHash m_target{&m_target_names, 4, 8};
    ReferenceVariableHash m_view{&m_names, &m_target, 12, 512};
};

TEST_F(ReferenceVariableHashFileTest, TheFilesSlotsFindTheTargetsVariables)
{
    ASSERT_EQ(ReadError(FileTable()), "");
    EXPECT_EQ(Value(0), "3");
    EXPECT_EQ(Value(1), "2");
    EXPECT_EQ(Value(2), "none");
    EXPECT_EQ(m_target.Entries(), 3);
    EXPECT_EQ(m_view.Entries(), 3);
}

TEST_F(ReferenceVariableHashFileTest, SlotsThatWereFoundAreForgottenWithTheTable)
{
    ASSERT_EQ(ReadError(FileTable()), "");
    Value(0);
    Value(1);
    // The same slots with their names exchanged.
    ASSERT_EQ(ReadError(Header(1, 0, 2) + Word(0) + Dword(1) + Dwords({1, -1, 0, 0})), "");
    EXPECT_EQ(Value(0), "2");
    EXPECT_EQ(Value(1), "3");
}

TEST_F(ReferenceVariableHashFileTest, AFailedReadKeepsTheTableAndTellsItself)
{
    ASSERT_EQ(ReadError(FileTable()), "");
    EXPECT_EQ(ReadError(Header(0, 29, 0)), "read_bucket_size out of range");
    EXPECT_EQ(ReadError(Header(0, 33, 0)), "variable_hash_header.bucket_bits out of range");
    EXPECT_EQ(ReadError(FileTable().substr(0, 20)), "cut short");
    EXPECT_STREQ(m_target.error().data(), "");
    EXPECT_EQ(Value(0), "3");
    EXPECT_EQ(Value(1), "2");
}

TEST_F(ReferenceVariableHashFileTest, InlineReadIsTheViewsAsWell)
{
    ASSERT_TRUE(Open(TestImage().Add("func", FileTable())));
    ASSERT_TRUE(m_file.Section_Read_Start(TagOf("func"), nullptr));
    ASSERT_TRUE(m_view.Read(&m_file));
    EXPECT_EQ(Value(0), "3");
    EXPECT_EQ(m_target.Entries(), 3);
}

TEST_F(ReferenceVariableHashFileTest, WriteIsTheTargets)
{
    ASSERT_EQ(ReadError(FileTable()), "");
    auto of = [&](VariableHash* table) {
        return Written([=](TaggedFile* file) { return table->Write(file, TagOf("glbl")); });
    };
    auto inline_of = [&](VariableHash* table) {
        return Written([=](TaggedFile* file) {
            file->Section_Start(TagOf("glbl"));
            return table->Write(file);
        });
    };
    std::string expected = of(&m_target);
    EXPECT_EQ(expected.size(), 7u + 6 * 3 + 8 * 3);
    EXPECT_EQ(of(&m_view), expected);
    EXPECT_EQ(inline_of(&m_view), expected);
}

TEST_F(ReferenceVariableHashFileTest, AFailedWriteTakesTheTargetsErrorOver)
{
    VariableHash wide(&m_target_names, 20, 8);
    for (int i = 0; i < 64; ++i)
        wide.Insert(std::to_string(i).c_str(), -1);
    ReferenceVariableHash view(&m_names, &wide, 12, 512);
    ASSERT_TRUE(m_file.Create(Path().c_str(), nullptr, 0));
    EXPECT_FALSE(view.Write(&m_file, TagOf("glbl")));
    EXPECT_STREQ(view.error().data(), "variable_hash_bucket.index out of range");
}

}  // namespace
