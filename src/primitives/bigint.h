#ifndef ZEPH_PRIMITIVES_BIGINT_H
#define ZEPH_PRIMITIVES_BIGINT_H

#include <stdint.h>

// Natural numbers of any size, as the exact conversion of doubles to digits needs them.
//
// Each comes from Balloc and goes back through Bfree, straight from and to the heap. A
// function that is said to take a number over frees it or gives it back changed; the
// caller goes on with the result only. None of them fails: exhausted memory ends the
// process, as it does everywhere else.
//
// Not for several threads at a time: the count of live numbers is a plain global.
struct Bigint {
    int k;     // there is room for 2^k words
    int sign;  // 1 when diff() had to swap its operands
    int wds;   // words in use; the last is not 0, except that the number 0 has one word

    // The words, the least significant first. They stand right behind this structure.
    uint32_t* x() { return reinterpret_cast<uint32_t*>(this + 1); }
    const uint32_t* x() const { return reinterpret_cast<const uint32_t*>(this + 1); }
};

// A number of 2^k words that holds nothing yet.
Bigint* Balloc(int k);
// Takes the number over; null is allowed.
void Bfree(Bigint* b);
// How many numbers are live: 0 between two conversions.
int Bcount();

// The number `value`.
Bigint* i2b(uint64_t value);
// b * m + a; takes `b` over. `m` is not 0.
Bigint* multadd(Bigint* b, uint32_t m, uint32_t a);
// a * b; both stay the caller's.
Bigint* mult(const Bigint* a, const Bigint* b);
// b * 5^k; takes `b` over. `k` is not negative.
Bigint* pow5mult(Bigint* b, int k);
// b * 2^k; takes `b` over. `k` is not negative.
Bigint* lshift(Bigint* b, int k);
// The sign of a - b.
int cmp(const Bigint* a, const Bigint* b);
// |a - b|, with `sign` set to 1 when a < b; both stay the caller's.
Bigint* diff(const Bigint* a, const Bigint* b);
// The number of zero bits above the highest set bit of a word; 32 for 0.
int hi0bits(uint32_t word);
// Divides `b` by `s`, leaves the remainder in `b` and gives the quotient, which must
// be a single decimal digit. The highest word of `s` has exactly four zero bits at
// its top, so that ten times `s` needs no more words than `s` itself.
int quorem(Bigint* b, const Bigint* s);

#endif
