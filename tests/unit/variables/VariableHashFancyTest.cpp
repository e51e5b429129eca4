#include <string>

#include <gtest/gtest.h>

#include "TestNames.h"
#include "TestVariables.h"
#include "variables/ImmutableVariable.h"
#include "variables/SystemVariableHash.h"

namespace {

const int kCreate = 1;
const int kAppend = 1;

class VariableHashFancy : public ::testing::Test {
protected:
    Variable* Look(const std::string& text, int create = 0)
    {
        Variable* found = nullptr;
        EXPECT_EQ(m_hash.LookupVariable_Fancy(&found, text.data(), int(text.size()), create), 1);
        return found;
    }
    // The error of a look-up that fails, which leaves no variable.
    std::string Refusal(const std::string& text, int create = 0)
    {
        m_hash.Error("");
        Variable other;
        Variable* found = &other;
        if (m_hash.LookupVariable_Fancy(&found, text.data(), int(text.size()), create) != 0)
            return "found";
        EXPECT_EQ(found, nullptr);
        return m_hash.error().data();
    }
    std::string Value(const std::string& text)
    {
        Variable* found = Look(text);
        return found ? ValueOf(*found) : "none";
    }
    std::string Elements(const std::string& text) { return ElementsOf(*Look(text)); }
    void Set(const std::string& name, const std::string& text, int append = 0)
    {
        EXPECT_EQ(m_hash.SetVariable_Fancy(name.data(), int(name.size()), text.data(),
                                           int(text.size()), append),
                  1);
    }

    Names m_names;
    VariableHash m_hash{&m_names, 4, 8};
};

const char kFault[] = "Array index must be positive integer";

TEST_F(VariableHashFancy, APlainNameIsFoundAsByFind)
{
    Set("Plain", "1");
    Variable* found = nullptr;
    ASSERT_EQ(m_hash.Find(&found, "PLAIN", -1, 0), 1);
    EXPECT_EQ(Look("plain"), found);
    EXPECT_EQ(Look("plai"), nullptr);
    EXPECT_EQ(Look("plainer"), nullptr);
    EXPECT_EQ(m_hash.Entries(), 1);
}

TEST_F(VariableHashFancy, WithoutCreateNothingIsMade)
{
    m_hash.Insert("slot", -1);
    EXPECT_EQ(Look("nosuch"), nullptr);
    EXPECT_EQ(Look("nosuch[1]:y"), nullptr);
    EXPECT_EQ(Look("slot"), nullptr);
    EXPECT_EQ(Look("slot:y"), nullptr);
    EXPECT_EQ(m_hash.Entries(), 1);
    Set("scalar", "kept");
    EXPECT_EQ(Look("scalar[1]"), nullptr);
    EXPECT_EQ(Look("scalar:y:z"), nullptr);
    EXPECT_EQ(Value("scalar"), "kept");
}

TEST_F(VariableHashFancy, WithCreateANameIsMadeOnce)
{
    Variable* made = Look("New", kCreate);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(NameOf(*made), "New");
    EXPECT_EQ(made->refcount(), 1);
    EXPECT_EQ(Look("new", kCreate), made);
    EXPECT_EQ(m_hash.Entries(), 1);
}

TEST_F(VariableHashFancy, WithCreateASlotGetsItsVariable)
{
    m_hash.Insert("Slot", -1);
    Variable* made = Look("SLOT", kCreate);
    EXPECT_EQ(made, m_hash.Index(0, 0));
    EXPECT_EQ(NameOf(*made), "Slot");
    EXPECT_EQ(m_hash.Entries(), 1);
}

TEST_F(VariableHashFancy, SelectorsMakeAnArrayThatHoldsAStructure)
{
    Set("x[1]:y", "deep");
    Variable* x = Look("x");
    EXPECT_EQ(x->aggregatetype(), kAggregateArray);
    ASSERT_NE(At(*x, 1), nullptr);
    EXPECT_EQ(At(*x, 1)->aggregatetype(), kAggregateStructure);
    EXPECT_EQ(ValueOf(*Member(*At(*x, 1), "Y")), "deep");
    EXPECT_EQ(Value("X[1]:Y"), "deep");
}

TEST_F(VariableHashFancy, EverySelectorFormFindsItsElement)
{
    static const struct {
        const char *set, *look;
    } rows[] = {
        {"x[2]", "x[ 2 ]"},
        {"x[ 2]", "x[2 ]"},
        {"x[\t2\r\n]", "x[02]"},
        {"x[]", "x[0]"},
        {"x[ ]", "x[00]"},
        {"x[7 8]", "x[7]"},
        {"x[7 8 9]", "x[7]"},
        {"x:", "x:"},
        {"x::y", "x::Y"},
        {"x:a:b", "x:A:B"},
        {"x[1][2]", "x[1][ 2]"},
        {"x:a[3]", "x:A[3]"},
        {"x[3]:a", "x[3]:A"},
        {"x:a]b", "x:A]B"},
        {"x: a ", "x: A "},
        {"x[2147483647]", "x[2147483647]"},
        {"x[0000000000000000000001]", "x[1]"},
        {":y", ":Y"},
        {"[5]", "[5]"},
        {"", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.set);
        m_hash.Dump();
        Set(row.set, "value");
        EXPECT_EQ(Value(row.look), "value");
    }
}

TEST_F(VariableHashFancy, EmptyMembersAreLevelsOfTheirOwn)
{
    Set("x::y", "value");
    EXPECT_EQ(ElementsOf(*Look("x:")), "y=value");
    EXPECT_EQ(Look("x:y"), nullptr);
}

TEST_F(VariableHashFancy, ABadIndexIsRefused)
{
    static const char* const selectors[] = {
        "[abc]",
        "[-1]",
        "[+1]",
        "[1",
        "[",
        "[1 ",
        "[ ",
        "[1]z",
        "[1] ",
        "[1]]",
        "[1.5]",
        "[1,2]",
        "[1a]",
        "[a1]",
        "[1][x]",
        "[1]:y[",
        "[2147483648]",
        "[4294967297]",
        "[[1]]",
        "[1:y]",
        "[0x1]",
        "[99999999999999999999999999999999]",
        "[18446744073709551617]",
        "[-0]",
    };
    for (const char* selector : selectors) {
        SCOPED_TRACE(selector);
        EXPECT_EQ(Refusal(std::string("x") + selector, kCreate), kFault);
    }
    EXPECT_EQ(Refusal(std::string("x[1\0]", 5), kCreate), kFault);
}

TEST_F(VariableHashFancy, ABadIndexIsRefusedOnlyWhereItIsReached)
{
    EXPECT_EQ(Look("nosuch[abc]"), nullptr);
    Set("x:a", "scalar");
    EXPECT_EQ(Look("x:nosuch[abc]"), nullptr);
    EXPECT_EQ(Look("x:a[1][abc]"), nullptr);
    EXPECT_EQ(Refusal("x:a[abc]"), kFault);
    EXPECT_EQ(Value("x:a"), "scalar");
}

TEST_F(VariableHashFancy, WhatStandsInFrontOfABadIndexIsMadeAndNoMore)
{
    EXPECT_EQ(Refusal("x:a[1]z", kCreate), kFault);
    ASSERT_NE(Look("x:a"), nullptr);
    EXPECT_EQ(Look("x:a")->aggregatetype(), kAggregateNone);
}

TEST_F(VariableHashFancy, TheTextIsReadToItsLengthOnly)
{
    Variable* found = nullptr;
    Set("x[1]", "one");
    EXPECT_EQ(m_hash.LookupVariable_Fancy(&found, "x[1]:y", 4, 0), 1);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(ValueOf(*found), "one");
    EXPECT_EQ(m_hash.LookupVariable_Fancy(&found, "x[1]", 3, 0), 0);
    EXPECT_EQ(m_hash.LookupVariable_Fancy(&found, "x[1]", -1, 0), 1);
    EXPECT_EQ(ValueOf(*found), "one");
}

TEST_F(VariableHashFancy, NoTextIsTheEmptyName)
{
    Variable* made = nullptr;
    EXPECT_EQ(m_hash.LookupVariable_Fancy(&made, nullptr, 7, kCreate), 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(Look("", kCreate), made);
    EXPECT_EQ(m_hash.Entries(), 1);
}

TEST_F(VariableHashFancy, SettingABadNameFailsWithTheText)
{
    EXPECT_EQ(m_hash.SetVariable_Fancy("x[-1]", -1, "v", -1, 0), 0);
    EXPECT_STREQ(m_hash.error().data(), kFault);
    EXPECT_EQ(m_hash.SetVariable_Fancy("x[-1]", -1, "v", -1, kAppend), 0);
}

TEST_F(VariableHashFancy, SettingReplacesTheValue)
{
    Set("x", "1");
    Set("x", "2");
    EXPECT_EQ(Value("x"), "2");
    Set("x[2]", "two");
    Set("x", "scalar");
    EXPECT_EQ(Elements("x"), "scalar");
    EXPECT_EQ(Value("x"), "scalar");
}

TEST_F(VariableHashFancy, RepeatedFieldsGrowAnArray)
{
    Set("f", "a", kAppend);
    EXPECT_EQ(Elements("f"), "scalar");
    EXPECT_EQ(Value("f"), "a");
    Set("f", "b", kAppend);
    EXPECT_EQ(Elements("f"), "1=a 2=b");
    Set("f", "c", kAppend);
    Set("F", "", kAppend);
    EXPECT_EQ(Elements("f"), "1=a 2=b 3=c 4=");
    for (int number = 1; number <= 4; ++number)
        EXPECT_EQ(At(*Look("f"), number)->refcount(), 1) << number;
}

TEST_F(VariableHashFancy, AnEmptyFieldIsReplacedByTheNextOne)
{
    Set("f", "", kAppend);
    Set("f", "b", kAppend);
    EXPECT_EQ(Elements("f"), "scalar");
    EXPECT_EQ(Value("f"), "b");
}

TEST_F(VariableHashFancy, AppendingWorksOnElements)
{
    Set("x[2]:f", "a", kAppend);
    Set("x[2]:f", "b", kAppend);
    EXPECT_EQ(Elements("x[2]:f"), "1=a 2=b");
}

TEST_F(VariableHashFancy, AppendingCountsTheElementsInUse)
{
    Set("x[5]", "five");
    Set("x", "a", kAppend);
    EXPECT_EQ(Elements("x"), "2=a 5=five");
    Set("y[2]", "two");
    Set("y", "a", kAppend);
    EXPECT_EQ(Elements("y"), "2=a");
    Look("z", kCreate)->Convert_Aggregate(kAggregateArray);
    Set("z", "a", kAppend);
    EXPECT_EQ(Elements("z"), "1=a");
}

TEST_F(VariableHashFancy, AppendingToAStructureMakesAnArrayOfIt)
{
    Set("x:a", "1");
    Set("x:b", "2");
    Set("x", "new", kAppend);
    EXPECT_EQ(Elements("x"), "3=new");
}

TEST_F(VariableHashFancy, AppendingKeepsTheFormOfTheFirstValue)
{
    Look("x", kCreate)->SetValue_Double(0.5);
    Set("x", "b", kAppend);
    EXPECT_EQ(At(*Look("x"), 1)->primary_type(), Variable::kDouble);
    EXPECT_EQ(Elements("x"), "1=0.5 2=b");
}

TEST_F(VariableHashFancy, AppendedTextMayBeTheVariablesOwn)
{
    std::string text = "long enough to be stored outside of anything";
    Set("x", text);
    const String& own = Look("x")->value();
    EXPECT_EQ(m_hash.SetVariable_Fancy("x", -1, own.data(), own.length(), kAppend), 1);
    EXPECT_EQ(Elements("x"), "1=" + text + " 2=" + text);
}

TEST_F(VariableHashFancy, ALockedVariableStaysAsItIs)
{
    ImmutableVariable* locked = new ImmutableVariable("x", -1, "set", -1, true);
    m_hash.SetVariable(locked);
    Set("x", "other", kAppend);
    Set("x", "other");
    EXPECT_EQ(Value("x"), "set");
    EXPECT_EQ(Elements("x"), "scalar");
}

TEST(SystemVariableHashFancy, DoesNotAppend)
{
    Names names;
    SystemVariableHash hash(&names, 4, 8);
    hash.SetVariable_Fancy("x[1]", -1, "a", -1, kAppend);
    hash.SetVariable_Fancy("x[1]", -1, "b", -1, kAppend);
    Variable* found = nullptr;
    ASSERT_EQ(hash.LookupVariable_Fancy(&found, "x", -1, 0), 1);
    EXPECT_EQ(ElementsOf(*found), "1=b");
}

}  // namespace
