#include "primitives/MD5.h"

#include <string.h>

namespace {

const unsigned int kBlock = 64;
const unsigned int kDigest = 16;
// The length in bits takes the last 8 bytes of the last block.
const unsigned int kLengthOffset = 56;

// The integer parts of 2^32 times |sin(i)|, for i from 1 to 64.
const uint32_t kSines[64] = {
    0xD76AA478u, 0xE8C7B756u, 0x242070DBu, 0xC1BDCEEEu, 0xF57C0FAFu, 0x4787C62Au, 0xA8304613u,
    0xFD469501u, 0x698098D8u, 0x8B44F7AFu, 0xFFFF5BB1u, 0x895CD7BEu, 0x6B901122u, 0xFD987193u,
    0xA679438Eu, 0x49B40821u, 0xF61E2562u, 0xC040B340u, 0x265E5A51u, 0xE9B6C7AAu, 0xD62F105Du,
    0x02441453u, 0xD8A1E681u, 0xE7D3FBC8u, 0x21E1CDE6u, 0xC33707D6u, 0xF4D50D87u, 0x455A14EDu,
    0xA9E3E905u, 0xFCEFA3F8u, 0x676F02D9u, 0x8D2A4C8Au, 0xFFFA3942u, 0x8771F681u, 0x6D9D6122u,
    0xFDE5380Cu, 0xA4BEEA44u, 0x4BDECFA9u, 0xF6BB4B60u, 0xBEBFBC70u, 0x289B7EC6u, 0xEAA127FAu,
    0xD4EF3085u, 0x04881D05u, 0xD9D4D039u, 0xE6DB99E5u, 0x1FA27CF8u, 0xC4AC5665u, 0xF4292244u,
    0x432AFF97u, 0xAB9423A7u, 0xFC93A039u, 0x655B59C3u, 0x8F0CCC92u, 0xFFEFF47Du, 0x85845DD1u,
    0x6FA87E4Fu, 0xFE2CE6E0u, 0xA3014314u, 0x4E0811A1u, 0xF7537E82u, 0xBD3AF235u, 0x2AD7D2BBu,
    0xEB86D391u,
};

// Left rotations: four of them in turn in each of the four rounds.
const unsigned char kRotations[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

uint32_t GetWord(const unsigned char* bytes)
{
    return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 |
           uint32_t(bytes[3]) << 24;
}

void PutWord(unsigned char* bytes, uint32_t word)
{
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(word >> (8 * i));
}

// The function of step `i`; `word` receives the number of the message word it takes.
uint32_t Combine(int i, uint32_t b, uint32_t c, uint32_t d, int* word)
{
    switch (i / 16) {
        case 0:
            *word = i;
            return (b & c) | (~b & d);
        case 1:
            *word = (5 * i + 1) % 16;
            return (b & d) | (c & ~d);
        case 2:
            *word = (3 * i + 5) % 16;
            return b ^ c ^ d;
        default:
            *word = (7 * i) % 16;
            return c ^ (b | ~d);
    }
}

}  // namespace

void MD5Encoder::Reset()
{
    m_state[0] = 0x67452301u;
    m_state[1] = 0xEFCDAB89u;
    m_state[2] = 0x98BADCFEu;
    m_state[3] = 0x10325476u;
    m_bytes = 0;
}

void MD5Encoder::Absorb(const unsigned char* block)
{
    uint32_t words[16];
    for (int i = 0; i < 16; ++i)
        words[i] = GetWord(block + 4 * i);
    uint32_t a = m_state[0], b = m_state[1], c = m_state[2], d = m_state[3];
    for (int i = 0; i < 64; ++i) {
        int word;
        uint32_t sum = a + Combine(i, b, c, d, &word) + kSines[i];
        sum += words[word];
        int rotation = kRotations[i / 16][i % 4];
        a = d;
        d = c;
        c = b;
        b += sum << rotation | sum >> (32 - rotation);
    }
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
    m_bytes += kBlock;
}

void MD5Encoder::Encode_Block(const unsigned char* text, unsigned int length)
{
    for (; length >= kBlock; length -= kBlock, text += kBlock)
        Absorb(text);
}

void MD5Encoder::Encode_Final(const unsigned char* text, unsigned int length, unsigned char* digest)
{
    Encode_Block(text, length);
    unsigned int tail = length % kBlock;
    uint64_t bits = (m_bytes + tail) * 8;
    unsigned char padded[2 * kBlock] = {};
    if (tail > 0)
        memcpy(padded, text + (length - tail), tail);
    padded[tail] = 0x80;
    unsigned int size = tail < kLengthOffset ? kBlock : 2 * kBlock;
    PutWord(padded + size - 8, uint32_t(bits));
    PutWord(padded + size - 4, uint32_t(bits >> 32));
    Encode_Block(padded, size);
    for (int i = 0; i < 4; ++i)
        PutWord(digest + 4 * i, m_state[i]);
}

void MD5Encoder::Encode(const unsigned char* text, unsigned int length, unsigned char* digest)
{
    Encode_Final(text, length, digest);
}

void MD5Encoder::HMAC(const unsigned char* text, unsigned int text_length, const unsigned char* key,
                      unsigned int key_length, unsigned char* digest)
{
    unsigned char short_key[kBlock] = {};
    if (key_length > kBlock) {
        Reset();
        Encode(key, key_length, short_key);
    } else if (key_length > 0) {
        memcpy(short_key, key, key_length);
    }
    unsigned char inner[kBlock], outer[kBlock];
    for (unsigned int i = 0; i < kBlock; ++i) {
        inner[i] = short_key[i] ^ 0x36;
        outer[i] = short_key[i] ^ 0x5C;
    }
    unsigned char inner_digest[kDigest];
    Reset();
    Encode_Block(inner, kBlock);
    Encode_Final(text, text_length, inner_digest);
    Reset();
    Encode_Block(outer, kBlock);
    Encode_Final(inner_digest, kDigest, digest);
}

void MD5Encoder::Make_Printable(unsigned char* digest, char* text)
{
    static const char kDigits[] = "0123456789abcdef";
    for (unsigned int i = 0; i < kDigest; ++i) {
        text[2 * i] = kDigits[digest[i] >> 4];
        text[2 * i + 1] = kDigits[digest[i] & 15];
    }
}
