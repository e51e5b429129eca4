#include "primitives/crc32.h"

namespace {

const unsigned int kPolynomial = 0x04C11DB7u;
const unsigned int kTop = 0x80000000u;

}  // namespace

unsigned int crc32_init()
{
    return 0xFFFFFFFFu;
}

unsigned int crc32_data(unsigned int crc, const void* bytes, int length)
{
    auto byte = static_cast<const unsigned char*>(bytes);
    for (int i = 0; i < length; ++i) {
        crc ^= unsigned(byte[i]) << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & kTop ? crc << 1 ^ kPolynomial : crc << 1;
    }
    return crc;
}

unsigned int crc32_final(unsigned int crc)
{
    return ~crc;
}
