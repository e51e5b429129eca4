#ifndef ZEPH_PRIMITIVES_DIGIT_BLOCKS_H
#define ZEPH_PRIMITIVES_DIGIT_BLOCKS_H

#include <stdint.h>
#include <string.h>

// Eight decimal digits at a time, as the bytes of one word: the first digit is the lowest
// byte, whatever the machine's own order of bytes. For the conversions of numbers.

const int kBlockDigits = 8;
const uint32_t kBlockLimit = 100000000;
const uint64_t kBlockOfZeros = 0x3030303030303030;  // "00000000"

inline uint64_t LoadBlock(const char* text)
{
    uint64_t block;
    memcpy(&block, text, sizeof block);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    block = __builtin_bswap64(block);
#endif
    return block;
}

// The same from 1 to 7 characters, NULs standing behind them.
inline uint64_t LoadFew(const char* text, int count)
{
    if (count < 4) {
        const int middle = count / 2, last = count - 1;
        return uint64_t(static_cast<unsigned char>(text[0])) |
               uint64_t(static_cast<unsigned char>(text[middle])) << 8 * middle |
               uint64_t(static_cast<unsigned char>(text[last])) << 8 * last;
    }
    // Two halves, which may overlap.
    uint32_t first, last;
    memcpy(&first, text, sizeof first);
    memcpy(&last, text + count - 4, sizeof last);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    first = __builtin_bswap32(first);
    last = __builtin_bswap32(last);
#endif
    return first | uint64_t(last) << 8 * (count - 4);
}

inline void StoreBlock(uint64_t block, char* text)
{
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    block = __builtin_bswap64(block);
#endif
    memcpy(text, &block, sizeof block);
}

// The eight digits of a number below kBlockLimit, with leading zeros; bytes 0 to 9. The
// halves, quarters and eighths are divided side by side, by multiplication: 10486 / 2^20
// stands for 1 / 100 and 103 / 2^10 for 1 / 10.
inline uint64_t SplitBlock(uint32_t number)
{
    uint64_t halves = number / 10000 | uint64_t(number % 10000) << 32;
    uint64_t hundreds = (halves * 10486 >> 20) & 0x0000007F0000007F;
    uint64_t quarters = hundreds | (halves - hundreds * 100) << 16;
    uint64_t tens = (quarters * 103 >> 10) & 0x000F000F000F000F;
    return tens | (quarters - tens * 10) << 8;
}

// How many of the eight digits, bytes 0 to 9, are zeros in front of the others, or behind
// them; not for a block of nothing but zeros.
inline int LeadingZeros(uint64_t digits)
{
    return __builtin_ctzll(digits) / 8;
}
inline int TrailingZeros(uint64_t digits)
{
    return __builtin_clzll(digits) / 8;
}

// How many digits stand in front of the first other character; 8 if there is none.
inline int LeadingDigits(uint64_t block)
{
    block ^= kBlockOfZeros;  // digits become 0 to 9
    // The sum carries into the next byte only from one that is no digit.
    const uint64_t others = ((block + 0x7676767676767676) | block) & 0x8080808080808080;
    return others == 0 ? kBlockDigits : __builtin_ctzll(others) / 8;
}

// The number that eight characters stand for which are digits.
inline uint32_t JoinBlock(uint64_t block)
{
    block -= kBlockOfZeros;
    block = block * 10 + (block >> 8);  // pairs, in every second byte
    const uint64_t pairs = 0x000000FF000000FF;
    // The first factor lifts pairs 1 and 3, the second one pairs 2 and 4 to their places.
    const uint64_t odd = 100 + (uint64_t(1000000) << 32), even = 1 + (uint64_t(10000) << 32);
    return uint32_t(((block & pairs) * odd + (block >> 16 & pairs) * even) >> 32);
}

// The same for the first `count` characters, 1 to 8.
inline uint32_t JoinFew(uint64_t block, int count)
{
    // Zeros come in front of them; two shifts, since one of 64 bits is none.
    return JoinBlock(block << 8 * (kBlockDigits - count) | kBlockOfZeros >> 4 * count >> 4 * count);
}

#endif
