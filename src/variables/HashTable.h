#ifndef ZEPH_VARIABLES_HASHTABLE_H
#define ZEPH_VARIABLES_HASHTABLE_H

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "primitives/hash.h"
#include "primitives/memcmpi.h"
#include "variables/HashChains.h"
#include "variables/allocation.h"

// A table of pointers to elements that know their own key: bytes, with or without
// letter case. A table derives from it and supplies Key().
//
// Elements stay in the order of insertion, each in a slot of its own that is not used
// again after a removal; equal keys stand side by side, the oldest first. Neither
// buckets nor slots are allocated before the first insertion, so an empty table costs
// only itself. Most tables of a request hold a few elements, so room is made for the
// capacity step by step. A table that is an owner deletes its elements when it ends; a
// copy shares the elements of its source and never owns them.
template <class T>
class HashTable {
public:
    // 2 to the power of `bucket_bits` buckets; `block` is the first capacity in slots.
    HashTable(int owner, int nocase, int bucket_bits, int block)
        : m_owner(owner),
          m_nocase(nocase),
          m_chains(bucket_bits),
          m_capacity(block < 0 ? 0 : block)
    {
    }
    HashTable(const HashTable& other)
        : m_owner(0),
          m_nocase(other.m_nocase),
          m_chains(other.m_chains.bits()),
          m_capacity(other.m_capacity),
          m_count(other.m_count),
          m_cursor(other.m_cursor)
    {
        m_chains.CopyFrom(other.m_chains);
        if (!other.m_entries)
            return;
        m_room = other.m_room;
        m_entries = static_cast<T**>(GrownMemory(nullptr, size_t(m_room), sizeof(T*)));
        memcpy(m_entries, other.m_entries, size_t(m_count) * sizeof(T*));
    }
    HashTable& operator=(const HashTable&) = delete;

    // The order of these is binary interface: destructor, Dump, hash, Compare, Compare.

    virtual ~HashTable()
    {
        DeleteElements();
        free(m_entries);
    }
    // Empties the table, deleting the elements if it is their owner. Slots start over.
    virtual void Dump()
    {
        DeleteElements();
        m_count = 0;
        m_cursor = 0;
        HashChains none(m_chains.bits());
        none.Grow(m_chains.capacity());
        m_chains.Swap(none);
    }
    virtual unsigned int hash(T* element)
    {
        int length;
        const char* key = Key(element, &length);
        return hash(key, length);
    }
    // The order within a chain, below 0, 0 or above 0: by length first, then by bytes.
    virtual int Compare(T* left, T* right)
    {
        int length;
        const char* key = Key(right, &length);
        return Compare(left, key, length);
    }
    virtual int Compare(T* left, const char* key, int length)
    {
        int left_length;
        const char* left_key = Key(left, &left_length);
        if (left_length != length)
            return left_length < length ? -1 : 1;
        if (length == 0)
            return 0;
        return m_nocase ? memcmpi(left_key, key, length) : memcmp(left_key, key, size_t(length));
    }

    // The bucket of a key. Here and below a length of -1 means that it ends at its NUL.
    unsigned int hash(const char* key, int length) const
    {
        unsigned int bytes = unsigned(length < 0 ? int(strlen(key)) : length);
        auto start = reinterpret_cast<const unsigned char*>(key);
        return m_chains.Bucket(m_nocase ? ::hashi(start, bytes, 0) : ::hash(start, bytes, 0));
    }

    // Files the element under its key, behind others of the same key.
    void Insert(T* element)
    {
        if (m_count == m_room)
            Grow();
        m_entries[m_count] = element;
        m_chains.Link(m_chains.Bucket(hash(element)), m_count, m_count,
                      [&](int slot) { return Compare(m_entries[slot], element) > 0; });
        ++m_count;
    }

    // The oldest element of that key, or null.
    T* Find(const char* key, int length) const
    {
        if (!m_entries)
            return nullptr;
        int slot = Seek(key, length < 0 ? int(strlen(key)) : length, nullptr);
        return slot < 0 ? nullptr : m_entries[slot];
    }
    // The oldest element with the key of `element`, or null.
    T* Find(T* element) const
    {
        if (!m_entries)
            return nullptr;
        HashTable* self = const_cast<HashTable*>(this);
        int order = 1;
        int slot = m_chains.Walk(m_chains.Bucket(self->hash(element)), m_count, nullptr,
                                 [&](int candidate) {
                                     order = self->Compare(m_entries[candidate], element);
                                     return order >= 0;
                                 });
        return slot < 0 || order != 0 ? nullptr : m_entries[slot];
    }

    // Takes the oldest element of that key out and returns it, not deleted; null if
    // there is none. Its slot stays empty and keeps counting.
    T* Remove(const char* key, int length)
    {
        if (!m_entries)
            return nullptr;
        if (length < 0)
            length = int(strlen(key));
        int before;
        int slot = Seek(key, length, &before);
        if (slot < 0)
            return nullptr;
        if (before < 0)
            m_chains.SetHead(hash(key, length), m_chains.Next(slot));
        else
            m_chains.SetNext(before, m_chains.Next(slot));
        // Lowered by each removal, but raised by empty buckets only: the counter is
        // no count of anything, and nothing relies on it.
        m_chains.SetOccupied(m_chains.occupied() - 1);
        T* element = m_entries[slot];
        m_entries[slot] = nullptr;
        return element;
    }

    // Walk the elements in the order of insertion. Null past either end.
    T* First()
    {
        m_cursor = -1;
        return Next();
    }
    T* Next()
    {
        while (m_cursor < m_count && ++m_cursor < m_count) {
            if (m_entries[m_cursor])
                return m_entries[m_cursor];
        }
        return nullptr;
    }
    T* Last()
    {
        m_cursor = m_count;
        return Previous();
    }
    T* Previous()
    {
        while (m_cursor >= 0 && --m_cursor >= 0) {
            if (m_entries[m_cursor])
                return m_entries[m_cursor];
        }
        return nullptr;
    }
    // The element under the cursor; null if it has been removed.
    T* Current() const { return Index(m_cursor); }

    // The element in a slot; null for an empty slot and out of range.
    T* Index(int slot) const { return slot >= 0 && slot < m_count ? m_entries[slot] : nullptr; }

    // Number of slots in use, those of removed elements included.
    int Entries() const { return m_count; }
    int capacity() const { return m_capacity; }
    int nocase() const { return m_nocase; }

protected:
    // The key of an element, counted; it does not change while the element is in the
    // table.
    virtual const char* Key(T* element, int* length) = 0;

private:
    static constexpr int kGrowth = 512;
    static constexpr int kFirstRoom = 32;

    // Slot of the oldest element of that key, or -1. Chains are sorted, so the first
    // greater key ends the search.
    int Seek(const char* key, int length, int* before) const
    {
        HashTable* self = const_cast<HashTable*>(this);
        int order = 1;
        int slot = m_chains.Walk(hash(key, length), m_count, before, [&](int candidate) {
            order = self->Compare(m_entries[candidate], key, length);
            return order >= 0;
        });
        return order == 0 ? slot : -1;
    }

    // The capacity rises by 512 slots when it is used up. Room is made for it step by
    // step, since the first capacity is mostly far more than a table needs.
    void Grow()
    {
        if (m_count == m_capacity) {
            if (m_capacity > INT_MAX - kGrowth)
                abort();
            m_capacity += kGrowth;
        }
        int room = m_capacity;
        if (m_room < kGrowth)
            room = m_room < kFirstRoom ? kFirstRoom : m_room * 2;
        m_room = room < m_capacity ? room : m_capacity;
        m_entries = static_cast<T**>(GrownMemory(m_entries, size_t(m_room), sizeof(T*)));
        m_chains.Grow(m_room);
    }

    void DeleteElements()
    {
        for (int slot = 0; m_owner && slot < m_count; ++slot)
            delete m_entries[slot];
    }

    int m_owner;
    int m_nocase;
    HashChains m_chains;
    T** m_entries = nullptr;  // owned; null before the first insertion
    int m_room = 0;           // slots that m_entries and the chains have memory for
    int m_capacity;
    int m_count = 0;   // slots handed out
    int m_cursor = 0;  // -1 and m_count are the two ends
};

#endif
