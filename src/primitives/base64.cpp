#include "primitives/base64.h"

#include <stdint.h>

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The value of each character, 0 for those outside the alphabet.
struct Values {
    unsigned char of[256] = {};

    constexpr Values()
    {
        for (unsigned char i = 0; i < 64; ++i)
            of[static_cast<unsigned char>(kAlphabet[i])] = i;
    }
};

constexpr Values kValues;

// The 24 bits of the first `count` of four characters, the missing ones being zero.
uint32_t Bits(const char* text, int count)
{
    uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) {
        uint32_t value = i < count ? kValues.of[static_cast<unsigned char>(text[i])] : 0;
        bits = bits << 6 | value;
    }
    return bits;
}

int PutBytes(uint32_t bits, int count, unsigned char* out)
{
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<unsigned char>(bits >> (16 - 8 * i));
    return count;
}

}  // namespace

int zp_base64_encode(const void* in, char* out, int length)
{
    auto text = static_cast<const unsigned char*>(in);
    int written = 0;
    for (int i = 0; i < length; i += 3) {
        int count = length - i < 3 ? length - i : 3;
        uint32_t bits = 0;
        for (int j = 0; j < 3; ++j)
            bits = bits << 8 | (j < count ? text[i + j] : 0u);
        for (int j = 0; j < 4; ++j)
            out[written++] = j <= count ? kAlphabet[bits >> (18 - 6 * j) & 63] : '=';
    }
    return written;
}

int zp_base64_decode(const char* in, void* out, int length)
{
    auto bytes = static_cast<unsigned char*>(out);
    for (int dropped = 0; dropped < 2 && length > 0 && in[length - 1] == '='; ++dropped)
        --length;
    int written = 0;
    int i = 0;
    for (; length - i >= 4; i += 4)
        written += PutBytes(Bits(in + i, 4), 3, bytes + written);
    int rest = length - i;
    // One stray character gives a byte too, on purpose: peers that cut their text
    // short have been understood this way.
    if (rest > 0)
        written += PutBytes(Bits(in + i, rest), rest == 3 ? 2 : 1, bytes + written);
    return written;
}
