#include "primitives/dtoa.h"

#include <assert.h>
#include <limits.h>
#include <stdint.h>
#include <string.h>

#include "primitives/bigint.h"
#include "primitives/powers_of_ten.h"

// Two ways lead to the same digits. A number of everyday size, scaled to 17 or 18
// digits in front of the point, is exact in 128 bits, and so are the borders between
// which everything reads back to it: the digits then come from a few divisions. All
// other numbers take the published way through big numbers.

namespace {

typedef unsigned __int128 Wide;

const int kFractionBits = 52;
const int kExponentMask = 0x7FF;
const int kExponentBias = 1075;  // of the last bit of the fraction

// Enough to tell any two doubles apart.
const int kMostDigits = 17;
// 4 * 2^53 * 10^21 is below 2^125.
const int kLargestScale = 21;

// A positive double: m * 2^e. What lies between (4m - below) / 4 and (4m + 2) / 4, in
// units of 2^e, reads back to it; the borders themselves do so when m is even.
struct Binary {
    uint64_t m;
    int e;
    unsigned int below;  // 2; but 1 where the doubles below lie twice as close

    bool IsEven() const { return (m & 1) == 0; }
    // A p with 10^(p-1) <= value < 10^(p+1).
    int Point() const
    {
        int highest_bit = e + 63 - __builtin_clzll(m);
        return int((highest_bit * 78913LL) >> 18) + 1;  // 78913 / 2^18 is log10(2)
    }
};

const unsigned int kAbove = 2;

Binary Decompose(uint64_t bits)
{
    uint64_t fraction = bits & ((uint64_t(1) << kFractionBits) - 1);
    int exponent = int(bits >> kFractionBits) & kExponentMask;
    if (exponent == 0)
        return {fraction, 1 - kExponentBias, 2};
    bool narrow = fraction == 0 && exponent > 1;
    return {fraction | uint64_t(1) << kFractionBits, exponent - kExponentBias, narrow ? 1u : 2u};
}

// Where the digits go.
struct Digits {
    char* text;
    int count;
    int decpt;

    void SetNone(long long places)
    {
        count = 0;
        decpt = int(-places);
    }
    void SetInteger(uint64_t n, int exponent);
    void RoundUp();
    void DropZeros()
    {
        while (count > 0 && text[count - 1] == '0')
            --count;
    }
};

// The digits of n * 10^exponent; n is not 0.
void Digits::SetInteger(uint64_t n, int exponent)
{
    char backwards[20];
    const int end = int(sizeof backwards);
    int first = end;
    // Two at a time, since each division waits for the one before.
    for (; n >= 10; n /= 100) {
        int pair = int(n % 100);
        backwards[--first] = char('0' + pair % 10);
        backwards[--first] = char('0' + pair / 10);
    }
    if (n > 0)
        backwards[--first] = char('0' + n);
    count = end - first;
    decpt = count + exponent;
    while (backwards[first + count - 1] == '0')
        --count;
    memcpy(text, backwards + first, size_t(count));
}

// Adds one to the last digit.
void Digits::RoundUp()
{
    while (count > 0 && text[count - 1] == '9')
        --count;
    if (count > 0) {
        ++text[count - 1];
        return;
    }
    text[count++] = '1';
    ++decpt;
}

// A number scaled by a power of ten, exact in 128 bits.
class ScaledNumber {
public:
    // Whether the number can be scaled to at least 17 digits.
    static bool Takes(const Binary& number)
    {
        int scale = kMostDigits - number.Point();
        return number.e <= 2 && scale >= 0 && scale <= kLargestScale;
    }
    explicit ScaledNumber(const Binary& number)
        : m_scale(kMostDigits - number.Point()),
          m_shift(2 - number.e),
          m_number(number),
          m_value(Scaled(4 * number.m))
    {
    }
    // False when the place is too far to the left.
    bool Put(long long places, Digits* digits) const;

private:
    Wide Scaled(uint64_t quarters) const;
    uint64_t Shortest(int* dropped) const;
    uint64_t Rounded(int dropped) const;

    int m_scale;  // the power of ten
    int m_shift;  // m_value has so many bits behind the point
    Binary m_number;
    Wide m_value;
};

Wide ScaledNumber::Scaled(uint64_t quarters) const
{
    if (m_scale <= kGreatestIntegerPower)
        return Wide(quarters) * kIntegerPowersOfTen[m_scale];
    return Wide(quarters) * kIntegerPowersOfTen[kGreatestIntegerPower] *
           kIntegerPowersOfTen[m_scale - kGreatestIntegerPower];
}

// The number divided by 10^dropped and rounded, a tie to even.
uint64_t ScaledNumber::Rounded(int dropped) const
{
    uint64_t unit = kIntegerPowersOfTen[dropped];
    uint64_t quotient = uint64_t(m_value >> m_shift) / unit;
    Wide twice = (m_value - (Wide(quotient * unit) << m_shift)) * 2;
    Wide whole = Wide(unit) << m_shift;
    bool up = twice > whole || (twice == whole && (quotient & 1) != 0);
    return quotient + (up ? 1 : 0);
}

// Divides the borders by `unit` if a multiple of it lies between them.
inline bool Coarsen(uint64_t unit, uint64_t* least, uint64_t* most)
{
    uint64_t low = (*least + unit - 1) / unit, high = *most / unit;
    if (low > high)
        return false;
    *least = low;
    *most = high;
    return true;
}

// The shortest digits as an integer; 10^*dropped of the scaled number is its unit.
uint64_t ScaledNumber::Shortest(int* dropped) const
{
    Wide low = Scaled(4 * m_number.m - m_number.below);
    Wide high = Scaled(4 * m_number.m + kAbove);
    if (!m_number.IsEven()) {
        ++low;
        --high;
    }
    Wide almost_one = (Wide(1) << m_shift) - 1;
    uint64_t least = uint64_t((low + almost_one) >> m_shift);
    uint64_t most = uint64_t(high >> m_shift);
    assert(least <= most);
    *dropped = 0;
    while (Coarsen(kIntegerPowersOfTen[8], &least, &most))
        *dropped += 8;
    if (Coarsen(kIntegerPowersOfTen[4], &least, &most))
        *dropped += 4;
    if (Coarsen(kIntegerPowersOfTen[2], &least, &most))
        *dropped += 2;
    if (Coarsen(kIntegerPowersOfTen[1], &least, &most))
        *dropped += 1;
    uint64_t nearest = Rounded(*dropped);
    // Only at a power of two, where the lower border is closer, could the nearest number
    // miss the borders; at none of those that come here does it.
    assert(least <= nearest && nearest <= most);
    return nearest;
}

bool ScaledNumber::Put(long long places, Digits* digits) const
{
    int dropped;
    uint64_t n = Shortest(&dropped);
    if (m_scale - dropped > places) {
        if (m_scale - places > kMostDigits)
            return false;
        dropped = int(m_scale - places);
        n = Rounded(dropped);
    }
    if (n == 0)
        digits->SetNone(places);
    else
        digits->SetInteger(n, dropped - m_scale);
    return true;
}

// A number of any size as the quotient r / s of big numbers, 10^(decpt-1) being its
// unit, with the distances to its borders over the same s.
class ExactNumber {
public:
    explicit ExactNumber(const Binary& number);
    ~ExactNumber();
    ExactNumber(const ExactNumber&) = delete;
    ExactNumber& operator=(const ExactNumber&) = delete;

    void Put(long long places, Digits* digits);

private:
    void Generate(long long limit, Digits* digits);
    void NextPlace();
    bool ReachesDown() const;
    bool ReachesUp() const;
    bool IsNearerUp(int digit);

    bool m_even;
    int m_decpt;
    Bigint* m_r;
    Bigint* m_s;
    Bigint* m_below;
    Bigint* m_above;  // null when it equals m_below
};

// r is 4 * m * 2^e / 10^decpt and s is 4, both multiplied by what makes them whole and
// gives s the form that quorem wants.
ExactNumber::ExactNumber(const Binary& number) : m_even(number.IsEven()), m_decpt(number.Point())
{
    int fives_r = m_decpt < 0 ? -m_decpt : 0;
    int fives_s = m_decpt > 0 ? m_decpt : 0;
    int twos = number.e - m_decpt;
    int twos_r = twos > 0 ? twos : 0;
    int twos_s = twos < 0 ? -twos : 0;
    m_s = pow5mult(i2b(4), fives_s);
    int zeros = hi0bits(m_s->x()[m_s->wds - 1]);
    int filled = (zeros - 4 - twos_s) & 31;
    m_s = lshift(m_s, twos_s + filled);
    m_r = lshift(pow5mult(i2b(4 * number.m), fives_r), twos_r + filled);
    m_below = lshift(pow5mult(i2b(number.below), fives_r), twos_r + filled);
    m_above = nullptr;
    if (number.below != kAbove)
        m_above = lshift(pow5mult(i2b(kAbove), fives_r), twos_r + filled);
    if (cmp(m_r, m_s) >= 0)
        ++m_decpt;
    else
        NextPlace();
}

ExactNumber::~ExactNumber()
{
    Bfree(m_r);
    Bfree(m_s);
    Bfree(m_below);
    Bfree(m_above);
}

void ExactNumber::NextPlace()
{
    m_r = multadd(m_r, 10, 0);
    m_below = multadd(m_below, 10, 0);
    if (m_above)
        m_above = multadd(m_above, 10, 0);
}

// Whether the digits so far read back.
bool ExactNumber::ReachesDown() const
{
    int order = cmp(m_r, m_below);
    return order < 0 || (order == 0 && m_even);
}

// Whether they read back with one added to the last of them.
bool ExactNumber::ReachesUp() const
{
    Bigint* rest = diff(m_s, m_above ? m_above : m_below);
    int order = rest->sign ? 1 : cmp(m_r, rest);
    Bfree(rest);
    return order > 0 || (order == 0 && m_even);
}

// Whether the rest behind `digit` is more than half, or half behind an odd digit. The
// rest is spent by the question.
bool ExactNumber::IsNearerUp(int digit)
{
    m_r = lshift(m_r, 1);
    int order = cmp(m_r, m_s);
    return order > 0 || (order == 0 && (digit & 1) != 0);
}

// Puts digits until what they say reads back, or to the limit.
void ExactNumber::Generate(long long limit, Digits* digits)
{
    for (;;) {
        int digit = quorem(m_r, m_s);
        digits->text[digits->count++] = char('0' + digit);
        bool down = ReachesDown(), up = ReachesUp();
        if (down || up || digits->count == limit) {
            if (down == up ? IsNearerUp(digit) : up)
                digits->RoundUp();
            digits->DropZeros();
            return;
        }
        NextPlace();
    }
}

void ExactNumber::Put(long long places, Digits* digits)
{
    long long limit = places + m_decpt;
    if (limit > 0) {
        digits->count = 0;
        digits->decpt = m_decpt;
        Generate(limit, digits);
        return;
    }
    // At most one digit is left, that of the place in front of the number.
    m_s = multadd(m_s, 5, 0);
    if (limit < 0 || cmp(m_r, m_s) <= 0)
        digits->SetNone(places);
    else
        digits->SetInteger(1, m_decpt);
}

void PutFinite(const Binary& number, long long places, Digits* digits)
{
    int behind = -number.e;
    if (behind >= 0 && behind <= kFractionBits && places >= 0) {
        uint64_t whole = number.m >> behind;
        if (whole << behind == number.m) {
            digits->SetInteger(whole, 0);
            return;
        }
    }
    if (ScaledNumber::Takes(number) && ScaledNumber(number).Put(places, digits))
        return;
    // Far behind the last place there is nothing to compute.
    if (places + number.Point() + 1 < 0)
        digits->SetNone(places);
    else
        ExactNumber(number).Put(places, digits);
}

void PutWord(const char* word, int decpt, Digits* digits)
{
    digits->count = int(strlen(word));
    memcpy(digits->text, word, size_t(digits->count));
    digits->decpt = decpt;
}

}  // namespace

char* dtoa(double value, int mode, int ndigits, int* decpt, int* sign, char** rve, char* buffer)
{
    assert(mode == kDtoaShortest || mode == kDtoaShortestToPlaces);
    uint64_t bits;
    memcpy(&bits, &value, sizeof bits);
    *sign = int(bits >> 63);
    bits &= ~(uint64_t(1) << 63);
    const uint64_t infinity = uint64_t(kExponentMask) << kFractionBits;
    Digits digits = {buffer, 0, 0};
    if (bits == 0)
        PutWord("0", 1, &digits);
    else if (bits >= infinity)
        PutWord(bits == infinity ? "Infinity" : "NaN", kDtoaNotFinite, &digits);
    else
        PutFinite(Decompose(bits), mode == kDtoaShortest ? INT_MAX : ndigits, &digits);
    buffer[digits.count] = 0;
    *decpt = digits.decpt;
    if (rve)
        *rve = buffer + digits.count;
    return buffer;
}
