#ifndef ZEPH_VARIABLES_NAMEORDER_H
#define ZEPH_VARIABLES_NAMEORDER_H

#include "primitives/hash.h"
#include "primitives/memcmpi.h"
#include "variables/HashChains.h"

// How tables of names keep them in their chains: shorter names first, names of one
// length by memcmpi, letter case being ignored throughout.

// The hash of a name, before it is cut down to a table's buckets.
inline unsigned int NameHash(const char* name, int length)
{
    return hashi(reinterpret_cast<const unsigned char*>(name), unsigned(length), 0);
}

// All take `text(slot, &size)`, which gives the name of a slot, null for none.

// The slot of a name, -1 for none, among the first `slots`. Only a longer name
// ends the search. The order among equal lengths is not relied on, so that a table
// sorted by another rule loses no name.
template <class Text>
int FindName(const HashChains& chains, int slots, const char* name, int length, Text text)
{
    bool is_found = false;
    unsigned int bucket = chains.Bucket(NameHash(name, length));
    int slot = chains.Walk(bucket, slots, nullptr, [&](int candidate) {
        int size;
        const char* other = text(candidate, &size);
        is_found = other && size == length && memcmpi(other, name, length) == 0;
        return is_found || (other && size > length);
    });
    return is_found ? slot : -1;
}

// The same where the order is relied on: a name of equal length that stands behind the wanted
// one ends the search as well.
template <class Text>
int FindNameInOrder(const HashChains& chains, int slots, const char* name, int length, Text text)
{
    bool is_found = false;
    unsigned int bucket = chains.Bucket(NameHash(name, length));
    int slot = chains.Walk(bucket, slots, nullptr, [&](int candidate) {
        int size;
        const char* other = text(candidate, &size);
        if (!other || size != length)
            return other && size > length;
        int order = memcmpi(other, name, length);
        is_found = order == 0;
        return order >= 0;
    });
    return is_found ? slot : -1;
}

// Links a slot behind the equal names of its chain.
template <class Text>
void LinkName(HashChains* chains, int slot, const char* name, int length, Text text)
{
    unsigned int bucket = chains->Bucket(NameHash(name, length));
    chains->Link(bucket, slot, slot, [&](int candidate) {
        int size;
        const char* other = text(candidate, &size);
        if (!other || size != length)
            return other && size > length;
        return memcmpi(name, other, length) < 0;
    });
}

#endif
