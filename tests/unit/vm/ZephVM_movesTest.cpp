// Instructions that move values between the stack, variables and the dictionary.
#include <limits.h>

#include "TestMachine.h"

namespace {

using MovesTest = MachineTest;

TEST_F(MovesTest, ConstantPointsIntoTheDictionary)
{
    EXPECT_EQ(Run(Op(kPushC, 1)), 1);
    ASSERT_EQ(depth(), 1);
    EXPECT_EQ(stack()->Peek()->length, 4);
    EXPECT_EQ(stack()->Peek()->capacity, 4) << "there is no array with room behind the text";
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

class NamedMovesTest : public MachineTest {
protected:
    NamedMovesTest()
    {
        two = dictionary.Entry_Add("two", -1);
        system_one = dictionary.Entry_Add("s.sysone", -1);
        absent = dictionary.Entry_Add("s.nothing", -1);
        bad = dictionary.Entry_Add("one[-1]", -1);
    }
    Variable* Named(const char* name)
    {
        Variable* variable = nullptr;
        globals.Find(&variable, name, -1, 0);
        return variable;
    }
    // The two forms: with the name on the stack and in the instruction.
    static std::string Push(bool on_stack, int name)
    {
        return on_stack ? Op(kPushC, name) + Op(kPushN) : Op(kPushNC, name);
    }
    static std::string Pop(bool on_stack, int name)
    {
        return on_stack ? Op(kPushC, name) + Op(kPopN) : Op(kPopNC, name);
    }

    int two, system_one, absent, bad;
};

TEST_F(NamedMovesTest, VariableIsPushedByItsName)
{
    globals.Index(1, 1)->SetValue("value", -1);
    for (bool on_stack : {true, false}) {
        SCOPED_TRACE(on_stack);
        EXPECT_EQ(Run(Push(on_stack, two)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->Peek()->variable, globals.Index(1, 0));
        EXPECT_EQ(stack()->Peek()->owned, 1);
        EXPECT_EQ(globals.Index(1, 0)->refcount(), 2);
        application.recorded.text.clear();
        EXPECT_EQ(Run(Push(on_stack, system_one) + Op(kOut)), 1);
        EXPECT_EQ(written(), "system text");
    }
}

TEST_F(NamedMovesTest, ANameThatNothingHasIsPushedAsANewGlobal)
{
    EXPECT_EQ(Run(Push(true, 0) + Push(false, 1)), 1);
    EXPECT_EQ(depth(), 2);
    EXPECT_EQ(stack()->Peek()->variable, Named("beta"));
    EXPECT_NE(Named("alpha"), nullptr);
}

TEST_F(NamedMovesTest, WithoutAVariableTheNullVariableIsPushed)
{
    for (bool on_stack : {true, false}) {
        SCOPED_TRACE(on_stack);
        EXPECT_EQ(Run(Push(on_stack, absent)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->Peek()->variable->type(), Variable::kAlwaysNull);
    }
}

TEST_F(NamedMovesTest, ValueIsPoppedIntoTheVariableOfAName)
{
    for (bool on_stack : {true, false}) {
        SCOPED_TRACE(on_stack);
        EXPECT_EQ(Run(Op(kPushI, on_stack) + Pop(on_stack, two)), 1);
        EXPECT_EQ(GlobalInteger(1), on_stack);
        EXPECT_EQ(depth(), 0);
        EXPECT_EQ(Run(Op(kPushI, 5) + Pop(on_stack, system_one)), 1);
        EXPECT_STREQ(systems.Index(0, 0)->value().data(), "5");
    }
    EXPECT_EQ(Run(Op(kPushI, 7) + Pop(true, 0) + Op(kPushI, 8) + Pop(false, 1)), 1);
    EXPECT_EQ(Named("alpha")->value_integer(), 7);
    EXPECT_EQ(Named("beta")->value_integer(), 8);
}

TEST_F(NamedMovesTest, WithoutAVariableTheValueStays)
{
    for (bool on_stack : {true, false}) {
        SCOPED_TRACE(on_stack);
        EXPECT_EQ(Run(Op(kPushI, 7) + Pop(on_stack, absent)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->PopI(), 7);
    }
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(NamedMovesTest, BadNameIsFatalAndMovesNothing)
{
    for (bool on_stack : {true, false}) {
        for (const std::string& code : {Push(on_stack, bad), Pop(on_stack, bad)}) {
            application.fatal_errors.clear();
            EXPECT_EQ(Run(Op(kPushI, 7) + code), 0);
            EXPECT_EQ(Fatal(), "Array index must be positive integer");
            ASSERT_EQ(depth(), 1);
            EXPECT_EQ(stack()->PopI(), 7);
        }
    }
}

TEST_F(NamedMovesTest, NameThatIsNotInTheDictionaryIsFatal)
{
    for (int word : {kPushNC, kPopNC}) {
        for (int entry : {dictionary.Entries(), INT_MAX, -1, INT_MIN}) {
            SCOPED_TRACE(testing::Message() << word << " " << entry);
            application.fatal_errors.clear();
            EXPECT_EQ(Run(Op(kPushI, 7) + Op(word, entry)), 0);
            EXPECT_EQ(Fatal(), "Invalid dictionary reference");
            EXPECT_EQ(depth(), 1);
        }
    }
}

TEST_F(NamedMovesTest, WithoutANameNothingIsLookedUp)
{
    int entries = globals.Entries();
    for (int word : {kPushN, kPopN}) {
        SCOPED_TRACE(word);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Op(word)), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_EQ(depth(), 0);
    }
    EXPECT_EQ(globals.Entries(), entries);
}

TEST_F(NamedMovesTest, WithoutAValueTheVariableKeepsItsOwn)
{
    globals.Index(1, 1)->SetValue("kept", -1);
    for (bool on_stack : {true, false}) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Pop(on_stack, two)), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_EQ(GlobalText(1), "kept");
    }
}

TEST_F(NamedMovesTest, NameMayBeANumber)
{
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kPushI, 42) + Op(kPopN)), 1);
    ASSERT_NE(Named("42"), nullptr);
    EXPECT_STREQ(Named("42")->value().data(), "alpha");
}

// The array that holds the name ends while the name is followed.
TEST_F(NamedMovesTest, NameMayBeTheTextOfAnElementThatEnds)
{
    std::string name = "one:a_member_with_a_name_that_stands_in_no_index:b:c";
    globals.Index(0, 1)->Element(AggregateIndex(1), 1)->SetValue(name.data(), -1);
    std::string text = Op(kPushG, 0) + Op(kPushI, 1) + Op(kElem);
    EXPECT_EQ(Run(Op(kPushI, 7) + text + Op(kPopN)), 1);
    int entry = dictionary.Entry_Add(name.data(), -1);
    EXPECT_EQ(Run(Op(kPushNC, entry) + Op(kOut)), 1);
    EXPECT_EQ(written(), "7");
}

TEST_F(MovesTest, SystemVariablesComeBackAtTheEndOfALevel)
{
    EXPECT_EQ(Run(Op(kSPush) + Op(kSPush)), 1);
    EXPECT_EQ(systems.Version(), 2);
    systems.SetVariable(new Variable("sysone", -1, "inner", -1));
    EXPECT_EQ(Run(Op(kPushS, 0) + Op(kOut) + Op(kSPop) + Op(kPushS, 0) + Op(kOut) + Op(kSPop)), 1);
    EXPECT_EQ(written(), "innersystem text");
    EXPECT_EQ(systems.Version(), 0);
}

TEST_F(MovesTest, EndOfALevelThatWasNotBegunIsFatal)
{
    EXPECT_EQ(Run(Op(kSPush) + Op(kSPop) + Op(kSPop)), 0);
    EXPECT_EQ(Fatal(), "System variable stack underflow");
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
