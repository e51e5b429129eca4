#include "primitives/shortest_digits.h"

#include <string.h>

#include "primitives/powers_of_ten.h"

namespace {

typedef unsigned __int128 Wide;

const int kFractionBits = 52;
const uint64_t kHiddenBit = uint64_t(1) << kFractionBits;
const int kExponentBias = 1075;  // of the last bit of the fraction

// A positive double: m * 2^e.
struct Binary {
    uint64_t m;
    int e;
    // Whether the doubles below lie twice as close as those above.
    bool is_narrow;
};

Binary Decompose(double value)
{
    uint64_t bits;
    memcpy(&bits, &value, sizeof bits);
    uint64_t fraction = bits & (kHiddenBit - 1);
    int exponent = int(bits >> kFractionBits);
    if (exponent == 0)
        return {fraction, 1 - kExponentBias, false};
    return {fraction | kHiddenBit, exponent - kExponentBias, fraction == 0 && exponent > 1};
}

// The greatest k with 10^k <= 2^e, or <= 3/4 * 2^e for a narrow one: there is a multiple
// of 10^k, but at most one of 10^(k+1), in the interval that reads back to the number.
int Unit(const Binary& number)
{
    // 1262611 / 2^22 is log10(2), 524031 / 2^22 is -log10(3/4).
    return (number.e * 1262611 - (number.is_narrow ? 524031 : 0)) >> 22;
}

// A number scaled by a power of ten: cut off at its last bit, which is set as well when
// anything is behind it. Comparisons with even integers come out as those of the exact
// product would.
class Scale {
public:
    // For products with 10^exponent; `factor` is one more than its bits, as the proof of
    // the algorithm asks for. None of the low words of the table is at its limit.
    explicit Scale(int exponent)
        : m_high(HighestBits(exponent).high), m_low(HighestBits(exponent).low + 1)
    {
    }

    uint64_t operator()(uint64_t number) const
    {
        Wide upper = Wide(m_high) * number + uint64_t(Wide(m_low) * number >> 64);
        // The excess of the factor is too small to show here: nothing is behind the last
        // bit if the exact product is an integer.
        return uint64_t(upper >> 64) | (uint64_t(upper) != 0 ? 1 : 0);
    }

private:
    uint64_t m_high;
    uint64_t m_low;
};

// `first` if so, else `second`, without a branch.
uint64_t Selected(bool is_first, uint64_t first, uint64_t second)
{
    return second ^ ((first ^ second) & (0 - uint64_t(is_first)));
}

}  // namespace

ShortestDecimal ShortestDigits(double value)
{
    const Binary number = Decompose(value);
    const int unit = Unit(number);
    const int shift = number.e + HighestBitOfPower(-unit) + 1;
    const Scale scale(-unit);

    // In quarters of the unit: the number, and the borders of what reads back to it. The
    // borders themselves read back when m is even.
    const uint64_t odd = number.m & 1;
    const uint64_t quarters = 4 * number.m;
    const uint64_t low = scale((quarters - (number.is_narrow ? 1 : 2)) << shift) + odd;
    const uint64_t high = scale((quarters + 2) << shift) - odd;
    const uint64_t scaled = scale(quarters << shift);

    // The candidates are the multiples of ten below and above, then those of one. Whether
    // a shorter one will do is a coin toss, and all of this cheaper than a wrong guess of
    // the processor: there are no branches.
    const uint64_t below = scaled / 4;
    const uint64_t tens_below = below / 10;
    const bool tens_down = low <= 40 * tens_below;
    const bool tens_up = 40 * tens_below + 40 <= high;
    const bool is_shorter = tens_down != tens_up;

    const bool ones_down = low <= 4 * below;
    const bool ones_up = 4 * below + 4 <= high;
    const uint64_t middle = 4 * below + 2;
    const bool is_nearer_up = (scaled > middle) | ((scaled == middle) & ((below & 1) != 0));
    const bool up = ones_down != ones_up ? ones_up : is_nearer_up;

    const uint64_t tens = (tens_below + (tens_up ? 1 : 0)) * 10;
    const uint64_t ones = below + (up ? 1 : 0);
    return {Selected(is_shorter, tens, ones), unit};
}
