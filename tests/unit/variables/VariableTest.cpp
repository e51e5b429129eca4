#include "variables/ImmutableVariable.h"

#include <string.h>

#include <gtest/gtest.h>

namespace {

// Counts the objects alive, to see when one ends.
class CountedVariable : public Variable {
public:
    explicit CountedVariable(int* alive) : m_alive(alive) { ++*m_alive; }
    ~CountedVariable() override { --*m_alive; }

private:
    int* m_alive;
};

char* NewText(const char* text)
{
    char* copy = new char[strlen(text) + 1];
    strcpy(copy, text);
    return copy;
}

TEST(Variable, StartsNullAndReadsAsEmptyTextAndZero)
{
    Variable variable("Name", -1);
    EXPECT_TRUE(variable.IsNULL());
    EXPECT_EQ(variable.primary_type(), Variable::kNone);
    EXPECT_STREQ(variable.name().data(), "Name");
    EXPECT_STREQ(variable.value().data(), "");
    EXPECT_EQ(variable.value_integer(), 0);
    EXPECT_EQ(variable.refcount(), 1);
}

TEST(Variable, TextBecomesAnIntegerAndStaysAsItWasWritten)
{
    static const struct {
        const char* text;
        int integer;
    } rows[] = {{"12", 12}, {"-7", -7}, {"0x10", 16}, {"007", 7}, {"abc", 0}, {"", 0}, {"-", 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Variable variable("v", -1, row.text, -1);
        EXPECT_EQ(variable.value_integer(), row.integer);
        EXPECT_STREQ(variable.value().data(), row.text);
        EXPECT_EQ(variable.primary_type(), Variable::kText);
    }
}

TEST(Variable, AnIntegerBecomesText)
{
    static const struct {
        int integer;
        const char* text;
    } rows[] = {
        {0, "0"}, {-1, "-1"}, {2147483647, "2147483647"}, {int(0x80000000u), "-2147483648"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Variable variable("v", -1, row.integer);
        EXPECT_FALSE(variable.IsNULL());
        EXPECT_STREQ(variable.value().data(), row.text);
        EXPECT_EQ(variable.value_integer(), row.integer);
        EXPECT_EQ(variable.primary_type(), Variable::kInteger);
    }
}

TEST(Variable, ASetDropsTheOtherForm)
{
    Variable variable("v", -1, "12", -1);
    EXPECT_EQ(variable.value_integer(), 12);
    variable.SetValue("34", 2);
    EXPECT_EQ(variable.value_integer(), 34);
    variable.SetValue_Integer(5);
    EXPECT_STREQ(variable.value().data(), "5");
    variable.SetValue_Nocopy(NewText("6"), 1, 2);
    EXPECT_EQ(variable.value_integer(), 6);
}

TEST(Variable, AVariableSetToTheEmptyTextIsNull)
{
    Variable variable("v", -1, "x", -1);
    EXPECT_FALSE(variable.IsNULL());
    variable.SetValue("", 0);
    EXPECT_TRUE(variable.IsNULL());
    variable.SetValue_Integer(0);
    EXPECT_FALSE(variable.IsNULL());
    variable.SetNULL();
    EXPECT_TRUE(variable.IsNULL());
    EXPECT_STREQ(variable.value().data(), "");
}

TEST(Variable, AssignmentCopiesFormsAndLeavesTheName)
{
    Variable source("source", -1, 42);
    Variable target("target", -1, "old", -1);
    target.SetValue(source);
    EXPECT_STREQ(target.name().data(), "target");
    EXPECT_EQ(target.primary_type(), Variable::kInteger);
    EXPECT_STREQ(target.value().data(), "42");
    target.SetValue(target);
    EXPECT_STREQ(target.value().data(), "42");
}

TEST(Variable, AssignmentFromANullVariableIsTheEmptyText)
{
    Variable source("source", -1);
    Variable target("target", -1, 7);
    target.SetValue(source);
    EXPECT_TRUE(target.IsNULL());
    EXPECT_EQ(target.value_integer(), 0);
}

TEST(Variable, EndsWithItsLastCount)
{
    int alive = 0;
    Variable* variable = new CountedVariable(&alive);
    variable->IncRefCount();
    variable->DecRefCount();
    EXPECT_EQ(alive, 1);
    variable->DecRefCount();
    EXPECT_EQ(alive, 0);
}

TEST(ImmutableVariable, WhileLockedEverySetReportsSuccessAndDoesNothing)
{
    ImmutableVariable locked("v", -1, "old", -1, true);
    Variable other("o", -1, "new", -1);
    EXPECT_EQ(locked.SetValue("new", -1), 1);
    EXPECT_EQ(locked.SetValue(other), 1);
    EXPECT_EQ(locked.SetValue_Nocopy(NewText("new"), 3, 4), 1);
    EXPECT_EQ(locked.SetValue_Integer(1), 1);
    EXPECT_EQ(locked.SetNULL(), 1);
    EXPECT_STREQ(locked.value().data(), "old");
    locked.Unlock();
    locked.SetValue("new", -1);
    EXPECT_STREQ(locked.value().data(), "new");
    locked.Lock();
    locked.SetValue("newer", -1);
    EXPECT_STREQ(locked.value().data(), "new");
}

TEST(NULLVariable, StaysNull)
{
    NULLVariable null;
    null.SetValue("x", 1);
    null.SetValue_Integer(1);
    EXPECT_TRUE(null.IsNULL());
    EXPECT_EQ(null.value_integer(), 0);
    EXPECT_STREQ(null.value().data(), "");
}

}  // namespace
