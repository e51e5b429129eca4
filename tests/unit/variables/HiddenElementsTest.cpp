#include <limits.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TestVariables.h"

// Numbers that were lowered or stopped on top of others: which elements are found then is
// not defined, but that every operation ends, and loses none, is.

namespace {

const bool kCollapse = true;
const bool kCopy = true;
const bool kShare = false;

// A test that does not end is ended by a signal.
class HiddenElements : public testing::Test {
protected:
    HiddenElements() { alarm(60); }
    ~HiddenElements() override { alarm(0); }

    // Lowers the numbers from `start` on by two.
    static void Lower(Variable& x, int start)
    {
        x.MergeElements(xyz().get(), 6, -1, start, kShare);
    }
    static Held xyz() { return ArrayOf("xyz"); }
};

TEST_F(HiddenElements, DeletingToTheEndStopsAtOne)
{
    Held x = ArrayOf("abcd");
    Lower(*x, 4);
    ASSERT_EQ(ElementsOf(*x), "1=a 2=b 3=c 2=d");
    At(*x, 1);
    x->DeleteElements(1, -1, kShare);
    EXPECT_LE(x->ElementsUsed(), 4);
    x->CollapseElements();
    x->DeleteElements(1, -1, kShare);
    EXPECT_EQ(ElementsOf(*x), "");
}

TEST_F(HiddenElements, DeletingARangeEnds)
{
    Held x = ArrayOf("abcd");
    Lower(*x, 4);
    At(*x, 1);
    Lower(*x, 3);
    ASSERT_EQ(ElementsOf(*x), "1=a 2=b 1=c 0=d");
    x->DeleteElements(2, 100, kShare);
    EXPECT_LE(x->ElementsUsed(), 4);
    x->CollapseElements();
    x->DeleteElements(1, 100, kShare);
    EXPECT_EQ(ElementsOf(*x), "");
}

TEST_F(HiddenElements, CopyingUpwardStopsAtOne)
{
    Held x = ArrayOf("abc");
    x->MergeElements(xyz().get(), 5, -1, 3, kShare);
    ASSERT_EQ(ElementsOf(*x), "1=a 2=b 2=c");
    Held other = Fresh();
    other->CopyElements(x.get(), 2, 100, 1, kCopy);
    EXPECT_EQ(other->ElementsUsed(), 1);
    EXPECT_EQ(x->ElementsUsed(), 3);
}

TEST_F(HiddenElements, CopyingDownwardStopsAtOne)
{
    Held x = ArrayOf("ab");
    x->MergeElements(xyz().get(), 5, -1, 2, kShare);
    ASSERT_EQ(ElementsOf(*x), "1=a 1=b");
    Held other = Fresh();
    other->CopyElements(x.get(), 1, 100, 20, kCopy);
    EXPECT_EQ(other->ElementsUsed(), 1);
    EXPECT_EQ(x->ElementsUsed(), 2);
}

// Two elements that share the last number there is.
Held SharingTheLastNumber()
{
    Held x = Fresh();
    Put(*x, INT_MAX - 1, "y");
    Put(*x, INT_MAX, "z");
    x->InsertElement(1, Fresh("v").get());
    EXPECT_EQ(ElementsOf(*x), "1=v 2147483647=y 2147483647=z");
    return x;
}

TEST_F(HiddenElements, BehindTheLastNumberNothingIsLowered)
{
    Held x = SharingTheLastNumber();
    x->DeleteElement(AggregateIndex(INT_MAX), kCollapse);
    EXPECT_EQ(x->ElementsUsed(), 2);
    EXPECT_EQ(x->Max(), INT_MAX);
    Lower(*x, 0);
    EXPECT_EQ(x->Max(), INT_MAX);
    x->DeleteElements(INT_MAX, 2, kCollapse);
    EXPECT_EQ(ElementsOf(*x), "1=v");
}

// The range moves behind the last number with the room that is made in front of it.
TEST_F(HiddenElements, BehindTheLastNumberNothingIsCopied)
{
    for (int look : {1, INT_MAX}) {
        SCOPED_TRACE(look);
        Held x = SharingTheLastNumber();
        At(*x, look);
        x->MergeElements(x.get(), INT_MAX, 1, 1, kCopy);
        EXPECT_EQ(ElementsOf(*x), "2=v 2147483647=y 2147483647=z");
    }
}

}  // namespace
