#ifndef ZEPH_VARIABLES_HASHCHAINS_H
#define ZEPH_VARIABLES_HASHCHAINS_H

// Buckets of a hash table and the chains of slot numbers that hang from them, as
// the tables of variables, functions and languages keep them, in memory and in
// compiled files.
//
//   heads:  bucket -> first slot of its chain
//   next:   slot   -> following slot, -1 at the end
//
// A table has far more buckets than slots, and an image may ask for 2 to the power of
// 28 of them with a header of a few bytes. So there is no array of buckets: the heads
// are kept in a small table of their own, by open addressing, which is made when the
// first slot is linked and grows with the buckets that have a chain. Chains that came
// from a file are taken as they stand; walking one ends after as many steps as there
// are slots, and at the first slot number that does not exist.
//
// Knows neither names nor what a slot holds; copying is by CopyFrom only.
class HashChains {
public:
    // Chains on the heap that several tables share until one of them changes its own. Each
    // holds one use: Share gives another, Release gives one back, and Unshared exchanges
    // one for chains that nobody else uses.
    HashChains* Share()
    {
        ++m_uses;
        return this;
    }
    void Release()
    {
        if (--m_uses == 0)
            delete this;
    }
    HashChains* Unshared();

    // 2 to the power of `bits` buckets; bits are taken modulo 32, as in files.
    explicit HashChains(int bits) : m_bits(bits) {}
    ~HashChains();

    HashChains(const HashChains&) = delete;
    HashChains& operator=(const HashChains&) = delete;

    // A deep copy of the other's buckets and chains.
    void CopyFrom(const HashChains& other);
    // Exchanges all content; how a reader replaces a table only on success.
    void Swap(HashChains& other);

    int bits() const { return m_bits; }
    unsigned int buckets() const { return 1u << (m_bits & 31); }
    unsigned int Bucket(unsigned int hash) const { return hash & (buckets() - 1); }

    // Number of slots that `Next` answers for.
    int capacity() const { return m_capacity; }
    // Raises the number of slots to `capacity`, the new ones unlinked (-1).
    void Grow(int capacity);

    // How many buckets have a chain, as far as it is known: a reader sets it from its file,
    // and a HashTable's removals lower it by more.
    int occupied() const { return m_occupied; }
    void SetOccupied(int count) { m_occupied = count; }

    // First slot of a bucket's chain, negative for none.
    int Head(unsigned int bucket) const
    {
        return m_heads ? m_heads[Place(m_heads, m_places, bucket)].slot : kNone;
    }
    void SetHead(unsigned int bucket, int slot);
    // How many buckets have a chain, counted.
    int CountHeads() const;

    // The slot behind `slot`, -1 at the end or for a slot that does not exist.
    int Next(int slot) const { return slot >= 0 && slot < m_capacity ? m_next[slot] : -1; }
    void SetNext(int slot, int next) { m_next[slot] = next; }

    // Walks the chain of `bucket` over at most `slots` slots, all below `slots`,
    // until `stop(slot)` is true. Gives that slot, else -1; `before`, when not
    // null, gets the last slot passed, -1 for none.
    template <class Stop>
    int Walk(unsigned int bucket, int slots, int* before, Stop stop) const
    {
        int previous = -1;
        int slot = Head(bucket);
        for (int steps = 0; steps < slots && slot >= 0 && slot < slots; ++steps) {
            if (stop(slot)) {
                if (before)
                    *before = previous;
                return slot;
            }
            previous = slot;
            slot = Next(slot);
        }
        if (before)
            *before = previous;
        return -1;
    }

    // Links `slot` into the chain of `bucket`, in front of the first slot for
    // which `goes_behind(that slot)` is true, else at the end. `slots` is the
    // number of slots in use before this one.
    template <class GoesBehind>
    void Link(unsigned int bucket, int slot, int slots, GoesBehind goes_behind)
    {
        int before = -1;
        int after = Walk(bucket, slots, &before, goes_behind);
        if (Head(bucket) < 0)
            ++m_occupied;
        m_next[slot] = after;
        if (before < 0)
            SetHead(bucket, slot);
        else
            m_next[before] = slot;
    }

private:
    static constexpr int kNone = -1;
    static constexpr unsigned int kNoBucket = 0xFFFFFFFF;  // no table has so many

    struct ChainHead {
        unsigned int bucket;  // kNoBucket for a free place
        int slot;             // kNone where a chain has ended
    };

    // Where a bucket stands among `places` heads, a power of two that are not all
    // taken, or the free place where it belongs.
    static unsigned int Place(const ChainHead* heads, unsigned int places, unsigned int bucket)
    {
        const unsigned int kSpread = 2654435769u;  // 2 to the power of 32, by the golden ratio
        unsigned int place = (bucket * kSpread >> 7) & (places - 1);
        while (heads[place].bucket != bucket && heads[place].bucket != kNoBucket)
            place = (place + 1) & (places - 1);
        return place;
    }
    void MakeHeads(unsigned int places);
    void GrowHeads();

    int m_uses = 1;
    int m_bits;
    int m_occupied = 0;
    int m_capacity = 0;
    ChainHead* m_heads = nullptr;  // owned, m_places long; null while every bucket is empty
    unsigned int m_places = 0;
    unsigned int m_taken = 0;  // places that are not free
    int* m_next = nullptr;     // owned
};

#endif
