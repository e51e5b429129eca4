// Two texts joined to one: what is built upon, and what becomes of the operands.
#include <cmath>

#include "StackValues.h"
#include "TestMachine.h"

namespace {

class ConcatenateTest : public MachineTest {
protected:
    ConcatenateTest()
    {
        m_stack.PushI(0);
        m_stack.Pop();
    }
    // The text of the operand as it stands on the stack.
    static std::string TextFor(Shape shape, bool is_left)
    {
        if (shape == Shape::kInteger)
            return is_left ? "-17" : "42";
        if (shape == Shape::kDouble)
            return is_left ? "0.125" : "-2.5";
        return is_left ? std::string("left\0 text", 10) : std::string("the right");
    }

    ZephVM_Stack m_stack{vm(), 8};
};

TEST_F(ConcatenateTest, EveryKindWithEveryKind)
{
    for (Shape left : kAllShapes) {
        for (Shape right : kAllShapes) {
            SCOPED_TRACE(testing::Message() << ShapeName(left) << " and " << ShapeName(right));
            NoArrayLeft none;
            StackValues values;
            values.Push(&m_stack, left, TextFor(left, true));
            values.Push(&m_stack, right, TextFor(right, false));
            LinkBuffer* left_buffer = m_stack.Peek()[-1].buffer;
            LinkBuffer* right_buffer = m_stack.Peek()->buffer;
            m_stack.Concatenate();
            ASSERT_EQ(m_stack.Entries(), 1);
            const Stack_Entry& top = *m_stack.Peek();
            EXPECT_EQ(top.owned, 1);
            bool built = IsOwned(left) || IsOwned(right);
            EXPECT_EQ(top.kind, built ? Stack_Entry::kLinkBuffer : Stack_Entry::kString);
            // What already is a buffer of its own is built upon.
            if (left == Shape::kOwnedBuffer) {
                EXPECT_EQ(top.buffer, left_buffer);
            } else if (right == Shape::kOwnedBuffer) {
                EXPECT_EQ(top.buffer, right_buffer);
            }
            if (!built) {
                EXPECT_EQ(top.capacity, top.length + 1);
                EXPECT_EQ(top.string[top.length], 0);
            }
            EXPECT_EQ(PoppedString(&m_stack), TextFor(left, true) + TextFor(right, false));
            EXPECT_TRUE(values.CountsAreBack());
            EXPECT_TRUE(application.fatal_errors.empty());
        }
    }
}

TEST_F(ConcatenateTest, EmptyOperands)
{
    for (Shape left : kTextShapes) {
        for (Shape right : kTextShapes) {
            for (const char* text : {"", "x"}) {
                SCOPED_TRACE(testing::Message() << ShapeName(left) << " and " << ShapeName(right));
                NoArrayLeft none;
                StackValues values;
                values.Push(&m_stack, left, text);
                values.Push(&m_stack, right, "");
                m_stack.Concatenate();
                EXPECT_EQ(PoppedString(&m_stack), text);
                values.Push(&m_stack, left, "");
                values.Push(&m_stack, right, text);
                m_stack.Concatenate();
                EXPECT_EQ(PoppedString(&m_stack), text);
            }
        }
    }
}

// An owned text becomes a block of the buffer as it is.
TEST_F(ConcatenateTest, OwnedTextIsNotCopied)
{
    for (bool is_left : {true, false}) {
        SCOPED_TRACE(is_left);
        StackValues values;
        char* text = StackValues::NewText("taken over");
        if (!is_left)
            values.Push(&m_stack, Shape::kText, "a");
        m_stack.PushS(text, 10, 11, 1);
        if (is_left)
            values.Push(&m_stack, Shape::kText, "a");
        m_stack.Concatenate();
        EXPECT_TRUE(IsLiveArray(text));
        m_stack.Pop();
        EXPECT_FALSE(IsLiveArray(text));
    }
}

TEST_F(ConcatenateTest, BorrowedBufferStaysAsItIs)
{
    for (Shape other : kAllShapes) {
        for (bool is_left : {true, false}) {
            SCOPED_TRACE(testing::Message() << ShapeName(other) << is_left);
            std::unique_ptr<LinkBuffer> buffer(NewBuffer("lent"));
            StackValues values;
            if (is_left)
                m_stack.PushLinkBuffer(buffer.get(), 0);
            values.Push(&m_stack, other, "12");
            if (!is_left)
                m_stack.PushLinkBuffer(buffer.get(), 0);
            m_stack.Concatenate();
            EXPECT_EQ(PoppedString(&m_stack), is_left ? "lent12" : "12lent");
            EXPECT_STREQ(buffer->data(nullptr, nullptr), "lent");
        }
    }
}

TEST_F(ConcatenateTest, ConstantsMakeATextFirstAndABufferThen)
{
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kPushC, 1) + Op(kCat)), 1);
    EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kString);
    EXPECT_EQ(stack()->Peek()->owned, 1);
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kPushC, 1) + Op(kCat) + Op(kPushC, 2) + Op(kCat)), 1);
    EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kLinkBuffer);
    EXPECT_EQ(stack()->Peek()->owned, 1);
    EXPECT_EQ(PoppedString(stack()), "alphabeta12");
    std::string thrice = Op(kPushC, 0) + Op(kPushC, 1) + Op(kCat) + Op(kPushC, 2) + Op(kCat) +
                         Op(kPushI, 7) + Op(kCat);
    EXPECT_EQ(Run(thrice + Op(kOut)), 1);
    EXPECT_EQ(written(), "alphabeta127");
}

TEST_F(ConcatenateTest, LongTextGrowsAtBothEnds)
{
    std::string code = Op(kPushC, 0), expected = "alpha";
    for (int i = 0; i < 300; ++i) {
        code += Op(kPushI, i) + Op(kCat);
        expected += std::to_string(i);
        code += Op(kPushC, 1) + Op(kSwap) + Op(kCat);
        expected = "beta" + expected;
    }
    EXPECT_EQ(Run(code + Op(kOut)), 1);
    EXPECT_EQ(written(), expected);
}

// A copy of the top borrows what the original owns; both are used before one is released.
TEST_F(ConcatenateTest, CopyIsJoinedToItsOriginal)
{
    const std::string text(3000, 'x');
    for (Shape shape : kTextShapes) {
        for (bool swapped : {false, true}) {
            SCOPED_TRACE(testing::Message() << ShapeName(shape) << swapped);
            NoArrayLeft none;
            StackValues values;
            values.Push(&m_stack, shape, text);
            m_stack.Dupe();
            if (swapped)
                m_stack.Swap(0, 1);
            m_stack.Concatenate();
            EXPECT_EQ(PoppedString(&m_stack), text + text);
            EXPECT_TRUE(values.CountsAreBack());
        }
    }
}

TEST_F(ConcatenateTest, NumbersAreJoinedByTheirText)
{
    m_stack.PushD(0.1);
    m_stack.PushD(-0.0);
    m_stack.Concatenate();
    EXPECT_EQ(m_stack.Peek()->kind, Stack_Entry::kString);
    m_stack.PushD(INFINITY);
    m_stack.Concatenate();
    m_stack.PushI(-2147483647 - 1);
    m_stack.Swap(0, 1);
    m_stack.Concatenate();
    m_stack.PushD(1e21);
    m_stack.Swap(0, 1);
    m_stack.Concatenate();
    EXPECT_EQ(PoppedString(&m_stack), "1000000000000000000000-21474836480.1-0Infinity");
}

TEST_F(ConcatenateTest, AggregateIsJoinedToItself)
{
    Variable array("a", -1);
    for (int i = 1; i <= 3; ++i)
        array.Element(AggregateIndex(i), 1)->SetValue_Integer(i);
    for (int owned : {0, 1}) {
        m_stack.PushV(&array, owned, owned);
        m_stack.PushV(&array, owned, owned);
        m_stack.Concatenate();
        EXPECT_EQ(PoppedString(&m_stack), "1,2,31,2,3");
        EXPECT_EQ(array.refcount(), 1);
    }
}

TEST_F(ConcatenateTest, FewerThanTwoEntriesAreAnUnderflow)
{
    m_stack.Concatenate();
    EXPECT_EQ(Fatal(), "Stack underflow");
    application.fatal_errors.clear();
    m_stack.PushI(5);
    m_stack.Concatenate();
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(m_stack.Entries(), 1);
}

}  // namespace
