#include "variables/AggregateElementTree.h"

#include <gtest/gtest.h>

#include "TestVariables.h"
#include "variables/ElementRun.h"

// Elements and their tree by themselves, without an aggregate around them.

namespace {

const int kOwner = 1;

class Ending : public Variable {
public:
    explicit Ending(bool* ended) : m_ended(ended) {}
    ~Ending() override { *m_ended = true; }

private:
    bool* m_ended;
};

TEST(AggregateElement, TakesAVariableThatOnlyTheFormerOneKeepsAlive)
{
    bool ended = false;
    Variable* inner = new Ending(&ended);
    Variable* outer = Fresh().release();
    outer->SetElement(AggregateIndex(1), inner);
    inner->DecRefCount();
    {
        AggregateElement element(AggregateIndex(1), outer);
        outer->DecRefCount();
        element.SetVariable(inner);
        ASSERT_FALSE(ended);
        EXPECT_EQ(element.var(), inner);
        EXPECT_EQ(inner->refcount(), 1);
    }
    EXPECT_TRUE(ended);
}

TEST(AggregateElement, TakesTheVariableThatItHas)
{
    bool ended = false;
    Variable* variable = new Ending(&ended);
    AggregateElement element(AggregateIndex(1), variable);
    variable->DecRefCount();
    element.SetVariable(variable);
    ASSERT_FALSE(ended);
    EXPECT_EQ(variable->refcount(), 1);
}

// How many elements stand in nodes rather than in the run.
int InNodes(const AggregateElementTree& tree)
{
    using Nodes = SplayTree<AggregateElement, const AggregateIndex&, AggregateElementTree>;
    return static_cast<const Nodes&>(tree).Entries();
}

class AggregateElementTreeTest : public testing::Test {
protected:
    void Fill(int count)
    {
        for (int number = 1; number <= count; ++number)
            tree.Insert(new AggregateElement(AggregateIndex(number)));
    }

    AggregateElementTree tree{kOwner};
};

TEST_F(AggregateElementTreeTest, ARunThatRemovalsLeaveTooSparseMovesToNodes)
{
    const int kCount = 1000;
    Fill(kCount);
    AggregateElement any(AggregateIndex(1));
    ElementRun run;
    for (int number = 1; number <= kCount; ++number)
        ASSERT_TRUE(run.Put(number, &any));
    EXPECT_EQ(InNodes(tree), 0);
    for (int number = 2; run.IsDense(); ++number) {
        EXPECT_EQ(InNodes(tree), 0);
        run.Take(number);
        delete tree.Remove(AggregateIndex(number));
    }
    EXPECT_EQ(InNodes(tree), run.Entries());
    EXPECT_EQ(tree.Entries(), run.Entries());
    EXPECT_EQ(tree.First()->index().number(), 1);
    EXPECT_EQ(tree.Last()->index().number(), kCount);
}

TEST_F(AggregateElementTreeTest, CollapsingBringsTheRunBack)
{
    Fill(3);
    tree.Insert(new AggregateElement(AggregateIndex(100000)));
    EXPECT_EQ(InNodes(tree), 4);
    EXPECT_EQ(tree.Collapse(), 4);
    EXPECT_EQ(InNodes(tree), 0);
    EXPECT_EQ(tree.Last()->index().number(), 4);
}

}  // namespace
