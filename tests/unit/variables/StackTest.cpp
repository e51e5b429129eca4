#include "variables/Stack.h"

#include <gtest/gtest.h>

namespace {

struct Item {
    explicit Item(int item_number) : number(item_number) { ++alive; }
    ~Item() { --alive; }
    int number;
    static int alive;
};

int Item::alive = 0;

const int kOwner = 1;

}  // namespace

TEST(Stack, PopsInReverseOrder)
{
    Item one(1), two(2);
    Stack<Item> stack(0);
    EXPECT_EQ(stack.Pop(), nullptr);
    stack.Push(&one);
    stack.Push(&two);
    EXPECT_EQ(stack.Entries(), 2);
    EXPECT_EQ(stack.Pop(), &two);
    EXPECT_EQ(stack.Pop(), &one);
    EXPECT_EQ(stack.Pop(), nullptr);
    EXPECT_EQ(stack.Entries(), 0);
}

TEST(Stack, TopAndPeekWalkDown)
{
    Item one(1), two(2), three(3);
    Stack<Item> stack(0);
    EXPECT_EQ(stack.Top(), nullptr);
    EXPECT_EQ(stack.Peek(), nullptr);
    stack.Push(&one);
    stack.Push(&two);
    stack.Push(&three);
    EXPECT_EQ(stack.Peek(), &two);  // a push leaves the cursor on the top
    EXPECT_EQ(stack.Top(), &three);
    EXPECT_EQ(stack.Peek(), &two);
    EXPECT_EQ(stack.Peek(), &one);
    EXPECT_EQ(stack.Peek(), nullptr);
    EXPECT_EQ(stack.Peek(), nullptr);
    EXPECT_EQ(stack.Top(), &three);
}

TEST(Stack, PopAfterAWalkDropsEverythingAbove)
{
    int alive = Item::alive;
    Stack<Item> stack(kOwner);
    for (int i = 1; i <= 4; ++i)
        stack.Push(new Item(i));
    stack.Top();
    stack.Peek();
    stack.Peek();
    Item* item = stack.Pop();
    EXPECT_EQ(item->number, 2);
    EXPECT_EQ(stack.Entries(), 1);
    EXPECT_EQ(Item::alive, alive + 2);
    delete item;
    item = stack.Pop();
    EXPECT_EQ(item->number, 1);
    delete item;
}

TEST(Stack, PopMovesTheCursorToTheNewTop)
{
    Item one(1), two(2), three(3);
    Stack<Item> stack(0);
    stack.Push(&one);
    stack.Push(&two);
    stack.Push(&three);
    stack.Pop();
    EXPECT_EQ(stack.Peek(), &one);
    stack.Push(&three);
    EXPECT_EQ(stack.Pop(), &three);
    EXPECT_EQ(stack.Entries(), 2);
}

TEST(Stack, PopAfterAWalkPastTheBottomDropsEverything)
{
    int alive = Item::alive;
    Stack<Item> stack(kOwner);
    stack.Push(new Item(1));
    stack.Push(new Item(2));
    stack.Peek();
    stack.Peek();
    EXPECT_EQ(stack.Pop(), nullptr);
    EXPECT_EQ(stack.Entries(), 0);
    EXPECT_EQ(Item::alive, alive);
}

TEST(Stack, OnlyAnOwnerDeletesWhatItHolds)
{
    Item kept(1);
    int alive = Item::alive;
    {
        Stack<Item> owner(kOwner);
        owner.Push(new Item(1));
        owner.Push(new Item(2));
        owner.Dump();
        EXPECT_EQ(Item::alive, alive);
        EXPECT_EQ(owner.Entries(), 0);
        EXPECT_EQ(owner.Peek(), nullptr);
        EXPECT_EQ(owner.Top(), nullptr);
        owner.Push(new Item(3));
        Stack<Item> borrower(0);
        borrower.Push(&kept);
        borrower.Dump();
        borrower.Push(&kept);
    }
    EXPECT_EQ(Item::alive, alive);
}
