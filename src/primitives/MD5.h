#ifndef ZEPH_PRIMITIVES_MD5_H
#define ZEPH_PRIMITIVES_MD5_H

#include <stdint.h>

// The MD5 digest of RFC 1321 and the HMAC of RFC 2104 over it. Serves protocols
// and formats that ask for MD5 by name; it protects nothing by itself.
//
// A new object is ready for use. After a digest, Reset() starts the next one;
// HMAC resets by itself.
class MD5Encoder {
public:
    MD5Encoder() { Reset(); }
    virtual ~MD5Encoder() {}

    void Reset();

    // Absorbs the whole 64-byte blocks of `text`; bytes behind the last whole
    // block are left out, and are given to Encode_Final.
    void Encode_Block(const unsigned char* text, unsigned int length);
    // Absorbs the rest of the message, which may be empty or have whole blocks
    // in it, and writes the 16 bytes of the digest.
    void Encode_Final(const unsigned char* text, unsigned int length, unsigned char* digest);
    // A message in one call, on an encoder just reset.
    void Encode(const unsigned char* text, unsigned int length, unsigned char* digest);

    // Writes the 16 bytes of HMAC-MD5 of `text` under `key`.
    void HMAC(const unsigned char* text, unsigned int text_length, const unsigned char* key,
              unsigned int key_length, unsigned char* digest);

    // Writes the 16 bytes of `digest` as 32 lower-case hexadecimal characters, and
    // no NUL.
    static void Make_Printable(unsigned char* digest, char* text);

private:
    void Absorb(const unsigned char* block);

    uint32_t m_state[4];
    uint64_t m_bytes;  // absorbed so far
};

#endif
