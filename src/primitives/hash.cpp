#include "primitives/hash.h"

#include <ctype.h>
#include <endian.h>
#include <stdint.h>
#include <string.h>

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

// Each byte of a word through `tolower`; four bytes below 128 at once.
uint32_t Lowered(uint32_t word)
{
    const uint32_t kEach = 0x01010101u;
    if (word & 0x80 * kEach) {
        uint32_t lowered = 0;
        for (int shift = 0; shift < 32; shift += 8)
            lowered |= uint32_t(tolower(int(word >> shift & 0xFF)) & 0xFF) << shift;
        return lowered;
    }
    // The top bit of each byte tells whether it is at least 'A', and whether above 'Z'.
    uint32_t from_a = word + (0x80 - 'A') * kEach;
    uint32_t above_z = word + (0x7F - 'Z') * kEach;
    uint32_t capitals = from_a & ~above_z & 0x80 * kEach;
    return word | capitals >> 2;
}

// The first `bytes` of four bytes as a word, the first one lowest; the others are zero.
template <bool kIgnoreCase>
uint32_t Word(const unsigned char* key, unsigned int bytes)
{
    uint32_t word = 0;
    if (bytes >= 4) {
        memcpy(&word, key, sizeof word);
        word = le32toh(word);
    } else {
        for (unsigned int i = 0; i < bytes; ++i)
            word |= uint32_t(key[i]) << (8 * i);
    }
    return kIgnoreCase ? Lowered(word) : word;
}

template <bool kIgnoreCase>
uint32_t Hash(const unsigned char* key, unsigned int length, unsigned int initval)
{
    const uint32_t kGolden = 0x9E3779B9u;
    State state = {kGolden, kGolden, initval};
    unsigned int rest = length;
    for (; rest >= 12; rest -= 12, key += 12) {
        state.a += Word<kIgnoreCase>(key, 4);
        state.b += Word<kIgnoreCase>(key + 4, 4);
        state.c += Word<kIgnoreCase>(key + 8, 4);
        state.Mix();
    }
    // The lowest byte of c belongs to the length, so the last three bytes of the key
    // stand one place higher.
    state.c += length;
    state.a += Word<kIgnoreCase>(key, rest);
    if (rest > 4)
        state.b += Word<kIgnoreCase>(key + 4, rest - 4);
    if (rest > 8)
        state.c += Word<kIgnoreCase>(key + 8, rest - 8) << 8;
    state.Mix();
    return state.c;
}

}  // namespace

unsigned int hash(const unsigned char* key, unsigned int length, unsigned int initval)
{
    return Hash<false>(key, length, initval);
}

unsigned int hashi(const unsigned char* key, unsigned int length, unsigned int initval)
{
    return Hash<true>(key, length, initval);
}
