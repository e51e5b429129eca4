#include "vm/ZephVM_Frame.h"

#include "TestMachine.h"

namespace {

// Tables and stacks that count their ends.
class CountedHash : public VariableHash {
public:
    CountedHash(NamePool* names, int* ends) : VariableHash(names, 4, 16), m_ends(ends) {}
    ~CountedHash() override { ++*m_ends; }

private:
    int* m_ends;
};

class CountedStack : public ZephVM_Stack {
public:
    CountedStack(ZephVM* vm, int* ends) : ZephVM_Stack(vm, 4), m_ends(ends) {}
    ~CountedStack() override { ++*m_ends; }

private:
    int* m_ends;
};

class FrameTest : public MachineTest {
protected:
    int m_hash_ends = 0;
    int m_stack_ends = 0;
};

TEST_F(FrameTest, StartsAsARootFrameDoes)
{
    ZephVM_Frame frame;
    EXPECT_EQ(frame.type(), ZephVM_Frame::kRoot);
    EXPECT_EQ(frame.return_segment, -1);
    EXPECT_EQ(frame.return_offset, -1);
    EXPECT_EQ(frame.error_output, 7);
    EXPECT_EQ(frame.standard_output, 0);
    EXPECT_EQ(frame.previous, nullptr);
    EXPECT_EQ(frame.locals(), nullptr);
    EXPECT_EQ(frame.stack(), nullptr);
}

TEST_F(FrameTest, TypesAreThoseOfTheEndOfASegment)
{
    EXPECT_EQ(ZephVM_Frame::kRoot, 0);
    EXPECT_EQ(ZephVM_Frame::kFunction, 1);
    EXPECT_EQ(ZephVM_Frame::kFilter, 2);
    EXPECT_EQ(ZephVM_Frame::kAsync, 3);
}

TEST_F(FrameTest, DeletesWhatItOwns)
{
    {
        ZephVM_Frame frame;
        frame.Set_LocalVariable_Hash(new CountedHash(&dictionary, &m_hash_ends), true);
        frame.Set_Stack(new CountedStack(vm(), &m_stack_ends), true);
    }
    EXPECT_EQ(m_hash_ends, 1);
    EXPECT_EQ(m_stack_ends, 1);
}

TEST_F(FrameTest, LeavesWhatItBorrows)
{
    CountedHash hash(&dictionary, &m_hash_ends);
    CountedStack borrowed(vm(), &m_stack_ends);
    {
        ZephVM_Frame frame;
        frame.Set_LocalVariable_Hash(&hash, false);
        frame.Set_Stack(&borrowed, false);
        EXPECT_EQ(frame.locals(), &hash);
        EXPECT_EQ(frame.stack(), &borrowed);
    }
    EXPECT_EQ(m_hash_ends, 0);
    EXPECT_EQ(m_stack_ends, 0);
}

TEST_F(FrameTest, ReplacingDeletesOnlyWhatWasOwned)
{
    CountedHash hash(&dictionary, &m_hash_ends);
    CountedStack borrowed(vm(), &m_stack_ends);
    ZephVM_Frame frame;
    frame.Set_LocalVariable_Hash(new CountedHash(&dictionary, &m_hash_ends), true);
    frame.Set_LocalVariable_Hash(&hash, false);
    EXPECT_EQ(m_hash_ends, 1);
    frame.Set_LocalVariable_Hash(nullptr, false);
    EXPECT_EQ(m_hash_ends, 1);
    frame.Set_Stack(new CountedStack(vm(), &m_stack_ends), true);
    frame.Set_Stack(&borrowed, false);
    EXPECT_EQ(m_stack_ends, 1);
    frame.Set_Stack(nullptr, false);
    EXPECT_EQ(m_stack_ends, 1);
}

TEST_F(FrameTest, RootFrameOfAMachineUsesTheGlobalsAndAStackOfItsOwn)
{
    EXPECT_EQ(vm()->frame()->type(), ZephVM_Frame::kRoot);
    EXPECT_EQ(vm()->frame()->locals(), &globals);
    EXPECT_EQ(vm()->frame()->error_output, 7);
    EXPECT_EQ(vm()->frame()->previous, nullptr);
    ASSERT_NE(vm()->frame()->stack(), nullptr);
    End();
    EXPECT_EQ(GlobalText(0), "") << "the globals outlive the machine";
}

TEST_F(FrameTest, LocalsEndBeforeTheStack)
{
    struct LastStack : ZephVM_Stack {
        LastStack(ZephVM* vm, const int* before, int* seen)
            : ZephVM_Stack(vm, 4), m_before(before), m_seen(seen)
        {
        }
        ~LastStack() override { *m_seen = *m_before; }
        const int* m_before;
        int* m_seen;
    };
    int hash_ends_seen = -1;
    {
        ZephVM_Frame frame;
        frame.Set_Stack(new LastStack(vm(), &m_hash_ends, &hash_ends_seen), true);
        frame.Set_LocalVariable_Hash(new CountedHash(&dictionary, &m_hash_ends), true);
    }
    EXPECT_EQ(hash_ends_seen, 1);
}

}  // namespace
