#include "variables/HashTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Item {
    Item(const std::string& item_key, int item_number) : key(item_key), number(item_number)
    {
        ++alive;
    }
    ~Item() { --alive; }

    std::string key;
    int number;
    static int alive;
};

int Item::alive = 0;

class ItemTable : public HashTable<Item> {
public:
    using HashTable::HashTable;
    void Add(const std::string& key, int number) { Insert(new Item(key, number)); }
    int NumberOf(const char* key)
    {
        Item* item = Find(key, -1);
        return item ? item->number : -1;
    }

protected:
    const char* Key(Item* item, int* length) override
    {
        *length = int(item->key.size());
        return item->key.data();
    }
};

const int kOwner = 1;
const int kNoCase = 1;

template <class Table>
std::string Forward(Table& table)
{
    std::string keys;
    for (Item* item = table.First(); item; item = table.Next())
        keys += item->key + " ";
    return keys;
}

template <class Table>
std::string Backward(Table& table)
{
    std::string keys;
    for (Item* item = table.Last(); item; item = table.Previous())
        keys += item->key + " ";
    return keys;
}

// The keys of a one-bucket table in the order of its chain.
class ChainProbe : public ItemTable {
public:
    explicit ChainProbe(int nocase) : ItemTable(kOwner, nocase, 0, 4) {}
    int Compare(Item* left, Item* right) override
    {
        visited += left->key + " ";
        int length;
        const char* key = Key(right, &length);
        return ItemTable::Compare(left, key, length);
    }
    int Compare(Item* left, const char* key, int length) override
    {
        visited += left->key + " ";
        return ItemTable::Compare(left, key, length);
    }
    std::string VisitedFor(const char* key)
    {
        visited.clear();
        Find(key, -1);
        return visited;
    }
    std::string VisitedForElement(const char* key)
    {
        Item probe(key, 0);
        visited.clear();
        Find(&probe);
        return visited;
    }
    std::string visited;
};

}  // namespace

TEST(HashTable, FindsByKey)
{
    ItemTable table(kOwner, 0, 4, 8);
    EXPECT_EQ(table.Find("a", 1), nullptr);
    table.Add("abc", 1);
    table.Add("ABC", 2);
    table.Add("", 3);
    EXPECT_EQ(table.NumberOf("abc"), 1);
    EXPECT_EQ(table.NumberOf("ABC"), 2);
    EXPECT_EQ(table.NumberOf(""), 3);
    EXPECT_EQ(table.NumberOf("abd"), -1);
    EXPECT_EQ(table.NumberOf("ab"), -1);
    EXPECT_EQ(table.Find("abcd", 3)->number, 1);
    Item probe("ABC", 0);
    EXPECT_EQ(table.Find(&probe)->number, 2);
    Item missing("xyz", 0);
    EXPECT_EQ(table.Find(&missing), nullptr);
}

TEST(HashTable, WithoutCaseFindsAnySpelling)
{
    ItemTable table(kOwner, kNoCase, 12, 512);
    table.Add("abc", 1);
    EXPECT_EQ(table.NumberOf("ABC"), 1);
    EXPECT_EQ(table.NumberOf("aBc"), 1);
    EXPECT_EQ(table.hash("ABC", 3), table.hash("abc", -1));
    EXPECT_LT(table.hash("ABC", 3), 4096u);
}

TEST(HashTable, KeysMayHoldNulBytes)
{
    ItemTable table(kOwner, kNoCase, 4, 8);
    table.Add(std::string("\0\0\1\0", 4), 1);
    table.Add(std::string("\0\0\2\0", 4), 2);
    EXPECT_EQ(table.Find("\0\0\2\0", 4)->number, 2);
    EXPECT_EQ(table.Find("\0\0\1\0", 4)->number, 1);
}

TEST(HashTable, EqualKeysAreKeptAndTheFirstIsFound)
{
    ItemTable table(kOwner, kNoCase, 4, 8);
    table.Add("key", 1);
    table.Add("KEY", 2);
    table.Add("Key", 3);
    EXPECT_EQ(table.Entries(), 3);
    EXPECT_EQ(table.NumberOf("key"), 1);
    Item probe("KEY", 0);
    EXPECT_EQ(table.Find(&probe)->number, 1);
    delete table.Remove("key", -1);
    EXPECT_EQ(table.NumberOf("key"), 2);
    delete table.Remove("key", 3);
    EXPECT_EQ(table.NumberOf("key"), 3);
    delete table.Remove("kEy", 3);
    EXPECT_EQ(table.NumberOf("key"), -1);
    EXPECT_EQ(table.Remove("key", 3), nullptr);
}

TEST(HashTable, ChainsAreSortedByLengthThenBytesAndEndASearchEarly)
{
    ChainProbe table(0);
    for (const char* key : {"ccc", "b", "\xE4", "aaa", "a", "dddd", "B"})
        table.Add(key, 0);
    EXPECT_EQ(table.VisitedFor("\xFF"), "B a b \xE4 aaa ");
    EXPECT_EQ(table.VisitedFor("A"), "B ");
    EXPECT_EQ(table.VisitedForElement("A"), "B ");
    EXPECT_EQ(table.VisitedForElement("a"), "B a ");
    EXPECT_EQ(table.VisitedFor("bbb"), "B a b \xE4 aaa ccc ");
    EXPECT_EQ(table.VisitedFor("eeeee"), "B a b \xE4 aaa ccc dddd ");
}

TEST(HashTable, WithoutCaseChainsAreSortedByLowerCase)
{
    ChainProbe table(kNoCase);
    for (const char* key : {"b", "C", "a", "_"})
        table.Add(key, 0);
    EXPECT_EQ(table.VisitedFor("D"), "_ a b C ");
    EXPECT_EQ(table.VisitedFor("B"), "_ a b ");
}

TEST(HashTable, IteratesInTheOrderOfInsertion)
{
    ItemTable table(kOwner, 0, 2, 8);
    EXPECT_EQ(table.First(), nullptr);
    EXPECT_EQ(table.Last(), nullptr);
    EXPECT_EQ(table.Current(), nullptr);
    for (const char* key : {"one", "two", "three", "four"})
        table.Add(key, 0);
    EXPECT_EQ(Forward(table), "one two three four ");
    EXPECT_EQ(Backward(table), "four three two one ");
}

TEST(HashTable, ARemovedElementLeavesAHoleThatStillCounts)
{
    ItemTable table(kOwner, 0, 2, 8);
    for (const char* key : {"one", "two", "three"})
        table.Add(key, 0);
    Item* removed = table.Remove("two", -1);
    EXPECT_EQ(removed->key, "two");
    delete removed;
    EXPECT_EQ(table.Entries(), 3);
    EXPECT_EQ(Forward(table), "one three ");
    EXPECT_EQ(Backward(table), "three one ");
    EXPECT_EQ(table.Index(1), nullptr);
    table.Add("four", 0);
    EXPECT_EQ(table.Entries(), 4);
    EXPECT_EQ(table.Index(3)->key, "four");
    delete table.Remove("one", -1);
    EXPECT_EQ(table.First()->key, "three");
}

TEST(HashTable, TheCursorStaysAtAnEnd)
{
    ItemTable table(kOwner, 0, 2, 8);
    table.Add("one", 1);
    table.Add("two", 2);
    EXPECT_EQ(table.First()->number, 1);
    EXPECT_EQ(table.Current()->number, 1);
    EXPECT_EQ(table.Next()->number, 2);
    EXPECT_EQ(table.Next(), nullptr);
    EXPECT_EQ(table.Current(), nullptr);
    EXPECT_EQ(table.Next(), nullptr);
    EXPECT_EQ(table.Previous()->number, 2);
    EXPECT_EQ(table.Previous()->number, 1);
    EXPECT_EQ(table.Previous(), nullptr);
    EXPECT_EQ(table.Previous(), nullptr);
    EXPECT_EQ(table.Next()->number, 1);
}

TEST(HashTable, IndexIsNullOutOfRange)
{
    ItemTable table(kOwner, 0, 2, 8);
    EXPECT_EQ(table.Index(0), nullptr);
    table.Add("one", 1);
    EXPECT_EQ(table.Index(0)->number, 1);
    EXPECT_EQ(table.Index(1), nullptr);
    EXPECT_EQ(table.Index(-1), nullptr);
}

TEST(HashTable, GrowsBy512WhateverTheFirstBlockWas)
{
    static const struct {
        int block, first, second;
    } rows[] = {{8, 8, 520}, {1, 1, 513}, {600, 600, 1112}, {0, 512, 1024}, {-3, 512, 1024}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.block);
        ItemTable table(kOwner, 0, 4, row.block);
        for (int i = 0; i < row.first; ++i)
            table.Add(std::to_string(i), i);
        EXPECT_EQ(table.capacity(), row.first);
        table.Add("more", -2);
        EXPECT_EQ(table.capacity(), row.second);
        for (int i = 0; i < row.first; ++i)
            ASSERT_EQ(table.NumberOf(std::to_string(i).c_str()), i);
        EXPECT_EQ(table.NumberOf("more"), -2);
    }
}

TEST(HashTable, DumpDeletesWhatItOwnsAndStartsOver)
{
    int alive = Item::alive;
    ItemTable table(kOwner, 0, 1, 2);
    for (const char* key : {"one", "two", "three"})
        table.Add(key, 0);
    delete table.Remove("two", -1);
    table.Last();
    table.Dump();
    table.Add("again", 5);
    ASSERT_NE(table.Current(), nullptr);
    EXPECT_EQ(table.Current()->number, 5);
    table.Dump();
    EXPECT_EQ(Item::alive, alive);
    EXPECT_EQ(table.Entries(), 0);
    EXPECT_EQ(table.First(), nullptr);
    EXPECT_EQ(table.Find("one", -1), nullptr);
    EXPECT_EQ(table.capacity(), 514);
    table.Add("new", 7);
    EXPECT_EQ(table.Index(0)->number, 7);
    EXPECT_EQ(table.NumberOf("new"), 7);
}

TEST(HashTable, DumpLeavesNoChainBehind)
{
    ItemTable table(kOwner, 0, 1, 8);
    std::string keys[2];
    for (char c = 'a'; c <= 'z'; ++c)
        keys[table.hash(&c, 1)] = std::string(1, c);
    table.Add(keys[0], 1);
    table.Dump();
    table.Add(keys[1], 2);
    delete table.Remove(keys[1].c_str(), -1);
    EXPECT_EQ(table.Find(keys[0].c_str(), -1), nullptr);
}

TEST(HashTable, OnlyAnOwnerDeletesItsElements)
{
    int alive = Item::alive;
    Item item("key", 1);
    {
        ItemTable owner(kOwner, 0, 4, 8);
        owner.Add("key", 1);
        ItemTable borrower(0, 0, 4, 8);
        borrower.Insert(&item);
        borrower.Dump();
        borrower.Insert(&item);
    }
    EXPECT_EQ(Item::alive, alive + 1);
}

TEST(HashTable, ACopySharesTheElementsAndIsIndependentOtherwise)
{
    ItemTable table(kOwner, kNoCase, 4, 8);
    ItemTable empty(table);
    EXPECT_EQ(empty.First(), nullptr);
    table.Add("one", 1);
    table.Add("two", 2);
    delete table.Remove("one", -1);
    {
        ItemTable copy(table);
        EXPECT_EQ(copy.Find("TWO", -1), table.Find("two", -1));
        EXPECT_EQ(copy.Entries(), 2);
        EXPECT_EQ(Forward(copy), "two ");
        Item extra("three", 3);
        copy.Insert(&extra);
        EXPECT_EQ(table.NumberOf("three"), -1);
        EXPECT_EQ(copy.Remove("two", -1)->number, 2);
        EXPECT_EQ(table.NumberOf("two"), 2);
    }
    EXPECT_EQ(table.NumberOf("two"), 2);
}

TEST(HashTable, RemovesAtEveryPlaceOfAChain)
{
    for (const char* gone : {"a", "b", "c"}) {
        SCOPED_TRACE(gone);
        ItemTable table(kOwner, 0, 0, 8);
        for (const char* key : {"b", "a", "c"})
            table.Add(key, key[0]);
        delete table.Remove(gone, 1);
        for (const char* key : {"a", "b", "c"})
            EXPECT_EQ(table.NumberOf(key), key[0] == gone[0] ? -1 : key[0]);
    }
}
