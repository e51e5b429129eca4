#include "primitives/string_search.h"

#include <stdint.h>

#include "primitives/byte_search.h"

namespace {

template <class Fold>
int First(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return ByteSearch<Fold>(needle, needle_length, haystack, haystack_length).First();
}

template <class Fold>
int Last(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return ByteSearch<Fold>(needle, needle_length, haystack, haystack_length).Last();
}

using Search = int(const char*, int, const char*, int);

// What the two families answer without a search: at `empty` stands the empty needle.
int BruteForce(Search* search, int empty, const char* needle, int needle_length,
               const char* haystack, int haystack_length)
{
    if (needle_length < 0 || needle_length > haystack_length || haystack_length == 0)
        return -1;
    return needle_length == 0 ? empty : search(needle, needle_length, haystack, haystack_length);
}

int BoyerMoore(Search* search, int empty, const char* needle, int needle_length,
               const char* haystack, int haystack_length)
{
    if (needle_length > haystack_length)
        return -1;
    return needle_length <= 0 ? empty : search(needle, needle_length, haystack, haystack_length);
}

const int64_t kRadix = 32;
const int64_t kModulus = 33554393;

// `hash` with a byte appended, always within 0 and the modulus.
int64_t Roll(int64_t hash, int byte)
{
    return ((hash * kRadix + byte) % kModulus + kModulus) % kModulus;
}

// The bytes count as signed ones.
template <class Fold>
int Signed(char c)
{
    return static_cast<signed char>(Fold::Of(c));
}

template <class Fold>
int RabinKarp(const char* needle, int length, const char* haystack, int haystack_length)
{
    if (length < 0)
        length = 0;
    if (length > haystack_length)
        return -1;
    int64_t wanted = 0;
    int64_t hash = 0;
    // What the byte that leaves the window weighs after the next one has come in.
    int64_t weight = 1;
    for (int i = 0; i < length; ++i) {
        wanted = Roll(wanted, Signed<Fold>(needle[i]));
        hash = Roll(hash, Signed<Fold>(haystack[i]));
        weight = weight * kRadix % kModulus;
    }
    // The window rolls before it is compared, so a match at 0 is not reported. That
    // is this form's contract; callers look at the start themselves.
    for (int i = 1; i <= haystack_length - length; ++i) {
        hash = Roll(hash, Signed<Fold>(haystack[i + length - 1]));
        hash = (hash - weight * Signed<Fold>(haystack[i - 1])) % kModulus;
        if (hash < 0)
            hash += kModulus;
        if (hash == wanted && Fold::Equal(needle, haystack + i, length))
            return i;
    }
    return -1;
}

}  // namespace

int bf_search(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BruteForce(First<ExactBytes>, 0, needle, needle_length, haystack, haystack_length);
}

int bf_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BruteForce(First<UpperBytes>, 0, needle, needle_length, haystack, haystack_length);
}

int bf_search_reverse(const char* needle, int needle_length, const char* haystack,
                      int haystack_length)
{
    return BruteForce(Last<ExactBytes>, haystack_length, needle, needle_length, haystack,
                      haystack_length);
}

int bf_searchi_reverse(const char* needle, int needle_length, const char* haystack,
                       int haystack_length)
{
    return BruteForce(Last<UpperBytes>, haystack_length, needle, needle_length, haystack,
                      haystack_length);
}

int bm_search(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BoyerMoore(First<ExactBytes>, 0, needle, needle_length, haystack, haystack_length);
}

int bm_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return BoyerMoore(First<UpperBytes>, 0, needle, needle_length, haystack, haystack_length);
}

int bm_search_reverse(const char* needle, int needle_length, const char* haystack,
                      int haystack_length)
{
    return BoyerMoore(Last<ExactBytes>, haystack_length, needle, needle_length, haystack,
                      haystack_length);
}

int bm_searchi_reverse(const char* needle, int needle_length, const char* haystack,
                       int haystack_length)
{
    return BoyerMoore(Last<UpperBytes>, haystack_length, needle, needle_length, haystack,
                      haystack_length);
}

int rk_search(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return RabinKarp<ExactBytes>(needle, needle_length, haystack, haystack_length);
}

int rk_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length)
{
    return RabinKarp<UpperBytes>(needle, needle_length, haystack, haystack_length);
}
