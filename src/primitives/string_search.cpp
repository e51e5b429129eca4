#include "primitives/string_search.h"

#include <ctype.h>
#include <stdint.h>

namespace {

// How bytes compare: as they stand, or letters below 128 in upper case.
struct Exact {
    static int Of(char c) { return c; }
};
struct Upper {
    static int Of(char c) { return static_cast<signed char>(c) < 0 ? c : toupper(c); }
};

// A byte range read forward, or backward, so that one algorithm finds the first
// position and the last.
struct Forward {
    const char* text;
    int length;
    char operator[](int i) const { return text[i]; }
};
struct Backward {
    const char* text;
    int length;
    char operator[](int i) const { return text[length - 1 - i]; }
};

// Turns a position counted from the end of the haystack into one from its start.
int FromStart(int found, int needle_length, int haystack_length)
{
    return found < 0 ? -1 : haystack_length - needle_length - found;
}

template <class Fold, class Range>
int BruteForce(Range needle, Range haystack)
{
    if (needle.length > haystack.length || haystack.length == 0)
        return -1;
    int i = 0;
    int j = 0;
    while (j < needle.length && i < haystack.length) {
        if (Fold::Of(haystack[i]) == Fold::Of(needle[j])) {
            ++i;
            ++j;
        } else {
            i -= j - 1;
            j = 0;
        }
    }
    return j == needle.length ? i - j : -1;
}

template <class Fold>
unsigned char Slot(char c)
{
    return static_cast<unsigned char>(Fold::Of(c));
}

template <class Fold, class Range>
int BoyerMoore(Range needle, Range haystack)
{
    const int length = needle.length;
    if (length > haystack.length)
        return -1;
    if (length <= 0)
        return 0;
    // How far a byte of the haystack lets the needle move on; the last occurrence of
    // a byte in the needle counts.
    int skip[256];
    for (int& distance : skip)
        distance = length;
    for (int j = 0; j < length; ++j)
        skip[Slot<Fold>(needle[j])] = length - 1 - j;
    // Wide, since a step may pass the end of the longest haystack.
    long long i = length - 1;
    while (i < haystack.length) {
        int at = int(i);
        int j = length - 1;
        while (Fold::Of(haystack[at]) == Fold::Of(needle[j])) {
            if (j == 0)
                return at;
            --at;
            --j;
        }
        int by_byte = skip[Slot<Fold>(haystack[at])];
        i = (long long)at + (by_byte > length - j ? by_byte : length - j);
    }
    return -1;
}

const int64_t kRadix = 32;
const int64_t kModulus = 33554393;

// `hash` with a byte appended, always within 0 and the modulus.
int64_t Roll(int64_t hash, int byte)
{
    return ((hash * kRadix + byte) % kModulus + kModulus) % kModulus;
}

template <class Fold>
bool EqualRanges(const char* a, const char* b, int length)
{
    for (int i = 0; i < length; ++i) {
        if (Fold::Of(a[i]) != Fold::Of(b[i]))
            return false;
    }
    return true;
}

template <class Fold>
int RabinKarp(Forward needle, Forward haystack)
{
    const int length = needle.length < 0 ? 0 : needle.length;
    if (length > haystack.length || haystack.length == 0)
        return -1;
    int64_t wanted = 0;
    int64_t hash = 0;
    // What the byte that leaves the window weighs after the next one has come in.
    int64_t weight = 1;
    for (int i = 0; i < length; ++i) {
        wanted = Roll(wanted, Fold::Of(needle[i]));
        hash = Roll(hash, Fold::Of(haystack[i]));
        weight = weight * kRadix % kModulus;
    }
    // The window rolls before it is compared, so a match at 0 is not reported. That
    // is this form's contract; callers look at the start themselves.
    for (int i = 1; i <= haystack.length - length; ++i) {
        hash = Roll(hash, Fold::Of(haystack[i + length - 1]));
        hash = (hash - weight * Fold::Of(haystack[i - 1])) % kModulus;
        if (hash < 0)
            hash += kModulus;
        if (hash == wanted && EqualRanges<Fold>(needle.text, haystack.text + i, length))
            return i;
    }
    return -1;
}

template <class Fold>
int BruteForceReverse(Backward needle, Backward haystack)
{
    int found = BruteForce<Fold>(needle, haystack);
    return FromStart(found, needle.length, haystack.length);
}

template <class Fold>
int BoyerMooreReverse(Backward needle, Backward haystack)
{
    int found = BoyerMoore<Fold>(needle, haystack);
    return FromStart(found, needle.length, haystack.length);
}

}  // namespace

int bf_search(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BruteForce<Exact>(Forward{needle, needle_length}, Forward{haystack, haystack_length});
}

int bf_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BruteForce<Upper>(Forward{needle, needle_length}, Forward{haystack, haystack_length});
}

int bf_search_reverse(const char* needle, int needle_length, const char* haystack,
                      int haystack_length)
{
    return BruteForceReverse<Exact>({needle, needle_length}, {haystack, haystack_length});
}

int bf_searchi_reverse(const char* needle, int needle_length, const char* haystack,
                       int haystack_length)
{
    return BruteForceReverse<Upper>({needle, needle_length}, {haystack, haystack_length});
}

int bm_search(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BoyerMoore<Exact>(Forward{needle, needle_length}, Forward{haystack, haystack_length});
}

int bm_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BoyerMoore<Upper>(Forward{needle, needle_length}, Forward{haystack, haystack_length});
}

int bm_search_reverse(const char* needle, int needle_length, const char* haystack,
                      int haystack_length)
{
    return BoyerMooreReverse<Exact>({needle, needle_length}, {haystack, haystack_length});
}

int bm_searchi_reverse(const char* needle, int needle_length, const char* haystack,
                       int haystack_length)
{
    return BoyerMooreReverse<Upper>({needle, needle_length}, {haystack, haystack_length});
}

int rk_search(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return RabinKarp<Exact>({needle, needle_length}, {haystack, haystack_length});
}

int rk_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return RabinKarp<Upper>({needle, needle_length}, {haystack, haystack_length});
}
