#include <limits.h>

#include <gtest/gtest.h>

#include "TestVariables.h"

namespace {

const bool kCollapse = true;
const bool kCopy = true;

TEST(VariableElements, ReadingAnElementOfAScalarKeepsTheScalar)
{
    Variable x("x", -1, "text", -1);
    EXPECT_EQ(At(x, 5), nullptr);
    EXPECT_EQ(Member(x, "m"), nullptr);
    EXPECT_EQ(ValueOf(x), "text");
    EXPECT_EQ(x.aggregatetype(), kAggregateNone);
    Variable* made = x.Element(AggregateIndex(5), 1);
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(made->IsNULL());
    EXPECT_EQ(x.aggregatetype(), kAggregateArray);
    EXPECT_EQ(x.primary_type(), Variable::kNone);
    EXPECT_EQ(x.ElementsUsed(), 1);
    EXPECT_EQ(ValueOf(x), "");
    EXPECT_EQ(At(x, 5), made);
}

TEST(VariableElements, ASparseArrayKnowsItsEndsAndNeighbours)
{
    Held x = Fresh();
    Put(*x, 7, "b");
    Put(*x, 2, "a");
    EXPECT_EQ(x->Min(), 2);
    EXPECT_EQ(x->Max(), 7);
    EXPECT_EQ(x->ElementsUsed(), 2);
    EXPECT_EQ(x->Next(2), 7);
    EXPECT_EQ(x->Next(7), 0);
    EXPECT_EQ(x->Next(0), 2);
    EXPECT_EQ(x->Next(-5), 2);
    EXPECT_EQ(x->Next(INT_MAX), 0);
    EXPECT_EQ(x->Previous(7), 2);
    EXPECT_EQ(x->Previous(5), 2);
    EXPECT_EQ(x->Previous(2), 0);
    EXPECT_EQ(x->Previous(100), 7);
    EXPECT_EQ(x->CollapseElements(), 2);
    EXPECT_EQ(ElementsOf(*x), "1=a 2=b");
}

TEST(VariableElements, EndsOfWhatIsNoArray)
{
    Variable scalar("s", -1, "x", -1);
    EXPECT_EQ(scalar.Min(), 0);
    EXPECT_EQ(scalar.Max(), 0);
    EXPECT_EQ(scalar.Next(1), 0);
    EXPECT_EQ(scalar.Previous(1), 0);
    EXPECT_EQ(scalar.ElementsUsed(), 0);
    EXPECT_EQ(scalar.CollapseElements(), 0);
    Held structure = Fresh();
    structure->Convert_Aggregate(kAggregateStructure);
    EXPECT_EQ(structure->Max(), 0);
    Put(*structure, "a", "1");
    Put(*structure, "b", "2");
    EXPECT_EQ(structure->Min(), -1);
    EXPECT_EQ(structure->Max(), -1);
    EXPECT_EQ(structure->Next(1), -1);
    EXPECT_EQ(structure->Previous(1), -1);
    EXPECT_EQ(structure->ElementsUsed(), 2);
    EXPECT_EQ(structure->CollapseElements(), 0);
    EXPECT_EQ(ElementsOf(*structure), "a=1 b=2");
    Held empty = ArrayOf("");
    EXPECT_EQ(empty->Max(), 0);
    EXPECT_EQ(empty->Next(0), 0);
}

TEST(VariableElements, MembersIgnoreCaseAndKeepTheirFirstSpelling)
{
    Held x = Fresh();
    Put(*x, "Name", "1");
    Put(*x, "NAME", "2");
    Put(*x, "abc", "4");
    Put(*x, "AB", "3");
    EXPECT_EQ(x->ElementsUsed(), 3);
    EXPECT_EQ(ElementsOf(*x), "AB=3 abc=4 Name=2");
}

TEST(VariableElements, TheOtherKindOfIndexLosesTheElements)
{
    Held x = ArrayOf("abc");
    EXPECT_EQ(Member(*x, "m"), nullptr);
    EXPECT_EQ(x->ElementsUsed(), 3);
    Put(*x, "m", "1");
    EXPECT_EQ(ElementsOf(*x), "m=1");
    EXPECT_EQ(x->aggregatetype(), kAggregateStructure);
    EXPECT_EQ(At(*x, 1), nullptr);
    Put(*x, 3, "2");
    EXPECT_EQ(ElementsOf(*x), "3=2");
}

TEST(VariableElements, APathIsFollowedAndMade)
{
    Held x = Fresh("old");
    List<AggregateIndex> path(1);
    EXPECT_EQ(x->Element(&path, 0), x.get());
    EXPECT_EQ(x->Element(static_cast<List<AggregateIndex>*>(nullptr), 1), x.get());
    path.Insert(new AggregateIndex(2), kListTail);
    path.Insert(new AggregateIndex("m", -1), kListTail);
    path.Insert(new AggregateIndex(1), kListTail);
    EXPECT_EQ(x->Element(&path, 0), nullptr);
    EXPECT_EQ(ValueOf(*x), "old");
    Variable* made = x->Element(&path, 1);
    ASSERT_NE(made, nullptr);
    made->SetValue("v", 1);
    EXPECT_EQ(ValueOf(*x), "v");
    EXPECT_EQ(x->Element(&path, 0), made);
    EXPECT_EQ(At(*Member(*At(*x, 2), "M"), 1), made);
}

TEST(VariableElements, SetElementSharesTheVariable)
{
    Held x = ArrayOf("ab");
    Held shared = Fresh("s");
    EXPECT_EQ(x->SetElement(AggregateIndex(2), shared.get()), 1);
    x->SetElement(AggregateIndex(5), shared.get());
    EXPECT_EQ(shared->refcount(), 3);
    EXPECT_EQ(At(*x, 2), shared.get());
    shared->SetValue("t", 1);
    EXPECT_EQ(ElementsOf(*x), "1=a 2=t 5=t");
    x->SetElement(AggregateIndex(2), shared.get());
    EXPECT_EQ(shared->refcount(), 3);
    x->SetElement(AggregateIndex("m", 1), shared.get());
    EXPECT_EQ(ElementsOf(*x), "m=t");
    EXPECT_EQ(shared->refcount(), 2);
}

// The only count of the variable is that of an element which the call itself drops.
TEST(VariableElements, AnElementMayBeStoredInItsOwnAggregate)
{
    Held x = ArrayOf("ab");
    x->SetElement(AggregateIndex("m", 1), At(*x, 2));
    EXPECT_EQ(ElementsOf(*x), "m=b");
    x->InsertElement(3, Member(*x, "m"));
    EXPECT_EQ(ElementsOf(*x), "3=b");
    x->SetElement(AggregateIndex(3), At(*x, 3));
    EXPECT_EQ(ElementsOf(*x), "3=b");
    Put(*x->Element(AggregateIndex(3), 1), 1, "in");
    x->SetElement(AggregateIndex(3), At(*At(*x, 3), 1));
    EXPECT_EQ(ElementsOf(*x), "3=in");
    EXPECT_EQ(At(*x, 3)->refcount(), 1);
}

TEST(VariableElements, InsertMakesRoomOrAppends)
{
    static const struct {
        int position;
        const char* elements;
    } rows[] = {{2, "1=a 2=v 3=b 4=c"}, {0, "1=a 2=b 3=c 4=v"}, {-3, "1=a 2=b 3=c 4=v"},
                {1, "1=v 2=a 3=b 4=c"}, {4, "1=a 2=b 3=c 4=v"}, {9, "1=a 2=b 3=c 9=v"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.position);
        Held x = ArrayOf("abc");
        x->InsertElement(row.position, Fresh("v").get());
        EXPECT_EQ(ElementsOf(*x), row.elements);
    }
}

TEST(VariableElements, InsertMakesAnArrayOfAnythingElse)
{
    Held scalar = Fresh("old");
    scalar->InsertElement(0, Fresh("v").get());
    EXPECT_EQ(ElementsOf(*scalar), "1=v");
    Held structure = Fresh();
    Put(*structure, "m", "1");
    structure->InsertElement(4, Fresh("v").get());
    EXPECT_EQ(ElementsOf(*structure), "4=v");
    Held empty = ArrayOf("");
    empty->InsertElement(0, Fresh("v").get());
    EXPECT_EQ(ElementsOf(*empty), "1=v");
}

TEST(VariableElements, InsertingMovesWhatIsCachedOfAnIndexToo)
{
    Held x = ArrayOf("ab");
    List<AggregateElement> list(0);
    x->aggregateelements()->AppendToList(list);
    AggregateElement* last = list.Last();
    EXPECT_EQ(TextOf(last->index().serialized()), "[2]");
    x->InsertElement(1, Fresh("v").get());
    EXPECT_EQ(TextOf(last->index().serialized()), "[3]");
}

TEST(VariableElements, DeleteClosesTheGapIfAskedTo)
{
    Held x = ArrayOf("abc");
    x->DeleteElement(AggregateIndex(2), kCollapse);
    EXPECT_EQ(ElementsOf(*x), "1=a 2=c");
    x = ArrayOf("abc");
    x->DeleteElement(AggregateIndex(2), !kCollapse);
    EXPECT_EQ(ElementsOf(*x), "1=a 3=c");
    // The gap was there already, and closes all the same.
    x->DeleteElement(AggregateIndex(2), kCollapse);
    EXPECT_EQ(ElementsOf(*x), "1=a 2=c");
    x->DeleteElement(AggregateIndex("m", 1), kCollapse);
    EXPECT_EQ(ElementsOf(*x), "1=a 2=c");
    Variable scalar("s", -1, "x", -1);
    scalar.DeleteElement(AggregateIndex(1), kCollapse);
    EXPECT_EQ(ValueOf(scalar), "x");
}

TEST(VariableElements, DeletingAMemberLeavesTheOthers)
{
    Held x = Fresh();
    Put(*x, "a", "1");
    Put(*x, "b", "2");
    x->DeleteElement(AggregateIndex("A", 1), kCollapse);
    EXPECT_EQ(ElementsOf(*x), "b=2");
    x->DeleteElement(AggregateIndex("zz", 2), !kCollapse);
    EXPECT_EQ(ElementsOf(*x), "b=2");
}

TEST(VariableElements, DeleteByAnElementsOwnIndex)
{
    Held x = ArrayOf("abc");
    x->DeleteElement(x->aggregateelements()->First()->index(), kCollapse);
    EXPECT_EQ(ElementsOf(*x), "1=b 2=c");
}

TEST(VariableElements, NumbersStopAtTheLastOne)
{
    Held x = Fresh();
    Put(*x, INT_MAX, "z");
    Put(*x, INT_MAX - 1, "y");
    x->InsertElement(1, Fresh("v").get());
    EXPECT_EQ(x->Max(), INT_MAX);
    EXPECT_EQ(x->ElementsUsed(), 3);
    x->InsertElement(0, Fresh("w").get());
    x->CopyElements(ArrayOf("abc").get(), 1, 3, INT_MAX - 1, kCopy);
    x->MergeElements(ArrayOf("abc").get(), 1, INT_MAX, INT_MAX, kCopy);
    x->DeleteElement(AggregateIndex(INT_MAX), kCollapse);
    x->CopyElements(x.get(), 1, INT_MAX, 2, kCopy);
    EXPECT_EQ(x->Max(), INT_MAX);
    EXPECT_EQ(x->Min(), 1);
    int count = x->ElementsUsed();
    EXPECT_EQ(x->CollapseElements(), count);
    EXPECT_EQ(x->Max(), count);
}

TEST(AggregateElement, HoldsOneCountOfItsVariable)
{
    Held variable = Fresh("v");
    Held other = Fresh("w");
    {
        AggregateElement element(AggregateIndex(1), variable.get());
        EXPECT_EQ(variable->refcount(), 2);
        element.SetVariable(element.var());
        EXPECT_EQ(variable->refcount(), 2);
        AggregateElement copy(element);
        EXPECT_NE(copy.var(), variable.get());
        EXPECT_EQ(ValueOf(*copy.var()), "v");
        EXPECT_EQ(copy.index().number(), 1);
        element.SetVariable(other.get());
        EXPECT_EQ(variable->refcount(), 1);
        EXPECT_EQ(other->refcount(), 2);
    }
    EXPECT_EQ(other->refcount(), 1);
    AggregateElement made(AggregateIndex("m", 1));
    EXPECT_TRUE(made.var()->IsNULL());
    EXPECT_EQ(made.var()->refcount(), 1);
}

// Above 99 entries another way is taken, and each shape goes its own.
TEST(AggregateElementTree, DisplacesFromANumberOnInSmallAndLargeTrees)
{
    for (int count : {3, 99, 100, 1000}) {
        for (int step : {1, 7, 11}) {
            for (int start : {0, 1, 2, count / 2, count, count + 1}) {
                SCOPED_TRACE(std::to_string(count) + " from " + std::to_string(start));
                Held x = Fresh();
                for (int i = 0; i < count; ++i)
                    x->Element(AggregateIndex((long(i) * step) % count + 1), 1);
                int used = x->ElementsUsed();
                AggregateElementTree* elements = x->aggregateelements();
                elements->Displace(start, 5);
                int expected = 0;
                int previous = 0;
                elements->ForEach([&](AggregateElement* element) {
                    int number = element->index().number();
                    int before = number > start + 4 ? number - 5 : number;
                    EXPECT_FALSE(number >= start && number < start + 5);
                    EXPECT_GT(before, previous);
                    previous = before;
                    ++expected;
                });
                EXPECT_EQ(expected, used);
            }
        }
    }
}

TEST(AggregateElementTree, DisplacingByNothingOrNothingIsHarmless)
{
    AggregateElementTree tree(1);
    tree.Displace(1, 5);
    tree.Insert(new AggregateElement(AggregateIndex(1)));
    tree.Displace(1, 0);
    EXPECT_EQ(tree.First()->index().number(), 1);
}

}  // namespace
