#ifndef ZEPH_PRIMITIVES_CRC32_H
#define ZEPH_PRIMITIVES_CRC32_H

// The unreflected CRC-32 with the polynomial 0x04C11DB7, bit by bit from the top of each
// byte. Its values are not those of the reflected form that archives use.

unsigned int crc32_init();

// The register `crc` after `length` more bytes; a length below 1 leaves it as it is.
unsigned int crc32_data(unsigned int crc, const void* bytes, int length);

// The checksum that a register stands for.
unsigned int crc32_final(unsigned int crc);

#endif
