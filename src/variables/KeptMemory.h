#ifndef ZEPH_VARIABLES_KEPTMEMORY_H
#define ZEPH_VARIABLES_KEPTMEMORY_H

#include <stddef.h>

#include <new>

#include "variables/allocation.h"

// Whether a memory checker is built into the program.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kMemoryIsChecked = true;
#elif defined(__has_feature)
constexpr bool kMemoryIsChecked = __has_feature(address_sanitizer);
#else
constexpr bool kMemoryIsChecked = false;
#endif

// Memory for small objects of one size that are made and ended all the time: taken from the
// system in chunks, kept for the next object when one ends, and never given back. Each
// thread has its own. What a class's operator new and operator delete call.
//
// A program under a memory checker takes each object from the system, so that the checker
// sees its end.
template <class T>
class KeptMemory {
public:
    static void* Take(size_t size)
    {
        if (kMemoryIsChecked || size != sizeof(T))
            return ::operator new(size);
        Place* place = t_ended;
        if (!place)
            return Fresh();
        t_ended = place->next;
        return place;
    }
    static void Give(void* memory, size_t size)
    {
        if (kMemoryIsChecked || size != sizeof(T))
            ::operator delete(memory);
        else
            t_ended = new (memory) Place{t_ended};
    }

private:
    struct Place {
        Place* next;
    };

    // The first chunk is small: most pages have few objects.
    static constexpr int kFirstChunk = 32;
    static constexpr int kChunk = 512;

    static void* Fresh()
    {
        if (t_left == 0) {
            t_left = t_fresh ? kChunk : kFirstChunk;
            t_fresh = static_cast<char*>(GrownMemory(nullptr, size_t(t_left), sizeof(T)));
        }
        void* memory = t_fresh;
        t_fresh += sizeof(T);
        --t_left;
        return memory;
    }

    static thread_local Place* t_ended;  // the first of those that can be used again
    static thread_local char* t_fresh;   // the rest of the last chunk
    static thread_local int t_left;      // objects in it
};

template <class T>
thread_local typename KeptMemory<T>::Place* KeptMemory<T>::t_ended = nullptr;
template <class T>
thread_local char* KeptMemory<T>::t_fresh = nullptr;
template <class T>
thread_local int KeptMemory<T>::t_left = 0;

#endif
