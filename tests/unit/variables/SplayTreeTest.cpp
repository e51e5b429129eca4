#include "variables/SplayTree.h"

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Item {
    int key;
    int* alive;

    Item(int key_, int* alive_) : key(key_), alive(alive_) { ++*alive; }
    Item(const Item& other) : key(other.key), alive(other.alive) { ++*alive; }
    ~Item() { --*alive; }
};

class ItemTree : public SplayTree<Item, int> {
public:
    using SplayTree::SplayTree;

    int Key(Item* item) override { return item->key; }
    int Compare(int key, Item* item) override
    {
        ++compared;
        return key < item->key ? -1 : key > item->key;
    }
    Item* root() { return m_root ? m_root->element : nullptr; }
    // Of the deepest node; found without recursion, since a path may be long.
    int Depth()
    {
        std::vector<std::pair<Node*, int>> pending{{m_root, 1}};
        int deepest = 0;
        while (!pending.empty()) {
            auto [node, depth] = pending.back();
            pending.pop_back();
            if (!node)
                continue;
            deepest = depth > deepest ? depth : deepest;
            pending.push_back({node->left, depth + 1});
            pending.push_back({node->right, depth + 1});
        }
        return deepest;
    }

    long compared = 0;
};

class SplayTreeTest : public testing::Test {
protected:
    Item* New(int key) { return new Item(key, &alive); }
    void Fill(ItemTree* tree, std::initializer_list<int> keys)
    {
        for (int key : keys)
            tree->Insert(New(key));
    }
    static std::vector<int> Keys(const ItemTree& tree)
    {
        List<Item> list(0);
        tree.AppendToList(list);
        std::vector<int> keys;
        for (Item* item = list.First(); item; item = list.Next())
            keys.push_back(item->key);
        return keys;
    }

    int alive = 0;
};

using Numbers = std::vector<int>;

TEST_F(SplayTreeTest, AnEmptyTreeFindsNothing)
{
    ItemTree tree(1);
    EXPECT_EQ(tree.Find(1), nullptr);
    EXPECT_EQ(tree.Remove(1), nullptr);
    EXPECT_EQ(tree.Next(1), nullptr);
    EXPECT_EQ(tree.Previous(1), nullptr);
    EXPECT_EQ(tree.First(), nullptr);
    EXPECT_EQ(tree.Last(), nullptr);
    EXPECT_EQ(tree.Entries(), 0);
    tree.Dump();
}

TEST_F(SplayTreeTest, KeepsElementsInOrder)
{
    ItemTree tree(1);
    Fill(&tree, {5, 1, 4, 2, 3});
    EXPECT_EQ(Keys(tree), (Numbers{1, 2, 3, 4, 5}));
    EXPECT_EQ(tree.Entries(), 5);
    EXPECT_EQ(tree.First()->key, 1);
    EXPECT_EQ(tree.Last()->key, 5);
}

TEST_F(SplayTreeTest, WhatWasInsertedOrFoundIsTheRoot)
{
    ItemTree tree(1);
    Fill(&tree, {5, 1, 4});
    EXPECT_EQ(tree.root()->key, 4);
    tree.Find(1);
    EXPECT_EQ(tree.root()->key, 1);
    tree.First();
    tree.Last();
    EXPECT_EQ(tree.root()->key, 1);
}

TEST_F(SplayTreeTest, AnEqualKeyGoesBehindTheOldElement)
{
    ItemTree tree(1);
    Item* old = New(2);
    tree.Insert(old);
    Fill(&tree, {1, 3});
    Item* other = New(2);
    tree.Insert(other);
    EXPECT_EQ(Keys(tree), (Numbers{1, 2, 2, 3}));
    List<Item> list(0);
    tree.AppendToList(list);
    list.First();
    EXPECT_EQ(list.Next(), old);
    EXPECT_EQ(list.Next(), other);
}

TEST_F(SplayTreeTest, NeighboursOfKeysThatAreThereAndOfThoseThatAreNot)
{
    static const struct {
        int key, next, previous;  // 0 for none
    } rows[] = {{1, 2, 0}, {2, 4, 0}, {3, 4, 2}, {4, 7, 2}, {5, 7, 4}, {7, 0, 4}, {9, 0, 7}};
    ItemTree tree(1);
    Fill(&tree, {4, 2, 7});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        Item* next = tree.Next(row.key);
        EXPECT_EQ(next ? next->key : 0, row.next);
        Item* previous = tree.Previous(row.key);
        EXPECT_EQ(previous ? previous->key : 0, row.previous);
    }
}

TEST_F(SplayTreeTest, RemoveGivesTheElementAndDoesNotDeleteIt)
{
    ItemTree tree(1);
    Fill(&tree, {1, 2, 3});
    Item* removed = tree.Remove(2);
    ASSERT_NE(removed, nullptr);
    EXPECT_EQ(removed->key, 2);
    EXPECT_EQ(tree.Entries(), 2);
    EXPECT_EQ(alive, 3);
    delete removed;
    EXPECT_EQ(tree.Remove(2), nullptr);
    EXPECT_EQ(tree.Entries(), 2);
}

// Every shape of four to seven keys, and each key removed from it.
TEST_F(SplayTreeTest, RemovingKeepsTheOrderInEveryShape)
{
    for (int count = 4; count <= 7; ++count) {
        Numbers order;
        for (int key = 1; key <= count; ++key)
            order.push_back(key);
        do {
            for (int key = 1; key <= count; ++key) {
                ItemTree tree(1);
                for (int inserted : order)
                    tree.Insert(New(inserted));
                tree.Find(order[size_t(key) % order.size()]);
                delete tree.Remove(key);
                Numbers expected;
                for (int left = 1; left <= count; ++left)
                    if (left != key)
                        expected.push_back(left);
                ASSERT_EQ(Keys(tree), expected);
                for (int left : expected)
                    ASSERT_NE(tree.Find(left), nullptr);
            }
        } while (std::next_permutation(order.begin(), order.end()));
    }
}

TEST_F(SplayTreeTest, AnOwnerDeletesInOrderWhatItHolds)
{
    {
        ItemTree tree(1);
        Fill(&tree, {3, 1, 2});
        tree.Dump();
        EXPECT_EQ(alive, 0);
        EXPECT_EQ(tree.Entries(), 0);
        Fill(&tree, {7});
        EXPECT_EQ(Keys(tree), Numbers{7});
    }
    EXPECT_EQ(alive, 0);
}

TEST_F(SplayTreeTest, DumpPurgesFromFirstToLast)
{
    class PurgeOrder : public ItemTree {
    public:
        explicit PurgeOrder(Numbers* order) : ItemTree(1), m_order(order) {}
        ~PurgeOrder() override { Dump(); }
        void Purge(Item* item) override
        {
            m_order->push_back(item->key);
            delete item;
        }

    private:
        Numbers* m_order;
    };
    Numbers order;
    {
        PurgeOrder tree(&order);
        Fill(&tree, {4, 1, 3, 5, 2});
        tree.Find(3);
    }
    EXPECT_EQ(order, (Numbers{1, 2, 3, 4, 5}));
    EXPECT_EQ(alive, 0);
}

TEST_F(SplayTreeTest, OnlyTheCopyOfAnOwnerHasElementsOfItsOwn)
{
    ItemTree tree(1);
    Fill(&tree, {2, 1, 3});
    {
        ItemTree copy(tree);
        EXPECT_EQ(Keys(copy), (Numbers{1, 2, 3}));
        EXPECT_EQ(copy.Entries(), 3);
        EXPECT_EQ(alive, 6);
        EXPECT_NE(copy.Find(2), tree.Find(2));
    }
    EXPECT_EQ(alive, 3);
    ItemTree borrower(0);
    borrower.Insert(tree.Find(1));
    {
        ItemTree copy(borrower);
        EXPECT_EQ(copy.Find(1), tree.Find(1));
    }
    EXPECT_EQ(alive, 3);
}

TEST_F(SplayTreeTest, SearchingHalvesTheDepthOfALongPath)
{
    ItemTree tree(1);
    for (int key = 1; key <= 4096; ++key)
        tree.Insert(New(key));
    EXPECT_EQ(tree.Depth(), 4096);
    tree.Find(1);
    EXPECT_LT(tree.Depth(), 4096 / 2 + 16);
    for (int round = 0; round < 20; ++round)
        tree.Find(round * 200 + 1);
    EXPECT_LT(tree.Depth(), 600);
}

TEST_F(SplayTreeTest, NeighboursAreFoundInAFewSteps)
{
    ItemTree tree(1);
    const int kCount = 10000;
    for (int key = 0; key < kCount; ++key)
        tree.Insert(New(key * 7919 % kCount));
    tree.compared = 0;
    for (int key = 0; key < kCount; ++key)
        ASSERT_NE(tree.Find(key), nullptr);
    EXPECT_LT(tree.compared, kCount * 12L);
}

TEST_F(SplayTreeTest, AMillionInOrderAreWalkedCopiedAndEnded)
{
    const int kCount = 1000000;
    {
        ItemTree tree(1);
        for (int key = 0; key < kCount; ++key)
            tree.Insert(New(key));
        ItemTree copy(tree);
        EXPECT_EQ(copy.Entries(), kCount);
        int expected = 0;
        copy.ForEach([&](Item* item) { EXPECT_EQ(item->key, expected++); });
        EXPECT_EQ(expected, kCount);
        copy.Dump();
        EXPECT_EQ(alive, kCount);
    }
    EXPECT_EQ(alive, 0);
}

TEST_F(SplayTreeTest, AgreesWithAMapOverManyOperations)
{
    std::mt19937 random(20260);
    ItemTree tree(1);
    std::map<int, Item*> model;
    for (int round = 0; round < 50000; ++round) {
        int key = int(random() % 300);
        auto place = model.find(key);
        switch (random() % 5) {
            case 0:
            case 1:
                if (place == model.end()) {
                    model[key] = New(key);
                    tree.Insert(model[key]);
                }
                break;
            case 2: {
                Item* removed = tree.Remove(key);
                ASSERT_EQ(removed, place == model.end() ? nullptr : place->second);
                model.erase(key);
                delete removed;
                break;
            }
            case 3: {
                ASSERT_EQ(tree.Find(key), place == model.end() ? nullptr : place->second);
                auto next = model.upper_bound(key);
                ASSERT_EQ(tree.Next(key), next == model.end() ? nullptr : next->second);
                break;
            }
            default: {
                auto first = model.lower_bound(key);
                ASSERT_EQ(tree.Previous(key),
                          first == model.begin() ? nullptr : std::prev(first)->second);
            }
        }
        ASSERT_EQ(tree.Entries(), int(model.size()));
        if (round % 500 == 0) {
            Numbers keys;
            for (const auto& entry : model)
                keys.push_back(entry.first);
            ASSERT_EQ(Keys(tree), keys);
        }
    }
}

}  // namespace
