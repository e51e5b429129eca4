#include "primitives/decimal_reader.h"

#include <stdint.h>
#include <string.h>

#include "primitives/digit_blocks.h"
#include "primitives/powers_of_ten.h"

namespace {

typedef unsigned __int128 Wide;

// So many digits fit any uint64_t.
const int kMostDigits = 19;
const uint64_t kGreatestExactInteger = uint64_t(1) << 53;
// Far beyond the doubles, and far from the limits of an int.
const int kMostExponent = 9999;
const size_t kMostLength = 100000;

// A number as it is written: digits * 10^exponent. When `has_more` is set, digits other
// than 0 are left out: the number lies between that and (digits + 1) * 10^exponent.
struct Decimal {
    bool is_negative;
    bool has_more;
    uint64_t digits;
    int exponent;
};

unsigned int DigitAt(const char* p)
{
    return static_cast<unsigned char>(*p) - unsigned('0');
}

// Appends the digits at `p` to `sum`, which wraps around when there are too many, and
// returns the end of them.
const char* TakeDigits(const char* p, const char* end, uint64_t* sum)
{
    while (p < end) {
        const uint64_t block = end - p >= kBlockDigits ? LoadBlock(p) : LoadFew(p, int(end - p));
        const int count = LeadingDigits(block);
        if (count == kBlockDigits) {
            *sum = *sum * kBlockLimit + JoinBlock(block);
            p += kBlockDigits;
            continue;
        }
        if (count > 0)
            *sum = *sum * kIntegerPowersOfTen[count] + JoinFew(block, count);
        return p + count;
    }
    return p;
}

// Reads the digits between `p` and `end` anew, a '.' among them, when there are more than
// kMostDigits: only the first ones count.
void TakeFirstDigits(const char* p, const char* end, Decimal* decimal)
{
    while (p < end && (*p == '0' || *p == '.'))
        ++p;
    int count = 0;
    decimal->digits = 0;
    for (; p < end; ++p) {
        if (*p == '.')
            continue;
        if (count < kMostDigits) {
            decimal->digits = decimal->digits * 10 + DigitAt(p);
            ++count;
        } else {
            ++decimal->exponent;
            if (*p != '0')
                decimal->has_more = true;
        }
    }
}

// Reads what stands behind the 'e'.
bool TakeExponent(const char* p, const char* end, int* exponent)
{
    const bool is_negative = p < end && *p == '-';
    if (p < end && (*p == '-' || *p == '+'))
        ++p;
    if (p == end)
        return false;
    int sum = 0;
    for (; p < end; ++p) {
        if (DigitAt(p) > 9 || sum > kMostExponent)
            return false;
        sum = sum * 10 + int(DigitAt(p));
    }
    *exponent += is_negative ? -sum : sum;
    return true;
}

bool Parse(const char* p, const char* end, Decimal* decimal)
{
    decimal->is_negative = p < end && *p == '-';
    if (decimal->is_negative)
        ++p;
    decimal->has_more = false;
    decimal->digits = 0;
    decimal->exponent = 0;
    const char* const first = p;
    p = TakeDigits(p, end, &decimal->digits);
    int count = int(p - first);
    if (p < end && *p == '.') {
        const char* const point = p;
        p = TakeDigits(p + 1, end, &decimal->digits);
        const int places = int(p - point) - 1;
        decimal->exponent = -places;
        count += places;
    }
    if (count == 0)
        return false;
    if (count > kMostDigits)
        TakeFirstDigits(first, p, decimal);
    if (p == end)
        return true;
    return (*p == 'e' || *p == 'E') && TakeExponent(p + 1, end, &decimal->exponent);
}

// Whether the result of one operation on exact doubles is that of the text.
bool IsExact(const Decimal& decimal)
{
    return decimal.digits <= kGreatestExactInteger && decimal.exponent >= -kGreatestExactPower &&
           decimal.exponent <= kGreatestExactPower;
}

double Exact(const Decimal& decimal)
{
    const double digits = double(decimal.digits);
    return decimal.exponent < 0 ? digits / kExactPowersOfTen[-decimal.exponent]
                                : digits * kExactPowersOfTen[decimal.exponent];
}

// The double nearest to digits * 10^exponent, as its bits; 0 when that is not certain or
// the double is not a normal one. `digits` is not 0.
//
// This is the algorithm of "Number Parsing at a Gigabyte per Second" (2021), with a bound
// of its own: the power of ten has 128 bits and lies less than one unit of the last above
// them, so that the product with 64 bits, without its lowest 64, lies less than two units
// above what is computed. Where bits of a negative power are cut off, it does lie above.
// A positive one that does not fit 64 bits has more fives than any middle has bits for.
uint64_t NearestBits(uint64_t digits, int exponent)
{
    if (exponent < kLeastPowerOfTen || exponent > kGreatestPowerOfTen)
        return 0;
    const int zeros = __builtin_clzll(digits);
    const PowerOfTen& power = HighestBits(exponent);
    const Wide lower = Wide(power.low) * (digits << zeros);
    const Wide product = Wide(power.high) * (digits << zeros) + uint64_t(lower >> 64);
    const uint64_t high = uint64_t(product >> 64), low = uint64_t(product);

    // 53 bits are the result, 10 or 11 more in the same word decide how it is rounded.
    const int dropped = 10 + int(high >> 63);
    const uint64_t half = uint64_t(1) << (dropped - 1);
    const uint64_t rest = high & (2 * half - 1);
    uint64_t mantissa = high >> dropped;
    bool up = rest >= half;
    if (exponent >= 0 && exponent <= kGreatestWholePower) {
        // All is exact here, and only here a computed middle is one.
        if (rest == half && low == 0)
            up = (mantissa & 1) != 0;
    } else if (rest == half - 1 && low == ~uint64_t(0)) {
        // The product may lie below the middle, above it, or on it.
        return 0;
    }
    mantissa += up ? 1 : 0;

    const int kLeast = 1, kGreatest = 2046, kBias = 1075;
    const int biased = HighestBitOfPower(exponent) + 1 - zeros + dropped + kBias;
    // Rounding up to the next power of two makes the exponent one more by its carry.
    const uint64_t hidden = uint64_t(1) << 52;
    if (biased < kLeast || biased + int(mantissa >> 53) > kGreatest)
        return 0;
    return (uint64_t(biased) << 52) + (mantissa - hidden);
}

}  // namespace

bool ReadDecimal(const char* text, size_t length, double* value)
{
    Decimal decimal;
    if (length > kMostLength || !Parse(text, text + length, &decimal))
        return false;
    double magnitude = 0.0;
    if (IsExact(decimal)) {
        magnitude = Exact(decimal);
    } else if (decimal.digits != 0) {
        const uint64_t bits = NearestBits(decimal.digits, decimal.exponent);
        if (bits == 0)
            return false;
        if (decimal.has_more && NearestBits(decimal.digits + 1, decimal.exponent) != bits)
            return false;
        memcpy(&magnitude, &bits, sizeof bits);
    }
    *value = decimal.is_negative ? -magnitude : magnitude;
    return true;
}
