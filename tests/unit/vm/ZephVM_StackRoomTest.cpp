// How far a stack goes, entries that move from one to another, and the print of it.
#include <limits.h>

#include "../app/StdoutInMemory.h"
#include "StackValues.h"
#include "TestMachine.h"

namespace {

const int kOwned = 1;
const int kBorrowed = 0;

class StackRoomTest : public MachineTest {
protected:
    // The stack and the last error have their memory from the start, so that arrays can be
    // counted.
    StackRoomTest()
    {
        vm()->FatalError("first");
        application.fatal_errors.clear();
        while (m_stack.Entries() < 40)
            m_stack.PushI(0);
        while (m_stack.Entries() > 0)
            m_stack.Pop();
    }

    ZephVM_Stack m_stack{vm(), 40};
};

TEST_F(StackRoomTest, OverflowReleasesADoubleOrBufferThatWasHandedOver)
{
    ZephVM_Stack full(vm(), 0);
    NoArrayLeft none;
    full.PushD(1.5);
    EXPECT_EQ(Fatal(), "Stack overflow");
    application.fatal_errors.clear();
    full.PushLinkBuffer(NewBuffer("owned"), kOwned);
    EXPECT_EQ(Fatal(), "Stack overflow");
    application.fatal_errors.clear();
    std::unique_ptr<LinkBuffer> borrowed(NewBuffer("borrowed"));
    full.PushLinkBuffer(borrowed.get(), kBorrowed);
    EXPECT_EQ(Fatal(), "Stack overflow");
    EXPECT_STREQ(borrowed->data(nullptr, nullptr), "borrowed");
    EXPECT_EQ(full.Entries(), 0);
}

// Memory is taken as the stack deepens: each capacity is reached, with all values kept.
TEST_F(StackRoomTest, EveryCapacityIsReachedAndNoneIsPassed)
{
    for (int capacity : {0, 1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 511, 512, 513}) {
        SCOPED_TRACE(capacity);
        application.fatal_errors.clear();
        ZephVM_Stack stack(vm(), capacity);
        for (int i = 0; i < capacity; ++i)
            stack.PushI(i * 3);
        EXPECT_TRUE(application.fatal_errors.empty());
        stack.PushI(-1);
        EXPECT_EQ(Fatal(), "Stack overflow");
        ASSERT_EQ(stack.Entries(), capacity);
        for (int i = capacity - 1; i >= 0; --i)
            ASSERT_EQ(stack.PopI(), i * 3);
    }
}

TEST_F(StackRoomTest, DupeAtEachGrowthCopiesTheTop)
{
    ZephVM_Stack stack(vm(), 100);
    stack.PushI(42);
    while (stack.Entries() < 100)
        stack.Dupe();
    while (stack.Entries() > 0)
        ASSERT_EQ(stack.PopI(), 42);
}

TEST_F(StackRoomTest, MovedEntriesTurnAround)
{
    ZephVM_Stack target(vm(), 40);
    target.PushI(100);
    for (int i = 1; i <= 20; ++i)
        m_stack.PushI(i);
    target.Push(&m_stack, 18);
    EXPECT_EQ(m_stack.Entries(), 2);
    EXPECT_EQ(m_stack.Peek()->integer, 2);
    ASSERT_EQ(target.Entries(), 19);
    for (int i = 3; i <= 20; ++i)
        EXPECT_EQ(target.PopI(), i);
    EXPECT_EQ(target.PopI(), 100);
    m_stack.Pop();
    m_stack.Pop();
    EXPECT_EQ(m_stack.Entries(), 0);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(StackRoomTest, MovedVariableBecomesOwnedAndTheRestStaysAsItWas)
{
    for (Shape shape : kAllShapes) {
        SCOPED_TRACE(ShapeName(shape));
        NoArrayLeft none;
        StackValues values;
        ZephVM_Stack target(vm(), 3);
        values.Push(&m_stack, shape, "12");
        target.Push(&m_stack, 1);
        EXPECT_EQ(m_stack.Entries(), 0);
        ASSERT_EQ(target.Entries(), 1);
        EXPECT_EQ(target.Peek()->kind, KindOf(shape));
        EXPECT_EQ(target.Peek()->owned != 0, IsOwned(shape) || shape == Shape::kVariable);
        EXPECT_EQ(values.CountsAreBack(),
                  shape != Shape::kVariable && shape != Shape::kOwnedVariable);
        EXPECT_EQ(PoppedString(&target), "12");
        EXPECT_TRUE(values.CountsAreBack());
    }
}

TEST_F(StackRoomTest, MoveThatExactlyPassesTheCapacityIsAnOverflowAndMovesNothing)
{
    static const struct {
        int used, count;
    } rows[] = {{4, 1}, {3, 2}, {0, 5}, {2, 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.used << " and " << row.count);
        application.fatal_errors.clear();
        ZephVM_Stack target(vm(), 4), source(vm(), 10);
        for (int i = 0; i < row.used; ++i)
            target.PushI(i);
        for (int i = 0; i < 10; ++i)
            source.PushI(i);
        target.Push(&source, row.count);
        EXPECT_EQ(Fatal(), "Stack overflow");
        EXPECT_EQ(target.Entries(), row.used);
        EXPECT_EQ(source.Entries(), 10);
    }
}

TEST_F(StackRoomTest, MoveThatPassesTheTestOverMovesWhatFitsAndIsAnOverflow)
{
    NoArrayLeft none;
    ZephVM_Stack target(vm(), 4), source(vm(), 10);
    StackValues values;
    target.PushI(1);
    target.PushI(2);
    for (int i = 0; i < 10; ++i)
        values.Push(&source, Shape::kOwnedText, std::to_string(i));
    target.Push(&source, 6);
    EXPECT_EQ(Fatal(), "Stack overflow");
    EXPECT_EQ(target.Entries(), 4);
    EXPECT_EQ(source.Entries(), 8);
    EXPECT_EQ(PoppedString(&target), "8");
    EXPECT_EQ(PoppedString(&target), "9");
    EXPECT_EQ(PoppedString(&source), "7") << "what found no room stays where it was";
}

TEST_F(StackRoomTest, MoveOfMoreThanTheSourceHasIsAnUnderflowAndMovesNothing)
{
    ZephVM_Stack target(vm(), 4);
    m_stack.PushI(1);
    target.Push(&m_stack, 2);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(target.Entries(), 0);
    EXPECT_EQ(m_stack.Entries(), 1);
    application.fatal_errors.clear();
    target.Push(&m_stack, INT_MAX);
    EXPECT_EQ(Fatal(), "Stack underflow");
}

TEST_F(StackRoomTest, MoveOfNothingDoesNothing)
{
    ZephVM_Stack target(vm(), 0);
    m_stack.PushI(1);
    for (int count : {0, -1, INT_MIN})
        target.Push(&m_stack, count);
    EXPECT_EQ(m_stack.Entries(), 1);
    EXPECT_EQ(target.Entries(), 0);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(StackRoomTest, MoveOntoItselfKeepsTheEntry)
{
    m_stack.PushI(1);
    m_stack.PushI(2);
    m_stack.Push(&m_stack, 2);
    EXPECT_EQ(m_stack.PopI(), 2);
    EXPECT_EQ(m_stack.PopI(), 1);
    EXPECT_EQ(m_stack.Entries(), 0);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(StackRoomTest, DumpPrintsALineForEachEntry)
{
    m_stack.PushI(-5);
    m_stack.PushD(2.5);
    m_stack.PushS("a\nb\0cd", 5, 9, kBorrowed);
    StackValues values;
    values.Push(&m_stack, Shape::kOwnedVariable, "value");
    values.Push(&m_stack, Shape::kOwnedBuffer, "blocks");
    values.Push(&m_stack, Shape::kOwnedText, std::string(80, 'x'));
    StdoutInMemory memory;
    m_stack.Dump_Stack();
    fflush(stdout);
    memory.Restore();
    EXPECT_EQ(memory.Text(),
              "SP = 6, SS = 40\n"
              "#   Type       D Data                                               Size\n"
              "0   Integer    n -5                                                 4\n"
              "1   Double     n 2.5                                                8\n"
              "2   String     n a.b.c                                              5\n"
              "3   Variable   Y value                                              96\n"
              "4   LinkBuffer Y 6 bytes                                            8\n"
              "5   String     Y xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx 80\n");
}

}  // namespace
