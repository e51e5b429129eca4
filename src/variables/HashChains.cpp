#include "variables/HashChains.h"

#include <stdlib.h>
#include <string.h>

#include <utility>

#include "variables/allocation.h"

HashChains::~HashChains()
{
    free(m_heads);
    free(m_next);
}

HashChains* HashChains::Unshared()
{
    if (m_uses == 1)
        return this;
    HashChains* copy = new HashChains(m_bits);
    copy->CopyFrom(*this);
    Release();
    return copy;
}

void HashChains::CopyFrom(const HashChains& other)
{
    HashChains copy(other.m_bits);
    copy.Grow(other.m_capacity);
    if (other.m_capacity > 0)
        memcpy(copy.m_next, other.m_next, sizeof(int) * size_t(other.m_capacity));
    if (other.m_heads) {
        copy.MakeHeads(other.m_places);
        memcpy(copy.m_heads, other.m_heads, sizeof(ChainHead) * other.m_places);
        copy.m_taken = other.m_taken;
    }
    copy.m_occupied = other.m_occupied;
    Swap(copy);
}

void HashChains::Swap(HashChains& other)
{
    std::swap(m_bits, other.m_bits);
    std::swap(m_occupied, other.m_occupied);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_heads, other.m_heads);
    std::swap(m_places, other.m_places);
    std::swap(m_taken, other.m_taken);
    std::swap(m_next, other.m_next);
}

void HashChains::Grow(int capacity)
{
    if (capacity <= m_capacity)
        return;
    m_next = static_cast<int*>(GrownMemory(m_next, size_t(capacity), sizeof(int)));
    memset(m_next + m_capacity, 0xFF, sizeof(int) * size_t(capacity - m_capacity));
    m_capacity = capacity;
}

void HashChains::MakeHeads(unsigned int places)
{
    m_heads = static_cast<ChainHead*>(GrownMemory(nullptr, places, sizeof(ChainHead)));
    for (unsigned int place = 0; place < places; ++place)
        m_heads[place] = {kNoBucket, kNone};
    m_places = places;
    m_taken = 0;
}

void HashChains::SetHead(unsigned int bucket, int slot)
{
    const unsigned int kFirstPlaces = 8;
    if (!m_heads)
        MakeHeads(kFirstPlaces);
    ChainHead* head = &m_heads[Place(m_heads, m_places, bucket)];
    if (head->bucket == bucket) {
        head->slot = slot;
        return;
    }
    *head = {bucket, slot};
    // At most half full, so that a search is short and always finds a free place.
    if (++m_taken > m_places / 2)
        GrowHeads();
}

void HashChains::GrowHeads()
{
    ChainHead* former = m_heads;
    unsigned int places = m_places;
    MakeHeads(places * 2);
    for (unsigned int place = 0; place < places; ++place) {
        if (former[place].bucket == kNoBucket)
            continue;
        m_heads[Place(m_heads, m_places, former[place].bucket)] = former[place];
        ++m_taken;
    }
    free(former);
}

int HashChains::CountHeads() const
{
    int count = 0;
    for (unsigned int place = 0; place < m_places; ++place)
        count += m_heads[place].slot >= 0;
    return count;
}
