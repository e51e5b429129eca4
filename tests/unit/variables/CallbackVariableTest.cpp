#include "variables/CallbackVariable.h"

#include <functional>
#include <map>

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/ReferenceVariable.h"

namespace {

struct Calls {
    int ended = 0;
    std::string asked;                          // the names, one behind the other
    std::map<std::string, std::string> values;  // what the callback knows
    std::function<void(Variable*)> act;         // what it does meanwhile
};

class Callback : public CallbackVariableCallback {
public:
    explicit Callback(Calls* calls) : m_calls(calls) {}
    ~Callback() override { ++m_calls->ended; }
    bool RunFunction(Variable* variable, AggregateIndex index, Variable** result) override
    {
        String& name = index;
        m_calls->asked += TextOf(name) + " ";
        if (m_calls->act)
            m_calls->act(variable);
        auto known = m_calls->values.find(TextOf(name));
        if (known == m_calls->values.end())
            return false;
        m_result.reset(new Variable("", 0, known->second.c_str(), -1));
        *result = m_result.get();
        return true;
    }

private:
    Calls* m_calls;
    Held m_result;
};

class CallbackStructVariableTest : public testing::Test {
protected:
    CallbackStructVariableTest() { x->Make_CallbackStruct(new Callback(&calls)); }

    Calls calls{0, "", {{"a", "1"}, {"b", "2"}}, nullptr};
    Held x = Fresh();
};

TEST_F(CallbackStructVariableTest, AReadAsksEachTimeAndStoresNothing)
{
    EXPECT_EQ(ValueOf(*Member(*x, "a")), "1");
    EXPECT_EQ(ValueOf(*Member(*x, "a")), "1");
    EXPECT_EQ(Member(*x, "zz"), nullptr);
    EXPECT_EQ(calls.asked, "a a zz ");
    EXPECT_EQ(x->aggregatetype(), kAggregateNone);
}

TEST_F(CallbackStructVariableTest, AUseThatMayChangeItStoresTheAnswer)
{
    Variable* a = x->Element(AggregateIndex("a", 1), 1);
    EXPECT_EQ(ValueOf(*a), "1");
    EXPECT_EQ(x->aggregatetype(), kAggregateStructure);
    a->SetValue("changed", -1);
    EXPECT_EQ(ValueOf(*Member(*x, "A")), "changed");
    EXPECT_EQ(calls.asked, "a ");
    Variable* unknown = x->Element(AggregateIndex("zz", 2), 1);
    ASSERT_NE(unknown, nullptr);
    EXPECT_TRUE(unknown->IsNULL());
    EXPECT_EQ(x->ElementsUsed(), 2);
    EXPECT_EQ(ValueOf(*Member(*x, "b")), "2");
    EXPECT_EQ(x->ElementsUsed(), 2);
    EXPECT_EQ(calls.asked, "a zz b ");
}

TEST_F(CallbackStructVariableTest, ANumberGoesToTheOrdinaryElements)
{
    EXPECT_EQ(At(*x, 1), nullptr);
    Put(*x, 1, "one");
    EXPECT_EQ(calls.asked, "");
    EXPECT_EQ(ElementsOf(*x), "1=one");
    EXPECT_EQ(ValueOf(*Member(*x, "a")), "1");
    EXPECT_EQ(ElementsOf(*x), "1=one");
    x->Element(AggregateIndex("a", 1), 1);
    EXPECT_EQ(ElementsOf(*x), "a=1");
}

TEST_F(CallbackStructVariableTest, AScalarIsLostWhenAMemberIsMade)
{
    x->SetValue("text", -1);
    EXPECT_EQ(ValueOf(*Member(*x, "a")), "1");
    EXPECT_EQ(ValueOf(*x), "text");
    x->Element(AggregateIndex("a", 1), 1);
    EXPECT_EQ(ValueOf(*x), "1");
}

TEST(MakeCallbackStruct, KeepsNameValueAndCounts)
{
    Calls calls;
    Held x = Fresh("1.50");
    x->SetName("a name that is longer than what fits inside");
    x->value_double();
    x->IncRefCount();
    x->Make_CallbackStruct(new Callback(&calls));
    EXPECT_EQ(NameOf(*x), "a name that is longer than what fits inside");
    EXPECT_EQ(ValueOf(*x), "1.50");
    EXPECT_EQ(x->primary_type(), Variable::kText);
    EXPECT_EQ(x->refcount(), 2);
    EXPECT_EQ(x->type(), 0);
    x->DecRefCount();
    x.reset();
    EXPECT_EQ(calls.ended, 1);
}

TEST(MakeCallbackStruct, KeepsTheElements)
{
    Calls calls;
    Held x = Fresh();
    Put(*x, "m", "own");
    Variable* member = Member(*x, "m");
    x->Make_CallbackStruct(new Callback(&calls));
    EXPECT_EQ(Member(*x, "m"), member);
    EXPECT_EQ(calls.asked, "");
    EXPECT_EQ(ElementsOf(*x), "m=own");
}

TEST_F(CallbackStructVariableTest, AnotherCallbackReplacesTheFirst)
{
    Calls other{0, "", {{"a", "other"}}, nullptr};
    x->Make_CallbackStruct(new Callback(&other));
    EXPECT_EQ(calls.ended, 1);
    EXPECT_EQ(ValueOf(*Member(*x, "a")), "other");
    x.reset();
    EXPECT_EQ(other.ended, 1);
}

TEST_F(CallbackStructVariableTest, TheCallbackMayDropTheMemberItIsAskedFor)
{
    calls.act = [](Variable* self) { self->SetNULL(); };
    Variable* a = x->Element(AggregateIndex("a", 1), 1);
    EXPECT_EQ(ValueOf(*a), "1");
    EXPECT_EQ(ElementsOf(*x), "a=1");
    calls.act = [](Variable* self) { self->Convert_Aggregate(kAggregateArray); };
    EXPECT_TRUE(x->Element(AggregateIndex("zz", 2), 1)->IsNULL());
    EXPECT_EQ(ElementsOf(*x), "zz=");
}

TEST_F(CallbackStructVariableTest, TheCallbackMayMakeTheVariableAReference)
{
    Held target = Fresh();
    calls.act = [&](Variable* self) { self->Make_Reference(target.get()); };
    x->Element(AggregateIndex("a", 1), 1);
    EXPECT_EQ(calls.ended, 1);
    EXPECT_EQ(x->type(), 1);
    EXPECT_EQ(x->RealIdentity(), target.get());
    EXPECT_EQ(target->ElementsUsed(), 1);
    x.reset();
    EXPECT_EQ(target->refcount(), 1);
}

TEST_F(CallbackStructVariableTest, ACallbackThatIsReplacedWhileItRunsEndsAfterwards)
{
    Calls other{0, "", {{"a", "other"}}, nullptr};
    calls.act = [&](Variable* self) {
        self->Make_CallbackStruct(new Callback(&other));
        EXPECT_EQ(calls.ended, 0);
    };
    EXPECT_EQ(Member(*x, "a"), nullptr);
    EXPECT_EQ(calls.ended, 1);
    EXPECT_EQ(ValueOf(*Member(*x, "a")), "other");
}

TEST_F(CallbackStructVariableTest, TheVariableMayEndWhileItsCallbackRuns)
{
    Held* held = &x;
    calls.act = [&](Variable*) { held->reset(); };
    x.get()->Element(AggregateIndex("zz", 2), 0);
    EXPECT_EQ(calls.ended, 1);
}

TEST_F(CallbackStructVariableTest, WhatAnEndingVariableAnswersIsNotHandedOut)
{
    for (int create : {0, 1}) {
        SCOPED_TRACE(create);
        Calls last{0, "", {{"a", "1"}}, nullptr};
        Held held = Fresh();
        held->Make_CallbackStruct(new Callback(&last));
        last.act = [&](Variable*) { held.reset(); };
        EXPECT_EQ(held.get()->Element(AggregateIndex("a", 1), create), nullptr);
        EXPECT_EQ(last.ended, 1);
    }
}

TEST_F(CallbackStructVariableTest, TheAnswerItselfIsStored)
{
    Variable* a = x->Element(AggregateIndex("a", 1), 1);
    EXPECT_EQ(a->refcount(), 2);
    Held kept = Fresh();
    calls.values["a"] = "other";
    EXPECT_EQ(Member(*x, "a"), a);
}

TEST_F(CallbackStructVariableTest, BecomingAStructureKeepsThePrimaryType)
{
    x->SetValue_Integer(4);
    x->Element(AggregateIndex("a", 1), 1);
    EXPECT_EQ(x->primary_type(), Variable::kInteger);
    EXPECT_EQ(x->value_integer(), 0);
}

TEST_F(CallbackStructVariableTest, NoFormOfTheScalarOutlivesTheFirstMember)
{
    calls.values["a"] = "0";
    x->SetValue("abc", -1);
    ASSERT_TRUE(x->IsTrue());
    x->Element(AggregateIndex("a", 1), 1);
    EXPECT_FALSE(x->IsTrue());
}

TEST_F(CallbackStructVariableTest, ACloneIsPlain)
{
    x->Element(AggregateIndex("a", 1), 1);
    Held clone(x->Clone(nullptr));
    EXPECT_EQ(ElementsOf(*clone), "a=1");
    EXPECT_EQ(Member(*clone, "b"), nullptr);
}

TEST(CallbackVariable, EndsItsCallback)
{
    Calls calls;
    Held x(new CallbackVariable("x", 1, new Callback(&calls)));
    x->SetValue("v", 1);
    EXPECT_EQ(ValueOf(*x), "v");
    EXPECT_EQ(Member(*x, "a"), nullptr);
    EXPECT_EQ(calls.asked, "");
    x.reset();
    EXPECT_EQ(calls.ended, 1);
}

}  // namespace
