#include <gtest/gtest.h>

#include "TestVariables.h"

namespace {

TEST(VariableAssignment, ASetMakesAScalarOfAnAggregate)
{
    for (int setter = 0; setter < 5; ++setter) {
        SCOPED_TRACE(setter);
        Held array = ArrayOf("ab");
        Variable scalar("s", -1, 5);
        switch (setter) {
            case 0:
                EXPECT_EQ(array->SetValue("5", 1), 1);
                break;
            case 1:
                EXPECT_EQ(array->SetValue_Integer(5), 1);
                break;
            case 2:
                EXPECT_EQ(array->SetValue_Double(5.0), 1);
                break;
            case 3:
                EXPECT_EQ(array->SetValue_Nocopy(zeph_strdup("5"), 1, 2), 1);
                break;
            default:
                EXPECT_EQ(array->SetValue(scalar), 1);
        }
        EXPECT_EQ(array->aggregatetype(), kAggregateNone);
        EXPECT_EQ(array->aggregateelements(), nullptr);
        EXPECT_EQ(ValueOf(*array), "5");
    }
    Held array = ArrayOf("ab");
    array->SetNULL();
    EXPECT_TRUE(array->IsNULL());
    EXPECT_EQ(array->aggregateelements(), nullptr);
}

TEST(VariableAssignment, AssignmentCopiesAnAggregateWithAllBelow)
{
    Held source = ArrayOf("ab");
    Put(*source->Element(AggregateIndex(3), 1), "in", "c");
    Held target = Fresh("old");
    target->SetValue(*source);
    EXPECT_EQ(target->aggregatetype(), kAggregateArray);
    EXPECT_EQ(ValueOf(*target), "a,b,c");
    // The primary type stays that of the value that was there.
    EXPECT_EQ(target->primary_type(), Variable::kText);
    At(*target, 1)->SetValue("x", 1);
    Put(*At(*target, 3), "IN", "y");
    EXPECT_EQ(ValueOf(*source), "a,b,c");
    EXPECT_EQ(ValueOf(*target), "x,b,y");
    EXPECT_EQ(At(*target, 1)->refcount(), 1);
}

TEST(VariableAssignment, NoFormOfTheFormerScalarOutlivesAnAssignedAggregate)
{
    Held source = ArrayOf("0");
    for (int form : {Variable::kText, Variable::kInteger, Variable::kDouble}) {
        SCOPED_TRACE(form);
        Held target = Fresh("abc");
        if (form == Variable::kInteger)
            target->SetValue_Integer(7);
        else if (form == Variable::kDouble)
            target->SetValue_Double(7.5);
        ASSERT_TRUE(target->IsTrue());
        target->SetValue(*source);
        EXPECT_FALSE(target->IsTrue());
    }
}

TEST(VariableAssignment, ASourceWithoutAValueIsMadeToComputeItsText)
{
    Held source = Fresh();
    Held target = Fresh("old");
    target->SetValue(*source);
    EXPECT_EQ(ValueOf(*target), "");
    EXPECT_TRUE(target->IsNULL());
    EXPECT_EQ(target->primary_type(), Variable::kNone);
    // Valid text in both: a number set in the source does not show in the copy.
    source->SetValue_Integer(5);
    EXPECT_EQ(ValueOf(*target), "");
    EXPECT_FALSE(target->IsTrue());
}

TEST(VariableAssignment, AnElementMayBeAssignedToItsAggregateAndBack)
{
    Held array = ArrayOf("ab");
    Put(*array->Element(AggregateIndex(3), 1), "in", "c");
    At(*array, 2)->SetValue(*array);
    EXPECT_EQ(ValueOf(*array), "a,a,b,c,c");
    array->SetValue(*At(*array, 3));
    EXPECT_EQ(array->aggregatetype(), kAggregateStructure);
    EXPECT_EQ(ValueOf(*array), "c");
    array->SetValue(*Member(*array, "in"));
    EXPECT_EQ(array->aggregatetype(), kAggregateNone);
    EXPECT_EQ(ValueOf(*array), "c");
}

TEST(VariableAssignment, AssigningAVariableToItselfChangesNothing)
{
    Held array = ArrayOf("ab");
    array->SetValue(*array);
    EXPECT_EQ(ElementsOf(*array), "1=a 2=b");
    Variable text("v", -1, "1.50", -1);
    text.value_double();
    text.SetValue(text);
    EXPECT_EQ(ValueOf(text), "1.50");
    EXPECT_EQ(text.primary_type(), Variable::kText);
}

TEST(VariableAssignment, AssignmentKeepsThePrimaryTypeAndTheForms)
{
    Variable source("s", -1, "1.50", -1);
    Variable target("t", -1, 3);
    target.SetValue(source);
    EXPECT_EQ(target.primary_type(), Variable::kText);
    EXPECT_EQ(ValueOf(target), "1.50");
    EXPECT_EQ(target.value_double(), 1.5);
    source.SetValue_Double(0.25);
    target.SetValue(source);
    EXPECT_EQ(target.primary_type(), Variable::kDouble);
    EXPECT_EQ(ValueOf(target), "0.25");
    EXPECT_EQ(NameOf(target), "t");
}

// A value that is computed when it is read, of each nature.
class Computed : public Variable {
public:
    Computed(int type, int preferred) : m_type(type), m_preferred(preferred) {}
    const String& value() override { return m_text; }
    int value_integer() override { return 7; }
    double value_double() override { return 7.5; }
    int type() override { return m_type; }
    int preferred_type() override { return m_preferred; }

private:
    String m_text{"seven"};
    int m_type;
    int m_preferred;
};

TEST(VariableAssignment, AssignmentGoesByTheNatureOfTheSource)
{
    static const struct {
        int type, preferred;
        const char* text;
        int primary;
    } rows[] = {{2, 1, "", 0},  {3, 1, "7", 2},   {4, 2, "seven", 1},
                {5, 2, "7", 2}, {5, 3, "7.5", 3}, {5, 1, "seven", 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type * 10 + row.preferred);
        Computed source(row.type, row.preferred);
        Variable target("t", -1, "old", -1);
        target.SetValue(source);
        EXPECT_EQ(target.primary_type(), row.primary);
        EXPECT_EQ(ValueOf(target), row.text);
    }
}

TEST(VariableAssignment, APreferringSourceWithAValueInHandGivesThat)
{
    Computed source(5, 2);
    source.SetValue_Double(0.5);
    Variable target("t", -1);
    target.SetValue(source);
    EXPECT_EQ(ValueOf(target), "0.5");
    EXPECT_EQ(target.primary_type(), Variable::kDouble);
}

TEST(VariableAssignment, ACloneIsAVariableOfItsOwn)
{
    Held array = ArrayOf("ab");
    array->SetName("array");
    array->IncRefCount();
    Held clone(array->Clone(nullptr));
    EXPECT_EQ(clone->refcount(), 1);
    EXPECT_EQ(NameOf(*clone), "array");
    EXPECT_EQ(ElementsOf(*clone), "1=a 2=b");
    array->DecRefCount();
}

}  // namespace
