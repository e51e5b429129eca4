#ifndef ZEPH_PRIMITIVES_NUMBER_TEXT_H
#define ZEPH_PRIMITIVES_NUMBER_TEXT_H

#include <math.h>
#include <stdint.h>

// The texts of numbers, written into room that the caller has. They are those of `itos`,
// and of `dtos` without an explicit precision. A NUL stands behind each text, and no
// length counts it. Nothing is allocated.

// Room for any integer, "-2147483648" being the longest. All of it may be written, also
// what is behind the NUL. Returns the length.
const int kIntegerRoom = 12;
int FormatInteger(int value, char* out);

// Room for any double: a sign, 309 digits and the NUL.
const int kDoubleRoom = 311;
// Room for the short ones, whose longest texts are a sign and 22 digits, or "-0." and 20
// places.
const int kShortDoubleRoom = 24;

// Whether kShortDoubleRoom is enough for the text of a number.
inline bool HasShortText(double value)
{
    return !(fabs(value) >= 1e22) || isinf(value);
}

// `out` has kDoubleRoom, or kShortDoubleRoom if that is enough; all of the latter may be
// written. Returns the length.
int FormatShortest(double value, char* out);

// The text that FormatShortest writes, before it is written: for callers that have to make
// the room.
class ShortestText {
public:
    explicit ShortestText(double value);

    // Whether it is "Infinity" or "NaN".
    bool is_word() const { return m_is_word; }
    // As `dtoa` counts: the significant digits, and how many of them stand in front of the
    // point. A word has its letters instead, and a whole number below 2^53 also the zeros at
    // its end.
    int count() const { return m_count; }
    int decpt() const { return m_decpt; }

    // Writes as FormatShortest does, and returns the length.
    int Write(char* out) const;

private:
    typedef unsigned __int128 Characters;  // 16, the first one in the lowest byte

    void SetWord(const char* letters, int count);
    void SetWhole(uint32_t number);
    void SetDigits(uint64_t number, int exponent);
    void SetPlaces(uint64_t number);
    char* WriteWithPoint(char* to) const;

    // The first character and those behind it, with '0' behind the last digit. But the
    // places 5 to 20 of a number that has no digit in front of them, with no first one.
    Characters m_others;
    char m_first;
    bool m_is_negative;
    bool m_is_word;
    int m_count;
    int m_decpt;
};

#endif
