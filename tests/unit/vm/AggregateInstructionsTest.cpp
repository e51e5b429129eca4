// Elements and members on the stack.
#include <limits.h>

#include "TestMachine.h"

namespace {

const char index_fault[] = "Array index must be positive integer";

class AggregatesTest : public MachineTest {
protected:
    static std::string Element(int word, int slot, int number)
    {
        return Op(kPushG, slot) + Op(kPushI, number) + Op(word);
    }
    static std::string Member(int word, int slot, int name)
    {
        return Op(kPushG, slot) + Op(kPushC, name) + Op(word);
    }
    Variable* Global(int slot) { return globals.Index(slot, 1); }
    // Runs a code on a variable that the stack alone holds.
    int RunOn(Variable* variable, const std::string& code)
    {
        End();
        Code(code);
        stack()->PushV(variable, 0, 1);
        return vm()->Go();
    }
};

TEST_F(AggregatesTest, ElementIsPushedWithACountOfTheEntry)
{
    for (int word : {kElem, kElemReadonly}) {
        SCOPED_TRACE(word);
        Variable* element = Global(0)->Element(AggregateIndex(3), 1);
        EXPECT_EQ(Run(Element(word, 0, 3)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->Peek()->variable, element);
        EXPECT_EQ(stack()->Peek()->owned, 1);
        EXPECT_EQ(element->refcount(), 2);
        EXPECT_EQ(Global(0)->refcount(), 1) << "the aggregate's count is given back";
        End();
        EXPECT_EQ(element->refcount(), 1);
    }
}

TEST_F(AggregatesTest, MemberIsPushedWithACountOfTheEntry)
{
    for (int word : {kMemb, kMembReadonly}) {
        SCOPED_TRACE(word);
        Variable* member = Global(0)->Element(AggregateIndex("ALPHA", -1), 1);
        EXPECT_EQ(Run(Member(word, 0, 0)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->Peek()->variable, member) << "names ignore letter case";
        EXPECT_EQ(member->refcount(), 2);
        EXPECT_EQ(Global(0)->refcount(), 1);
    }
}

TEST_F(AggregatesTest, MissingElementIsMadeOrReadAsNull)
{
    EXPECT_EQ(Run(Element(kElemReadonly, 0, 1) + Op(kOut)), 1);
    EXPECT_EQ(Global(0)->aggregatetype(), kAggregateNone);
    EXPECT_EQ(Run(Op(kPushC, 1) + Element(kElem, 0, 2) + Op(kStore)), 1);
    EXPECT_EQ(Global(0)->aggregatetype(), kAggregateArray);
    EXPECT_STREQ(Global(0)->Element(AggregateIndex(2), 0)->value().data(), "beta");
    EXPECT_EQ(Run(Element(kElemReadonly, 0, 1)), 1);
    EXPECT_TRUE(stack()->Peek()->variable->IsNULL());
    EXPECT_EQ(Global(0)->ElementsUsed(), 1);
    EXPECT_EQ(written(), "");
}

TEST_F(AggregatesTest, MissingMemberIsMadeOrReadAsNull)
{
    EXPECT_EQ(Run(Member(kMembReadonly, 0, 0) + Op(kOut)), 1);
    EXPECT_EQ(Global(0)->aggregatetype(), kAggregateNone);
    EXPECT_EQ(Run(Op(kPushC, 1) + Member(kMemb, 0, 0) + Op(kStore)), 1);
    EXPECT_EQ(Global(0)->aggregatetype(), kAggregateStructure);
    EXPECT_STREQ(Global(0)->Element(AggregateIndex("alpha", -1), 0)->value().data(), "beta");
    EXPECT_EQ(Run(Member(kMembReadonly, 0, 1)), 1);
    EXPECT_TRUE(stack()->Peek()->variable->IsNULL());
    EXPECT_EQ(Global(0)->ElementsUsed(), 1);
}

TEST_F(AggregatesTest, WhatAReadFindsNowhereCannotBeWritten)
{
    EXPECT_EQ(Run(Op(kPushC, 1) + Element(kElemReadonly, 0, 1) + Op(kStore) +
                  Element(kElemReadonly, 0, 1) + Op(kOut) + Element(kElem, 1, 1) + Op(kOut)),
              1);
    EXPECT_EQ(written(), "");
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(AggregatesTest, NameOfAMemberIsNotTested)
{
    EXPECT_EQ(Run(Op(kPushI, 7) + Op(kPushG, 0) + Op(kPushC, 4) + Op(kMemb) + Op(kStore)), 1);
    EXPECT_STREQ(Global(0)->Element(AggregateIndex("", 0), 0)->value().data(), "7");
    EXPECT_EQ(Run(Op(kPushI, 8) + Op(kPushG, 1) + Op(kPushI, -3) + Op(kMemb) + Op(kStore)), 1);
    EXPECT_STREQ(Global(1)->Element(AggregateIndex("-3", -1), 0)->value().data(), "8");
}

TEST_F(AggregatesTest, IndexIsTakenAsAnInteger)
{
    EXPECT_EQ(Run(Op(kPushI, 7) + Op(kPushG, 0) + Op(kPushC, 2) + Op(kElem) + Op(kStore)), 1);
    ASSERT_NE(Global(0)->Element(AggregateIndex(12), 0), nullptr);
    EXPECT_EQ(Run(Element(kElem, 1, INT_MAX)), 1);
    EXPECT_NE(Global(1)->Element(AggregateIndex(INT_MAX), 0), nullptr);
}

TEST_F(AggregatesTest, IndexBelow1IsARuntimeErrorOfAnExpression)
{
    for (int word : {kElem, kElemReadonly}) {
        for (int number : {0, -1, INT_MIN}) {
            SCOPED_TRACE(number);
            application.runtime_errors.clear();
            EXPECT_EQ(Run(Element(word, 0, number) + Op(kPushI, 1) + Op(kOut)), 0);
            ASSERT_EQ(application.runtime_errors.size(), 1u);
            EXPECT_EQ(application.runtime_errors[0].tag, 62);
            EXPECT_EQ(application.runtime_errors[0].text,
                      "Runtime error in /www/x.zpc @ [00000000:0000000c]: (in expression): " +
                          std::string(index_fault) + "\n");
            EXPECT_TRUE(application.fatal_errors.empty());
            EXPECT_EQ(written(), "");
        }
    }
    EXPECT_EQ(Global(0)->aggregatetype(), kAggregateNone);
}

TEST_F(AggregatesTest, BadIndexThatIsNotFatalLeavesTheAggregateAndPushesNothing)
{
    Global(0)->SetValue("kept", -1);
    for (int word : {kElem, kElemReadonly}) {
        SCOPED_TRACE(word);
        application.recorded.text.clear();
        EXPECT_EQ(Run(Op(kTagError, 62, 0) + Element(word, 0, 0) + Op(kOut)), 1);
        EXPECT_EQ(written(), "kept");
        EXPECT_EQ(depth(), 0);
    }
    Variable* error = nullptr;
    ASSERT_EQ(globals.Find(&error, "ZpEXPRESSION_Error", -1, 0), 1);
    EXPECT_STREQ(error->value().data(), index_fault);
}

TEST_F(AggregatesTest, AnUnderflowIsNoBadIndexAndStaysFatal)
{
    for (int word : {kElem, kElemReadonly}) {
        SCOPED_TRACE(word);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Op(kTagError, 62, 0) + Op(word)), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_TRUE(application.runtime_errors.empty());
    }
}

TEST_F(AggregatesTest, WithoutAVariableAllAreFatal)
{
    const struct {
        const char* what;
        std::string operands;
        const char* message;
    } rows[] = {
        {"index only", Op(kPushI, 1), "Stack underflow"},
        {"constant", Op(kPushC, 0) + Op(kPushI, 1), "Expected variable, found constant"},
        {"number", Op(kPushI, 5) + Op(kPushI, 1), "Expected variable, found constant"},
    };
    for (int word : {kElem, kElemReadonly, kMemb, kMembReadonly}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << row.what << " " << word);
            application.fatal_errors.clear();
            EXPECT_EQ(Run(row.operands + Op(word)), 0);
            EXPECT_EQ(Fatal(), row.message);
            EXPECT_EQ(depth(), 0);
        }
    }
}

TEST_F(AggregatesTest, MemberWithoutANameDoesNotTouchWhatIsThere)
{
    EXPECT_EQ(Run(Op(kMemb)), 0);
    EXPECT_EQ(application.fatal_errors.size(), 2u) << "one for each value that is missing";
}

TEST_F(AggregatesTest, ElementOutlivesAnAggregateThatTheStackAloneHeld)
{
    for (int word : {kElem, kElemReadonly}) {
        SCOPED_TRACE(word);
        bool ended;
        Variable* array = new WatchedVariable("", &ended);
        array->Element(AggregateIndex(1), 1)->SetValue("inside", -1);
        EXPECT_EQ(RunOn(array, Op(kPushI, 1) + Op(word)), 1);
        EXPECT_TRUE(ended);
        EXPECT_STREQ(stack()->Peek()->variable->value().data(), "inside");
        EXPECT_EQ(stack()->Peek()->variable->refcount(), 1);
    }
}

TEST_F(AggregatesTest, AggregateIsReleasedAfterAFault)
{
    bool ended;
    EXPECT_EQ(RunOn(new WatchedVariable("", &ended), Op(kSwap) + Op(kMemb)), 0);
    End();
    EXPECT_TRUE(ended);
}

TEST_F(AggregatesTest, NameMayBeTheTextOfTheAggregate)
{
    Global(0)->SetValue("a name that is too long to stand within the index itself", -1);
    EXPECT_EQ(Run(Op(kPushI, 7) + Op(kPushG, 0) + Op(kPushG, 0) + Op(kMemb) + Op(kStore)), 1);
    AggregateIndex name("a name that is too long to stand within the index itself", -1);
    ASSERT_NE(Global(0)->Element(name, 0), nullptr);
    EXPECT_EQ(Global(0)->refcount(), 1);
}

}  // namespace
