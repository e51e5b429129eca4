#include <stdlib.h>
#include <string.h>

#include "image/Dictionary.h"
#include "variables/allocation.h"

namespace {

char* AllocateBytes(int capacity)
{
    return static_cast<char*>(GrownMemory(nullptr, size_t(capacity), 1));
}

}  // namespace

DictionaryDataBlock::DictionaryDataBlock(int capacity)
    : m_bytes(AllocateBytes(capacity)), m_capacity(capacity)
{
}

DictionaryDataBlock::DictionaryDataBlock(const DictionaryDataBlock& source)
    : m_bytes(AllocateBytes(source.m_capacity)),
      m_capacity(source.m_capacity),
      m_used(source.m_used)
{
    memcpy(m_bytes, source.m_bytes, size_t(m_used));
}

DictionaryDataBlock::~DictionaryDataBlock()
{
    free(m_bytes);
}

// The leftmost occurrence serves, also one that lies across several strings: an
// entry is a place and a length, whoever put the bytes there.
int DictionaryDataBlock::Add(const char* bytes, int length)
{
    if (length == 0)
        return 0;
    if (m_used >= length) {
        const void* found = memmem(m_bytes, size_t(m_used), bytes, size_t(length));
        if (found)
            return int(static_cast<const char*>(found) - m_bytes);
    }
    if (length > m_capacity - m_used)
        return -1;
    memcpy(m_bytes + m_used, bytes, size_t(length));
    m_used += length;
    return m_used - length;
}

void DictionaryDataBlock::Reserve(int capacity)
{
    if (capacity <= m_capacity)
        return;
    m_bytes = static_cast<char*>(GrownMemory(m_bytes, size_t(capacity), 1));
    m_capacity = capacity;
}
