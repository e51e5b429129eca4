#include "image/UserVariableHash.h"

#include <string>

#include <gtest/gtest.h>

#include "TestImage.h"
#include "image/Dictionary.h"
#include "variables/ClonedVariableHash.h"
#include "variables/ReferenceVariableHash.h"

namespace {

TEST(UserVariableHash, HasNamesOfItsOwn)
{
    UserVariableHash first, second;
    first.SetVariable("Name", -1, "1", -1);
    EXPECT_EQ(second.Entries(), 0);
    EXPECT_NE(first.names(), second.names());
    Variable* found = nullptr;
    EXPECT_EQ(second.Find(&found, "name", -1, 1), 0);
    ASSERT_EQ(first.Find(&found, "NAME", -1, 0), 1);
    EXPECT_STREQ(found->name().data(), "Name");
    EXPECT_STREQ(found->value().data(), "1");
}

TEST(UserVariableHash, HoldsMoreThanItsFirstBlock)
{
    UserVariableHash hash;
    for (int i = 0; i < 1500; ++i) {
        std::string number = std::to_string(i);
        hash.SetVariable(("name" + number).c_str(), -1, number.c_str(), -1);
    }
    EXPECT_EQ(hash.Entries(), 1500);
    for (int i = 0; i < 1500; ++i)
        EXPECT_EQ(hash.Index(i, 0)->value_integer(), i);
}

TEST(UserVariableHash, AVariableThatIsHeldOutlivesTheTable)
{
    Variable* held = nullptr;
    {
        UserVariableHash hash;
        hash.Insert("a rather long name of a variable", -1);
        hash.Find(&held, "a rather long name of a variable", -1, 1);
        held->IncRefCount();
    }
    EXPECT_EQ(held->refcount(), 1);
    EXPECT_STREQ(held->name().data(), "a rather long name of a variable");
    held->DecRefCount();
}

using UserVariableHashFileTest = ImageTest;

TEST_F(UserVariableHashFileTest, TellsAFileOfItsBuckets)
{
    UserVariableHash hash;
    hash.Insert("name", -1);
    std::string body = Written([&](TaggedFile* file) { return hash.Write(file, TagOf("glbl")); });
    ASSERT_EQ(body.size(), 7u + 6 + 8);
    EXPECT_EQ(body[2], 12);
}

TEST(DictionaryClone, KeepsIndicesAndSharesNothing)
{
    Dictionary source;
    int index = source.Entry_Add("text", -1);
    NamePool* copy = source.Clone();
    int length;
    const char* text = copy->Entry(index, &length);
    EXPECT_EQ(std::string(text, size_t(length)), "text");
    EXPECT_NE(text, source.Entry(index, nullptr));
    EXPECT_EQ(copy->Entry_Add("more", -1), 1);
    EXPECT_EQ(source.Entries(), 1);
    delete copy;
}

TEST(ClonedVariableHashOfADictionary, ATaskHasItsOwnVariablesAndNames)
{
    Dictionary page, file;
    VariableHash globals(&page, 12, 512);
    globals.SetVariable("v", -1, "before", -1);
    ReferenceVariableHash view(&file, &globals, 12, 512);
    Dictionary* copied = file.Clone();
    ClonedVariableHash task(nullptr, copied, view);
    task.SetVariable("v", -1, "after", -1);
    task.SetVariable("task", -1, "only", -1);
    EXPECT_EQ(globals.Entries(), 1);
    EXPECT_EQ(page.Entries(), 1);
    EXPECT_STREQ(globals.Index(0, 0)->value().data(), "before");
    Variable* found = nullptr;
    ASSERT_EQ(task.Find(&found, "v", -1, 0), 1);
    EXPECT_STREQ(found->value().data(), "after");
    delete copied;
}

}  // namespace
