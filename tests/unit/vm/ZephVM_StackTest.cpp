#include "vm/ZephVM_Stack.h"

#include <limits.h>
#include <string.h>

#include "LiveArrays.h"
#include "TestMachine.h"

namespace {

const int kOwned = 1;
const int kBorrowed = 0;
const int kAddRef = 1;
const int kNoAddRef = 0;

char* NewText(const char* text)
{
    char* copy = new char[strlen(text) + 1];
    strcpy(copy, text);
    return copy;
}

class StackTest : public MachineTest {
protected:
    void PushText(const char* text) { m_stack.PushS(text, int(strlen(text)), 0, kBorrowed); }
    char* PushOwned(const char* text)
    {
        char* copy = NewText(text);
        m_stack.PushS(copy, int(strlen(text)), int(strlen(text)) + 1, kOwned);
        return copy;
    }
    std::string PopText()
    {
        PoppedText text(&m_stack);
        return text.data() ? std::string(text.data(), size_t(text.length())) : "(null)";
    }
    // Fills the stack to its last entry.
    void Fill(ZephVM_Stack* stack, int capacity)
    {
        while (stack->Entries() < capacity)
            stack->PushI(stack->Entries());
    }

    ZephVM_Stack m_stack{vm(), 8};
};

TEST_F(StackTest, FrameStackTakes512EntriesAndNoMore)
{
    ZephVM_Stack* stack = vm()->frame()->stack();
    Fill(stack, 512);
    EXPECT_TRUE(application.fatal_errors.empty());
    EXPECT_EQ(stack->Entries(), 512);
    stack->PushI(512);
    EXPECT_EQ(Fatal(), "Stack overflow");
    EXPECT_EQ(stack->Entries(), 512);
    EXPECT_EQ(stack->PopI(), 511);
    EXPECT_TRUE(vm()->halted());
}

TEST_F(StackTest, EveryPushOnAFullStackIsAnOverflowAndLeavesItAsItWas)
{
    static const char* const names[] = {"PushI", "PushS", "PushV", "Dupe"};
    Variable* variable = new Variable("v", -1, "text", -1);
    Fill(&m_stack, 8);
    for (const char* name : names) {
        SCOPED_TRACE(name);
        application.fatal_errors.clear();
        switch (name[4]) {
            case 'I':
                m_stack.PushI(1);
                break;
            case 'S':
                m_stack.PushS("text", 4, 4, kBorrowed);
                break;
            case 'V':
                m_stack.PushV(variable, kAddRef, kOwned);
                break;
            default:
                m_stack.Dupe();
        }
        EXPECT_EQ(Fatal(), "Stack overflow");
        EXPECT_EQ(m_stack.Entries(), 8);
        EXPECT_EQ(m_stack.Peek()->integer, 7);
    }
    EXPECT_EQ(variable->refcount(), 1);
    variable->DecRefCount();
}

TEST_F(StackTest, WhatAnOverflowKeepsOutIsReleasedIfItWasHandedOver)
{
    Fill(&m_stack, 8);
    char* text = NewText("owned");
    m_stack.PushS(text, 5, 6, kOwned);
    EXPECT_FALSE(IsLiveArray(text));
    bool ended;
    m_stack.PushV(new WatchedVariable("owned", &ended), kNoAddRef, kOwned);
    EXPECT_TRUE(ended);
}

TEST_F(StackTest, NullVariableIsRefusedBehindTheTestForOverflow)
{
    m_stack.PushV(nullptr, kAddRef, kOwned);
    EXPECT_EQ(Fatal(), "Invalid variable reference");
    EXPECT_EQ(m_stack.Entries(), 0);
    Fill(&m_stack, 8);
    application.fatal_errors.clear();
    m_stack.PushV(nullptr, kNoAddRef, kOwned);
    EXPECT_EQ(Fatal(), "Stack overflow");
}

TEST_F(StackTest, PushVTakesACountOnlyWhenToldTo)
{
    Variable variable("v", -1);
    m_stack.PushV(&variable, kNoAddRef, kBorrowed);
    EXPECT_EQ(variable.refcount(), 1);
    m_stack.PushV(&variable, kAddRef, kOwned);
    EXPECT_EQ(variable.refcount(), 2);
    m_stack.Pop();
    EXPECT_EQ(variable.refcount(), 1);
    m_stack.Pop();
    EXPECT_EQ(variable.refcount(), 1);
}

TEST_F(StackTest, EveryPopFromAnEmptyStackIsAnUnderflowWithAZeroValue)
{
    EXPECT_EQ(m_stack.PopI(), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");

    application.fatal_errors.clear();
    int length = 9, capacity = 9, owned = 9;
    EXPECT_EQ(m_stack.PopS(&length, &capacity, &owned), nullptr);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(length, 0);
    EXPECT_EQ(capacity, 0);
    EXPECT_EQ(owned, 0);

    application.fatal_errors.clear();
    Variable* out = m_stack.Peek() ? nullptr : new Variable;
    Variable* former = out;
    owned = 9;
    EXPECT_EQ(m_stack.PopV(&out, &owned), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(owned, 0);

    application.fatal_errors.clear();
    former->SetValue("kept", -1);
    EXPECT_EQ(m_stack.PopV(former), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_STREQ(former->value().data(), "kept");
    former->DecRefCount();

    application.fatal_errors.clear();
    m_stack.Pop();
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(m_stack.Entries(), 0);
}

TEST_F(StackTest, PopIConvertsEveryKind)
{
    Variable number("n", -1, -17), text("t", -1, "0x10", -1);
    m_stack.PushI(INT_MIN);
    EXPECT_EQ(m_stack.PopI(), INT_MIN);
    static const struct {
        const char* text;
        int value;
    } rows[] = {{"12", 12}, {"-3", -3}, {"0xff", 255}, {"12x", 0}, {"", 0}, {"4294967297", 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        PushText(row.text);
        EXPECT_EQ(m_stack.PopI(), row.value);
    }
    m_stack.PushV(&number, kNoAddRef, kBorrowed);
    EXPECT_EQ(m_stack.PopI(), -17);
    m_stack.PushV(&text, kNoAddRef, kBorrowed);
    EXPECT_EQ(m_stack.PopI(), 16);
    m_stack.PushV(&number, kAddRef, kOwned);
    EXPECT_EQ(m_stack.PopI(), -17);
    EXPECT_EQ(number.refcount(), 1);
}

TEST_F(StackTest, PopIReadsOnlyTheTextsLength)
{
    m_stack.PushS("1234", 2, 0, kBorrowed);
    EXPECT_EQ(m_stack.PopI(), 12);
}

TEST_F(StackTest, PopIFreesAnOwnedText)
{
    char* text = PushOwned("42");
    EXPECT_EQ(m_stack.PopI(), 42);
    EXPECT_FALSE(IsLiveArray(text));
}

TEST_F(StackTest, PopSOfAnIntegerIsAnOwnedText)
{
    int length, capacity, owned;
    m_stack.PushI(-120);
    const char* text = m_stack.PopS(&length, &capacity, &owned);
    EXPECT_STREQ(text, "-120");
    EXPECT_EQ(length, 4);
    EXPECT_EQ(capacity, 5);
    EXPECT_EQ(owned, 1);
    delete[] text;
}

TEST_F(StackTest, PopSOfATextIsTheEntrysOwnPointer)
{
    int length, capacity, owned;
    const char* constant = "a\0b";
    m_stack.PushS(constant, 3, 7, kBorrowed);
    EXPECT_EQ(m_stack.PopS(&length, &capacity, &owned), constant);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(capacity, 7);
    EXPECT_EQ(owned, 0);

    char* array = PushOwned("mine");
    EXPECT_EQ(m_stack.PopS(&length, &capacity, &owned), array);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(capacity, 5);
    EXPECT_EQ(owned, 1);
    EXPECT_TRUE(IsLiveArray(array));
    delete[] array;
}

TEST_F(StackTest, PopSCopiesTheTextOfAVariableThatIsAboutToDie)
{
    bool ended;
    m_stack.PushV(new WatchedVariable("dying", &ended), kNoAddRef, kOwned);
    int length, capacity, owned;
    const char* text = m_stack.PopS(&length, &capacity, &owned);
    EXPECT_TRUE(ended);
    EXPECT_STREQ(text, "dying");
    EXPECT_EQ(length, 5);
    EXPECT_EQ(capacity, 6);
    EXPECT_EQ(owned, 1);
    delete[] text;
}

TEST_F(StackTest, PopSLendsTheTextOfAVariableThatLivesOn)
{
    Variable variable("v", -1, "living", -1);
    for (int entry_owned : {kOwned, kBorrowed}) {
        SCOPED_TRACE(entry_owned);
        m_stack.PushV(&variable, entry_owned, entry_owned);
        int length, capacity, owned;
        EXPECT_EQ(m_stack.PopS(&length, &capacity, &owned), variable.value().data());
        EXPECT_EQ(length, 6);
        EXPECT_EQ(capacity, 6);
        EXPECT_EQ(owned, 0);
        EXPECT_EQ(variable.refcount(), 1);
    }
}

TEST_F(StackTest, PopSNeedsNoCapacity)
{
    int length, owned;
    PushText("text");
    EXPECT_STREQ(m_stack.PopS(&length, nullptr, &owned), "text");
}

TEST_F(StackTest, PopVGivesTheVariableAndItsOwnership)
{
    Variable variable("v", -1);
    for (int entry_owned : {kOwned, kBorrowed}) {
        SCOPED_TRACE(entry_owned);
        m_stack.PushV(&variable, kNoAddRef, entry_owned);
        Variable* out = nullptr;
        int owned = 9;
        EXPECT_EQ(m_stack.PopV(&out, &owned), 1);
        EXPECT_EQ(out, &variable);
        EXPECT_EQ(owned, entry_owned);
        EXPECT_EQ(variable.refcount(), 1);
    }
}

TEST_F(StackTest, PopVRefusesConstantsAndReleasesThem)
{
    Variable* out;
    int owned = 9;
    m_stack.PushI(1);
    EXPECT_EQ(m_stack.PopV(&out, &owned), 0);
    EXPECT_EQ(Fatal(), "Expected variable, found constant");
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(owned, 0);
    EXPECT_EQ(m_stack.Entries(), 0);

    application.fatal_errors.clear();
    char* text = PushOwned("constant");
    EXPECT_EQ(m_stack.PopV(&out, &owned), 0);
    EXPECT_EQ(Fatal(), "Expected variable, found constant");
    EXPECT_FALSE(IsLiveArray(text));
}

TEST_F(StackTest, PopVStoresEveryKindInTheTarget)
{
    Variable target("t", -1), source("s", -1, "from a variable", -1);
    m_stack.PushI(5);
    EXPECT_EQ(m_stack.PopV(&target), 1);
    EXPECT_EQ(target.primary_type(), Variable::kInteger);
    EXPECT_STREQ(target.value().data(), "5");

    m_stack.PushS("borrowed text", 8, 0, kBorrowed);
    EXPECT_EQ(m_stack.PopV(&target), 1);
    EXPECT_EQ(target.primary_type(), Variable::kText);
    EXPECT_STREQ(target.value().data(), "borrowed");

    m_stack.PushV(&source, kAddRef, kOwned);
    EXPECT_EQ(m_stack.PopV(&target), 1);
    EXPECT_STREQ(target.value().data(), "from a variable");
    EXPECT_EQ(source.refcount(), 1);
    EXPECT_EQ(m_stack.Entries(), 0);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(StackTest, PopVHandsAnOwnedTextOverWithoutACopy)
{
    Variable target("t", -1);
    char* text = PushOwned("handed over");
    EXPECT_EQ(m_stack.PopV(&target), 1);
    EXPECT_EQ(target.value().data(), text);
}

TEST_F(StackTest, PopVIntoItselfKeepsTheValue)
{
    Variable variable("v", -1, "kept", -1);
    m_stack.PushV(&variable, kAddRef, kOwned);
    EXPECT_EQ(m_stack.PopV(&variable), 1);
    EXPECT_STREQ(variable.value().data(), "kept");
    EXPECT_EQ(variable.refcount(), 1);
}

TEST_F(StackTest, NullTargetIsTestedBehindUnderflowAndPopsNothing)
{
    EXPECT_EQ(m_stack.PopV(static_cast<Variable*>(nullptr)), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    application.fatal_errors.clear();
    m_stack.PushI(3);
    EXPECT_EQ(m_stack.PopV(static_cast<Variable*>(nullptr)), 0);
    EXPECT_EQ(Fatal(), "Invalid variable reference");
    EXPECT_EQ(m_stack.Entries(), 1);
    EXPECT_EQ(m_stack.PopI(), 3);
}

TEST_F(StackTest, PopReleasesByKind)
{
    bool ended;
    m_stack.PushV(new WatchedVariable("v", &ended), kNoAddRef, kOwned);
    char* text = PushOwned("text");
    m_stack.Pop();
    EXPECT_FALSE(IsLiveArray(text));
    EXPECT_FALSE(ended);
    m_stack.Pop();
    EXPECT_TRUE(ended);
}

TEST_F(StackTest, EndReleasesWhatIsLeft)
{
    bool ended;
    Variable borrowed("b", -1);
    char* text = NewText("left behind");
    {
        ZephVM_Stack stack(vm(), 4);
        stack.PushV(new WatchedVariable("v", &ended), kNoAddRef, kOwned);
        stack.PushS(text, 11, 12, kOwned);
        stack.PushV(&borrowed, kNoAddRef, kBorrowed);
        stack.PushI(1);
    }
    EXPECT_TRUE(ended);
    EXPECT_FALSE(IsLiveArray(text));
    EXPECT_EQ(borrowed.refcount(), 1);
}

TEST_F(StackTest, EndReleasesFromTheTopDown)
{
    // Notes whether another variable has ended before it does.
    class Witness : public WatchedVariable {
    public:
        Witness(bool* ended, const bool* other, bool* other_was_first)
            : WatchedVariable("w", ended), m_other(other), m_other_was_first(other_was_first)
        {
        }
        ~Witness() override { *m_other_was_first = *m_other; }

    private:
        const bool* m_other;
        bool* m_other_was_first;
    };
    bool lower_ended = false, upper_ended = false, upper_was_first = false;
    {
        ZephVM_Stack stack(vm(), 4);
        stack.PushV(new Witness(&lower_ended, &upper_ended, &upper_was_first), kNoAddRef, kOwned);
        stack.PushV(new WatchedVariable("u", &upper_ended), kNoAddRef, kOwned);
    }
    EXPECT_TRUE(lower_ended);
    EXPECT_TRUE(upper_was_first);
}

TEST_F(StackTest, PeekGivesTheTopAndRemovesNothing)
{
    EXPECT_EQ(m_stack.Peek(), nullptr);
    m_stack.PushI(1);
    PushText("top");
    ASSERT_NE(m_stack.Peek(), nullptr);
    EXPECT_EQ(m_stack.Peek()->kind, Stack_Entry::kString);
    EXPECT_EQ(m_stack.Peek()->length, 3);
    EXPECT_EQ(m_stack.Entries(), 2);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(StackTest, SwapExchangesTwoDepths)
{
    for (int value : {10, 20, 30, 40})
        m_stack.PushI(value);
    m_stack.Swap(0, 3);
    EXPECT_EQ(m_stack.Peek()->integer, 10);
    m_stack.Swap(2, 2);
    m_stack.Swap(1, 0);
    for (int value : {30, 10, 20, 40})
        EXPECT_EQ(m_stack.PopI(), value);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(StackTest, SwapRefusesDepthsOutsideTheStack)
{
    static const struct {
        int a, b;
    } rows[] = {{-1, 0}, {0, -1}, {2, 0}, {0, 2}, {2, 2}, {INT_MIN, 0}, {0, INT_MAX}};
    m_stack.PushI(1);
    m_stack.PushI(2);
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.a << ", " << row.b);
        application.fatal_errors.clear();
        m_stack.Swap(row.a, row.b);
        EXPECT_EQ(Fatal(), "Invalid stack reference");
    }
    EXPECT_EQ(m_stack.PopI(), 2);
    EXPECT_EQ(m_stack.PopI(), 1);
}

TEST_F(StackTest, SwapOnAnEmptyStackIsAnInvalidReference)
{
    m_stack.Swap(0, 0);
    EXPECT_EQ(Fatal(), "Invalid stack reference");
}

TEST_F(StackTest, DupeCopiesTheTopWithoutOwningIt)
{
    Variable variable("v", -1, "text", -1);
    m_stack.PushV(&variable, kAddRef, kOwned);
    m_stack.Dupe();
    EXPECT_EQ(variable.refcount(), 2);
    EXPECT_EQ(m_stack.Peek()->variable, &variable);
    EXPECT_EQ(m_stack.Peek()->owned, 0);
    m_stack.Pop();
    EXPECT_EQ(variable.refcount(), 2);
    m_stack.Pop();
    EXPECT_EQ(variable.refcount(), 1);

    char* text = PushOwned("text");
    m_stack.Dupe();
    m_stack.Pop();
    EXPECT_TRUE(IsLiveArray(text));
    m_stack.Pop();
    EXPECT_FALSE(IsLiveArray(text));
}

TEST_F(StackTest, DupeOfNothingIsAnUnderflowBeforeAnOverflow)
{
    ZephVM_Stack none(vm(), 0);
    none.Dupe();
    EXPECT_EQ(Fatal(), "Stack underflow");
    application.fatal_errors.clear();
    ZephVM_Stack one(vm(), 1);
    one.PushI(1);
    one.Dupe();
    EXPECT_EQ(Fatal(), "Stack overflow");
}

TEST_F(StackTest, PoppedTextIsFreedAtTheEndOfTheBlock)
{
    m_stack.PushI(1);
    m_stack.Pop();
    long before = LiveArrays();
    m_stack.PushI(1234);
    EXPECT_EQ(PopText(), "1234");
    EXPECT_EQ(LiveArrays(), before);
    EXPECT_EQ(PopText(), "(null)");
}

}  // namespace
