#include "primitives/conversions.h"

#include <string.h>

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

// Sums the digits in 32 bits, silently losing what is above; false at a character
// that is no digit of the base.
bool SumDigits(const char* text, size_t length, int base, unsigned int* sum)
{
    for (size_t i = 0; i < length; ++i) {
        int digit = DigitValue(text[i]);
        if (digit >= base)
            return false;
        *sum = *sum * unsigned(base) + unsigned(digit);
    }
    return true;
}

}  // namespace

char* itos(int value, int* length, int* capacity)
{
    char digits[12];
    int first = int(sizeof digits);
    // Unsigned, since the least int has no positive counterpart.
    unsigned int rest = value < 0 ? 0u - unsigned(value) : unsigned(value);
    do {
        digits[--first] = char('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (value < 0)
        digits[--first] = '-';
    int size = int(sizeof digits) - first;
    char* text = new char[size_t(size) + 1];
    memcpy(text, digits + first, size_t(size));
    text[size] = 0;
    if (length)
        *length = size;
    if (capacity)
        *capacity = size + 1;
    return text;
}

int stoi(const char* text, int length, int* error)
{
    size_t count = length < 0 ? strlen(text) : size_t(length);
    bool negative = count > 0 && text[0] == '-';
    bool hexadecimal = IsHexadecimal(text, count);
    size_t start = negative ? 1 : hexadecimal ? 2 : 0;
    unsigned int sum = 0;
    bool valid = SumDigits(text + start, count - start, hexadecimal ? 16 : 10, &sum);
    if (error)
        *error = valid ? 0 : 1;
    if (!valid)
        return 0;
    return int(negative ? 0u - sum : sum);
}
