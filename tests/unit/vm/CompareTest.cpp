// The order of two values.
#include <limits.h>

#include <cmath>

#include "StackValues.h"
#include "TestMachine.h"

namespace {

class CompareTest : public MachineTest {
protected:
    CompareTest()
    {
        m_stack.PushI(0);
        m_stack.Pop();
    }
    ZephVM_Stack m_stack{vm(), 8};
};

TEST_F(CompareTest, NumbersAreComparedAsNumbersAndAllElseAsBytes)
{
    static const struct {
        std::string left, right;
        int order;
    } rows[] = {{"10", "10.0", 0},
                {"10", "9", 1},
                {"9", "10", -1},
                {"abc", "abd", -1},
                {"abc", "1", 1},
                {"1", "abc", -1},
                {"", "", 0},
                {"", "0", 0},
                {"", "1", -1},
                {"", "abc", -1},
                {"abc", "", 1},
                {"0x10", "16", 0},
                {"1e3", "1000", 0},
                {" 1", "1", 0},
                {"1 ", "1", 1},
                {"+5", "5", 0},
                {"-0", "0", 0},
                {"NaN", "NaN", 1},
                {"NaN", "5", 1},
                {"5", "nan", 1},
                {"inf", "1e308", 1},
                {"-inf", "inf", -1},
                {"infinity", "inf", 0},
                {"1e999", "5", -1},
                {"1e999", "1e998", 1},
                {"ABC", "abc", -1},
                {"ab", "abc", -1},
                {"abc", "ab", 1},
                {"\xFF", "a", 1},
                {"\x7F", "\x80", -1},
                {std::string("a\0b", 3), std::string("a\0c", 3), -1},
                {std::string("a\0", 2), "a", 1},
                {std::string("1\0", 2), "1", 1},
                {"0.1", ".1", 0},
                {"100000000000000000000000", "1e23", 0},
                {"-", "0", -1}};
    for (const auto& row : rows) {
        for (Shape left : kTextShapes) {
            for (Shape right : kTextShapes) {
                SCOPED_TRACE(testing::Message() << ShapeName(left) << " '" << row.left << "' and "
                                                << ShapeName(right) << " '" << row.right << "'");
                NoArrayLeft none;
                StackValues values;
                values.Push(&m_stack, left, row.left);
                values.Push(&m_stack, right, row.right);
                EXPECT_EQ(m_stack.Compare(), row.order);
                EXPECT_EQ(m_stack.Entries(), 0);
                EXPECT_TRUE(values.CountsAreBack());
            }
        }
    }
}

// Left a number of the machine, right any text.
TEST_F(CompareTest, NumberAgainstTextIsComparedByItsOwnText)
{
    static const struct {
        double number;
        const char* text;
        int order;
    } rows[] = {{10, "abc", -1},
                {10, "10", 0},
                {10, "9", 1},
                {10, "10x", -1},
                {-5, "-5", 0},
                {-5, "-5x", -1},
                {0, "", 0},
                {0, "x", -1},
                {INT_MIN, "-2147483648", 0},
                {INT_MAX, "2147483647.5", -1}};
    for (const auto& row : rows) {
        for (Shape shape : kTextShapes) {
            SCOPED_TRACE(testing::Message() << row.number << " and '" << row.text << "'");
            NoArrayLeft none;
            StackValues values;
            for (int round = 0; round < 2; ++round) {
                round == 0 ? m_stack.PushI(int(row.number)) : m_stack.PushD(row.number);
                values.Push(&m_stack, shape, row.text);
                EXPECT_EQ(m_stack.Compare(), row.order);
                values.Push(&m_stack, shape, row.text);
                round == 0 ? m_stack.PushI(int(row.number)) : m_stack.PushD(row.number);
                EXPECT_EQ(m_stack.Compare(), -row.order);
            }
        }
    }
}

TEST_F(CompareTest, DoubleAgainstTextIsItsShortestText)
{
    static const struct {
        double number;
        const char* text;
        int order;
    } rows[] = {
        {0.1, "0.1x", -1}, {0.1, "0.0x", 1}, {1e21, "1000x", -1},       {2.0, "2", 0},
        {NAN, "abc", -1},  {NAN, "ABC", 1},  {INFINITY, "Infinite", 1}, {INFINITY, "inf", 0},
        {-0.0, "-0x", -1}, {NAN, "5", 1},    {5e-324, "0x", -1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.number << " and '" << row.text << "'");
        StackValues values;
        m_stack.PushD(row.number);
        values.Push(&m_stack, Shape::kText, row.text);
        EXPECT_EQ(m_stack.Compare(), row.order);
    }
}

TEST_F(CompareTest, NanIsGreaterOnEitherSide)
{
    for (double other : {0.0, 1e308, double(INFINITY), double(NAN)}) {
        m_stack.PushD(NAN);
        m_stack.PushD(other);
        EXPECT_EQ(m_stack.Compare(), 1);
        m_stack.PushD(other);
        m_stack.PushD(NAN);
        EXPECT_EQ(m_stack.Compare(), 1);
    }
}

TEST_F(CompareTest, IntegersOfTheWholeRangeAreOrdered)
{
    const int values[] = {INT_MIN, -1, 0, 1, INT_MAX};
    for (int left : values) {
        for (int right : values) {
            m_stack.PushI(left);
            m_stack.PushI(right);
            EXPECT_EQ(m_stack.Compare(), left < right ? -1 : left > right);
        }
    }
}

TEST_F(CompareTest, TextIsReadToItsLengthOnly)
{
    m_stack.PushS("12x", 2, 3, 0);
    m_stack.PushI(12);
    EXPECT_EQ(m_stack.Compare(), 0);
    m_stack.PushS("abX", 2, 3, 0);
    m_stack.PushS("abY", 2, 3, 0);
    EXPECT_EQ(m_stack.Compare(), 0);
}

TEST_F(CompareTest, AggregateIsComparedByItsTextAlsoWithItself)
{
    Variable array("a", -1), number("n", -1, 12);
    for (int i = 1; i <= 40; ++i)
        array.Element(AggregateIndex(i), 1)->SetValue_Integer(7);
    for (int round = 0; round < 2; ++round) {
        m_stack.PushV(&array, 1, 1);
        m_stack.PushV(&array, 1, 1);
        EXPECT_EQ(m_stack.Compare(), 0);
        m_stack.PushV(&array, 1, 1);
        m_stack.PushS("7,7", 3, 3, 0);
        EXPECT_EQ(m_stack.Compare(), 1);
    }
    Variable one("o", -1);
    one.Element(AggregateIndex(1), 1)->SetValue_Integer(9);
    m_stack.PushV(&number, 1, 1);
    m_stack.PushV(&one, 1, 1);
    EXPECT_EQ(m_stack.Compare(), -1) << "an aggregate is no number, even of one element";
    EXPECT_EQ(array.refcount(), 1);
}

TEST_F(CompareTest, NullVariableIsTheNumberZero)
{
    Variable unset("u", -1);
    m_stack.PushV(&unset, 1, 1);
    m_stack.PushI(0);
    EXPECT_EQ(m_stack.Compare(), 0);
    m_stack.PushV(&unset, 1, 1);
    m_stack.PushS("x", 1, 1, 0);
    EXPECT_EQ(m_stack.Compare(), -1) << "the empty text and 'x'";
}

TEST_F(CompareTest, CopyOfATextIsEqualToIt)
{
    NoArrayLeft none;
    StackValues values;
    for (Shape shape : kTextShapes) {
        SCOPED_TRACE(ShapeName(shape));
        for (bool swapped : {false, true}) {
            values.Push(&m_stack, shape, "some text");
            m_stack.Dupe();
            if (swapped)
                m_stack.Swap(0, 1);
            EXPECT_EQ(m_stack.Compare(), 0);
        }
    }
}

TEST_F(CompareTest, FewerThanTwoEntriesAreAnUnderflow)
{
    EXPECT_EQ(m_stack.Compare(), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    application.fatal_errors.clear();
    m_stack.PushI(5);
    EXPECT_EQ(m_stack.Compare(), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
}

TEST_F(CompareTest, SevenInstructionsTellTheOrder)
{
    static const struct {
        int word, less, equal, greater;
    } rows[] = {{kCmp, -1, 0, 1}, {kEq, 0, 1, 0}, {kNe, 1, 0, 1}, {kGe, 0, 1, 1},
                {kLe, 1, 1, 0},   {kLt, 1, 0, 0}, {kGt, 0, 0, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.word);
        const std::string one = Op(kPushI, 1), two = Op(kPushI, 2), nan = OpDouble(kPushF, NAN);
        const struct {
            std::string code;
            int result;
        } cases[] = {{one + two, row.less},    {two + two, row.equal},   {two + one, row.greater},
                     {nan + one, row.greater}, {one + nan, row.greater}, {nan + nan, row.greater}};
        for (const auto& each : cases) {
            EXPECT_EQ(Run(each.code + Op(row.word)), 1);
            ASSERT_EQ(depth(), 1);
            EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kInteger);
            EXPECT_EQ(stack()->PopI(), each.result);
        }
    }
}

// Tells what is asked of it and when it ends.
class AskedVariable : public Variable {
public:
    AskedVariable(const char* name, const char* text, std::string* events)
        : Variable(name, -1, text, -1), m_events(events)
    {
    }
    ~AskedVariable() override { Tell("end "); }
    double value_compare(int* error) override
    {
        Tell("asked ");
        return Variable::value_compare(error);
    }

private:
    void Tell(const char* what)
    {
        int length;
        const char* name = NameBytes(&length);
        *m_events += what + std::string(name, size_t(length)) + ";";
    }

    std::string* m_events;
};

TEST_F(CompareTest, FirstOperandThatIsNoNumberDecidesAndTheLeftOneIsReleasedFirst)
{
    static const struct {
        const char *left, *right, *events;
        int order;
    } rows[] = {
        {"abc", "1", "asked L;end L;end R;", 1},
        {"1", "abc", "asked L;asked R;end L;end R;", -1},
        {"1", "2", "asked L;asked R;end L;end R;", -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " and " << row.right);
        std::string events;
        m_stack.PushV(new AskedVariable("L", row.left, &events), 0, 1);
        m_stack.PushV(new AskedVariable("R", row.right, &events), 0, 1);
        EXPECT_EQ(m_stack.Compare(), row.order);
        EXPECT_EQ(events, row.events);
    }
}

}  // namespace
