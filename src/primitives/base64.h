#ifndef ZEPH_PRIMITIVES_BASE64_H
#define ZEPH_PRIMITIVES_BASE64_H

// Base64 with the alphabet of RFC 4648. Both write no NUL and return how many
// bytes they wrote; a length of 0 or less writes none.

// `out` has room for four characters for each three bytes, rounded up. The last
// group is padded with "="; there are no line breaks.
int zp_base64_encode(const void* in, char* out, int length);

// Takes any bytes: one or two trailing "=" are dropped, and every character
// outside the alphabet counts as zero bits. `out` has room for three bytes for
// each four characters, rounded up, and may be `in` itself.
int zp_base64_decode(const char* in, void* out, int length);

#endif
