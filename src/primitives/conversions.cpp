#include "primitives/conversions.h"

#include <errno.h>
#include <limits.h>
#include <math.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include "primitives/decimal_reader.h"
#include "primitives/dtoa.h"
#include "primitives/number_text.h"

namespace {

const int kNoDigit = 99;

int DigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : kNoDigit;
}

bool IsHexadecimal(const char* text, size_t length)
{
    return length >= 3 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
           DigitValue(text[2]) != kNoDigit;
}

// Sum the digits in 32 bits, silently losing what is above; false at a character that
// is no digit of the base.
bool SumDigits(const char* text, size_t length, unsigned int* sum)
{
    unsigned int so_far = 0;
    for (size_t i = 0; i < length; ++i) {
        const unsigned int digit = static_cast<unsigned char>(text[i]) - unsigned('0');
        if (digit > 9)
            return false;
        so_far = so_far * 10 + digit;
    }
    *sum = so_far;
    return true;
}

bool SumHexadecimalDigits(const char* text, size_t length, unsigned int* sum)
{
    unsigned int so_far = 0;
    for (size_t i = 0; i < length; ++i) {
        const int digit = DigitValue(text[i]);
        if (digit == kNoDigit)
            return false;
        so_far = so_far << 4 | unsigned(digit);
    }
    *sum = so_far;
    return true;
}

// The places of a text without an explicit precision.
const int kDefaultPlaces = 20;
// Leaves room in an int for all that stands in front of the places.
const int kMostPlaces = INT_MAX - 400;

void Report(int size, int room, int* length, int* capacity)
{
    if (length)
        *length = size;
    if (capacity)
        *capacity = room;
}

// A number taken apart for writing.
struct DecimalText {
    char digits[kDtoaBuffer];
    int count, decpt, sign;
    int whole;   // how many of the digits stand in front of the point
    int zeros;   // how many zeros between the point and the other digits
    int filled;  // how many zeros behind the digits

    bool HasPoint() const { return zeros + (count - whole) + filled > 0; }
    int Length() const
    {
        return sign + (decpt < 1 ? 1 : decpt) + (HasPoint() ? 1 : 0) + zeros + (count - whole) +
               filled;
    }
    char* Write(char* to) const;
};

// What has no digit behind the point and asks for no place is written without zeros.
void SetPlaces(int precision, DecimalText* number)
{
    int whole = number->decpt < number->count ? number->decpt : number->count;
    number->whole = whole < 0 ? 0 : whole;
    int rest = number->count - number->whole;
    bool has_point = precision > 0 || rest > 0;
    number->zeros = has_point && number->decpt < 0 ? -number->decpt : 0;
    int filled = precision - number->zeros - rest;
    number->filled = filled < 0 ? 0 : filled;
}

char* Put(char* to, const char* text, int length)
{
    memcpy(to, text, size_t(length));
    return to + length;
}

char* Fill(char* to, int zeros)
{
    memset(to, '0', size_t(zeros));
    return to + zeros;
}

char* DecimalText::Write(char* to) const
{
    if (sign)
        *to++ = '-';
    to = Put(to, digits, whole);
    to = Fill(to, decpt < 1 ? 1 : decpt - whole);
    if (HasPoint())
        *to++ = '.';
    to = Fill(to, zeros);
    to = Put(to, digits + whole, count - whole);
    return Fill(to, filled);
}

// The room that authors of libraries have always found behind these texts.
int UsualCapacity(int count, int decpt, int places)
{
    return places + 3 + (count > decpt ? count : decpt) + (decpt == 0 ? 1 : 0);
}

char* WithPlaces(double value, int places, int* length, int* capacity)
{
    DecimalText number;
    char* end;
    dtoa(value, kDtoaShortestToPlaces, places, &number.decpt, &number.sign, &end, number.digits);
    number.count = int(end - number.digits);
    SetPlaces(places, &number);
    int size = number.Length();
    int room = UsualCapacity(number.count, number.decpt, places);
    // A small negative number that loses all its digits needs one character more.
    if (room <= size)
        room = size + 1;
    char* text = new char[size_t(room)];
    *number.Write(text) = 0;
    Report(size, room, length, capacity);
    return text;
}

bool IsWord(const char* text, size_t length, const char* word)
{
    return length == strlen(word) && strncasecmp(text, word, length) == 0;
}

bool ReadWord(const char* text, size_t length, double* value)
{
    bool negative = text[0] == '-';
    const char* word = negative ? text + 1 : text;
    size_t rest = negative ? length - 1 : length;
    double magnitude = INFINITY;
    if (IsWord(word, rest, "nan"))
        magnitude = NAN;
    else if (!IsWord(word, rest, "inf") && !IsWord(word, rest, "infinity"))
        return false;
    *value = copysign(magnitude, negative ? -1.0 : 1.0);
    return true;
}

// Reads a text that has a NUL at `length`; false when the text is no number, or one that
// overflows to the infinity that `*value` then has.
bool ReadTerminated(const char* text, size_t length, double* value)
{
    char* end;
    errno = 0;
    double number = strtod(text, &end);
    if (end == text + length) {
        *value = number;
        return errno != ERANGE || !isinf(number);
    }
    // Only a C library whose strtod knows no hexadecimal numbers leaves one over.
    if (!IsHexadecimal(text, length))
        return false;
    long integer = strtol(text, &end, 16);
    if (end != text + length)
        return false;
    *value = double(integer);
    return true;
}

bool ReadCopy(const char* text, size_t length, double* value)
{
    char local[105];
    char* copy = length < sizeof local ? local : new char[length + 1];
    memcpy(copy, text, length);
    copy[length] = 0;
    bool valid = ReadTerminated(copy, length, value);
    if (copy != local)
        delete[] copy;
    return valid;
}

}  // namespace

char* itos(int value, int* length, int* capacity)
{
    char digits[kIntegerRoom];
    const int size = FormatInteger(value, digits);
    char* text = new char[size_t(size) + 1];
    memcpy(text, digits, size_t(size) + 1);
    Report(size, size + 1, length, capacity);
    return text;
}

int stoi(const char* text, int length, int* error)
{
    size_t count = length < 0 ? strlen(text) : size_t(length);
    bool negative = count > 0 && text[0] == '-';
    size_t start = negative ? 1 : 0;
    unsigned int sum = 0;
    bool valid = IsHexadecimal(text, count) ? SumHexadecimalDigits(text + 2, count - 2, &sum)
                                            : SumDigits(text + start, count - start, &sum);
    if (error)
        *error = valid ? 0 : 1;
    if (!valid)
        return 0;
    return int(negative ? 0u - sum : sum);
}

char* dtos(double value, int* length, int* capacity, int precision)
{
    if (precision >= 0 && isfinite(value))
        return WithPlaces(value, precision < kMostPlaces ? precision : kMostPlaces, length,
                          capacity);
    const ShortestText shortest(value);
    const int room = UsualCapacity(shortest.count(), shortest.decpt(), kDefaultPlaces);
    char* text = new char[size_t(room < kShortDoubleRoom ? kShortDoubleRoom : room)];
    const int size = shortest.Write(text);
    Report(size, shortest.is_word() ? size + 1 : room, length, capacity);
    return text;
}

double stod(const char* text, int length, int capacity, int* error)
{
    size_t count = length < 0 ? strlen(text) : size_t(length);
    double value = 0.0;
    bool valid = count == 0 || ReadDecimal(text, count, &value) || ReadWord(text, count, &value);
    if (!valid) {
        bool terminated = length < 0 || (capacity > length && text[count] == 0);
        valid = terminated ? ReadTerminated(text, count, &value) : ReadCopy(text, count, &value);
    }
    if (error)
        *error = valid ? 0 : 1;
    return value;
}
