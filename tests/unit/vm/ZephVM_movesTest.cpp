// Instructions that move values between the stack, variables and the dictionary.
#include <limits.h>

#include "TestMachine.h"

namespace {

using MovesTest = MachineTest;

TEST_F(MovesTest, ConstantPointsIntoTheDictionary)
{
    EXPECT_EQ(Run(Op(kPushC, 1)), 1);
    Stack_Entry* top = stack()->Peek();
    ASSERT_NE(top, nullptr);
    int size;
    EXPECT_EQ(top->kind, Stack_Entry::kString);
    EXPECT_EQ(top->string, dictionary.Entry(1, &size));
    EXPECT_EQ(top->length, 4);
    EXPECT_EQ(top->owned, 0);
}

TEST_F(MovesTest, EmptyConstantIsPushed)
{
    EXPECT_EQ(Run(Op(kPushC, 4)), 1);
    EXPECT_EQ(depth(), 1);
}

TEST_F(MovesTest, ConstantThatIsNotInTheDictionaryIsFatal)
{
    for (int entry : {dictionary.Entries(), INT_MAX, -1, INT_MIN}) {
        SCOPED_TRACE(entry);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Op(kPushC, entry)), 0);
        EXPECT_EQ(Fatal(), "Invalid dictionary reference");
        EXPECT_EQ(depth(), 0);
    }
}

TEST_F(MovesTest, IntegerIsPushed)
{
    for (int value : {0, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Run(Op(kPushI, value)), 1);
        EXPECT_EQ(stack()->PopI(), value);
    }
}

TEST_F(MovesTest, VariablesArePushedWithACountOfTheEntry)
{
    for (int word : {kPushG, kPushL}) {
        SCOPED_TRACE(word);
        EXPECT_EQ(Run(Op(word, 1)), 1);
        Variable* variable = globals.Index(1, 0);
        ASSERT_NE(variable, nullptr) << "made by the push";
        EXPECT_EQ(stack()->Peek()->variable, variable);
        EXPECT_EQ(stack()->Peek()->owned, 1);
        EXPECT_EQ(variable->refcount(), 2);
        End();
        EXPECT_EQ(variable->refcount(), 1);
    }
}

TEST_F(MovesTest, SlotThatIsNotThereIsAnInvalidReference)
{
    for (int word : {kPushG, kPushL, kPopG, kPopL}) {
        for (int slot : {3, INT_MAX, -1}) {
            SCOPED_TRACE(testing::Message() << word << " of slot " << slot);
            application.fatal_errors.clear();
            EXPECT_EQ(Run(Op(kPushI, 1) + Op(word, slot)), 0);
            EXPECT_EQ(Fatal(), "Invalid variable reference");
            EXPECT_EQ(depth(), 1);
        }
    }
}

TEST_F(MovesTest, SystemVariableIsNotMadeByAPush)
{
    EXPECT_EQ(Run(Op(kPushS, 0) + Op(kOut)), 1);
    EXPECT_EQ(written(), "system text");
    for (int slot : {1, 2, -1}) {
        SCOPED_TRACE(slot);
        EXPECT_EQ(Run(Op(kPushS, slot)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kVariable);
        EXPECT_TRUE(stack()->Peek()->variable->IsNULL());
        EXPECT_EQ(systems.Index(slot, 0), nullptr);
    }
}

TEST_F(MovesTest, AbsentSystemVariableCannotBeWrittenThroughTheStack)
{
    EXPECT_EQ(Run(Op(kPushI, 7) + Op(kPushS, 1) + Op(kStore) + Op(kPushS, 1) + Op(kOut)), 1);
    EXPECT_EQ(written(), "");
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(MovesTest, PopIntoASystemVariableOrNowhere)
{
    EXPECT_EQ(Run(Op(kPushI, 7) + Op(kPopS, 0)), 1);
    EXPECT_STREQ(systems.Index(0, 0)->value().data(), "7");
    for (int slot : {1, 2, -1}) {
        SCOPED_TRACE(slot);
        EXPECT_EQ(Run(Op(kPushI, 8) + Op(kPopS, slot)), 1);
        EXPECT_EQ(depth(), 0) << "the value is dropped";
        EXPECT_EQ(systems.Index(slot, 0), nullptr);
    }
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(MovesTest, PopIntoGlobalAndLocal)
{
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kPopG, 0) + Op(kPushI, 3) + Op(kPopL, 1)), 1);
    EXPECT_EQ(GlobalText(0), "alpha");
    EXPECT_EQ(GlobalText(1), "3") << "the locals of the root frame are the globals";
    EXPECT_EQ(depth(), 0);
}

TEST_F(MovesTest, PopOnAnEmptyStackIsFatal)
{
    for (const std::string& code :
         {Op(kPop), Op(kPopG, 0), Op(kPopL, 0), Op(kPopS, 0), Op(kPopS, 1), Op(kStore), Op(kDup)}) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
    }
}

TEST_F(MovesTest, StoreTakesTheTargetFromTheTop)
{
    EXPECT_EQ(Run(Op(kPushC, 1) + Op(kPushG, 2) + Op(kStore)), 1);
    EXPECT_EQ(GlobalText(2), "beta");
    EXPECT_EQ(globals.Index(2, 0)->refcount(), 1);
    EXPECT_EQ(depth(), 0);
}

TEST_F(MovesTest, StoreIntoAConstantIsFatal)
{
    EXPECT_EQ(Run(Op(kPushC, 1) + Op(kPushI, 2) + Op(kStore)), 0);
    EXPECT_EQ(Fatal(), "Expected variable, found constant");
}

TEST_F(MovesTest, StoreWithoutAValueLeavesTheTargetAndItsCount)
{
    globals.Index(0, 1)->SetValue("kept", -1);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kStore)), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(GlobalText(0), "kept");
    EXPECT_EQ(globals.Index(0, 0)->refcount(), 1);
}

TEST_F(MovesTest, PopDropsTheTop)
{
    EXPECT_EQ(Run(Op(kPushI, 1) + Op(kPushG, 0) + Op(kPop)), 1);
    EXPECT_EQ(depth(), 1);
    EXPECT_EQ(globals.Index(0, 0)->refcount(), 1);
}

TEST_F(MovesTest, DupAddsAnEntryThatOwnsNothing)
{
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kDup)), 1);
    EXPECT_EQ(depth(), 2);
    EXPECT_EQ(stack()->Peek()->owned, 0);
    EXPECT_EQ(globals.Index(0, 0)->refcount(), 2);
}

TEST_F(MovesTest, SwapExchangesTheTopTwo)
{
    EXPECT_EQ(Run(Op(kPushI, 1) + Op(kPushI, 2) + Op(kSwap)), 1);
    EXPECT_EQ(stack()->PopI(), 1);
    EXPECT_EQ(stack()->PopI(), 2);
    EXPECT_EQ(Run(Op(kPushI, 1) + Op(kSwap)), 0);
    EXPECT_EQ(Fatal(), "Invalid stack reference");
}

TEST_F(MovesTest, SwapnExchangesTwoDepths)
{
    std::string three = Op(kPushI, 1) + Op(kPushI, 2) + Op(kPushI, 3);
    EXPECT_EQ(Run(three + Op(kSwapN, 2, 0)), 1);
    for (int value : {1, 2, 3})
        EXPECT_EQ(stack()->PopI(), value);
    for (int depth : {3, -1, INT_MIN}) {
        SCOPED_TRACE(depth);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(three + Op(kSwapN, 0, depth)), 0);
        EXPECT_EQ(Fatal(), "Invalid stack reference");
    }
}

TEST_F(MovesTest, PushesOverflowAt513Entries)
{
    std::string code;
    for (int i = 0; i < 512; ++i)
        code += Op(kPushI, i);
    EXPECT_EQ(Run(code), 1);
    EXPECT_EQ(depth(), 512);
    for (const std::string& one_more :
         {Op(kPushI, 0), Op(kPushC, 0), Op(kPushG, 0), Op(kPushL, 0), Op(kPushS, 0), Op(kDup)}) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code + one_more), 0);
        EXPECT_EQ(Fatal(), "Stack overflow");
        EXPECT_EQ(depth(), 512);
    }
    End();
    EXPECT_EQ(globals.Index(0, 0)->refcount(), 1);
}

}  // namespace
