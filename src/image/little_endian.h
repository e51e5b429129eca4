#ifndef ZEPH_IMAGE_LITTLE_ENDIAN_H
#define ZEPH_IMAGE_LITTLE_ENDIAN_H

#include <string.h>

// Numbers as they stand in compiled files and in code: little-endian whatever the
// host is, signed ones in two's complement, doubles as the 8 bytes of their IEEE
// 754 form. No place needs to be aligned. Compilers make one move of each.

inline unsigned int GetWord(const void* place)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(place);
    return bytes[0] | unsigned(bytes[1]) << 8;
}

inline int GetDword(const void* place)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(place);
    return int(bytes[0] | unsigned(bytes[1]) << 8 | unsigned(bytes[2]) << 16 |
               unsigned(bytes[3]) << 24);
}

inline double GetDouble(const void* place)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(place);
    unsigned long long bits = 0;
    for (int i = 7; i >= 0; --i)
        bits = bits << 8 | bytes[i];
    double value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

inline void PutWord(void* place, unsigned int value)
{
    unsigned char* bytes = static_cast<unsigned char*>(place);
    bytes[0] = static_cast<unsigned char>(value);
    bytes[1] = static_cast<unsigned char>(value >> 8);
}

inline void PutDword(void* place, int value)
{
    PutWord(place, unsigned(value));
    PutWord(static_cast<unsigned char*>(place) + 2, unsigned(value) >> 16);
}

inline void PutDouble(void* place, double value)
{
    unsigned char* bytes = static_cast<unsigned char*>(place);
    unsigned long long bits;
    memcpy(&bits, &value, sizeof bits);
    for (int i = 0; i < 8; ++i)
        bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
}

#endif
