#ifndef ZEPH_PRIMITIVES_BYTE_SEARCH_H
#define ZEPH_PRIMITIVES_BYTE_SEARCH_H

#include <string.h>

#include "primitives/letter_case.h"

// The search for a needle in a haystack that the functions of string_search.h share.
//
// Blocks of positions are tested at once: where the first byte of the needle stands and,
// at its distance, the last one, there the whole needle is compared. The vectors are the
// compiler's own, so this is the same code on every machine.

// How bytes compare: as they stand, or letters below 128 in upper case.
struct ExactBytes {
    static unsigned char Of(char c) { return static_cast<unsigned char>(c); }
    // The other byte that compares equal, or the same one.
    static unsigned char Twin(unsigned char c) { return c; }
    static bool Equal(const char* a, const char* b, int length)
    {
        return memcmp(a, b, size_t(length)) == 0;
    }
};

struct UpperBytes {
    static unsigned char Of(char c) { return UpperLetter(static_cast<unsigned char>(c)); }
    static unsigned char Twin(unsigned char c) { return LowerLetter(c); }
    static bool Equal(const char* a, const char* b, int length)
    {
        int i = 0;
        while (i < length && Of(a[i]) == Of(b[i]))
            ++i;
        return i == length;
    }
};

template <class Fold>
class ByteSearch {
public:
    // The needle has at least one byte and no more than the haystack.
    ByteSearch(const char* needle, int needle_length, const char* haystack, int haystack_length)
        : m_needle(needle),
          m_length(needle_length),
          m_text(haystack),
          m_positions(haystack_length - needle_length + 1),
          m_first(Fold::Of(needle[0])),
          m_last(Fold::Of(needle[needle_length - 1]))
    {
    }

    // The first position, or -1.
    int First() const
    {
        int at = 0;
        for (; at <= m_positions - kBlock; at += kBlock) {
            if (!IsAny(Block(at)))
                continue;
            int found = FirstIn(at, at + kBlock);
            if (found >= 0)
                return found;
        }
        for (; at <= m_positions - kVector; at += kVector) {
            if (!IsAny(Ends(at)))
                continue;
            int found = FirstIn(at, at + kVector);
            if (found >= 0)
                return found;
        }
        return FirstIn(at, m_positions);
    }

    // The last position, or -1.
    int Last() const
    {
        int end = m_positions;
        for (; end >= kBlock; end -= kBlock) {
            if (!IsAny(Block(end - kBlock)))
                continue;
            int found = LastIn(end - kBlock, end);
            if (found >= 0)
                return found;
        }
        return LastIn(0, end);
    }

private:
    typedef unsigned char Vector __attribute__((vector_size(16)));
    static constexpr int kVector = sizeof(Vector);
    static constexpr int kBlock = 4 * kVector;

    static Vector Load(const char* text)
    {
        Vector vector;
        memcpy(&vector, text, sizeof vector);
        return vector;
    }
    static Vector All(unsigned char byte) { return Vector{} + byte; }

    // Not zero where the first and the last byte of the needle fit.
    Vector Ends(int at) const
    {
        Vector first = Load(m_text + at);
        Vector last = Load(m_text + at + m_length - 1);
        Vector fits_first = first == All(m_first);
        Vector fits_last = last == All(m_last);
        if (Fold::Twin('A') != 'A') {
            fits_first |= first == All(Fold::Twin(m_first));
            fits_last |= last == All(Fold::Twin(m_last));
        }
        return fits_first & fits_last;
    }
    // The same, put together for the four vectors of a block.
    Vector Block(int at) const
    {
        return Ends(at) | Ends(at + kVector) | Ends(at + 2 * kVector) | Ends(at + 3 * kVector);
    }
    static bool IsAny(Vector vector)
    {
        unsigned long long halves[2];
        memcpy(halves, &vector, sizeof halves);
        return (halves[0] | halves[1]) != 0;
    }

    bool IsAt(int at) const
    {
        return Fold::Of(m_text[at]) == m_first && Fold::Of(m_text[at + m_length - 1]) == m_last &&
               Fold::Equal(m_text + at, m_needle, m_length);
    }
    int FirstIn(int start, int end) const
    {
        for (int at = start; at < end; ++at) {
            if (IsAt(at))
                return at;
        }
        return -1;
    }
    int LastIn(int start, int end) const
    {
        for (int at = end - 1; at >= start; --at) {
            if (IsAt(at))
                return at;
        }
        return -1;
    }

    const char* m_needle;
    int m_length;
    const char* m_text;
    int m_positions;  // how many there are
    unsigned char m_first;
    unsigned char m_last;
};

#endif
