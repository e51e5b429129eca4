#include "variables/ReferenceVariable.h"

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/CallbackVariable.h"

namespace {

[[gnu::noinline]] Held Reference(Variable* target)
{
    return Held(new ReferenceVariable("r", 1, target));
}

TEST(ReferenceVariable, StandsForItsTargetInAllButItsName)
{
    Held target = Fresh("5");
    target->SetName("target");
    Held r = Reference(target.get());
    EXPECT_EQ(NameOf(*r), "r");
    EXPECT_EQ(r->type(), 1);
    EXPECT_EQ(r->refcount(), 1);
    EXPECT_EQ(r->NextIdentity(), target.get());
    EXPECT_EQ(r->RealIdentity(), target.get());
    EXPECT_EQ(ValueOf(*r), "5");
    EXPECT_EQ(r->value_integer(), 5);
    EXPECT_EQ(r->value_double(), 5.0);
    int error = -1;
    EXPECT_EQ(r->value_compare(&error), 5.0);
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(r->IsTrue());
    EXPECT_FALSE(r->IsNULL());
    EXPECT_EQ(r->primary_type(), Variable::kText);
    r->SetName("other");
    EXPECT_EQ(NameOf(*target), "target");
    r->SetValue_Integer(7);
    EXPECT_EQ(ValueOf(*target), "7");
    r->SetValue_Double(2.5);
    EXPECT_EQ(ValueOf(*target), "2.5");
    r->SetValue("t", 1);
    EXPECT_EQ(ValueOf(*target), "t");
    r->SetValue_Nocopy(zeph_strdup("n"), 1, 2);
    EXPECT_EQ(ValueOf(*target), "n");
    String text;
    r->Serialize(text);
    EXPECT_EQ(TextOf(text), "n");
    r->SetNULL();
    EXPECT_TRUE(target->IsNULL());
    r->Convert_Integer();
    EXPECT_EQ(ValueOf(*target), "0");
}

TEST(ReferenceVariable, ForwardsAllElementOperations)
{
    Held target = Fresh();
    Held r = Reference(target.get());
    Put(*r, 1, "a");
    r->SetElement(AggregateIndex(3), Fresh("c").get());
    r->InsertElement(2, Fresh("b").get());
    EXPECT_EQ(ElementsOf(*target), "1=a 2=b 4=c");
    EXPECT_EQ(r->aggregateelements(), target->aggregateelements());
    EXPECT_EQ(r->aggregatetype(), kAggregateArray);
    EXPECT_EQ(r->Max(), 4);
    EXPECT_EQ(r->Min(), 1);
    EXPECT_EQ(r->Next(2), 4);
    EXPECT_EQ(r->Previous(4), 2);
    EXPECT_EQ(r->ElementsUsed(), 3);
    EXPECT_EQ(r->CollapseElements(), 3);
    EXPECT_EQ(ElementsOf(*target), "1=a 2=b 3=c");
    r->DeleteElement(AggregateIndex(1), true);
    EXPECT_EQ(ElementsOf(*target), "1=b 2=c");
    r->CopyElements(r.get(), 1, 2, 0, true);
    EXPECT_EQ(ElementsOf(*target), "1=b 2=c 3=b 4=c");
    r->DeleteElements(2, -1, false);
    r->MergeElements(ArrayOf("xy").get(), 0, -1, 1, false);
    EXPECT_EQ(ElementsOf(*target), "1=x 2=y 3=b");
    List<AggregateIndex> path(1);
    path.Insert(new AggregateIndex(3), kListTail);
    EXPECT_EQ(r->Element(&path, 0), At(*target, 3));
    r->Convert_Aggregate(kAggregateStructure);
    EXPECT_EQ(target->aggregatetype(), kAggregateStructure);
}

TEST(ReferenceVariable, IsMadeOntoAPath)
{
    Held base = Fresh();
    List<AggregateIndex> path(1);
    path.Insert(new AggregateIndex("m", 1), kListTail);
    path.Insert(new AggregateIndex(2), kListTail);
    Held r(new ReferenceVariable("r", 1, base.get(), &path));
    r->SetValue("v", 1);
    EXPECT_EQ(ValueOf(*At(*Member(*base, "m"), 2)), "v");
    EXPECT_EQ(r->RealIdentity()->refcount(), 2);
}

TEST(ReferenceVariable, HoldsAsManyCountsOfItsTargetAsItHas)
{
    Held target = Fresh("v");
    Held r = Reference(target.get());
    EXPECT_EQ(target->refcount(), 2);
    r->IncRefCount();
    r->IncRefCount();
    EXPECT_EQ(r->refcount(), 3);
    EXPECT_EQ(target->refcount(), 4);
    Held other = Fresh("w");
    r->Make_Reference(other.get());
    EXPECT_EQ(ValueOf(*r), "w");
    EXPECT_EQ(target->refcount(), 1);
    EXPECT_EQ(other->refcount(), 4);
    r->DecRefCount();
    r->DecRefCount();
    EXPECT_EQ(other->refcount(), 2);
    r.reset();
    EXPECT_EQ(other->refcount(), 1);
}

TEST(ReferenceVariable, OneThatIsNotStoredGivesItsCountBackToo)
{
    Held target = Fresh("v");
    {
        ReferenceVariable r("r", 1, target.get());
        EXPECT_EQ(target->refcount(), 2);
    }
    EXPECT_EQ(target->refcount(), 1);
}

TEST(ReferenceVariable, KeepsItsTargetAlive)
{
    Held target = Fresh("v");
    Held r = Reference(target.get());
    target.reset();
    EXPECT_EQ(ValueOf(*r), "v");
    Held array = ArrayOf("ab");
    r->Make_Reference(At(*array, 2));
    array.reset();
    EXPECT_EQ(ValueOf(*r), "b");
}

TEST(ReferenceVariable, AChainIsFollowedToItsEndAndCountedAllAlong)
{
    Held target = Fresh("v");
    Held first = Reference(target.get());
    Held second = Reference(first.get());
    EXPECT_EQ(second->NextIdentity(), first.get());
    EXPECT_EQ(second->RealIdentity(), target.get());
    EXPECT_EQ(first->refcount(), 2);
    EXPECT_EQ(target->refcount(), 3);
    second->IncRefCount();
    EXPECT_EQ(first->refcount(), 3);
    EXPECT_EQ(target->refcount(), 4);
    second->DecRefCount();
    first.reset();
    target.reset();
    EXPECT_EQ(ValueOf(*second), "v");
    EXPECT_EQ(second->RealIdentity()->refcount(), 1);
}

TEST(ReferenceVariable, CloneAndCopyArePlainVariablesOfTheTargetsValue)
{
    Held target = ArrayOf("ab");
    Held r = Reference(target.get());
    Held clone(r->Clone(nullptr));
    EXPECT_EQ(clone->type(), 0);
    EXPECT_EQ(NameOf(*clone), "r");
    EXPECT_EQ(ElementsOf(*clone), "1=a 2=b");
    Variable copy(*r);
    EXPECT_EQ(copy.type(), 0);
    Put(copy, 1, "x");
    EXPECT_EQ(ElementsOf(*target), "1=a 2=b");
}

TEST(ReferenceVariable, ACopiedAggregateHasValuesWhereReferencesWere)
{
    Held target = Fresh("v");
    Held array = ArrayOf("ab");
    At(*array, 2)->Make_Reference(target.get());
    Variable copy(*array);
    target->SetValue("w", 1);
    EXPECT_EQ(ElementsOf(*array), "1=a 2=w");
    EXPECT_EQ(ElementsOf(copy), "1=a 2=v");
}

TEST(ReferenceVariable, AssigningThroughReferencesToItselfChangesNothing)
{
    Held target = Fresh("1.50");
    Held r = Reference(target.get());
    target->SetValue(*r);
    r->SetValue(*target);
    r->SetValue(*r);
    EXPECT_EQ(ValueOf(*target), "1.50");
    EXPECT_EQ(target->primary_type(), Variable::kText);
}

TEST(MakeReference, TurnsAVariableIntoAReferenceWhereItStands)
{
    Held x = Fresh("old");
    x->SetName("x");
    x->IncRefCount();
    x->IncRefCount();
    Held target = Fresh("new");
    Variable* address = x.get();
    x->Make_Reference(target.get());
    EXPECT_EQ(x.get(), address);
    EXPECT_EQ(x->type(), 1);
    EXPECT_EQ(NameOf(*x), "x");
    EXPECT_EQ(x->refcount(), 3);
    EXPECT_EQ(target->refcount(), 4);
    EXPECT_EQ(ValueOf(*x), "new");
    x->DecRefCount();
    x->DecRefCount();
    EXPECT_EQ(target->refcount(), 2);
    x.reset();
    EXPECT_EQ(target->refcount(), 1);
}

TEST(MakeReference, KeepsALongNameAndDropsTheElements)
{
    Held x = ArrayOf("abc");
    x->SetName("a name that is longer than what fits inside");
    Held kept = Fresh("k");
    x->SetElement(AggregateIndex(2), kept.get());
    Held target = Fresh("v");
    x->Make_Reference(target.get());
    EXPECT_EQ(NameOf(*x), "a name that is longer than what fits inside");
    EXPECT_EQ(kept->refcount(), 1);
    EXPECT_EQ(x->aggregateelements(), nullptr);
}

TEST(MakeReference, DoesNothingOntoItself)
{
    Held x = Fresh("v");
    x->Make_Reference(x.get());
    EXPECT_EQ(x->type(), 0);
    Held r = Reference(x.get());
    Held rr = Reference(r.get());
    x->Make_Reference(rr.get());
    EXPECT_EQ(x->type(), 0);
    EXPECT_EQ(ValueOf(*x), "v");
    r->Make_Reference(r.get());
    r->Make_Reference(rr.get());
    r->Make_Reference(x.get());
    EXPECT_EQ(r->NextIdentity(), x.get());
    EXPECT_EQ(r->refcount(), 2);
    EXPECT_EQ(x->refcount(), 3);
}

TEST(MakeReference, MayReferToAnElementOfItsOwn)
{
    Held x = ArrayOf("ab");
    x->Make_Reference(At(*x, 2));
    EXPECT_EQ(x->type(), 1);
    EXPECT_EQ(ValueOf(*x), "b");
    EXPECT_EQ(x->RealIdentity()->refcount(), 1);
}

TEST(MakeReference, AReferenceMovesAwayFromAnAggregateThatHoldsIt)
{
    Held array = ArrayOf("ab");
    Held held_by_array = Fresh();
    array->SetElement(AggregateIndex(1), held_by_array.get());
    Variable* r = held_by_array.get();
    held_by_array->Make_Reference(At(*array, 2));
    Held target = Fresh("v");
    r->Make_Reference(target.get());
    EXPECT_EQ(target->refcount(), 3);
    EXPECT_EQ(ValueOf(*array), "v,b");
    array.reset();
    EXPECT_EQ(target->refcount(), 2);
}

TEST(MakeReference, ACallbackStructEndsItsCallback)
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
    Held x = Fresh("v");
    x->Make_CallbackStruct(new Callback(&ended));
    Held target = Fresh("t");
    x->Make_Reference(target.get());
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(ValueOf(*x), "t");
    x->Make_CallbackStruct(new Callback(&ended));
    EXPECT_EQ(x->type(), 1);
    EXPECT_EQ(ended, 1);
    x.reset();
    EXPECT_EQ(ended, 1);
    target.reset();
    EXPECT_EQ(ended, 2);
}

}  // namespace
