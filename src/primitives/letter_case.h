#ifndef ZEPH_PRIMITIVES_LETTER_CASE_H
#define ZEPH_PRIMITIVES_LETTER_CASE_H

// The case of letters below 128, inline, as the C locale has it: names and searches must
// not change with a locale that some library sets. All other bytes stay as they are.

inline unsigned char LowerLetter(unsigned char c)
{
    return static_cast<unsigned char>(c - 'A') < 26 ? static_cast<unsigned char>(c | 0x20) : c;
}

inline unsigned char UpperLetter(unsigned char c)
{
    return static_cast<unsigned char>(c - 'a') < 26 ? static_cast<unsigned char>(c & ~0x20) : c;
}

#endif
