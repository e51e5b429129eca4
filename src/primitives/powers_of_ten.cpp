#include "primitives/powers_of_ten.h"

// The powers of five have the same bits as those of ten, but for their place. Those of
// positive exponents grow by exact multiplication. The others come from one large power
// of two that is divided by five again and again, each time without the remainder: that
// gives the same as one division by the power does.

namespace {

const int kWordBits = 32;
// 2^928 divided by 5^342 has 128 bits and some more left.
const int kWords = 30;

struct Large {
    uint32_t words[kWords] = {};
    int used = 1;

    constexpr void TimesFive()
    {
        uint64_t carry = 0;
        for (int i = 0; i < used; ++i) {
            carry += uint64_t(words[i]) * 5;
            words[i] = uint32_t(carry);
            carry >>= kWordBits;
        }
        if (carry != 0)
            words[used++] = uint32_t(carry);
    }

    constexpr void DividedByFive()
    {
        uint64_t rest = 0;
        for (int i = used; i-- > 0;) {
            rest = rest << kWordBits | words[i];
            words[i] = uint32_t(rest / 5);
            rest %= 5;
        }
        if (words[used - 1] == 0)
            --used;
    }

    constexpr uint64_t Word(int i) const { return i >= 0 ? words[i] : 0; }

    constexpr PowerOfTen HighestBits() const
    {
        const int shift = __builtin_clz(words[used - 1]);
        uint64_t halves[2] = {};
        for (int half = 0; half < 2; ++half) {
            const int i = used - 1 - 2 * half;
            halves[half] = Word(i) << kWordBits | Word(i - 1);
            if (shift > 0)
                halves[half] = halves[half] << shift | Word(i - 2) >> (kWordBits - shift);
        }
        return {halves[0], halves[1]};
    }
};

constexpr PowersOfTen Computed()
{
    PowersOfTen powers = {};
    Large whole;
    whole.words[0] = 1;
    for (int i = 0; i <= kGreatestPowerOfTen; ++i) {
        powers.of[i - kLeastPowerOfTen] = whole.HighestBits();
        whole.TimesFive();
    }
    Large part;
    part.used = kWords;
    part.words[kWords - 1] = 1;
    for (int i = -1; i >= kLeastPowerOfTen; --i) {
        part.DividedByFive();
        powers.of[i - kLeastPowerOfTen] = part.HighestBits();
    }
    return powers;
}

}  // namespace

constexpr PowersOfTen kPowersOfTen = Computed();
