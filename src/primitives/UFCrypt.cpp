#include "primitives/UFCrypt.h"

#include <string.h>

namespace {

// The tables of the DES standard; bits are numbered from 1, the highest first.
const unsigned char pc1[56] = {57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18,
                               10, 2,  59, 51, 43, 35, 27, 19, 11, 3,  60, 52, 44, 36,
                               63, 55, 47, 39, 31, 23, 15, 7,  62, 54, 46, 38, 30, 22,
                               14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

const unsigned char pc2[48] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                               26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                               51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

const unsigned char rots[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

const unsigned char esel[48] = {32, 1,  2,  3,  4,  5,  4,  5,  6,  7,  8,  9,  8,  9,  10, 11,
                                12, 13, 12, 13, 14, 15, 16, 17, 16, 17, 18, 19, 20, 21, 20, 21,
                                22, 23, 24, 25, 24, 25, 26, 27, 28, 29, 28, 29, 30, 31, 32, 1};

const unsigned char perm32[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                                  2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};

const unsigned char sbox[8][4][16] = {{{14, 4, 13, 1, 2, 15, 11, 8, 3, 10, 6, 12, 5, 9, 0, 7},
                                       {0, 15, 7, 4, 14, 2, 13, 1, 10, 6, 12, 11, 9, 5, 3, 8},
                                       {4, 1, 14, 8, 13, 6, 2, 11, 15, 12, 9, 7, 3, 10, 5, 0},
                                       {15, 12, 8, 2, 4, 9, 1, 7, 5, 11, 3, 14, 10, 0, 6, 13}},
                                      {{15, 1, 8, 14, 6, 11, 3, 4, 9, 7, 2, 13, 12, 0, 5, 10},
                                       {3, 13, 4, 7, 15, 2, 8, 14, 12, 0, 1, 10, 6, 9, 11, 5},
                                       {0, 14, 7, 11, 10, 4, 13, 1, 5, 8, 12, 6, 9, 3, 2, 15},
                                       {13, 8, 10, 1, 3, 15, 4, 2, 11, 6, 7, 12, 0, 5, 14, 9}},
                                      {{10, 0, 9, 14, 6, 3, 15, 5, 1, 13, 12, 7, 11, 4, 2, 8},
                                       {13, 7, 0, 9, 3, 4, 6, 10, 2, 8, 5, 14, 12, 11, 15, 1},
                                       {13, 6, 4, 9, 8, 15, 3, 0, 11, 1, 2, 12, 5, 10, 14, 7},
                                       {1, 10, 13, 0, 6, 9, 8, 7, 4, 15, 14, 3, 11, 5, 2, 12}},
                                      {{7, 13, 14, 3, 0, 6, 9, 10, 1, 2, 8, 5, 11, 12, 4, 15},
                                       {13, 8, 11, 5, 6, 15, 0, 3, 4, 7, 2, 12, 1, 10, 14, 9},
                                       {10, 6, 9, 0, 12, 11, 7, 13, 15, 1, 3, 14, 5, 2, 8, 4},
                                       {3, 15, 0, 6, 10, 1, 13, 8, 9, 4, 5, 11, 12, 7, 2, 14}},
                                      {{2, 12, 4, 1, 7, 10, 11, 6, 8, 5, 3, 15, 13, 0, 14, 9},
                                       {14, 11, 2, 12, 4, 7, 13, 1, 5, 0, 15, 10, 3, 9, 8, 6},
                                       {4, 2, 1, 11, 10, 13, 7, 8, 15, 9, 12, 5, 6, 3, 0, 14},
                                       {11, 8, 12, 7, 1, 14, 2, 13, 6, 15, 0, 9, 10, 4, 5, 3}},
                                      {{12, 1, 10, 15, 9, 2, 6, 8, 0, 13, 3, 4, 14, 7, 5, 11},
                                       {10, 15, 4, 2, 7, 12, 9, 5, 6, 1, 13, 14, 0, 11, 3, 8},
                                       {9, 14, 15, 5, 2, 8, 12, 3, 7, 0, 4, 10, 1, 13, 11, 6},
                                       {4, 3, 2, 12, 9, 5, 15, 10, 11, 14, 1, 7, 6, 0, 8, 13}},
                                      {{4, 11, 2, 14, 15, 0, 8, 13, 3, 12, 9, 7, 5, 10, 6, 1},
                                       {13, 0, 11, 7, 4, 9, 1, 10, 14, 3, 5, 12, 2, 15, 8, 6},
                                       {1, 4, 11, 13, 12, 3, 7, 14, 10, 15, 6, 8, 0, 5, 9, 2},
                                       {6, 11, 13, 8, 1, 4, 10, 7, 9, 5, 0, 15, 14, 2, 3, 12}},
                                      {{13, 2, 8, 4, 6, 15, 11, 1, 10, 9, 3, 14, 5, 0, 12, 7},
                                       {1, 15, 13, 8, 10, 3, 7, 4, 12, 5, 6, 11, 0, 14, 9, 2},
                                       {7, 11, 4, 1, 9, 12, 14, 2, 0, 6, 10, 13, 15, 3, 5, 8},
                                       {2, 1, 14, 7, 4, 10, 8, 13, 15, 12, 9, 0, 3, 5, 6, 11}}};

const unsigned char final_perm[64] = {40, 8, 48, 16, 56, 24, 64, 32, 39, 7, 47, 15, 55, 23, 63, 31,
                                      38, 6, 46, 14, 54, 22, 62, 30, 37, 5, 45, 13, 53, 21, 61, 29,
                                      36, 4, 44, 12, 52, 20, 60, 28, 35, 3, 43, 11, 51, 19, 59, 27,
                                      34, 2, 42, 10, 50, 18, 58, 26, 33, 1, 41, 9,  49, 17, 57, 25};

// The bits of a byte and of a word, the highest first.
const unsigned char bytemask[8] = {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01};
const uint32_t longmask[32] = {
    0x80000000, 0x40000000, 0x20000000, 0x10000000, 0x08000000, 0x04000000, 0x02000000, 0x01000000,
    0x00800000, 0x00400000, 0x00200000, 0x00100000, 0x00080000, 0x00040000, 0x00020000, 0x00010000,
    0x00008000, 0x00004000, 0x00002000, 0x00001000, 0x00000800, 0x00000400, 0x00000200, 0x00000100,
    0x00000080, 0x00000040, 0x00000020, 0x00000010, 0x00000008, 0x00000004, 0x00000002, 0x00000001};

const char kAlphabet[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

const int kIterations = 25;
const int kRounds = 16;
const int kKeyBytes = 8;
const int kHalfBits = 28;  // of C and D each
const uint64_t kHalfMask = (uint64_t(1) << kHalfBits) - 1;

// The place of bit `i` of an expanded half, from 0.
uint64_t Slot(int i)
{
    uint64_t word = longmask[i % 24 / 12 * 16 + 4 + i % 12];
    return i < 24 ? word << 32 : word;
}

// Bit `i` of the lowest `width` bits of `value`, the highest of them being 0.
bool HasBit(int value, int width, int i)
{
    return (value & bytemask[8 - width + i]) != 0;
}

// What S-box `box` contributes to the other half for the six bits `input`, expanded.
uint64_t Expanded(int box, int input)
{
    int row = (input >> 4 & 2) | (input & 1);
    int nibble = sbox[box][row][input >> 1 & 15];
    uint64_t expanded = 0;
    for (int i = 0; i < 48; ++i) {
        int bit = perm32[esel[i] - 1] - 1;
        if (bit / 4 == box && HasBit(nibble, 4, bit % 4))
            expanded |= Slot(i);
    }
    return expanded;
}

uint64_t Rotated(uint64_t half, int count)
{
    return (half << count | half >> (kHalfBits - count)) & kHalfMask;
}

// The salt's order of the words of a half, and back.
uint64_t Exchanged(uint64_t half, uint32_t places)
{
    uint64_t differing = (half >> 32 ^ half) & places;
    return half ^ differing ^ differing << 32;
}

// The place of a byte in the alphabet. The three runs of the alphabet are taken to go
// on beyond their ends, so that every byte has some place.
int SaltValue(signed char c)
{
    int value = c >= 'a' ? c - 'a' + 38 : c >= 'A' ? c - 'A' + 12 : c - '.';
    return value & 63;
}

}  // namespace

void UFCrypt::UFC_Init()
{
    InitBoxes();
    InitKeyTables();
    InitFinal();
    // The salt without any exchange, which is how the boxes have just been made.
    m_salt[0] = m_salt[1] = '.';
    m_saltbits = 0;
}

void UFCrypt::InitBoxes()
{
    for (int pair = 0; pair < 4; ++pair) {
        uint64_t low[64];
        for (int input = 0; input < 64; ++input)
            low[input] = Expanded(2 * pair + 1, input);
        for (int input = 0; input < 64; ++input) {
            uint64_t high = Expanded(2 * pair, input);
            for (int i = 0; i < 64; ++i)
                m_sb[pair][input << 6 | i] = high | low[i];
        }
    }
}

void UFCrypt::InitKeyTables()
{
    memset(m_pc1, 0, sizeof m_pc1);
    memset(m_pc2, 0, sizeof m_pc2);
    for (int value = 0; value < 128; ++value) {
        for (int i = 0; i < 56; ++i) {
            int bit = pc1[i] - 1;
            if (HasBit(value, 7, bit % 8))
                m_pc1[bit / 8][value] |= uint64_t(1) << (55 - i);
        }
        for (int i = 0; i < 48; ++i) {
            int bit = pc2[i] - 1;
            if (HasBit(value, 7, bit % 7))
                m_pc2[bit / 7][value] |= Slot(i);
        }
    }
}

void UFCrypt::InitFinal()
{
    int expanded[32];  // one of the places that each bit of a half has when expanded
    for (int i = 0; i < 48; ++i)
        expanded[esel[i] - 1] = i;
    memset(m_efp, 0, sizeof m_efp);
    for (int i = 0; i < 64; ++i) {
        int half = (final_perm[i] - 1) / 32;
        int bit = expanded[(final_perm[i] - 1) % 32];
        for (int value = 0; value < 64; ++value) {
            if (HasBit(value, 6, bit % 6))
                m_efp[half * 8 + bit / 6][value] |= uint64_t(1) << (63 - i);
        }
    }
}

void UFCrypt::UFC_Salt(const char* salt)
{
    if (memcmp(salt, m_salt, sizeof m_salt) == 0)
        return;
    memcpy(m_salt, salt, sizeof m_salt);
    uint32_t saltbits = 0;
    for (int i = 0; i < 12; ++i) {
        int value = SaltValue(static_cast<signed char>(salt[i / 6]));
        if (value >> (i % 6) & 1)
            saltbits |= uint32_t(Slot(i) >> 32);
    }
    for (uint64_t* table : m_sb)
        UFC_Shuffle_Salt(table, saltbits ^ m_saltbits);
    m_saltbits = saltbits;
}

void UFCrypt::UFC_Shuffle_Salt(uint64_t* table, uint32_t changed)
{
    for (int i = 0; i < 4096; ++i)
        table[i] = Exchanged(table[i], changed);
}

void UFCrypt::UFC_MakeKeyTable(const unsigned char* key)
{
    uint64_t chosen = 0;
    for (int i = 0; i < kKeyBytes; ++i)
        chosen |= m_pc1[i][key[i] & 127];
    uint64_t c = chosen >> kHalfBits, d = chosen & kHalfMask;
    for (int round = 0; round < kRounds; ++round) {
        c = Rotated(c, rots[round]);
        d = Rotated(d, rots[round]);
        uint64_t both = c << kHalfBits | d;
        uint64_t subkey = 0;
        for (int i = 0; i < 8; ++i)
            subkey |= m_pc2[i][both >> (49 - 7 * i) & 127];
        m_keysched[round] = subkey;
    }
}

inline uint64_t UFCrypt::Round(uint64_t half, int round) const
{
    uint64_t input = half ^ m_keysched[round];
    return m_sb[0][input >> 48] ^ m_sb[1][input >> 32 & 4095] ^ m_sb[2][input >> 16 & 4095] ^
           m_sb[3][input & 4095];
}

// The permutations at the ends of DES cancel between the iterations, and the halves stay
// expanded throughout.
void UFCrypt::UFC_Encrypt(uint64_t* left, uint64_t* right) const
{
    uint64_t l = *left, r = *right;
    for (int i = 0; i < kIterations; ++i) {
        for (int round = 0; round < kRounds; round += 2) {
            l ^= Round(r, round);
            r ^= Round(l, round + 1);
        }
        uint64_t last = r;
        r = l;
        l = last;
    }
    *left = l;
    *right = r;
}

uint64_t UFCrypt::UFC_Final(uint64_t left, uint64_t right) const
{
    left = Exchanged(left, m_saltbits);
    right = Exchanged(right, m_saltbits);
    uint64_t hash = 0;
    for (int i = 0; i < 8; ++i) {
        int shift = 48 - 16 * (i / 2) + (i % 2 == 0 ? 6 : 0);
        hash |= m_efp[i][left >> shift & 63] | m_efp[8 + i][right >> shift & 63];
    }
    return hash;
}

void UFCrypt::UFC_Output(const char* salt, uint64_t hash, char* out)
{
    *out++ = salt[0];
    *out++ = salt[1];
    for (int shift = 58; shift > 0; shift -= 6)
        *out++ = kAlphabet[hash >> shift & 63];
    *out++ = kAlphabet[hash << 2 & 63];
    *out = 0;
}

void UFCrypt::crypt(const char* key, int keylength, const char* salt, char* out)
{
    UFC_Salt(salt);
    unsigned char padded[kKeyBytes] = {};
    for (int i = 0; i < kKeyBytes && i < keylength && key[i] != 0; ++i)
        padded[i] = static_cast<unsigned char>(key[i]);
    UFC_MakeKeyTable(padded);
    uint64_t left = 0, right = 0;
    UFC_Encrypt(&left, &right);
    UFC_Output(salt, UFC_Final(left, right), out);
}
