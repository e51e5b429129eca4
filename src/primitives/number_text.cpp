#include "primitives/number_text.h"

#include <assert.h>
#include <string.h>

#include "primitives/digit_blocks.h"
#include "primitives/powers_of_ten.h"
#include "primitives/shortest_digits.h"

namespace {

typedef unsigned __int128 Wide;

const int kFractionBits = 52;
const uint64_t kHiddenBit = uint64_t(1) << kFractionBits;
const uint64_t kInfinityBits = uint64_t(0x7FF) << kFractionBits;
const int kExponentBias = 1075;  // of the last bit of the fraction
const int kByteBits = 8;
const int kMostDigits = 17;

// A text without an explicit precision is rounded to so many places.
const int kPlaces = 20;
// All below this power of two are rounded to nothing by that.
const double kNothing = 0x1p-68;
// What has so many zeros behind the point is told by its last 16 places.
const int kFarBehind = 4;

constexpr Wide Join(uint64_t first, uint64_t second)
{
    return Wide(second) << 64 | first;
}

constexpr Wide kSixteenZeros = Join(kBlockOfZeros, kBlockOfZeros);

void Store(Wide characters, char* out)
{
    StoreBlock(uint64_t(characters), out);
    StoreBlock(uint64_t(characters >> 64), out + kBlockDigits);
}

// Puts a point behind the first `count` characters, 0 to 7; the last one falls off.
uint64_t WithPoint(uint64_t block, int count)
{
    const int point = kByteBits * count;
    const uint64_t in_front = (uint64_t(1) << point) - 1;
    return (block & in_front) | uint64_t('.') << point | (block & ~in_front) << kByteBits;
}

// Whether what the bits of a number above 0 stand for is a whole number below 2^53.
bool IsWhole(uint64_t bits, uint64_t* number)
{
    const int behind = kExponentBias - int(bits >> kFractionBits);
    if (behind < 0 || behind > kFractionBits)
        return false;
    const uint64_t m = (bits & (kHiddenBit - 1)) | kHiddenBit;
    *number = m >> behind;
    return *number << behind == m;
}

// The exact value of a number between kNothing and 10^-4, rounded to a multiple of
// 10^-20, a tie to the even one. 10^20 times the 53 bits is below 2^120.
uint64_t RoundedToPlaces(uint64_t bits)
{
    const int behind = kExponentBias - int(bits >> kFractionBits);
    const uint64_t m = (bits & (kHiddenBit - 1)) | kHiddenBit;
    const uint64_t ten_to_half_the_places = kIntegerPowersOfTen[kPlaces / 2];
    const Wide scaled = Wide(m) * ten_to_half_the_places * ten_to_half_the_places;
    const Wide rest = scaled & ((Wide(1) << behind) - 1);
    const Wide half = Wide(1) << (behind - 1);
    const uint64_t quotient = uint64_t(scaled >> behind);
    const bool is_nearer_up = rest > half || (rest == half && (quotient & 1) != 0);
    return quotient + (is_nearer_up ? 1 : 0);
}

// The same for a decimal that ends within these places.
uint64_t InPlaces(const ShortestDecimal& decimal)
{
    const int zeros = decimal.exponent + kPlaces;
    return zeros < 0 ? decimal.digits / kIntegerPowersOfTen[-zeros]
                     : decimal.digits * kIntegerPowersOfTen[zeros];
}

}  // namespace

int FormatInteger(int value, char* out)
{
    char* to = out;
    // Unsigned, since the least int has no positive counterpart.
    unsigned int magnitude = unsigned(value);
    if (value < 0) {
        magnitude = 0u - magnitude;
        *to++ = '-';
    }
    unsigned int top = magnitude / kBlockLimit;
    const uint64_t digits = SplitBlock(magnitude % kBlockLimit);
    int zeros = 0;
    if (top == 0)
        zeros = magnitude == 0 ? kBlockDigits - 1 : LeadingZeros(digits);
    else if (top >= 10)
        *to++ = char('0' + top / 10);
    if (top > 0)
        *to++ = char('0' + top % 10);
    StoreBlock((digits + kBlockOfZeros) >> kByteBits * zeros, to);
    to += kBlockDigits - zeros;
    *to = 0;
    return int(to - out);
}

ShortestText::ShortestText(double value) : m_is_word(false)
{
    uint64_t bits;
    memcpy(&bits, &value, sizeof bits);
    m_is_negative = bits >> 63 != 0;
    bits &= ~(uint64_t(1) << 63);
    ShortestDecimal decimal = {0, 0};
    if (bits == 0 || IsWhole(bits, &decimal.digits)) {
        if (decimal.digits < kBlockLimit) {
            SetWhole(uint32_t(decimal.digits));
            return;
        }
    } else if (bits >= kInfinityBits) {
        if (bits == kInfinityBits)
            SetWord("Infinity", 8);
        else
            SetWord("NaN\0\0\0\0", 3);
        return;
    } else if (fabs(value) < kNothing) {
        SetPlaces(0);
        return;
    } else {
        decimal = ShortestDigits(fabs(value));
    }
    SetDigits(decimal.digits, decimal.exponent);
    if (m_decpt <= -kFarBehind)
        SetPlaces(m_count - m_decpt <= kPlaces ? InPlaces(decimal) : RoundedToPlaces(bits));
}

void ShortestText::SetWord(const char* letters, int count)
{
    m_is_word = true;
    m_first = letters[0];
    m_others = LoadBlock(letters) >> kByteBits;
    m_count = m_decpt = count;
}

// `number` is below kBlockLimit.
void ShortestText::SetWhole(uint32_t number)
{
    uint64_t digits = SplitBlock(number);
    const int zeros = number == 0 ? kBlockDigits - 1 : LeadingZeros(digits);
    digits >>= kByteBits * zeros;
    m_first = char('0' + (digits & 0xF));
    m_others = (digits >> kByteBits) + kSixteenZeros;
    m_count = m_decpt = kBlockDigits - zeros;
}

// `number` has 9 to 17 digits.
void ShortestText::SetDigits(uint64_t number, int exponent)
{
    const uint64_t upper = number / kBlockLimit;
    // Not from the upper part, which would have to be waited for.
    const unsigned int top = unsigned(number / kIntegerPowersOfTen[2 * kBlockDigits]);
    const uint64_t high = SplitBlock(uint32_t(upper) - top * kBlockLimit);
    const uint64_t low = SplitBlock(uint32_t(number % kBlockLimit));
    const int zeros_behind = low != 0
                                 ? TrailingZeros(low)
                                 : kBlockDigits + (high != 0 ? TrailingZeros(high) : kBlockDigits);
    // Without a top digit the first one comes from the upper block. The bit keeps it
    // within the block when that is 0 below a top digit.
    const int leading = LeadingZeros(high | uint64_t(1) << 63);
    const int zeros = (leading + 1) & (int(top != 0) - 1);
    m_first = char('0' + top + (unsigned(high >> kByteBits * leading) & (0u - (zeros != 0)) & 0xF));
    m_others = (Join(high, low) >> kByteBits * zeros) + kSixteenZeros;
    m_count = kMostDigits - zeros - zeros_behind;
    m_decpt = kMostDigits - zeros + exponent;
}

// Takes a number of units of the last place.
void ShortestText::SetPlaces(uint64_t number)
{
    assert(number < kIntegerPowersOfTen[kPlaces - kFarBehind]);
    const uint64_t high = SplitBlock(uint32_t(number / kBlockLimit));
    const uint64_t low = SplitBlock(uint32_t(number % kBlockLimit));
    m_others = Join(high, low) + kSixteenZeros;
    m_count = 0;
    m_decpt = -kPlaces;
    if (number == 0)
        return;
    const int zeros = high != 0 ? LeadingZeros(high) : kBlockDigits + LeadingZeros(low);
    const int zeros_behind = low != 0 ? TrailingZeros(low) : kBlockDigits + TrailingZeros(high);
    m_count = 2 * kBlockDigits - zeros - zeros_behind;
    m_decpt = -kFarBehind - zeros;
}

// For a point among the digits.
char* ShortestText::WriteWithPoint(char* to) const
{
    const uint64_t high = uint64_t(m_others), low = uint64_t(m_others >> 64);
    to[0] = m_first;
    // Everything as it stands behind the point, then the word that has the point in it and
    // what is in front of that.
    Store(m_others, to + 2);
    if (m_decpt <= kBlockDigits) {
        StoreBlock(WithPoint(high, m_decpt - 1), to + 1);
    } else {
        StoreBlock(high, to + 1);
        StoreBlock(WithPoint(low, m_decpt - 1 - kBlockDigits), to + 1 + kBlockDigits);
    }
    return to + m_count + 1;
}

int ShortestText::Write(char* out) const
{
    char* to = out;
    *to = '-';
    to += m_is_negative ? 1 : 0;
    char* end = to + m_decpt;
    if (m_decpt > 0 && m_decpt < m_count) {
        end = WriteWithPoint(to);
    } else if (m_decpt > 0) {
        to[0] = m_first;
        Store(m_others, to + 1);
        if (m_decpt > kMostDigits)
            memset(to + kMostDigits, '0', size_t(m_decpt - kMostDigits));
    } else if (m_decpt > -kFarBehind) {
        memcpy(to, "0.000", 5);
        to[2 - m_decpt] = m_first;
        Store(m_others, to + 3 - m_decpt);
        end = to + 2 - m_decpt + m_count;
    } else {
        memcpy(to, "0.0000", 6);
        Store(m_others, to + 6);
        end = to + (m_count == 0 ? 1 : 2 - m_decpt + m_count);
    }
    *end = 0;
    return int(end - out);
}

// Made one piece, so that the characters stay in registers on their way.
[[gnu::flatten]] int FormatShortest(double value, char* out)
{
    return ShortestText(value).Write(out);
}
