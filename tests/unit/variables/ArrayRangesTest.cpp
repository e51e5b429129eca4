#include <limits.h>
#include <string.h>

#include <gtest/gtest.h>

#include "TestVariables.h"

// Operations on a range of elements: deleting, copying and merging.

namespace {

const bool kCollapse = true;
const bool kCopy = true;
const bool kShare = false;

TEST(ArrayRanges, DeletesARange)
{
    static const struct {
        int start, count;
        bool collapse;
        const char* elements;
    } rows[] = {{2, 2, false, "1=a 4=d 5=e"},
                {2, 2, true, "1=a 2=d 3=e"},
                {2, -1, false, "1=a"},
                {2, -1, true, "1=a"},
                {-4, -1, false, ""},
                {1, 0, true, "1=a 2=b 3=c 4=d 5=e"},
                {4, 100, true, "1=a 2=b 3=c"},
                {4, INT_MAX, true, "1=a 2=b 3=c"},
                {6, 3, true, "1=a 2=b 3=c 4=d 5=e"},
                {0, 3, false, "3=c 4=d 5=e"},
                {INT_MIN, 3, false, "1=a 2=b 3=c 4=d 5=e"},
                // Lowered as far as numbers go.
                {-1, 3, true, "0=b 0=c 1=d 2=e"},
                // Raised: a count below -1 makes room.
                {3, -2, true, "3=a 4=b 5=c 6=d 7=e"},
                {3, -2, false, "1=a 2=b 3=c 4=d 5=e"},
                {INT_MAX, INT_MAX, true, "1=a 2=b 3=c 4=d 5=e"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.start) + ", " + std::to_string(row.count));
        Held x = ArrayOf("abcde");
        x->DeleteElements(row.start, row.count, row.collapse);
        EXPECT_EQ(ElementsOf(*x), row.elements);
    }
    Held scalar = Fresh("lost");
    scalar->DeleteElements(1, 1, kCollapse);
    EXPECT_EQ(scalar->aggregatetype(), kAggregateArray);
    EXPECT_EQ(ElementsOf(*scalar), "");
}

TEST(ArrayRanges, CopiesBetweenArrays)
{
    static const struct {
        int start, count, destination;
        const char* elements;
    } rows[] = {{1, 2, 2, "1=a 2=x 3=y"},          {0, -1, 0, "1=a 2=b 3=c 4=x 5=y 6=z"},
                {2, -1, 1, "1=y 2=z 3=c"},         {2, 1, 10, "1=a 2=b 3=c 10=y"},
                {3, 5, 1, "1=z 2=b 3=c"},          {9, -1, 1, "1=a 2=b 3=c"},
                {1, 0, 1, "1=a 2=b 3=c"},          {-1, 2, -1, "1=a 2=b 3=c 4=x 5=y"},
                {1, INT_MAX, 2, "1=a 2=x 3=y 4=z"}};
    for (const auto& row : rows) {
        for (bool copy : {kCopy, kShare}) {
            SCOPED_TRACE(std::string(row.elements) + (copy ? " copied" : " shared"));
            Held source = ArrayOf("xyz");
            Held x = ArrayOf("abc");
            x->CopyElements(source.get(), row.start, row.count, row.destination, copy);
            EXPECT_EQ(ElementsOf(*x), row.elements);
            EXPECT_EQ(ElementsOf(*source), "1=x 2=y 3=z");
        }
    }
}

TEST(ArrayRanges, CopiedElementsAreTheTargetsAloneAndSharedOnesAreNot)
{
    Held source = ArrayOf("xy");
    Held x = Fresh();
    x->CopyElements(source.get(), 1, 2, 1, kCopy);
    EXPECT_NE(At(*x, 1), At(*source, 1));
    EXPECT_EQ(At(*x, 1)->refcount(), 1);
    x->CopyElements(source.get(), 1, 2, 1, kShare);
    EXPECT_EQ(At(*x, 1), At(*source, 1));
    EXPECT_EQ(At(*x, 1)->refcount(), 2);
    At(*source, 2)->SetValue("new", 3);
    EXPECT_EQ(ElementsOf(*x), "1=x 2=new");
}

TEST(ArrayRanges, CopiesWithinOneArrayReadBeforeTheyOverwrite)
{
    static const struct {
        int start, count, destination;
        const char* elements;
    } rows[] = {{1, 4, 3, "1=a 2=b 3=a 4=b 5=c 6=d"},
                {3, 3, 1, "1=c 2=d 3=e 4=d 5=e"},
                {2, -1, 3, "1=a 2=b 3=b 4=c 5=d 6=e"},
                {2, -1, 2, "1=a 2=b 3=c 4=d 5=e"},
                {1, 2, 0, "1=a 2=b 3=c 4=d 5=e 6=a 7=b"}};
    for (const auto& row : rows) {
        for (bool copy : {kCopy, kShare}) {
            SCOPED_TRACE(std::string(row.elements) + (copy ? " copied" : " shared"));
            Held x = ArrayOf("abcde");
            x->CopyElements(x.get(), row.start, row.count, row.destination, copy);
            EXPECT_EQ(ElementsOf(*x), row.elements);
        }
    }
}

TEST(ArrayRanges, CopyingInPlaceReplacesOnlyIfCopiesAreAskedFor)
{
    Held x = ArrayOf("ab");
    Held kept = Fresh("k");
    x->SetElement(AggregateIndex(1), kept.get());
    x->CopyElements(x.get(), 1, 2, 1, kShare);
    EXPECT_EQ(At(*x, 1), kept.get());
    x->CopyElements(x.get(), 1, 2, 1, kCopy);
    EXPECT_NE(At(*x, 1), kept.get());
    EXPECT_EQ(ElementsOf(*x), "1=k 2=b");
}

TEST(ArrayRanges, CopyingFromWhatIsNoArrayOnlyMakesAnArray)
{
    Held scalar = Fresh("s");
    Held structure = Fresh();
    Put(*structure, "m", "1");
    Held x = Fresh("old");
    x->CopyElements(scalar.get(), 1, 1, 1, kCopy);
    EXPECT_EQ(ElementsOf(*x), "");
    x = ArrayOf("a");
    x->CopyElements(structure.get(), 0, -1, 1, kCopy);
    EXPECT_EQ(ElementsOf(*x), "1=a");
    x->CopyElements(ArrayOf("").get(), 0, 5, 1, kCopy);
    x->CopyElements(ArrayOf("").get(), 1, -1, 1, kCopy);
    EXPECT_EQ(ElementsOf(*x), "1=a");
    structure->CopyElements(structure.get(), 1, 1, 1, kCopy);
    EXPECT_EQ(ElementsOf(*structure), "");
}

TEST(ArrayRanges, CopyKeepsTheGapsOfTheSource)
{
    Held source = Fresh();
    Put(*source, 3, "x");
    Put(*source, 6, "y");
    Held x = ArrayOf("abcd");
    x->CopyElements(source.get(), 0, -1, 1, kCopy);
    EXPECT_EQ(ElementsOf(*x), "1=x 2=b 3=c 4=y");
}

TEST(ArrayRanges, MergeMakesRoomFirst)
{
    static const struct {
        int start, count, destination;
        const char* elements;
    } rows[] = {{1, 2, 2, "1=a 2=x 3=y 4=b 5=c"},  {0, -1, 0, "1=a 2=b 3=c 4=x 5=y 6=z"},
                {2, -1, 1, "1=y 2=z 3=a 4=b 5=c"}, {3, 3, 1, "1=z 4=a 5=b 6=c"},
                {4, -1, 2, "1=a 2=b 3=c"},         {1, 0, 1, "1=a 2=b 3=c"},
                {-1, 1, -1, "1=a 2=b 3=c 4=x"}};
    for (const auto& row : rows) {
        for (bool copy : {kCopy, kShare}) {
            SCOPED_TRACE(std::string(row.elements) + (copy ? " copied" : " shared"));
            Held source = ArrayOf("xyz");
            Held x = ArrayOf("abc");
            x->MergeElements(source.get(), row.start, row.count, row.destination, copy);
            EXPECT_EQ(ElementsOf(*x), row.elements);
            EXPECT_EQ(ElementsOf(*source), "1=x 2=y 3=z");
            EXPECT_EQ(At(*source, 1)->refcount() > 1,
                      !copy && strchr(row.elements, 'x') != nullptr);
        }
    }
}

TEST(ArrayRanges, MergeWithinOneArray)
{
    static const struct {
        int start, count, destination;
        const char* elements;
    } rows[] = {{3, 2, 1, "1=c 2=d 3=a 4=b 5=c 6=d 7=e"},
                {3, 2, 3, "1=a 2=b 3=c 4=d 5=c 6=d 7=e"},
                {1, 2, 3, "1=a 2=b 3=a 4=b 5=c 6=d 7=e"},
                {1, 2, 5, "1=a 2=b 3=c 4=d 5=a 6=b 7=e"},
                {4, -1, 0, "1=a 2=b 3=c 4=d 5=e 6=d 7=e"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.elements);
        Held x = ArrayOf("abcde");
        x->MergeElements(x.get(), row.start, row.count, row.destination, kCopy);
        EXPECT_EQ(ElementsOf(*x), row.elements);
    }
}

// The range 2 to 4 of which 3 and 4 move: they are copied from where they are now, but
// so is what follows them, over the first of those that have moved.
TEST(ArrayRanges, MergeIntoItsOwnRangeReachesBehindIt)
{
    Held x = ArrayOf("abcde");
    x->MergeElements(x.get(), 2, 3, 3, kCopy);
    EXPECT_EQ(ElementsOf(*x), "1=a 2=b 3=b 4=c 5=d 6=e 7=d 8=e");
    Held at_end = ArrayOf("abcd");
    at_end->MergeElements(at_end.get(), 2, 3, 3, kShare);
    EXPECT_EQ(ElementsOf(*at_end), "1=a 2=b 3=b 4=c 5=d 6=c 7=d");
}

TEST(ArrayRanges, MergeFromWhatIsNoArrayLeavesTheGap)
{
    Held scalar = Fresh("s");
    Held x = ArrayOf("abc");
    x->MergeElements(scalar.get(), 1, 2, 2, kCopy);
    EXPECT_EQ(ElementsOf(*x), "1=a 4=b 5=c");
    x->MergeElements(scalar.get(), 1, -1, 2, kCopy);
    EXPECT_EQ(ElementsOf(*x), "1=a 4=b 5=c");
    Held structure = Fresh();
    Put(*structure, "m", "1");
    x->MergeElements(structure.get(), 0, -1, 4, kCopy);
    EXPECT_EQ(ElementsOf(*x), "1=a 3=b 4=c");
    structure->MergeElements(x.get(), 0, -1, 0, kCopy);
    EXPECT_EQ(ElementsOf(*structure), "1=a 3=b 4=c");
}

// A range that starts behind the last element has a count below 0: the gap closes by as
// much, and numbers that would fall below 0 stay there.
TEST(ArrayRanges, MergeOfANegativeRangeLowersWhatFollows)
{
    static const struct {
        int start, destination;
        const char* elements;
    } rows[] = {{5, 8, "1=a 7=b 8=c"},
                {9, 8, "1=a 3=b 4=c"},
                {9, 9, "1=a 8=b 4=c"},
                {99, 2, "1=a 0=b 0=c"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.start);
        Held source = ArrayOf("xyz");
        Held x = Fresh();
        Put(*x, 1, "a");
        Put(*x, 8, "b");
        Put(*x, 9, "c");
        x->MergeElements(source.get(), row.start, -1, row.destination, kCopy);
        EXPECT_EQ(x->ElementsUsed(), 3);
        EXPECT_EQ(ElementsOf(*x), row.elements);
    }
}

// A copy puts them in order, so that everything is found again.
TEST(ArrayRanges, ACopyOfLoweredNumbersIsInOrder)
{
    for (int first : {2000, 20}) {
        SCOPED_TRACE(first);
        Held structure = Fresh();
        Put(*structure, "m", "1");
        Held x = Fresh();
        Put(*x, 1, "a");
        Put(*x, first / 2, "b");
        Put(*x, first, "c");
        for (int i = 0; i < first * 3 / 4; ++i)
            x->MergeElements(structure.get(), 0, -1, first - i, kShare);
        Held copy = Fresh();
        copy->SetValue(*x);
        EXPECT_EQ(ElementsOf(*copy),
                  "1=a " + std::to_string(first / 4) + "=c " + std::to_string(first / 2) + "=b");
        EXPECT_NE(At(*copy, first / 4), nullptr);
    }
}

// A million calls in a row would not end in time if each looked through the hole again.
TEST(ArrayRanges, DeletingARangeOfALargeArrayIsLinear)
{
    Held x = Fresh();
    for (int i = 1; i <= 300000; ++i)
        x->Element(AggregateIndex(i), 1);
    x->DeleteElements(60001, 180000, kShare);
    EXPECT_EQ(x->ElementsUsed(), 120000);
    EXPECT_EQ(x->Next(60000), 240001);
    x->DeleteElements(1, 60000, kCollapse);
    EXPECT_EQ(x->Min(), 180001);
}

// Elements that share a number, or stand in a false order, are hidden but not lost.
TEST(ArrayRanges, WhatWasLoweredOnTopOfOthersComesBackByCollapsing)
{
    Held structure = Fresh();
    Put(*structure, "m", "1");
    Held x = ArrayOf("abcdefgh");
    for (int i = 0; i < 4; ++i)
        x->MergeElements(structure.get(), 0, -1, 5, kShare);
    Held other = Fresh();
    other->CopyElements(x.get(), 1, -1, 1, kCopy);
    other->CopyElements(x.get(), 1, 100, 7, kCopy);
    other->CopyElements(x.get(), 8, 100, 7, kCopy);
    EXPECT_EQ(x->CollapseElements(), 8);
    EXPECT_EQ(ElementsOf(*x), "1=a 2=b 3=c 4=d 5=e 6=f 7=g 8=h");
    for (int i = 0; i < 4; ++i)
        x->MergeElements(structure.get(), 0, -1, 5, kShare);
    x->DeleteElements(0, 100, kCollapse);
    x->DeleteElements(0, -1, kShare);
    EXPECT_LE(x->ElementsUsed(), 8);
}

// What is read lives only in what the call itself drops.
TEST(ArrayRanges, AMemberMayBeMergedIntoItsStructure)
{
    for (bool merge : {true, false}) {
        Held x = Fresh();
        Held list = ArrayOf("ab");
        x->SetElement(AggregateIndex("list", 4), list.get());
        Variable* source = list.get();
        list.reset();
        if (merge)
            x->MergeElements(source, 0, -1, 0, kCopy);
        else
            x->CopyElements(source, 0, -1, 0, kCopy);
        EXPECT_EQ(ElementsOf(*x), "1=a 2=b");
    }
}

TEST(ArrayRanges, ACopiedElementOfTheLastNumberIsInRange)
{
    Held source = Fresh();
    Put(*source, INT_MAX, "z");
    Held x = Fresh();
    x->CopyElements(source.get(), INT_MAX, 1, INT_MAX, kCopy);
    EXPECT_EQ(x->Max(), INT_MAX);
    Held low = Fresh();
    low->CopyElements(source.get(), INT_MAX, -1, 1, kCopy);
    EXPECT_EQ(ElementsOf(*low), "1=z");
}

}  // namespace
