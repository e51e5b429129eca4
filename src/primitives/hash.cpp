#include "primitives/hash.h"

#include <ctype.h>
#include <stdint.h>

namespace {

struct State {
    uint32_t a, b, c;

    void Mix()
    {
        a = (a - b - c) ^ (c >> 13);
        b = (b - c - a) ^ (a << 8);
        c = (c - a - b) ^ (b >> 13);
        a = (a - b - c) ^ (c >> 12);
        b = (b - c - a) ^ (a << 16);
        c = (c - a - b) ^ (b >> 5);
        a = (a - b - c) ^ (c >> 3);
        b = (b - c - a) ^ (a << 10);
        c = (c - a - b) ^ (b >> 15);
    }
};

// The first `bytes` of four bytes as a word, the first one lowest; the others are zero.
template <class Fold>
uint32_t Word(const unsigned char* key, unsigned int bytes, Fold fold)
{
    uint32_t word = 0;
    for (unsigned int i = 0; i < bytes && i < 4; ++i)
        word |= uint32_t(fold(key[i])) << (8 * i);
    return word;
}

template <class Fold>
uint32_t Hash(const unsigned char* key, unsigned int length, unsigned int initval, Fold fold)
{
    const uint32_t kGolden = 0x9E3779B9u;
    State state = {kGolden, kGolden, initval};
    unsigned int rest = length;
    for (; rest >= 12; rest -= 12, key += 12) {
        state.a += Word(key, 4, fold);
        state.b += Word(key + 4, 4, fold);
        state.c += Word(key + 8, 4, fold);
        state.Mix();
    }
    // The lowest byte of c belongs to the length, so the last three bytes of the key
    // stand one place higher.
    state.c += length;
    state.a += Word(key, rest, fold);
    if (rest > 4)
        state.b += Word(key + 4, rest - 4, fold);
    if (rest > 8)
        state.c += Word(key + 8, rest - 8, fold) << 8;
    state.Mix();
    return state.c;
}

}  // namespace

unsigned int hash(const unsigned char* key, unsigned int length, unsigned int initval)
{
    return Hash(key, length, initval, [](unsigned char c) { return c; });
}

unsigned int hashi(const unsigned char* key, unsigned int length, unsigned int initval)
{
    return Hash(key, length, initval,
                [](unsigned char c) { return static_cast<unsigned char>(tolower(c)); });
}
