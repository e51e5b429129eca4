#include "variables/HashChains.h"

#include <sys/resource.h>

#include <gtest/gtest.h>

namespace {

bool Never(int)
{
    return false;
}

TEST(HashChains, AnEmptyTableHasNoChains)
{
    HashChains chains(28);
    EXPECT_EQ(chains.buckets(), 1u << 28);
    EXPECT_EQ(chains.Head(0), -1);
    EXPECT_EQ(chains.Head((1u << 28) - 1), -1);
    EXPECT_EQ(chains.Next(0), -1);
    EXPECT_EQ(chains.capacity(), 0);
}

TEST(HashChains, BitsAreTakenModulo32)
{
    EXPECT_EQ(HashChains(32).buckets(), 1u);
    EXPECT_EQ(HashChains(0).buckets(), 1u);
    EXPECT_EQ(HashChains(3).Bucket(0xFFu), 7u);
}

TEST(HashChains, NewSlotsAreUnlinked)
{
    HashChains chains(2);
    chains.Grow(3);
    for (int slot = 0; slot < 3; ++slot)
        EXPECT_EQ(chains.Next(slot), -1);
    chains.SetNext(2, 1);
    chains.Grow(5);
    EXPECT_EQ(chains.Next(2), 1);
    EXPECT_EQ(chains.Next(4), -1);
    chains.Grow(2);
    EXPECT_EQ(chains.capacity(), 5);
}

TEST(HashChains, LinkGoesInFrontOfTheFirstThatGoesBehind)
{
    HashChains chains(0);
    chains.Grow(3);
    chains.Link(0, 0, 0, Never);
    chains.Link(0, 1, 1, Never);
    chains.Link(0, 2, 2, [](int slot) { return slot == 1; });
    EXPECT_EQ(chains.Head(0), 0);
    EXPECT_EQ(chains.Next(0), 2);
    EXPECT_EQ(chains.Next(2), 1);
    EXPECT_EQ(chains.Next(1), -1);
    EXPECT_EQ(chains.occupied(), 1);
}

TEST(HashChains, LinkInFrontOfTheHeadChangesTheBucket)
{
    HashChains chains(0);
    chains.Grow(2);
    chains.Link(0, 0, 0, Never);
    chains.Link(0, 1, 1, [](int) { return true; });
    EXPECT_EQ(chains.Head(0), 1);
    EXPECT_EQ(chains.Next(1), 0);
}

TEST(HashChains, WalkingACycleEndsAfterAsManyStepsAsThereAreSlots)
{
    HashChains chains(0);
    chains.Grow(2);
    chains.SetHead(0, 0);
    chains.SetNext(0, 1);
    chains.SetNext(1, 0);
    int steps = 0;
    EXPECT_EQ(chains.Walk(0, 2, nullptr,
                          [&](int) {
                              ++steps;
                              return false;
                          }),
              -1);
    EXPECT_EQ(steps, 2);
}

TEST(HashChains, WalkingEndsAtASlotThatDoesNotExist)
{
    static const int outside[] = {2, 1000, -2, 0x7FFFFFFF, int(0x80000000u)};
    for (int slot : outside) {
        SCOPED_TRACE(slot);
        HashChains chains(1);
        chains.Grow(2);
        chains.SetHead(0, 0);
        chains.SetNext(0, slot);
        int before = 7;
        EXPECT_EQ(chains.Walk(0, 2, &before, Never), -1);
        EXPECT_EQ(before, 0);
        chains.SetHead(1, slot);
        EXPECT_EQ(chains.Walk(1, 2, &before, Never), -1);
        EXPECT_EQ(before, -1);
    }
}

TEST(HashChains, ManyBucketsKeepTheirHeads)
{
    HashChains chains(28);
    chains.Grow(1);
    for (unsigned int bucket = 0; bucket < 1u << 28; bucket += 4099)
        chains.SetHead(bucket, int(bucket % 1000));
    for (unsigned int bucket = 0; bucket < 1u << 28; bucket += 4099)
        ASSERT_EQ(chains.Head(bucket), int(bucket % 1000));
    EXPECT_EQ(chains.Head(1), -1);
    EXPECT_EQ(chains.CountHeads(), ((1 << 28) + 4098) / 4099);
}

TEST(HashChains, ABucketThatLostItsChainCountsNoMore)
{
    HashChains chains(4);
    chains.Grow(1);
    chains.SetHead(3, 0);
    EXPECT_EQ(chains.CountHeads(), 1);
    chains.SetHead(3, -1);
    EXPECT_EQ(chains.CountHeads(), 0);
    EXPECT_EQ(chains.Head(3), -1);
}

// A header of a few bytes may ask for a gigabyte of buckets, and every call copies its
// function's table.
TEST(HashChains, MemoryFollowsTheChainsAndNotTheBuckets)
{
    HashChains chains(28);
    chains.Grow(1);
    chains.SetHead((1u << 28) - 1, 0);
    rusage before, after;
    getrusage(RUSAGE_SELF, &before);
    for (int i = 0; i < 100; ++i) {
        HashChains copy(28);
        copy.CopyFrom(chains);
        ASSERT_EQ(copy.Head((1u << 28) - 1), 0);
    }
    getrusage(RUSAGE_SELF, &after);
    const long kMegabyte = 1024;  // in units of ru_maxrss
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 16 * kMegabyte);
}

TEST(HashChains, CopyFromSharesNothing)
{
    HashChains source(4);
    source.Grow(2);
    source.Link(5, 0, 0, Never);
    source.Link(5, 1, 1, Never);
    HashChains copy(4);
    copy.CopyFrom(source);
    source.SetNext(0, -1);
    source.SetHead(5, 1);
    EXPECT_EQ(copy.Head(5), 0);
    EXPECT_EQ(copy.Next(0), 1);
    EXPECT_EQ(copy.occupied(), 1);
}

void SetHeads(HashChains* chains, int first, int count)
{
    for (int bucket = first; bucket < first + count; ++bucket)
        chains->SetHead(unsigned(bucket), bucket);
}

void ExpectHeads(const HashChains& chains, int count)
{
    EXPECT_EQ(chains.CountHeads(), count);
    for (int bucket = 0; bucket < 200; ++bucket)
        EXPECT_EQ(chains.Head(unsigned(bucket)), bucket < count ? bucket : -1);
}

TEST(HashChains, ACopyGrowsOn)
{
    HashChains source(8);
    SetHeads(&source, 0, 4);
    HashChains copy(8);
    copy.CopyFrom(source);
    SetHeads(&copy, 4, 60);
    ExpectHeads(copy, 64);
    ExpectHeads(source, 4);
}

TEST(HashChains, SwappedTablesGrowOn)
{
    HashChains one(8), other(8);
    SetHeads(&one, 0, 4);
    one.Swap(other);
    SetHeads(&other, 4, 60);
    SetHeads(&one, 0, 30);
    ExpectHeads(other, 64);
    ExpectHeads(one, 30);
}

TEST(HashChains, AreSharedUntilOneOfTheUsersChangesItsOwn)
{
    HashChains* first = new HashChains(4);
    first->Grow(8);
    first->SetHead(3, 5);
    HashChains* second = first->Share();
    EXPECT_EQ(second, first);
    second = second->Unshared();
    ASSERT_NE(second, first);
    second->SetHead(3, 6);
    second->SetNext(6, 2);
    EXPECT_EQ(first->Head(3), 5);
    EXPECT_EQ(first->Next(6), -1);
    EXPECT_EQ(second->Head(3), 6);
    EXPECT_EQ(first->Unshared(), first);
    first->Release();
    EXPECT_EQ(second->Next(6), 2);
    second->Release();
}

}  // namespace
