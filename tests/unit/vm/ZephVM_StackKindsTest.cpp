// Every operation of the stack on every kind of entry, owned and borrowed.
#include <limits.h>

#include <cmath>

#include "StackValues.h"
#include "TestMachine.h"

namespace {

const int kOwned = 1;
const int kBorrowed = 0;

class StackKindsTest : public MachineTest {
protected:
    // The stack and the last error have their memory from the start, so that arrays can be
    // counted.
    StackKindsTest()
    {
        vm()->FatalError("first");
        application.fatal_errors.clear();
        while (m_stack.Entries() < 40)
            m_stack.PushI(0);
        while (m_stack.Entries() > 0)
            m_stack.Pop();
    }
    void Push(Shape shape, const std::string& text) { m_values.Push(&m_stack, shape, text); }
    // Whatever has happened: nothing is left and no error was raised.
    void ExpectClean()
    {
        EXPECT_EQ(m_stack.Entries(), 0);
        EXPECT_TRUE(m_values.CountsAreBack());
        EXPECT_TRUE(application.fatal_errors.empty());
    }

    ZephVM_Stack m_stack{vm(), 40};
    StackValues m_values;
};

// The message of a row that failed.
testing::Message Row(Shape shape, const std::string& text)
{
    return testing::Message() << ShapeName(shape) << " '" << text << "'";
}

TEST_F(StackKindsTest, PopIOfATextReadsDigitsAndOfAVariableANumber)
{
    static const struct {
        const char* text;
        int of_text, of_variable;
    } rows[] = {{"12", 12, 12},       {"-3", -3, -3},
                {"0xff", 255, 255},   {"12.75", 0, 12},
                {" 1", 0, 1},         {"1e3", 0, 1000},
                {"", 0, 0},           {"4294967297", 1, 1},
                {"abc", 0, 0},        {"NaN", 0, INT_MIN},
                {"inf", 0, INT_MIN},  {"-", 0, 0},
                {"1e10", 0, INT_MIN}, {"-2147483648", INT_MIN, INT_MIN}};
    for (const auto& row : rows) {
        for (Shape shape : kTextShapes) {
            SCOPED_TRACE(Row(shape, row.text));
            Push(shape, row.text);
            EXPECT_EQ(m_stack.PopI(), KindOf(shape) == 3 ? row.of_variable : row.of_text);
        }
    }
    ExpectClean();
}

TEST_F(StackKindsTest, PopIOfADoubleIsTruncatedAndOutOfRangeTheLeastInteger)
{
    static const struct {
        double real;
        int value;
    } rows[] = {{1.9, 1},
                {-1.9, -1},
                {-0.0, 0},
                {2147483647.9, INT_MAX},
                {2147483648.0, INT_MIN},
                {-2147483648.9, INT_MIN},
                {-2147483649.0, INT_MIN},
                {1e300, INT_MIN},
                {INFINITY, INT_MIN},
                {-INFINITY, INT_MIN},
                {NAN, INT_MIN}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.real);
        m_stack.PushD(row.real);
        EXPECT_EQ(m_stack.PopI(), row.value);
        Variable variable("v", -1, row.real);
        m_stack.PushV(&variable, 1, 1);
        EXPECT_EQ(m_stack.PopI(), row.value);
        m_stack.PushD(row.real);
        EXPECT_EQ(m_stack.PopDBPosition(), row.value);
    }
    ExpectClean();
}

TEST_F(StackKindsTest, PopDOfEveryKind)
{
    static const struct {
        const char* text;
        double value;
    } rows[] = {{"12.75", 12.75},   {"0x10", 16},      {"1e3", 1000},
                {" 1", 1},          {"1 ", 0},         {"", 0},
                {"abc", 0},         {"inf", INFINITY}, {"1e999", INFINITY},
                {"0x1p4", 16},      {"+5", 5},         {"-Infinity", -INFINITY},
                {"5e-324", 5e-324}, {"1x", 0},         {"9007199254740993", 9007199254740992.0}};
    for (const auto& row : rows) {
        for (Shape shape : kTextShapes) {
            SCOPED_TRACE(Row(shape, row.text));
            Push(shape, row.text);
            EXPECT_EQ(m_stack.PopD(), row.value);
        }
    }
    for (const char* text : {"NaN", "-nan"}) {
        for (Shape shape : kTextShapes) {
            SCOPED_TRACE(Row(shape, text));
            Push(shape, text);
            double value = m_stack.PopD();
            EXPECT_TRUE(std::isnan(value));
            EXPECT_EQ(std::signbit(value), text[0] == '-');
        }
    }
    m_stack.PushI(INT_MIN);
    EXPECT_EQ(m_stack.PopD(), -2147483648.0);
    m_stack.PushD(-0.0);
    EXPECT_TRUE(std::signbit(m_stack.PopD()));
    ExpectClean();
}

TEST_F(StackKindsTest, PopSOfEveryKind)
{
    static const struct {
        Shape shape;
        const char* text;
        int capacity_over_length, owned;
    } rows[] = {{Shape::kInteger, "-120", 1, kOwned},
                {Shape::kText, "text", 0, kBorrowed},
                {Shape::kOwnedText, "text", 1, kOwned},
                {Shape::kVariable, "text", 0, kBorrowed},
                {Shape::kOwnedVariable, "text", 0, kBorrowed},
                {Shape::kLastVariable, "text", 1, kOwned},
                {Shape::kBuffer, "text", 1, kOwned},
                {Shape::kOwnedBuffer, "text", 1, kOwned},
                {Shape::kText, "", 0, kBorrowed},
                {Shape::kLastVariable, "", 1, kOwned},
                {Shape::kBuffer, "", 1, kOwned},
                {Shape::kOwnedBuffer, "", 1, kOwned}};
    for (const auto& row : rows) {
        SCOPED_TRACE(Row(row.shape, row.text));
        Push(row.shape, row.text);
        int length = -1, capacity = -1, owned = -1;
        const char* text = m_stack.PopS(&length, &capacity, &owned);
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(std::string(text, size_t(length)), row.text);
        EXPECT_EQ(capacity, length + row.capacity_over_length);
        EXPECT_EQ(owned, row.owned);
        if (owned) {
            EXPECT_EQ(text[length], 0);
            EXPECT_TRUE(IsLiveArray(text));
            delete[] text;
        }
    }
    ExpectClean();
}

TEST_F(StackKindsTest, PopSOfADoubleIsItsShortestText)
{
    static const struct {
        double value;
        const char* text;
    } rows[] = {{0.1, "0.1"},
                {5, "5"},
                {1e21, "1000000000000000000000"},
                {-0.0, "-0"},
                {NAN, "NaN"},
                {-INFINITY, "-Infinity"},
                {1.0 / 3, "0.3333333333333333"},
                {2147483648.0, "2147483648"}};
    NoArrayLeft none;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        m_stack.PushD(row.value);
        EXPECT_EQ(PoppedString(&m_stack), row.text);
    }
    ExpectClean();
}

TEST_F(StackKindsTest, PopSOfABorrowedBufferLeavesTheBuffer)
{
    std::unique_ptr<LinkBuffer> buffer(NewBuffer("blocks"));
    m_stack.PushLinkBuffer(buffer.get(), kBorrowed);
    EXPECT_EQ(PoppedString(&m_stack), "blocks");
    EXPECT_EQ(buffer->length(), 6);
    EXPECT_STREQ(buffer->data(nullptr, nullptr), "blocks");
}

TEST_F(StackKindsTest, ConversionOfAnUnknownKindIsNull)
{
    Stack_Entry entry = {};
    entry.kind = 5;
    int length = 7, capacity = 7, owned = 7;
    EXPECT_EQ(ZephVM_Stack::ConvertEntryToString(&entry, &length, &capacity, &owned), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(capacity, 0);
    EXPECT_EQ(owned, 0);
}

TEST_F(StackKindsTest, PopSNSGivesANewArrayWithoutNulBytes)
{
    const std::string text("\0a\0\0bc\0", 7);
    for (Shape shape : kTextShapes) {
        for (const std::string& pushed : {text, std::string("abc")}) {
            SCOPED_TRACE(ShapeName(shape));
            Push(shape, pushed);
            int length = -1, capacity = -1, owned = -1;
            long before = LiveArrays();
            char* stripped = m_stack.PopS_NS(&length, &capacity, &owned);
            EXPECT_LE(LiveArrays(), before + 1) << "the original is freed if it was owned";
            EXPECT_STREQ(stripped, "abc");
            EXPECT_EQ(length, 3);
            EXPECT_GE(capacity, 4);
            EXPECT_EQ(owned, kOwned);
            delete[] stripped;
        }
    }
    int length, owned;
    m_stack.PushI(12);
    char* stripped = m_stack.PopS_NS(&length, nullptr, &owned);
    EXPECT_STREQ(stripped, "12");
    delete[] stripped;
    ExpectClean();
}

TEST_F(StackKindsTest, PopVRefusesEveryConstantAndReleasesIt)
{
    NoArrayLeft none;
    for (Shape shape : kAllShapes) {
        if (KindOf(shape) == Stack_Entry::kVariable || !IsOwned(shape))
            continue;
        SCOPED_TRACE(ShapeName(shape));
        application.fatal_errors.clear();
        Push(shape, "12");
        Variable* out;
        int owned = -1;
        EXPECT_EQ(m_stack.PopV(&out, &owned), 0);
        EXPECT_EQ(Fatal(), "Expected variable, found constant");
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(owned, 0);
        EXPECT_EQ(m_stack.Entries(), 0);
    }
    application.fatal_errors.clear();
}

TEST_F(StackKindsTest, PopVStoresEveryKindInTheTarget)
{
    for (Shape shape : kTextShapes) {
        for (const std::string& text :
             {std::string("some text"), std::string("a\0b", 3), std::string()}) {
            SCOPED_TRACE(Row(shape, text));
            NoArrayLeft none;
            StackValues values;
            Variable target("t", -1);
            values.Push(&m_stack, shape, text);
            EXPECT_EQ(m_stack.PopV(&target), 1);
            EXPECT_EQ(std::string(target.value().data(), size_t(target.value().length())), text);
            EXPECT_EQ(target.primary_type(), Variable::kText);
            EXPECT_EQ(target.value().data()[target.value().length()], 0);
            EXPECT_TRUE(values.CountsAreBack());
        }
    }
    Variable target("t", -1);
    m_stack.PushD(2.5);
    EXPECT_EQ(m_stack.PopV(&target), 1);
    EXPECT_EQ(target.primary_type(), Variable::kDouble);
    EXPECT_EQ(target.value_double(), 2.5);
    m_stack.PushI(-4);
    EXPECT_EQ(m_stack.PopV(&target), 1);
    EXPECT_EQ(target.primary_type(), Variable::kInteger);
    EXPECT_EQ(target.value_integer(), -4);
    ExpectClean();
}

TEST_F(StackKindsTest, PopVHandsTheArrayOfAnOwnedBufferOver)
{
    Variable target("t", -1);
    auto buffer = new LinkBuffer(64, 64);
    buffer->cat("in one block", 12);
    m_stack.PushLinkBuffer(buffer, kOwned);
    long before = LiveArrays();
    EXPECT_EQ(m_stack.PopV(&target), 1);
    EXPECT_EQ(LiveArrays(), before);
    EXPECT_STREQ(target.value().data(), "in one block");
}

// A number says what it is; a text goes by its characters.
TEST_F(StackKindsTest, PopBoolOfATextScansItsCharacters)
{
    static const struct {
        const char* text;
        bool truth;
    } rows[] = {{"", false},     {"0", false},    {"000", false}, {".", false},    {"0.", false},
                {"0.00", false}, {"00.0", false}, {".0", false},  {"0.0.0", true}, {"..", true},
                {" 0", true},    {"-0", true},    {"1", true},    {"abc", true},   {"0x0", true},
                {"0e0", true},   {"00001", true}, {"0.00 ", true}};
    for (const auto& row : rows) {
        for (Shape shape : kTextShapes) {
            SCOPED_TRACE(Row(shape, row.text));
            Push(shape, row.text);
            EXPECT_EQ(m_stack.PopBool(), row.truth);
        }
    }
    for (int value : {0, 1, -1, INT_MIN}) {
        m_stack.PushI(value);
        EXPECT_EQ(m_stack.PopBool(), value != 0);
    }
    for (double value : {0.0, -0.0, 0.1, -5.0, 5e-324, double(INFINITY), double(NAN)}) {
        SCOPED_TRACE(value);
        bool truth = !(value == 0.0);
        m_stack.PushD(value);
        EXPECT_EQ(m_stack.PopBool(), truth);
        Variable variable("v", -1, value);
        m_stack.PushV(&variable, 1, 1);
        EXPECT_EQ(m_stack.PopBool(), truth);
    }
    ExpectClean();
}

TEST_F(StackKindsTest, PopBoolReadsTheTextsLengthOnly)
{
    m_stack.PushS("001", 2, 3, kBorrowed);
    EXPECT_FALSE(m_stack.PopBool());
}

TEST_F(StackKindsTest, OnlyTheEmptyTextAndANullVariableAreNull)
{
    for (Shape shape : kTextShapes) {
        SCOPED_TRACE(ShapeName(shape));
        Push(shape, "");
        EXPECT_TRUE(m_stack.PopNull());
        for (const char* text : {"0", " ", "NULL"}) {
            Push(shape, text);
            EXPECT_FALSE(m_stack.PopNull());
        }
    }
    Variable unset("u", -1), zero("z", -1, 0);
    m_stack.PushV(&unset, 1, 1);
    EXPECT_TRUE(m_stack.PopNull());
    m_stack.PushV(&zero, 1, 1);
    EXPECT_FALSE(m_stack.PopNull());
    EXPECT_EQ(zero.refcount(), 1);
    m_stack.PushI(0);
    EXPECT_FALSE(m_stack.PopNull());
    m_stack.PushD(0.0);
    EXPECT_FALSE(m_stack.PopNull());
    ExpectClean();
}

TEST_F(StackKindsTest, PopDBPositionKnowsTwoWords)
{
    static const struct {
        const char* text;
        int position;
    } rows[] = {{"top", -1}, {"TOP", -1},  {"Top", -1},    {"bottom", -2}, {"bOTTOm", -2},
                {"tops", 0}, {"to", 0},    {"bottom ", 0}, {"", 0},        {"17", 17},
                {"-3", -3},  {"0x10", 16}, {"2.5", 0}};
    for (const auto& row : rows) {
        for (Shape shape : kTextShapes) {
            SCOPED_TRACE(Row(shape, row.text));
            Push(shape, row.text);
            EXPECT_EQ(m_stack.PopDBPosition(), row.position);
        }
    }
    m_stack.PushI(-7);
    EXPECT_EQ(m_stack.PopDBPosition(), -7);
    ExpectClean();
}

TEST_F(StackKindsTest, EveryPopReleasesWhatTheEntryOwned)
{
    NoArrayLeft none;
    for (Shape shape : kAllShapes) {
        SCOPED_TRACE(ShapeName(shape));
        NoArrayLeft none_of_the_row;
        StackValues values;
        for (int i = 0; i < 7; ++i)
            values.Push(&m_stack, shape, "12");
        m_stack.PopI();
        m_stack.PopD();
        PoppedString(&m_stack);
        m_stack.PopBool();
        m_stack.PopNull();
        m_stack.PopDBPosition();
        m_stack.Pop();
        EXPECT_EQ(m_stack.Entries(), 0);
        EXPECT_TRUE(values.CountsAreBack());
    }
}

TEST_F(StackKindsTest, EveryPopFromAnEmptyStackIsAnUnderflowWithAZeroValue)
{
    int length = 9, capacity = 9, owned = 9;
    EXPECT_EQ(m_stack.PopD(), 0.0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    application.fatal_errors.clear();
    EXPECT_EQ(m_stack.PopS_NS(&length, &capacity, &owned), nullptr);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(length, 0);
    EXPECT_EQ(capacity, 0);
    EXPECT_EQ(owned, 0);
    application.fatal_errors.clear();
    EXPECT_FALSE(m_stack.PopBool());
    EXPECT_EQ(Fatal(), "Stack underflow");
    application.fatal_errors.clear();
    EXPECT_FALSE(m_stack.PopNull());
    EXPECT_EQ(Fatal(), "Stack underflow");
    application.fatal_errors.clear();
    EXPECT_EQ(m_stack.PopDBPosition(), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
}

TEST_F(StackKindsTest, ConversionToABufferTakesOverWhatIsOwned)
{
    for (Shape shape : kAllShapes) {
        SCOPED_TRACE(ShapeName(shape));
        NoArrayLeft none;
        StackValues values;
        values.Push(&m_stack, shape, "-12");
        Stack_Entry entry = *m_stack.Peek();
        entry.owned = 0;
        std::swap(entry.owned, m_stack.Peek()->owned);
        m_stack.Pop();
        LinkBuffer* buffer = ZephVM_Stack::ConvertEntryToDeletableLinkBuffer(&entry);
        EXPECT_STREQ(buffer->data(nullptr, nullptr), "-12");
        EXPECT_EQ(buffer == entry.buffer, shape == Shape::kOwnedBuffer);
        if (shape == Shape::kOwnedText) {
            EXPECT_EQ(buffer->data(nullptr, nullptr), entry.string) << "not copied";
        }
        EXPECT_TRUE(values.CountsAreBack());
        delete buffer;
    }
}

TEST_F(StackKindsTest, EndReleasesEveryKind)
{
    NoArrayLeft none;
    StackValues values;
    {
        ZephVM_Stack stack(vm(), 64);
        for (int round = 0; round < 7; ++round)
            for (Shape shape : kAllShapes)
                values.Push(&stack, shape, "12");
    }
    EXPECT_TRUE(values.CountsAreBack());
}

// A variable whose value is computed by code that uses the stack.
class StackingVariable : public Variable {
public:
    explicit StackingVariable(ZephVM_Stack* stack)
        : Variable("stacking", -1, "7", -1), m_stack(stack)
    {
    }
    const String& value() override
    {
        Work();
        return Variable::value();
    }
    int value_integer() override
    {
        Work();
        return Variable::value_integer();
    }
    double value_double() override
    {
        Work();
        return Variable::value_double();
    }
    double value_compare(int* error) override
    {
        Work();
        return Variable::value_compare(error);
    }

private:
    void Work()
    {
        for (int i = 0; i < 20; ++i)
            m_stack->PushI(i);
        for (int i = 0; i < 20; ++i)
            m_stack->Pop();
    }

    ZephVM_Stack* m_stack;
};

TEST_F(StackKindsTest, CodeBehindAValueMayUseTheStack)
{
    NoArrayLeft none;
    for (int operation = 0; operation < 6; ++operation) {
        SCOPED_TRACE(operation);
        ZephVM_Stack stack(vm(), 60);
        StackingVariable variable(&stack);
        stack.PushV(&variable, 1, 1);
        switch (operation) {
            case 0:
                EXPECT_EQ(stack.PopI(), 7);
                break;
            case 1:
                EXPECT_EQ(stack.PopD(), 7.0);
                break;
            case 2:
                EXPECT_EQ(PoppedString(&stack), "7");
                break;
            case 3:
                EXPECT_EQ(stack.PopDBPosition(), 7);
                break;
            case 4:
                stack.PushI(7);
                EXPECT_EQ(stack.Compare(), 0);
                break;
            case 5:
                stack.PushI(8);
                stack.Concatenate();
                EXPECT_EQ(PoppedString(&stack), "78");
        }
        EXPECT_EQ(stack.Entries(), 0);
        EXPECT_EQ(variable.refcount(), 1);
    }
}

}  // namespace
