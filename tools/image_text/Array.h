#ifndef ZEPH_TOOLS_IMAGE_TEXT_ARRAY_H
#define ZEPH_TOOLS_IMAGE_TEXT_ARRAY_H

#include <limits.h>
#include <stdlib.h>

#include <type_traits>

#include "variables/allocation.h"

// A growing array of plain values. Not copyable; references are void after Add.
template <class T>
class Array {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    Array() {}
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    ~Array() { free(m_items); }

    int count() const { return m_count; }
    T& operator[](int index) { return m_items[index]; }
    const T& operator[](int index) const { return m_items[index]; }
    T* items() { return m_items; }
    const T* items() const { return m_items; }

    void Add(const T& item)
    {
        T copy = item;  // it may stand in this array
        Reserve((long long)m_count + 1);
        m_items[m_count++] = copy;
    }
    // There must be one.
    T TakeLast() { return m_items[--m_count]; }
    // Makes the count `count`, all values being `item`.
    void Fill(int count, const T& item)
    {
        Reserve(count);
        for (int i = 0; i < count; ++i)
            m_items[i] = item;
        m_count = count;
    }
    void Clear() { m_count = 0; }
    // Makes room for that many; more than an int counts ends the process.
    void Reserve(long long wanted)
    {
        if (wanted <= m_capacity)
            return;
        long long capacity = m_capacity < 16 ? 32 : (long long)m_capacity * 2;
        if (capacity < wanted)
            capacity = wanted;
        if (capacity > INT_MAX)
            capacity = INT_MAX;
        if (capacity < wanted)
            abort();
        m_items = static_cast<T*>(GrownMemory(m_items, size_t(capacity), sizeof(T)));
        m_capacity = int(capacity);
    }
    // Raises the count by `count` values that the caller has put behind the last.
    void Extend(int count) { m_count += count; }

private:
    T* m_items = nullptr;  // owned
    int m_count = 0;
    int m_capacity = 0;
};

#endif
