#include "variables/List.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Item {
    explicit Item(int item_number) : number(item_number) { ++alive; }
    ~Item() { --alive; }
    int number;
    static int alive;
};

int Item::alive = 0;

// A borrowing list over five items.
class ListOfItems : public testing::Test {
protected:
    void Fill(int count)
    {
        for (int i = 0; i < count; ++i)
            list.Insert(&items[i], kListTail);
    }
    // The numbers from first to last; the links back are checked on the way. Moves
    // the cursor past the end.
    std::string Numbers()
    {
        std::string forward, backward;
        for (Item* item = list.Last(); item; item = list.Previous())
            backward.insert(0, std::to_string(item->number));
        for (Item* item = list.First(); item; item = list.Next())
            forward += std::to_string(item->number);
        EXPECT_EQ(forward, backward);
        return forward;
    }

    Item items[5] = {Item(0), Item(1), Item(2), Item(3), Item(4)};
    List<Item> list{0};
};

class CountingList : public List<Item> {
public:
    CountingList() : List<Item>(1) {}
    ~CountingList() override { CountingList::Dump(); }
    void Purge(Item* item) override
    {
        purged += std::to_string(item->number);
        delete item;
    }
    std::string purged;
};

}  // namespace

TEST_F(ListOfItems, InsertsAtBothEndsAndBeforeTheCursor)
{
    list.Insert(&items[1], kListCursor);
    list.Insert(&items[0], kListHead);
    list.Insert(&items[3], kListTail);
    list.Insert(&items[2], kListCursor);
    EXPECT_EQ(list.Current(), &items[2]);
    EXPECT_EQ(list.Next(), &items[3]);
    EXPECT_EQ(Numbers(), "0123");
    list.First();
    list.Insert(&items[4], kListCursor);
    EXPECT_EQ(Numbers(), "40123");
    EXPECT_EQ(list.Entries(), 5);
}

TEST_F(ListOfItems, TheCursorMovesToTheNewNode)
{
    Fill(2);
    EXPECT_EQ(list.Current(), &items[1]);
    list.Insert(&items[2], kListHead);
    EXPECT_EQ(list.Current(), &items[2]);
    EXPECT_EQ(list.Next(), &items[0]);
}

TEST_F(ListOfItems, ACursorPastTheEndInsertsAtTheTail)
{
    Fill(2);
    list.First();
    list.Previous();
    list.Insert(&items[2], kListCursor);
    EXPECT_EQ(Numbers(), "012");
}

TEST_F(ListOfItems, PastAnEndTheCursorStandsNowhere)
{
    Fill(2);
    EXPECT_EQ(list.Next(), nullptr);
    EXPECT_EQ(list.Previous(), nullptr);
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(list.Next(), nullptr);
    EXPECT_EQ(list.First(), &items[0]);
    EXPECT_EQ(list.Previous(), nullptr);
    EXPECT_EQ(list.Next(), nullptr);
    EXPECT_EQ(list.Last(), &items[1]);
}

TEST_F(ListOfItems, RemoveAtTheCursorMovesItToTheNextNode)
{
    Fill(4);
    list.First();
    list.Next();
    EXPECT_EQ(list.Remove(kListCursor), &items[1]);
    EXPECT_EQ(list.Current(), &items[2]);
    list.Last();
    EXPECT_EQ(list.Remove(kListCursor), &items[3]);
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(list.Entries(), 2);
    EXPECT_EQ(Numbers(), "02");
}

TEST_F(ListOfItems, RemoveAtAnEndMovesTheCursorOnlyFromThatNode)
{
    Fill(5);
    list.First();
    list.Next();
    list.Next();
    EXPECT_EQ(list.Remove(kListHead), &items[0]);
    EXPECT_EQ(list.Current(), &items[2]);
    EXPECT_EQ(list.Remove(kListTail), &items[4]);
    EXPECT_EQ(list.Current(), &items[2]);
    list.First();
    EXPECT_EQ(list.Remove(kListHead), &items[1]);
    EXPECT_EQ(list.Current(), &items[2]);
    list.Last();
    EXPECT_EQ(list.Remove(kListTail), &items[3]);
    EXPECT_EQ(list.Current(), &items[2]);
    EXPECT_EQ(list.Remove(kListTail), &items[2]);
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(list.Entries(), 0);
    EXPECT_EQ(Numbers(), "");
    Fill(1);
    EXPECT_EQ(Numbers(), "0");
}

TEST_F(ListOfItems, RemoveFromAnEmptyListCountsBelowZero)
{
    EXPECT_EQ(list.Remove(kListHead), nullptr);
    EXPECT_EQ(list.Entries(), -1);
}

TEST_F(ListOfItems, SeekFindsByIdentityAndLeavesTheCursorThere)
{
    Fill(3);
    EXPECT_EQ(list.Seek(&items[1]), &items[1]);
    EXPECT_EQ(list.Next(), &items[2]);
    Item equal(1);
    EXPECT_EQ(list.Seek(&equal), nullptr);
    EXPECT_EQ(list.Current(), nullptr);
}

TEST_F(ListOfItems, RemoveAtACursorThatStandsNowhereCountsAllTheSame)
{
    list.RemoveAll();
    list.Insert(&items[0], kListTail);
    list.Next();
    EXPECT_EQ(list.Remove(kListCursor), nullptr);
    EXPECT_EQ(list.Entries(), 0);
    EXPECT_EQ(list.First(), &items[0]);
}

TEST_F(ListOfItems, RemoveAllKeepsTheValues)
{
    int alive = Item::alive;
    List<Item> owner(1);
    Item* item = new Item(7);
    owner.Insert(item, kListTail);
    owner.RemoveAll();
    EXPECT_EQ(owner.Entries(), 0);
    EXPECT_EQ(owner.First(), nullptr);
    EXPECT_EQ(Item::alive, alive + 1);
    owner.Insert(item, kListHead);
    EXPECT_EQ(owner.Last(), item);
}

TEST(List, AnOwnerPurgesItsValuesFromFirstToLast)
{
    int alive = Item::alive;
    std::string purged;
    {
        CountingList list;
        for (int i = 0; i < 3; ++i)
            list.Insert(new Item(i), kListTail);
        list.Dump();
        EXPECT_EQ(list.purged, "012");
        EXPECT_EQ(list.Entries(), 0);
        EXPECT_EQ(list.Current(), nullptr);
        list.Insert(new Item(3), kListTail);
    }
    {
        List<Item> list(1);
        list.Insert(new Item(1), kListTail);
    }
    EXPECT_EQ(Item::alive, alive);
}

TEST(List, ABorrowerDeletesNothing)
{
    Item item(1);
    int alive = Item::alive;
    {
        List<Item> list(0);
        list.Insert(&item, kListTail);
        list.Dump();
        list.Insert(&item, kListTail);
    }
    EXPECT_EQ(Item::alive, alive);
}
