// Arithmetic, bits, logic and the hash of a text. Operands are texts of the dictionary, as a
// page has them; the result is what the page would write.
#include <limits.h>
#include <signal.h>
#include <stdlib.h>

#include <cmath>
#include <set>

#include "StackValues.h"
#include "TestMachine.h"

namespace {

class OperatorsTest : public MachineTest {
protected:
    std::string Push(const std::string& text)
    {
        return Op(kPushC, dictionary.Entry_Add(text.data(), int(text.size())));
    }
    // What an operator leaves on the stack, which is all that is there.
    std::string Apply(int word, const std::string& left, const std::string& right)
    {
        EXPECT_EQ(Run(Push(left) + Push(right) + Op(word)), 1);
        EXPECT_EQ(depth(), 1);
        return PoppedString(stack());
    }
    std::string Apply(int word, const std::string& operand)
    {
        EXPECT_EQ(Run(Push(operand) + Op(word)), 1);
        EXPECT_EQ(depth(), 1);
        return PoppedString(stack());
    }
};

struct BinaryRow {
    const char *left, *right, *result;
};

TEST_F(OperatorsTest, AddIsDoneInDoubles)
{
    static const BinaryRow rows[] = {{"2", "3", "5"},
                                     {"0.1", "0.2", "0.30000000000000004"},
                                     {"abc", "1", "1"},
                                     {"", "", "0"},
                                     {"0x10", "1", "17"},
                                     {" 1", "1e3", "1001"},
                                     {"-0", "-0", "-0"},
                                     {"1e308", "1e308", "Infinity"},
                                     {"inf", "1", "Infinity"},
                                     {"2147483647", "1", "2147483648"},
                                     {"1e999", "0", "Infinity"},
                                     {"9007199254740992", "1", "9007199254740992"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " + " << row.right);
        EXPECT_EQ(Apply(kAdd, row.left, row.right), row.result);
    }
}

TEST_F(OperatorsTest, SubTakesTheTopFromWhatIsBelow)
{
    static const BinaryRow rows[] = {{"2", "3", "-1"},
                                     {"0", "0", "0"},
                                     {"0", "-0", "0"},
                                     {"-0", "0", "-0"},
                                     {"1e21", "1", "1000000000000000000000"},
                                     {"x", "7", "-7"},
                                     {"1", "inf", "-Infinity"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " - " << row.right);
        EXPECT_EQ(Apply(kSub, row.left, row.right), row.result);
    }
}

TEST_F(OperatorsTest, MulAndPow)
{
    static const struct {
        int word;
        BinaryRow row;
    } rows[] = {{kMul, {"6", "7", "42"}},
                {kMul, {"-1", "0", "-0"}},
                {kMul, {"1e200", "1e200", "Infinity"}},
                {kMul, {"0.5", "x", "0"}},
                {kMul, {"65536", "65536", "4294967296"}},
                {kPow, {"2", "10", "1024"}},
                {kPow, {"10", "2", "100"}},
                {kPow, {"2", "-1", "0.5"}},
                {kPow, {"0", "0", "1"}},
                {kPow, {"NaN", "0", "1"}},
                {kPow, {"10", "400", "Infinity"}},
                {kPow, {"9", "0.5", "3"}},
                {kPow, {"0", "-1", "Infinity"}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << std::hex << row.word << ": " << row.row.left << ", " << row.row.right);
        EXPECT_EQ(Apply(row.word, row.row.left, row.row.right), row.row.result);
    }
}

TEST_F(OperatorsTest, DivOfZeroIsZeroAndByZeroInfinity)
{
    static const BinaryRow rows[] = {{"7", "2", "3.5"},        {"1", "3", "0.3333333333333333"},
                                     {"0", "0", "0"},          {"0", "5", "0"},
                                     {"-0", "5", "0"},         {"0", "-5", "0"},
                                     {"0", "NaN", "0"},        {"x", "y", "0"},
                                     {"1", "0", "Infinity"},   {"-1", "0", "-Infinity"},
                                     {"1", "-0", "-Infinity"}, {"inf", "0", "Infinity"},
                                     {"1", "inf", "0"},        {"-1", "inf", "-0"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " / " << row.right);
        EXPECT_EQ(Apply(kDiv, row.left, row.right), row.result);
    }
}

TEST_F(OperatorsTest, ArithmeticOnNanIsNan)
{
    for (int word : {kAdd, kSub, kMul, kDiv, kPow}) {
        SCOPED_TRACE(word);
        EXPECT_EQ(Run(Push("NaN") + Push("2") + Op(word)), 1);
        EXPECT_TRUE(std::isnan(stack()->PopD()));
    }
    EXPECT_EQ(Run(Push("-8") + Push("0.5") + Op(kPow)), 1);
    EXPECT_TRUE(std::isnan(stack()->PopD()));
    EXPECT_EQ(Run(Push("inf") + Push("inf") + Op(kSub)), 1);
    EXPECT_TRUE(std::isnan(stack()->PopD()));
}

TEST_F(OperatorsTest, ArithmeticGivesDoublesAndBitsGiveIntegers)
{
    static const struct {
        int word, kind;
    } rows[] = {{kAdd, Stack_Entry::kDouble},     {kSub, Stack_Entry::kDouble},
                {kMul, Stack_Entry::kDouble},     {kDiv, Stack_Entry::kDouble},
                {kPow, Stack_Entry::kDouble},     {kMod, Stack_Entry::kInteger},
                {kBitAnd, Stack_Entry::kInteger}, {kBitOr, Stack_Entry::kInteger},
                {kBitXor, Stack_Entry::kInteger}, {kBitSl, Stack_Entry::kInteger},
                {kBitSr, Stack_Entry::kInteger},  {kAnd, Stack_Entry::kInteger},
                {kOr, Stack_Entry::kInteger},     {kCmp, Stack_Entry::kInteger},
                {kEq, Stack_Entry::kInteger},     {kIn, Stack_Entry::kInteger},
                {kRoundF, Stack_Entry::kDouble},  {kRoundS, Stack_Entry::kString}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.word);
        EXPECT_EQ(Run(Op(kPushI, 6) + Op(kPushI, 3) + Op(row.word)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->Peek()->kind, row.kind);
    }
}

TEST_F(OperatorsTest, PushfPushesItsOperand)
{
    for (double value : {0.0, 2.5, -1e300, 5e-324, double(INFINITY)}) {
        EXPECT_EQ(Run(OpDouble(kPushF, value)), 1);
        EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kDouble);
        EXPECT_EQ(stack()->PopD(), value);
    }
}

TEST_F(OperatorsTest, ModTakesTheSignOfTheLeftAndGivesZeroForZero)
{
    static const BinaryRow rows[] = {{"5", "0", "0"},
                                     {"-7", "2", "-1"},
                                     {"7", "-2", "1"},
                                     {"7", "2", "1"},
                                     {"0", "0", "0"},
                                     {"-2147483648", "1", "0"},
                                     {"-2147483648", "2147483647", "-1"},
                                     {"2147483647", "-1", "0"},
                                     {"7.9", "2", "0"},
                                     {"0x11", "0x10", "1"},
                                     {"x", "3", "0"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " mod " << row.right);
        EXPECT_EQ(Apply(kMod, row.left, row.right), row.result);
    }
    EXPECT_EQ(Run(OpDouble(kPushF, 7.9) + OpDouble(kPushF, -2.9) + Op(kMod)), 1);
    EXPECT_EQ(stack()->PopI(), 1);
}

using OperatorsDeathTest = OperatorsTest;

TEST_F(OperatorsDeathTest, ModOfTheLeastIntegerByMinusOneTraps)
{
    EXPECT_EXIT(Apply(kMod, "-2147483648", "-1"), testing::KilledBySignal(SIGFPE), "");
}

TEST_F(OperatorsTest, BitOperations)
{
    static const struct {
        int word;
        BinaryRow row;
    } rows[] = {{kBitAnd, {"0xFF", "0x0F", "15"}},
                {kBitAnd, {"-1", "255", "255"}},
                {kBitAnd, {"6", "3", "2"}},
                {kBitOr, {"6", "3", "7"}},
                {kBitOr, {"-2147483648", "1", "-2147483647"}},
                {kBitXor, {"6", "3", "5"}},
                {kBitXor, {"-1", "-1", "0"}},
                {kBitSl, {"1", "33", "2"}},
                {kBitSl, {"1", "31", "-2147483648"}},
                {kBitSl, {"1", "32", "1"}},
                {kBitSl, {"1", "-1", "-2147483648"}},
                {kBitSl, {"-1", "4", "-16"}},
                {kBitSl, {"2147483647", "1", "-2"}},
                {kBitSr, {"-1", "1", "-1"}},
                {kBitSr, {"256", "4", "16"}},
                {kBitSr, {"-2147483648", "31", "-1"}},
                {kBitSr, {"-8", "33", "-4"}},
                {kBitSr, {"8", "-31", "4"}},
                {kBitAnd, {"1.5", "1", "0"}},
                {kBitOr, {"4294967297", "0", "1"}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << std::hex << row.word << ": " << row.row.left << ", " << row.row.right);
        EXPECT_EQ(Apply(row.word, row.row.left, row.row.right), row.row.result);
    }
    EXPECT_EQ(Apply(kBitOc, "0"), "-1");
    EXPECT_EQ(Apply(kBitOc, "-2147483648"), "2147483647");
    EXPECT_EQ(Apply(kBitOc, "5"), "-6");
}

TEST_F(OperatorsTest, LogicGoesByTheTruthOfEachKind)
{
    for (const char* left : {"", "0.0", "1", "x"}) {
        for (const char* right : {"", "00", " ", "-0"}) {
            SCOPED_TRACE(testing::Message() << left << ", " << right);
            bool left_truth = *left == '1' || *left == 'x';
            bool right_truth = *right == ' ' || *right == '-';
            EXPECT_EQ(Apply(kAnd, left, right), left_truth && right_truth ? "1" : "0");
            EXPECT_EQ(Apply(kOr, left, right), left_truth || right_truth ? "1" : "0");
        }
        EXPECT_EQ(Apply(kNot, left), *left == '1' || *left == 'x' ? "0" : "1");
    }
    EXPECT_EQ(Run(OpDouble(kPushF, NAN) + Op(kNot)), 1);
    EXPECT_EQ(stack()->PopI(), 0);
    EXPECT_EQ(Run(OpDouble(kPushF, -0.0) + Op(kNot)), 1);
    EXPECT_EQ(stack()->PopI(), 1);
}

TEST_F(OperatorsTest, AndAndOrTakeBothOperands)
{
    for (int word : {kAnd, kOr}) {
        for (int left : {0, 1}) {
            for (int right : {0, 1}) {
                EXPECT_EQ(Run(Op(kPushI, 99) + Op(kPushI, left) + Op(kPushI, right) + Op(word)), 1);
                EXPECT_EQ(depth(), 2);
                EXPECT_EQ(stack()->PopI(), word == kAnd ? left & right : left | right);
                EXPECT_EQ(stack()->PopI(), 99);
            }
        }
    }
}

TEST_F(OperatorsTest, IsnullOfTextsNumbersAndVariables)
{
    EXPECT_EQ(Apply(kIsNull, ""), "1");
    EXPECT_EQ(Apply(kIsNull, "0"), "0");
    EXPECT_EQ(Run(Op(kPushI, 0) + Op(kIsNull)), 1);
    EXPECT_EQ(stack()->PopI(), 0);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kIsNull)), 1);
    EXPECT_EQ(stack()->PopI(), 1);
    EXPECT_EQ(Run(Op(kPushI, 0) + Op(kPopG, 0) + Op(kPushG, 0) + Op(kIsNull)), 1);
    EXPECT_EQ(stack()->PopI(), 0);
}

// A missing operand is a fatal error, whatever the other one is, and nothing is pushed.
TEST_F(OperatorsTest, MissingOperandIsAnUnderflowAndPushesNothing)
{
    for (int word : {kAdd,   kSub, kMul, kDiv, kPow,  kMod,    kBitAnd, kBitOr, kBitXor, kBitSl,
                     kBitSr, kAnd, kOr,  kCmp, kEq,   kNe,     kGe,     kLe,    kLt,     kGt,
                     kCat,   kIn,  kCin, kEin, kEcin, kRoundS, kRoundF, kCrypt}) {
        SCOPED_TRACE(word);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Push("1") + Op(word) + Op(kOut)), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_LE(depth(), 1);
        EXPECT_EQ(Run(Op(word)), 0);
        EXPECT_EQ(depth(), 0);
        EXPECT_EQ(written(), "");
    }
    for (int word : {kNot, kIsNull, kBitOc}) {
        SCOPED_TRACE(word);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Op(word)), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_EQ(depth(), 0);
    }
}

TEST_F(OperatorsTest, OutWritesALinkBufferBlockByBlock)
{
    std::string x(5000, 'x'), y(5000, 'y');
    EXPECT_EQ(Run(Push(x) + Push(y) + Op(kCat) + Push(x) + Op(kCat) + Op(kOut)), 1);
    EXPECT_EQ(written(), x + y + x);
    EXPECT_GE(application.recorded.writes, 2);
    EXPECT_EQ(depth(), 0);
}

TEST_F(OperatorsTest, OutFreesTheLinkBuffer)
{
    std::string code =
        Push("a") + Push("b") + Op(kCat) + Push("c") + Op(kCat) + Op(kOut) + Op(kPushI, 1);
    Run(code);
    long before = LiveArrays();
    Run(code);
    EXPECT_EQ(LiveArrays(), before);
}

// ---- crypt

TEST_F(OperatorsTest, CryptUsesTheFirstTwoBytesOfTheSalt)
{
    EXPECT_EQ(Apply(kCrypt, "secret", "ab"), "abNANd1rDfiNc");
    EXPECT_EQ(Apply(kCrypt, "secret", "abcdef"), "abNANd1rDfiNc");
    EXPECT_EQ(Apply(kCrypt, "secret", "abNANd1rDfiNc"), "abNANd1rDfiNc");
    EXPECT_NE(Apply(kCrypt, "Secret", "ab"), "abNANd1rDfiNc");
    EXPECT_EQ(Run(Push("secret") + Push("ab") + Op(kCrypt)), 1);
    EXPECT_EQ(stack()->Peek()->owned, 1);
    EXPECT_EQ(stack()->Peek()->length, 13);
    EXPECT_EQ(stack()->Peek()->capacity, 14);
}

TEST_F(OperatorsTest, CryptUsesASaltOfOneByteTwice)
{
    EXPECT_EQ(Apply(kCrypt, "secret", "a"), Apply(kCrypt, "secret", "aa"));
    EXPECT_NE(Apply(kCrypt, "secret", "a"), Apply(kCrypt, "secret", "ab"));
}

TEST_F(OperatorsTest, CryptOfAnEmptySaltPicksOneOfTheTable)
{
    const std::string table = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    ASSERT_EQ(table.size(), 64u);
    srand(25);
    std::string expected;
    for (int i = 0; i < 2; ++i)
        expected += table[size_t(rand() % 63)];
    srand(25);
    std::string hash = Apply(kCrypt, "secret", "");
    ASSERT_EQ(hash.size(), 13u);
    EXPECT_EQ(hash.substr(0, 2), expected);
    EXPECT_EQ(hash, Apply(kCrypt, "secret", expected));
}

TEST_F(OperatorsTest, CryptNeverPicksTheLastCharacterOfTheTable)
{
    std::set<char> picked;
    srand(1);
    for (int i = 0; i < 1000; ++i) {
        std::string hash = Apply(kCrypt, "x", "");
        picked.insert(hash[0]);
        picked.insert(hash[1]);
    }
    EXPECT_EQ(picked.size(), 63u);
    EXPECT_EQ(picked.count('z'), 0u);
}

TEST_F(OperatorsTest, CryptReadsATextUpToItsLength)
{
    std::string secret = Apply(kCrypt, "secret", "ab");
    int entry = dictionary.Entry_Add("secretly", 8);
    int length;
    const char* text = dictionary.Entry(entry, &length);
    End();
    Code(Push("ab") + Op(kCrypt));
    stack()->PushS(text, 6, 6, 0);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(PoppedString(stack()), secret);
    EXPECT_EQ(Apply(kCrypt, std::string("sec\0ret", 7), "ab"), Apply(kCrypt, "sec", "ab"));
}

// ---- Fused comparisons

TEST_F(OperatorsTest, FusedComparisonsAgreeWithCmp)
{
    const char* const texts[] = {"",     "0",           "10",  "10.0", "9",   "abc",
                                 "abd",  "-5",          "NaN", "1e1",  " 10", "10 ",
                                 "0x0A", "-2147483648", "ABC", "1e999"};
    for (const char* left : texts) {
        for (const char* right : texts) {
            SCOPED_TRACE(testing::Message() << "'" << left << "' and '" << right << "'");
            globals.Index(0, 1)->SetValue(left, -1);
            globals.Index(1, 1)->SetValue(right, -1);
            EXPECT_EQ(Run(Op(kPushG, 0) + Op(kPushG, 1) + Op(kCmp)), 1);
            int order = stack()->PopI();
            EXPECT_EQ(Run(Op(kCmpGG, 0, 1)), 1);
            EXPECT_EQ(stack()->PopI(), order);
        }
        for (int right : {0, 10, 9, -5, INT_MIN, INT_MAX}) {
            SCOPED_TRACE(testing::Message() << "'" << left << "' and " << right);
            EXPECT_EQ(Run(Op(kPushG, 0) + Op(kPushI, right) + Op(kCmp)), 1);
            int order = stack()->PopI();
            EXPECT_EQ(Run(Op(kCmpGI, 0, right)), 1);
            EXPECT_EQ(stack()->PopI(), order);
        }
    }
}

TEST_F(OperatorsTest, FusedComparisonOfATextWithAnIntegerGoesByItsDecimalText)
{
    static const struct {
        const char* left;
        int right, order;
    } rows[] = {{"abc", 1, 1},  {"10", 9, 1},      {"10x", 9, -1},
                {"-5x", -5, 1}, {"10", 10, 0},     {"", 0, 0},
                {"", 1, -1},    {"x", INT_MIN, 1}, {"-2147483648", INT_MIN, 0},
                {"9.5", 9, 1},  {"NaN", 5, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " and " << row.right);
        globals.Index(2, 1)->SetValue(row.left, -1);
        EXPECT_EQ(Run(Op(kCmpGI, 2, row.right)), 1);
        EXPECT_EQ(stack()->PopI(), row.order);
    }
}

TEST_F(OperatorsTest, FusedComparisonMakesWhatIsAbsentAndRefusesASlotThatIsNotThere)
{
    EXPECT_EQ(Run(Op(kCmpGG, 0, 1)), 1);
    EXPECT_EQ(stack()->PopI(), 0);
    EXPECT_NE(globals.Index(0, 0), nullptr);
    EXPECT_NE(globals.Index(1, 0), nullptr);
    EXPECT_EQ(Run(Op(kCmpGI, 2, 0)), 1);
    EXPECT_NE(globals.Index(2, 0), nullptr);
    for (const std::string& code :
         {Op(kCmpGG, 0, 77), Op(kCmpGG, 77, 0), Op(kCmpGI, 77, 0), Op(kCmpGI, -1, 0)}) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code), 0);
        EXPECT_EQ(Fatal(), "Invalid variable reference");
        EXPECT_EQ(depth(), 0);
    }
}

TEST_F(OperatorsTest, FusedComparisonOfAnAggregateGoesByItsText)
{
    Variable* array = globals.Index(0, 1);
    for (int i = 1; i <= 3; ++i)
        array->Element(AggregateIndex(i), 1)->SetValue_Integer(i);
    globals.Index(1, 1)->SetValue("1,2,3", -1);
    EXPECT_EQ(Run(Op(kCmpGG, 0, 0)), 1);
    EXPECT_EQ(stack()->PopI(), 0);
    EXPECT_EQ(Run(Op(kCmpGG, 0, 1)), 1);
    EXPECT_EQ(stack()->PopI(), 0);
    EXPECT_EQ(Run(Op(kCmpGI, 0, 1)), 1);
    EXPECT_EQ(stack()->PopI(), 1) << "'1,2,3' and '1'";
}

TEST_F(OperatorsTest, ArithmeticOnNumbersMayGiveNaN)
{
    static const struct {
        int word;
        double left, right;
        bool is_nan;
    } rows[] = {
        {kAdd, INFINITY, -INFINITY, true},
        {kAdd, NAN, 1, true},
        {kAdd, 1, NAN, true},
        {kSub, INFINITY, INFINITY, true},
        {kSub, NAN, 1, true},
        {kSub, 1, NAN, true},
        {kMul, INFINITY, 0, true},
        {kMul, 0, NAN, true},
        {kMul, NAN, 1, true},
        {kDiv, INFINITY, INFINITY, true},
        {kDiv, 1, NAN, true},
        {kDiv, NAN, 0, true},
        {kDiv, 0, NAN, false},
        {kDiv, -0.0, NAN, false},
        {kMul, INFINITY, 1, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.word << ": " << row.left << ", " << row.right);
        globals.Index(0, 1)->SetValue_Double(row.left);
        globals.Index(1, 1)->SetValue_Double(row.right);
        const std::string lefts[] = {OpDouble(kPushF, row.left), Op(kPushG, 0)};
        const std::string rights[] = {OpDouble(kPushF, row.right), Op(kPushG, 1)};
        for (const std::string& left : lefts) {
            for (const std::string& right : rights) {
                for (const std::string& between : {std::string(), Op(kNoop)}) {
                    EXPECT_EQ(Run(left + between + right + between + Op(row.word)), 1);
                    ASSERT_EQ(depth(), 1);
                    EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kDouble);
                    EXPECT_EQ(std::isnan(stack()->PopD()), row.is_nan);
                }
            }
        }
    }
}

}  // namespace
