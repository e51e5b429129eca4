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

void HashChains::CopyFrom(const HashChains& other)
{
    HashChains copy(other.m_bits);
    copy.Grow(other.m_capacity);
    if (other.m_capacity > 0)
        memcpy(copy.m_next, other.m_next, sizeof(int) * size_t(other.m_capacity));
    if (other.m_heads) {
        copy.m_heads = static_cast<int*>(ZeroedMemory(other.buckets(), sizeof(int)));
        memcpy(copy.m_heads, other.m_heads, sizeof(int) * size_t(other.buckets()));
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

void HashChains::SetHead(unsigned int bucket, int slot)
{
    if (!m_heads)
        m_heads = static_cast<int*>(ZeroedMemory(buckets(), sizeof(int)));
    // A file may name any slot; the one that has no successor as an int reads as
    // none, like every other slot that does not exist.
    m_heads[bucket] = slot == 0x7FFFFFFF ? 0 : slot + 1;
}
