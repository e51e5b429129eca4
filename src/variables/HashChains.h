#ifndef ZEPH_VARIABLES_HASHCHAINS_H
#define ZEPH_VARIABLES_HASHCHAINS_H

// Buckets of a hash table and the chains of slot numbers that hang from them, as
// the tables of variables, functions and languages keep them, in memory and in
// compiled files.
//
//   heads:  bucket -> first slot of its chain
//   next:   slot   -> following slot, -1 at the end
//
// A bucket array is large and mostly empty, and an image may ask for one of a
// gigabyte with a header of a few bytes. So heads are stored as slot + 1 in memory
// that the system gives out zeroed: an empty bucket costs no page, and the array
// is not made before the first slot is linked. Chains that came from a file are
// taken as they stand; walking one ends after as many steps as there are slots,
// and at the first slot number that does not exist.
//
// Knows neither names nor what a slot holds; copying is by CopyFrom only.
class HashChains {
public:
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

    // How many buckets have a chain. A reader sets it from its file.
    int occupied() const { return m_occupied; }
    void SetOccupied(int count) { m_occupied = count; }

    // First slot of a bucket's chain, -1 for none.
    int Head(unsigned int bucket) const { return m_heads ? m_heads[bucket] - 1 : -1; }
    void SetHead(unsigned int bucket, int slot);

    // The slot behind `slot`, -1 at the end or for a slot that does not exist.
    int Next(int slot) const { return slot >= 0 && slot < m_capacity ? m_next[slot] : -1; }
    void SetNext(int slot, int next) { m_next[slot] = next; }

    // The next array itself, `capacity()` long; null when that is 0.
    int* next() { return m_next; }

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
    int m_bits;
    int m_occupied = 0;
    int m_capacity = 0;
    int* m_heads = nullptr;  // owned, slot + 1; null while every bucket is empty
    int* m_next = nullptr;   // owned
};

#endif
