// Where one text stands in another.
#include "StackValues.h"
#include "TestMachine.h"

namespace {

class SearchOperatorsTest : public MachineTest {
protected:
    int Apply(int word, const std::string& needle, const std::string& haystack)
    {
        auto push = [this](const std::string& text) {
            return Op(kPushC, dictionary.Entry_Add(text.data(), int(text.size())));
        };
        EXPECT_EQ(Run(push(needle) + push(haystack) + Op(word)), 1);
        EXPECT_EQ(depth(), 1);
        return stack()->PopI();
    }
    void Expect(const std::string& needle, const std::string& haystack, int in, int cin, int ein,
                int ecin)
    {
        SCOPED_TRACE(testing::Message() << "'" << needle << "' in '" << haystack << "'");
        EXPECT_EQ(Apply(kIn, needle, haystack), in);
        EXPECT_EQ(Apply(kCin, needle, haystack), cin);
        EXPECT_EQ(Apply(kEin, needle, haystack), ein);
        EXPECT_EQ(Apply(kEcin, needle, haystack), ecin);
    }
};

TEST_F(SearchOperatorsTest, PositionsCountFromOne)
{
    Expect("bc", "abcd", 2, 2, 3, 3);
    Expect("a", "abcd", 1, 1, 1, 1);
    Expect("d", "abcd", 4, 4, 4, 4);
    Expect("abcd", "abcd", 1, 1, 4, 4);
    Expect("aab", "aaab", 2, 2, 4, 4);
    Expect(std::string("\0b", 2), std::string("a\0b", 3), 2, 2, 3, 3);
}

TEST_F(SearchOperatorsTest, LetterCaseCountsOnlyInInAndEin)
{
    Expect("BC", "abcd", 0, 2, 0, 3);
    Expect("b", "ABab", 4, 2, 4, 2);
    Expect("\xC4", "\xE4", 0, 0, 0, 0);
    Expect("[", "{", 0, 0, 0, 0);
}

TEST_F(SearchOperatorsTest, NotFoundIsZero)
{
    Expect("x", "abc", 0, 0, 0, 0);
    Expect("abcd", "abc", 0, 0, 0, 0);
    Expect("a", "", 0, 0, 0, 0);
}

TEST_F(SearchOperatorsTest, EmptyNeedleStandsAtOneAndEndsAtZero)
{
    Expect("", "abc", 1, 1, 0, 0);
    Expect("", std::string(299, 'a'), 1, 1, 0, 0);
    Expect("", std::string(300, 'a'), 1, 1, 0, 0);
    Expect("", "", 0, 0, 0, 0);
}

// The search changes its way at 300 bytes; the answer does not.
TEST_F(SearchOperatorsTest, LengthOfTheHaystackDoesNotMatter)
{
    for (int length : {298, 299, 300, 301, 2000}) {
        for (int position : {0, 1, 150, length - 5}) {
            std::string haystack(size_t(length), '-');
            haystack.replace(size_t(position), 5, "NeedL");
            Expect("NeedL", haystack, position + 1, position + 1, position + 5, position + 5);
            Expect("nEEDl", haystack, 0, position + 1, 0, position + 5);
            Expect("NeedLe", haystack, 0, 0, 0, 0);
        }
        Expect(std::string(size_t(length), 'x'), std::string(size_t(length), 'x'), 1, 1, length,
               length);
        Expect(std::string(size_t(length) + 1, 'x'), std::string(size_t(length), 'x'), 0, 0, 0, 0);
    }
}

TEST_F(SearchOperatorsTest, EveryKindIsReadAsItsText)
{
    for (Shape needle : kAllShapes) {
        for (Shape haystack : kAllShapes) {
            SCOPED_TRACE(testing::Message() << ShapeName(needle) << " in " << ShapeName(haystack));
            NoArrayLeft none;
            StackValues values;
            End();
            Code(Op(kIn));
            values.Push(stack(), needle, "34");
            values.Push(stack(), haystack, "12345");
            EXPECT_EQ(vm()->Go(), 1);
            EXPECT_EQ(stack()->PopI(), 3);
            EXPECT_EQ(depth(), 0);
            EXPECT_TRUE(values.CountsAreBack());
            End();
        }
    }
}

TEST_F(SearchOperatorsTest, AVariableIsFoundInItself)
{
    Variable* array = globals.Index(0, 1);
    for (int i = 1; i <= 50; ++i)
        array->Element(AggregateIndex(i), 1)->SetValue_Integer(i);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kPushG, 0) + Op(kIn)), 1);
    EXPECT_EQ(stack()->PopI(), 1);
}

// Both operands stand on what the left entry alone holds, and the right one borrows.
TEST_F(SearchOperatorsTest, OperandsMayBeOneValueThatOnlyTheStackHolds)
{
    static const struct {
        int word, result;
    } rows[] = {{kIn, 1}, {kCin, 1}, {kEin, 20}, {kEcin, 20}};
    for (const auto& row : rows) {
        for (Shape shape : {Shape::kOwnedText, Shape::kLastVariable, Shape::kOwnedBuffer}) {
            for (bool swapped : {false, true}) {
                SCOPED_TRACE(testing::Message() << ShapeName(shape) << ", " << row.word);
                NoArrayLeft none;
                StackValues values;
                End();
                Code(Op(kDup) + (swapped ? Op(kSwap) : std::string()) + Op(row.word));
                values.Push(stack(), shape, "a text of some bytes");
                EXPECT_EQ(vm()->Go(), 1);
                EXPECT_EQ(stack()->PopI(), row.result);
                EXPECT_EQ(depth(), 0);
                End();
            }
        }
    }
}

TEST_F(SearchOperatorsTest, ElementIsFoundInItsArrayThatOnlyTheStackHolds)
{
    for (bool swapped : {false, true}) {
        End();
        Code(Op(kDup) + Op(kPushI, 1) + Op(kElemReadonly) + (swapped ? Op(kSwap) : std::string()) +
             Op(kIn));
        Variable* array = new Variable("", 0);
        array->Element(AggregateIndex(1), 1)->SetValue("a text of some bytes", -1);
        stack()->PushV(array, 0, 1);
        EXPECT_EQ(vm()->Go(), 1);
        EXPECT_EQ(stack()->PopI(), 1);
        EXPECT_EQ(depth(), 0);
    }
}

TEST_F(SearchOperatorsTest, HashOfATextWithItselfAsTheSalt)
{
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kPushC, 0) + Op(kCrypt)), 1);
    std::string expected = PoppedString(stack());
    End();
    for (Shape shape : {Shape::kOwnedText, Shape::kLastVariable, Shape::kOwnedBuffer}) {
        for (bool swapped : {false, true}) {
            SCOPED_TRACE(ShapeName(shape));
            NoArrayLeft none;
            StackValues values;
            End();
            Code(Op(kDup) + (swapped ? Op(kSwap) : std::string()) + Op(kCrypt));
            values.Push(stack(), shape, "alpha");
            EXPECT_EQ(vm()->Go(), 1);
            EXPECT_EQ(PoppedString(stack()), expected);
            End();
        }
    }
}

// The texts of both are asked for, the right one's first, and then both are released.
class ComputedText : public Variable {
public:
    ComputedText(const char* name, std::string* events) : Variable(name, -1), m_events(events) {}
    ~ComputedText() override { Tell("end "); }
    const String& value() override
    {
        Tell("asked ");
        m_value.assign("text", 4);
        return m_value;
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

TEST_F(SearchOperatorsTest, ComputedTextsAreAskedForAndReleasedFromTheTopDown)
{
    std::string events;
    Code(Op(kIn));
    stack()->PushV(new ComputedText("L", &events), 0, 1);
    stack()->PushV(new ComputedText("R", &events), 0, 1);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(stack()->PopI(), 1);
    EXPECT_EQ(events, "asked R;asked L;end R;end L;");
}

TEST_F(SearchOperatorsTest, OneOperandIsAnUnderflowAndIsReleased)
{
    NoArrayLeft none;
    for (int word : {kIn, kCin, kEin, kEcin, kCrypt}) {
        StackValues values;
        application.fatal_errors.clear();
        End();
        Code(Op(word));
        values.Push(stack(), Shape::kOwnedText, "text");
        EXPECT_EQ(vm()->Go(), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_EQ(depth(), 0);
    }
    End();
}

}  // namespace
