#include <limits.h>
#include <math.h>
#include <string.h>

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/ImmutableVariable.h"

namespace {

TEST(VariableForms, AConstructorFromADoubleKnowsTheIntegerToo)
{
    Variable variable("v", -1, -1.5);
    EXPECT_EQ(variable.primary_type(), Variable::kDouble);
    EXPECT_EQ(variable.value_integer(), -1);
    EXPECT_EQ(variable.value_double(), -1.5);
    EXPECT_EQ(ValueOf(variable), "-1.5");
}

TEST(VariableForms, EveryConstructorSetsNameAndValue)
{
    char* buffer = new char[8];
    memcpy(buffer, "taken", 5);
    Variable taken("n", -1, buffer, 5, 8);
    EXPECT_EQ(ValueOf(taken), "taken");
    EXPECT_EQ(taken.value().data(), buffer);
    EXPECT_EQ(taken.primary_type(), Variable::kText);
    Variable texts(String("name"), String("text"));
    EXPECT_EQ(NameOf(texts), "name");
    EXPECT_EQ(ValueOf(texts), "text");
    Variable number("name and more", 4, 7);
    EXPECT_EQ(NameOf(number), "name");
    EXPECT_EQ(number.primary_type(), Variable::kInteger);
    Variable none;
    EXPECT_EQ(NameOf(none), "");
    EXPECT_EQ(none.aggregatetype(), kAggregateNone);
    EXPECT_EQ(none.aggregateelements(), nullptr);
    EXPECT_EQ(none.type(), 0);
    EXPECT_EQ(none.preferred_type(), Variable::kText);
    Variable copy(number);
    EXPECT_EQ(NameOf(copy), "name");
    EXPECT_EQ(copy.value_integer(), 7);
    EXPECT_EQ(copy.refcount(), 1);
}

TEST(VariableForms, NamesOfAnyLengthAreKept)
{
    for (int length : {0, 1, 22, 23, 24, 25, 300}) {
        SCOPED_TRACE(length);
        std::string name(size_t(length), 'n');
        Variable variable(name.data(), length);
        int size;
        const char* bytes = variable.NameBytes(&size);
        EXPECT_EQ(std::string(bytes, size_t(size)), name);
        EXPECT_EQ(NameOf(variable), name);
        EXPECT_EQ(NameOf(variable), name);
        bytes = variable.NameBytes(&size);
        EXPECT_EQ(std::string(bytes, size_t(size)), name);
        variable.SetName("other");
        EXPECT_EQ(NameOf(variable), "other");
        variable.SetName(variable.name());
        EXPECT_EQ(NameOf(variable), "other");
        variable.SetName(String(name.data(), length));
        EXPECT_EQ(NameOf(variable), name);
    }
}

TEST(VariableForms, TextThatIsNoIntegerIsTruncatedFromItsDouble)
{
    static const struct {
        const char* text;
        int integer;
    } rows[] = {{"12abc", 0}, {"12.7", 12}, {"-1.9", -1},
                {"0x10", 16}, {"0x", 0},    {"1e3", 1000},
                {"", 0},      {"-", 0},     {"99999999999.5", INT_MIN}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Variable variable("v", -1, row.text, -1);
        EXPECT_EQ(variable.value_integer(), row.integer);
        EXPECT_EQ(ValueOf(variable), row.text);
    }
}

TEST(VariableForms, ADoubleIsTruncatedTowardZero)
{
    static const struct {
        double real;
        int integer;
    } rows[] = {{-1.5, -1},
                {1.99, 1},
                {-0.5, 0},
                {2147483647.9, INT_MAX},
                {2147483648.0, INT_MIN},
                {-2147483648.9, INT_MIN},
                {-2147483649.0, INT_MIN},
                {1e300, INT_MIN},
                {double(NAN), INT_MIN},
                {double(INFINITY), INT_MIN}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.real);
        Variable variable("v", -1);
        variable.SetValue_Double(row.real);
        EXPECT_EQ(variable.value_integer(), row.integer);
        EXPECT_EQ(Variable("c", -1, row.real).value_integer(), row.integer);
    }
}

TEST(VariableForms, TextStaysAsItWasWrittenWhenItIsReadAsANumber)
{
    Variable variable("v", -1, "1.50", -1);
    EXPECT_EQ(variable.value_double(), 1.5);
    EXPECT_EQ(variable.value_integer(), 1);
    EXPECT_EQ(ValueOf(variable), "1.50");
}

TEST(VariableForms, DoublesReadAsTheirShortestText)
{
    static const struct {
        double real;
        const char* text;
    } rows[] = {{3.0, "3"}, {0.5, "0.5"}, {-2.25, "-2.25"}, {double(NAN), "NaN"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Variable variable("v", -1);
        variable.SetValue_Double(row.real);
        EXPECT_EQ(variable.primary_type(), Variable::kDouble);
        EXPECT_EQ(ValueOf(variable), row.text);
    }
}

TEST(VariableForms, TheDoubleWinsOverTheIntegerInTheText)
{
    Variable variable("v", -1, 2.5);
    EXPECT_EQ(variable.value_integer(), 2);
    EXPECT_EQ(ValueOf(variable), "2.5");
}

TEST(VariableForms, AnIntegerIsWidened)
{
    Variable variable("v", -1, 7);
    EXPECT_EQ(variable.value_double(), 7.0);
    EXPECT_EQ(Variable("n", -1).value_double(), 0.0);
    EXPECT_EQ(variable.primary_type(), Variable::kInteger);
}

TEST(VariableForms, ASetLeavesOnlyItsOwnForm)
{
    Variable variable("v", -1, "12", -1);
    EXPECT_EQ(variable.value_double(), 12.0);
    variable.SetValue_Double(2.5);
    EXPECT_EQ(variable.value_integer(), 2);
    EXPECT_EQ(ValueOf(variable), "2.5");
    variable.SetValue_Integer(9);
    EXPECT_EQ(variable.value_double(), 9.0);
    EXPECT_EQ(ValueOf(variable), "9");
    variable.SetValue("4", 1);
    EXPECT_EQ(variable.value_double(), 4.0);
    variable.SetNULL();
    EXPECT_EQ(variable.primary_type(), Variable::kNone);
    EXPECT_EQ(ValueOf(variable), "");
    EXPECT_EQ(variable.value_double(), 0.0);
    EXPECT_EQ(variable.value_integer(), 0);
}

TEST(VariableForms, ANumberIsNotNullAndAReadNullIsStillNone)
{
    Variable variable("v", -1);
    variable.SetValue_Double(0.0);
    EXPECT_FALSE(variable.IsNULL());
    variable.SetNULL();
    EXPECT_TRUE(variable.IsNULL());
    // The integer that a read makes of nothing is a value from then on.
    EXPECT_EQ(variable.value_integer(), 0);
    EXPECT_FALSE(variable.IsNULL());
    EXPECT_EQ(ValueOf(variable), "0");
}

TEST(VariableForms, TheComparisonFormTellsTextThatIsNoNumber)
{
    static const struct {
        const char* text;
        double real;
        int error;
    } rows[] = {{"1.5", 1.5, 0},
                {"12abc", 0.0, 1},
                {"abc", 0.0, 1},
                {"-3", -3.0, 0},
                {"1e999", HUGE_VAL, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Variable variable("v", -1, row.text, -1);
        variable.value_double();
        int error = -1;
        EXPECT_EQ(variable.value_compare(&error), row.real);
        EXPECT_EQ(error, row.error);
        error = -1;
        EXPECT_EQ(variable.value_compare(&error), row.real);
        EXPECT_EQ(error, row.error);
    }
}

// The digits wrap around to an integer, though they are too large for a double.
TEST(VariableForms, AComparisonThatFailsDoesNotMakeTheDoubleValid)
{
    std::string digits(400, '9');
    Variable plain("v", -1, digits.c_str(), -1);
    int integer = plain.value_integer();
    EXPECT_NE(integer, INT_MIN);
    Variable compared("v", -1, digits.c_str(), -1);
    int error = 0;
    compared.value_compare(&error);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(compared.value_integer(), integer);
}

TEST(VariableForms, TheComparisonFormOfNumbersAndOfNull)
{
    int error = -1;
    EXPECT_EQ(Variable("v", -1, 7).value_compare(&error), 7.0);
    EXPECT_EQ(error, 0);
    error = -1;
    Variable real("v", -1);
    real.SetValue_Double(2.5);
    EXPECT_EQ(real.value_compare(&error), 2.5);
    EXPECT_EQ(error, 0);
    error = -1;
    EXPECT_EQ(Variable("v", -1).value_compare(&error), 0.0);
    EXPECT_EQ(error, 0);
    error = -1;
    Held array = ArrayOf("5");
    EXPECT_EQ(array->value_compare(&error), 0.0);
    EXPECT_EQ(error, 1);
}

TEST(VariableForms, TheTextRuleOfTruth)
{
    static const struct {
        const char* text;
        bool is_true;
    } rows[] = {{"", false},   {"0", false},    {"00", false}, {"0.00", false}, {".", false},
                {"0.", false}, {"0.0.0", true}, {" ", true},   {"no", true},    {"-0", true},
                {"1", true},   {"..", true},    {"0x0", true}, {".0", false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Variable::IsTrue(row.text, int(strlen(row.text))), row.is_true);
        EXPECT_EQ(Variable("v", -1, row.text, -1).IsTrue(), row.is_true);
    }
    EXPECT_FALSE(Variable::IsTrue("1", 0));
    EXPECT_FALSE(Variable::IsTrue("1", -1));
}

TEST(VariableForms, NumbersAreTrueUnlessZero)
{
    Variable real("v", -1);
    real.SetValue_Double(NAN);
    EXPECT_TRUE(real.IsTrue());
    real.SetValue_Double(-0.0);
    EXPECT_FALSE(real.IsTrue());
    real.SetValue_Double(0.1);
    EXPECT_TRUE(real.IsTrue());
    EXPECT_TRUE(Variable("v", -1, -1).IsTrue());
    EXPECT_FALSE(Variable("v", -1, 0).IsTrue());
    EXPECT_FALSE(Variable("v", -1).IsTrue());
}

// The integer of a double below one is zero, but the value is not.
TEST(VariableForms, TruthGoesByTheDoubleBeforeTheInteger)
{
    Variable real("v", -1, 0.5);
    EXPECT_EQ(real.value_integer(), 0);
    EXPECT_TRUE(real.IsTrue());
    EXPECT_TRUE(Variable("v", -1, "-0", -1).IsTrue());
}

TEST(VariableForms, TheTruthOfAnAggregateIsThatOfItsTextAsItWasLastBuilt)
{
    Held array = ArrayOf("0");
    EXPECT_FALSE(array->IsTrue());
    At(*array, 1)->SetValue("1", 1);
    EXPECT_FALSE(array->IsTrue());
    EXPECT_EQ(ValueOf(*array), "1");
    EXPECT_TRUE(array->IsTrue());
}

TEST(VariableForms, AnAggregateIsZeroAsANumberAndNeverNull)
{
    Held array = ArrayOf("5");
    EXPECT_EQ(array->value_integer(), 0);
    EXPECT_EQ(array->value_double(), 0.0);
    EXPECT_FALSE(array->IsNULL());
    Held empty = ArrayOf("");
    EXPECT_FALSE(empty->IsNULL());
    EXPECT_EQ(ValueOf(*empty), "");
}

TEST(VariableForms, TheTextOfAnAggregateIsItsLeavesJoinedByCommas)
{
    Held array = ArrayOf("axb");
    At(*array, 2)->SetValue("", 0);
    EXPECT_EQ(ValueOf(*array), "a,,b");
    At(*array, 1)->SetNULL();
    EXPECT_EQ(ValueOf(*array), "b");
    At(*array, 1)->SetElement(AggregateIndex("z", 1), ArrayOf("12").get());
    Put(*At(*array, 1), "a", "0");
    EXPECT_EQ(ValueOf(*array), "0,1,2,,b");
    Put(*array, 4, "c");
    EXPECT_EQ(ValueOf(*array), "0,1,2,,b,c");
    At(*array, 3)->Convert_Aggregate(kAggregateArray);
    EXPECT_EQ(ValueOf(*array), "0,1,2,,c");
}

TEST(VariableForms, SerializingAddsToWhatIsThere)
{
    String text("x");
    ArrayOf("ab")->Serialize(text);
    Variable scalar("v", -1, 7);
    scalar.Serialize(text);
    EXPECT_EQ(TextOf(text), "x,a,b,7");
    ArrayOf("")->Serialize(text);
    EXPECT_EQ(TextOf(text), "x,a,b,7");
}

TEST(VariableForms, ConversionsByForceMakeAFormFromTheOthers)
{
    Variable text("v", -1, "12", -1);
    text.Convert_Integer();
    text.Convert_Double();
    EXPECT_EQ(text.value_integer(), 12);
    Variable array("v", -1);
    array.Convert_Aggregate(kAggregateArray);
    EXPECT_EQ(array.aggregatetype(), kAggregateArray);
    Put(array, 1, "x");
    array.Convert_Aggregate(kAggregateArray);
    EXPECT_EQ(ElementsOf(array), "1=x");
    array.Convert_Aggregate(kAggregateStructure);
    EXPECT_EQ(ElementsOf(array), "");
    array.Convert_Aggregate(kAggregateNone);
    EXPECT_TRUE(array.IsNULL());
    EXPECT_EQ(array.aggregateelements(), nullptr);
    text.Convert_Aggregate(kAggregateArray);
    EXPECT_EQ(text.primary_type(), Variable::kNone);
    text.Convert_Aggregate(kAggregateNone);
    EXPECT_EQ(ValueOf(text), "");
}

TEST(VariableList, HoldsAndGivesBackCounts)
{
    Held variable = Fresh("x");
    {
        VariableList list;
        list.Insert(variable.get(), kListTail);
        EXPECT_EQ(variable->refcount(), 2);
        list.Insert(variable.get(), kListHead, 1);
        EXPECT_EQ(variable->refcount(), 3);
        variable->IncRefCount();
        list.Insert(variable.get(), kListTail, 0);
        EXPECT_EQ(variable->refcount(), 4);
        EXPECT_EQ(list.Entries(), 3);
    }
    EXPECT_EQ(variable->refcount(), 1);
}

}  // namespace
