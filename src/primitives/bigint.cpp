#include "primitives/bigint.h"

#include <assert.h>
#include <stdlib.h>
#include <string.h>

namespace {

const int kWordBits = 32;

int g_live = 0;

// Drops the zero words at the top, but not the last word.
void Trim(Bigint* b)
{
    while (b->wds > 1 && b->x()[b->wds - 1] == 0)
        --b->wds;
}

// A number with room for `words` words.
Bigint* WithRoomFor(int words)
{
    int k = 0;
    while ((1 << k) < words)
        ++k;
    return Balloc(k);
}

// Puts `word` above the highest word of `b`, which is moved when it has no room left.
Bigint* Append(Bigint* b, uint32_t word)
{
    if (b->wds == 1 << b->k) {
        Bigint* wider = Balloc(b->k + 1);
        wider->sign = b->sign;
        wider->wds = b->wds;
        memcpy(wider->x(), b->x(), size_t(b->wds) * sizeof(uint32_t));
        Bfree(b);
        b = wider;
    }
    b->x()[b->wds++] = word;
    return b;
}

// b - q * s, in place. A difference below 0 wraps around and leaves a borrow of 1.
uint32_t SubtractMultiple(Bigint* b, const Bigint* s, uint32_t q)
{
    uint64_t carry = 0;
    uint32_t borrow = 0;
    uint32_t* to = b->x();
    const uint32_t* from = s->x();
    for (int i = 0; i < s->wds; ++i) {
        carry += uint64_t(from[i]) * q;
        uint64_t difference = uint64_t(to[i]) - uint32_t(carry) - borrow;
        to[i] = uint32_t(difference);
        borrow = uint32_t(difference >> kWordBits) & 1;
        carry >>= kWordBits;
    }
    return borrow;
}

}  // namespace

Bigint* Balloc(int k)
{
    void* memory = malloc(sizeof(Bigint) + (sizeof(uint32_t) << k));
    if (!memory)
        abort();
    ++g_live;
    Bigint* b = static_cast<Bigint*>(memory);
    b->k = k;
    b->sign = 0;
    b->wds = 0;
    return b;
}

void Bfree(Bigint* b)
{
    if (!b)
        return;
    --g_live;
    free(b);
}

int Bcount()
{
    return g_live;
}

Bigint* i2b(uint64_t value)
{
    Bigint* b = Balloc(1);
    b->x()[0] = uint32_t(value);
    b->x()[1] = uint32_t(value >> kWordBits);
    b->wds = 2;
    Trim(b);
    return b;
}

Bigint* multadd(Bigint* b, uint32_t m, uint32_t a)
{
    uint64_t carry = a;
    uint32_t* words = b->x();
    for (int i = 0; i < b->wds; ++i) {
        carry += uint64_t(words[i]) * m;
        words[i] = uint32_t(carry);
        carry >>= kWordBits;
    }
    return carry ? Append(b, uint32_t(carry)) : b;
}

Bigint* mult(const Bigint* a, const Bigint* b)
{
    Bigint* product = WithRoomFor(a->wds + b->wds);
    product->wds = a->wds + b->wds;
    uint32_t* to = product->x();
    memset(to, 0, size_t(product->wds) * sizeof(uint32_t));
    for (int i = 0; i < a->wds; ++i) {
        uint64_t carry = 0;
        for (int j = 0; j < b->wds; ++j) {
            carry += uint64_t(a->x()[i]) * b->x()[j] + to[i + j];
            to[i + j] = uint32_t(carry);
            carry >>= kWordBits;
        }
        to[i + b->wds] = uint32_t(carry);
    }
    Trim(product);
    return product;
}

Bigint* pow5mult(Bigint* b, int k)
{
    static const uint32_t kSmall[] = {1,       5,        25,        125,       625,
                                      3125,    15625,    78125,     390625,    1953125,
                                      9765625, 48828125, 244140625, 1220703125};
    const int kLargest = 13;
    // A power that fits a word goes in by one pass; the others by squaring 5^13, whose
    // repeated squares are few.
    if (k % kLargest != 0)
        b = multadd(b, kSmall[k % kLargest], 0);
    k /= kLargest;
    if (k == 0)
        return b;
    Bigint* power = i2b(kSmall[kLargest]);
    for (;; k >>= 1) {
        if (k & 1) {
            Bigint* product = mult(b, power);
            Bfree(b);
            b = product;
        }
        if (k == 1)
            break;
        Bigint* square = mult(power, power);
        Bfree(power);
        power = square;
    }
    Bfree(power);
    return b;
}

Bigint* lshift(Bigint* b, int k)
{
    int words = k / kWordBits, bits = k % kWordBits;
    Bigint* shifted = WithRoomFor(b->wds + words + 1);
    uint32_t* to = shifted->x();
    memset(to, 0, size_t(words) * sizeof(uint32_t));
    uint64_t carry = 0;
    for (int i = 0; i < b->wds; ++i) {
        carry |= uint64_t(b->x()[i]) << bits;
        to[words + i] = uint32_t(carry);
        carry >>= kWordBits;
    }
    to[words + b->wds] = uint32_t(carry);
    shifted->wds = words + b->wds + 1;
    Trim(shifted);
    Bfree(b);
    return shifted;
}

int cmp(const Bigint* a, const Bigint* b)
{
    if (a->wds != b->wds)
        return a->wds < b->wds ? -1 : 1;
    for (int i = a->wds - 1; i >= 0; --i) {
        if (a->x()[i] != b->x()[i])
            return a->x()[i] < b->x()[i] ? -1 : 1;
    }
    return 0;
}

Bigint* diff(const Bigint* a, const Bigint* b)
{
    bool swapped = cmp(a, b) < 0;
    const Bigint* larger = swapped ? b : a;
    const Bigint* smaller = swapped ? a : b;
    Bigint* difference = WithRoomFor(larger->wds);
    difference->sign = swapped ? 1 : 0;
    difference->wds = larger->wds;
    uint32_t borrow = 0;
    for (int i = 0; i < larger->wds; ++i) {
        uint32_t taken = i < smaller->wds ? smaller->x()[i] : 0;
        uint64_t word = uint64_t(larger->x()[i]) - taken - borrow;
        difference->x()[i] = uint32_t(word);
        borrow = uint32_t(word >> kWordBits) & 1;
    }
    Trim(difference);
    return difference;
}

int hi0bits(uint32_t word)
{
    return word ? __builtin_clz(word) : kWordBits;
}

int quorem(Bigint* b, const Bigint* s)
{
    assert(hi0bits(s->x()[s->wds - 1]) == 4 && b->wds <= s->wds);
    if (b->wds < s->wds)
        return 0;
    int top = s->wds - 1;
    // The top words alone give the quotient or one less than it: the divisor's has 28
    // bits and is taken one too large.
    uint32_t q = b->x()[top] / (s->x()[top] + 1);
    uint32_t borrow = SubtractMultiple(b, s, q);
    assert(borrow == 0);
    (void)borrow;
    Trim(b);
    if (cmp(b, s) >= 0) {
        ++q;
        SubtractMultiple(b, s, 1);
        Trim(b);
    }
    assert(q < 10);
    return int(q);
}
