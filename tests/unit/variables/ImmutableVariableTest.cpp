#include "variables/ImmutableVariable.h"

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/CallbackVariable.h"

namespace {

const bool kLocked = true;

Held Unlocked(const char* text = "")
{
    return Held(new ImmutableVariable("v", -1, text, -1, !kLocked));
}

ImmutableVariable& Immutable(Held& variable)
{
    return static_cast<ImmutableVariable&>(*variable);
}

TEST(ImmutableVariable, EveryConstructorTakesTheLock)
{
    ImmutableVariable none(kLocked);
    ImmutableVariable named("n", -1, kLocked);
    ImmutableVariable texts(String("n"), String("x"), kLocked);
    ImmutableVariable real("n", -1, 2.5, kLocked);
    ImmutableVariable taken("n", -1, zeph_strdup("x"), 1, 2, kLocked);
    Variable source("n", -1, "x", -1);
    ImmutableVariable copy(source, kLocked);
    for (ImmutableVariable* variable : {&none, &named, &texts, &real, &taken, &copy}) {
        std::string before = ValueOf(*variable);
        EXPECT_EQ(variable->SetValue_Double(1.0), 1);
        EXPECT_EQ(ValueOf(*variable), before);
        EXPECT_TRUE(variable->is_immutable());
    }
    ImmutableVariable unlocked(&source);
    EXPECT_EQ(NameOf(unlocked), "n");
    unlocked.SetValue_Double(2.5);
    EXPECT_EQ(ValueOf(unlocked), "2.5");
    EXPECT_FALSE(source.is_immutable());
}

TEST(ImmutableVariable, WhileLockedElementsStayAsTheyAre)
{
    Held v = Unlocked();
    v->SetValue(*ArrayOf("ab"));
    Immutable(v).Lock();
    v->SetNULL();
    v->SetValue_Integer(1);
    EXPECT_EQ(v->SetElement(AggregateIndex(1), Fresh("x").get()), 1);
    v->Convert_Aggregate(kAggregateStructure);
    At(*v, 1)->SetValue("x", 1);
    EXPECT_EQ(v->CollapseElements(), 2);
    EXPECT_EQ(ElementsOf(*v), "1=a 2=b");
}

TEST(ImmutableVariable, MovingElementsDoesNothingAtAnyTime)
{
    Held v = Unlocked();
    v->SetValue(*ArrayOf("ab"));
    Held other = ArrayOf("xy");
    v->InsertElement(1, other.get());
    v->DeleteElement(AggregateIndex(1), true);
    v->DeleteElements(1, -1, true);
    v->MergeElements(other.get(), 1, 1, 1, true);
    v->CopyElements(other.get(), 1, 1, 1, true);
    v->Make_Reference(other.get());
    EXPECT_EQ(v->type(), 0);
    EXPECT_EQ(ElementsOf(*v), "1=a 2=b");
}

TEST(ImmutableVariable, AnUnlockedOneCollapses)
{
    Held v = Unlocked();
    Put(*v, 4, "a");
    Put(*v, 6, "b");
    Immutable(v).Lock();
    EXPECT_EQ(v->CollapseElements(), 2);
    EXPECT_EQ(v->Max(), 6);
    Immutable(v).Unlock();
    EXPECT_EQ(v->CollapseElements(), 2);
    EXPECT_EQ(v->Max(), 2);
}

TEST(ImmutableVariable, EverythingBelowIsImmutable)
{
    Held source = ArrayOf("a");
    Put(*source->Element(AggregateIndex(2), 1), "m", "b");
    Held v = Unlocked();
    v->SetValue(*source);
    EXPECT_TRUE(At(*v, 1)->is_immutable());
    EXPECT_TRUE(Member(*At(*v, 2), "m")->is_immutable());
    Variable* made = v->Element(AggregateIndex(3), 1);
    EXPECT_TRUE(made->is_immutable());
    Put(*made, "deep", "c");
    EXPECT_TRUE(Member(*made, "deep")->is_immutable());
    EXPECT_EQ(ValueOf(*v), "a,b,c");
}

TEST(ImmutableVariable, SetElementWrapsWhatIsNotImmutable)
{
    Held v = Unlocked();
    Held plain = Fresh("p");
    plain->SetName("name");
    v->SetElement(AggregateIndex(1), plain.get());
    EXPECT_NE(At(*v, 1), plain.get());
    EXPECT_TRUE(At(*v, 1)->is_immutable());
    EXPECT_EQ(At(*v, 1)->refcount(), 1);
    EXPECT_EQ(NameOf(*At(*v, 1)), "name");
    EXPECT_EQ(plain->refcount(), 1);
    Held immutable = Unlocked("i");
    v->SetElement(AggregateIndex(2), immutable.get());
    EXPECT_EQ(At(*v, 2), immutable.get());
    EXPECT_EQ(immutable->refcount(), 2);
    EXPECT_EQ(ElementsOf(*v), "1=p 2=i");
}

TEST(ImmutableVariable, LockAndUnlockPassDown)
{
    Held v = Unlocked();
    Put(*v->Element(AggregateIndex(1), 1), "m", "a");
    Variable* leaf = Member(*At(*v, 1), "m");
    Immutable(v).Lock();
    leaf->SetValue("x", 1);
    EXPECT_EQ(ValueOf(*v), "a");
    Immutable(v).Unlock();
    leaf->SetValue("x", 1);
    EXPECT_EQ(ValueOf(*v), "x");
}

TEST(ImmutableVariable, AMissingElementOfALockedOneIsOneSharedNull)
{
    Held v = Unlocked("text");
    Immutable(v).Lock();
    EXPECT_EQ(At(*v, 1), nullptr);
    Variable* missing = v->Element(AggregateIndex(1), 1);
    ASSERT_NE(missing, nullptr);
    EXPECT_EQ(missing->type(), 2);
    EXPECT_EQ(v->Element(AggregateIndex("m", 1), 1), missing);
    EXPECT_EQ(ValueOf(*v), "text");
    Immutable(v).Unlock();
    Variable* made = v->Element(AggregateIndex(1), 1);
    EXPECT_NE(made, missing);
    made->SetValue("x", 1);
    EXPECT_EQ(ValueOf(*v), "x");
    List<AggregateIndex> path(1);
    path.Insert(new AggregateIndex(9), kListTail);
    path.Insert(new AggregateIndex("m", 1), kListTail);
    Immutable(v).Lock();
    EXPECT_EQ(v->Element(&path, 1), missing);
    EXPECT_EQ(v->Element(&path, 0), nullptr);
}

TEST(ImmutableVariable, ACloneIsLockedIfItsSourceIs)
{
    Held v = Unlocked();
    v->SetName("array");
    v->SetValue(*ArrayOf("ab"));
    Held unlocked(v->Clone(nullptr));
    Put(*unlocked, 1, "x");
    EXPECT_EQ(ElementsOf(*unlocked), "1=x 2=b");
    Immutable(v).Lock();
    Held clone(v->Clone(nullptr));
    EXPECT_TRUE(clone->is_immutable());
    EXPECT_EQ(NameOf(*clone), "array");
    At(*clone, 1)->SetValue("x", 1);
    clone->SetValue("x", 1);
    EXPECT_EQ(ElementsOf(*clone), "1=a 2=b");
}

TEST(ImmutableVariable, AssignedFromOneAPlainVariableIsFree)
{
    Held v = Unlocked();
    v->SetValue(*ArrayOf("ab"));
    Immutable(v).Lock();
    Held plain = Fresh();
    plain->SetValue(*v);
    EXPECT_FALSE(At(*plain, 1)->is_immutable());
    Put(*plain, 1, "x");
    EXPECT_EQ(ElementsOf(*plain), "1=x 2=b");
    EXPECT_EQ(ElementsOf(*v), "1=a 2=b");
}

TEST(ImmutableVariable, ACallbackIsEndedAtOnce)
{
    class Callback : public CallbackVariableCallback {
    public:
        explicit Callback(int* ended) : m_ended(ended) {}
        ~Callback() override { ++*m_ended; }
        bool RunFunction(Variable*, AggregateIndex, Variable**) override { return false; }

    private:
        int* m_ended;
    };
    int ended = 0;
    Held v = Unlocked("x");
    v->Make_CallbackStruct(new Callback(&ended));
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(ValueOf(*v), "x");
}

TEST(NULLVariable, IsNullInEveryForm)
{
    NULLVariable null;
    null.SetValue_Double(1.5);
    null.Unlock();
    null.SetValue("x", 1);
    EXPECT_EQ(ValueOf(null), "");
    EXPECT_EQ(null.value_integer(), 0);
    EXPECT_EQ(null.value_double(), 0.0);
    int error = -1;
    EXPECT_EQ(null.value_compare(&error), 0.0);
    EXPECT_EQ(error, 0);
    EXPECT_FALSE(null.IsTrue());
    EXPECT_TRUE(null.IsNULL());
    EXPECT_EQ(null.type(), 2);
    EXPECT_EQ(null.CollapseElements(), 0);
    EXPECT_EQ(null.Element(AggregateIndex(1), 1), &null);
    EXPECT_EQ(null.Element(AggregateIndex("m", 1), 0), nullptr);
}

TEST(NULLVariable, StaysNullBelowWhatIsUnlocked)
{
    Held parent = Unlocked();
    Held null(new NULLVariable);
    parent->SetElement(AggregateIndex("m", 1), null.get());
    Immutable(parent).Lock();
    Immutable(parent).Unlock();
    null->SetValue("x", 1);
    EXPECT_EQ(ValueOf(*null), "");
    Held array = ArrayOf("ab");
    null->SetValue(*array);
    EXPECT_EQ(null->aggregatetype(), kAggregateNone);
}

TEST(NULLVariable, AssignedFromItAVariableIsNull)
{
    NULLVariable null;
    Variable target("t", -1, "x", -1);
    target.SetValue(null);
    EXPECT_TRUE(target.IsNULL());
    EXPECT_EQ(target.primary_type(), 0);
}

}  // namespace
