// Replaces new[] and delete[] for this program, so that live arrays can be counted.
#include "LiveArrays.h"

#include <stdlib.h>

#include <atomic>
#include <new>

namespace {

// Entries of a fixed table, since the table itself may not allocate. Slots are never
// packed; a full table only makes later arrays unknown.
const int kWatched = 1 << 19;
std::atomic<void*> watched[kWatched];
std::atomic<long> live;

size_t SlotOf(const void* array)
{
    return reinterpret_cast<size_t>(array) / 16 % kWatched;
}

void* Watch(void* array)
{
    if (!array)
        abort();
    ++live;
    for (size_t i = 0, slot = SlotOf(array); i < kWatched; ++i, slot = (slot + 1) % kWatched) {
        void* none = nullptr;
        if (watched[slot].compare_exchange_strong(none, array))
            break;
    }
    return array;
}

std::atomic<void*>* Find(const void* array)
{
    for (size_t i = 0, slot = SlotOf(array); i < kWatched; ++i, slot = (slot + 1) % kWatched)
        if (watched[slot].load() == array)
            return &watched[slot];
    return nullptr;
}

void Forget(void* array)
{
    if (!array)
        return;
    --live;
    if (std::atomic<void*>* entry = Find(array))
        *entry = nullptr;
    free(array);
}

}  // namespace

long LiveArrays()
{
    return live;
}

bool IsLiveArray(const void* array)
{
    return Find(array) != nullptr;
}

void* operator new[](size_t size)
{
    return Watch(malloc(size ? size : 1));
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return Watch(malloc(size ? size : 1));
}

void operator delete[](void* array) noexcept
{
    Forget(array);
}

void operator delete[](void* array, size_t) noexcept
{
    Forget(array);
}
