#include "image_text/TextBuffer.h"

#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace {

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

unsigned long long Bits(double value)
{
    unsigned long long bits;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

}  // namespace

bool IsBareName(const char* text, int length)
{
    if (length == 0 || !IsLetter(text[0]))
        return false;
    for (int i = 1; i < length; ++i)
        if (!IsLetter(text[i]) && !IsDigit(text[i]) && text[i] != '.' && text[i] != '-')
            return false;
    return true;
}

void TextBuffer::Add(const char* text, int length)
{
    if (length < 0)
        length = int(strlen(text));
    m_bytes.Reserve((long long)m_bytes.count() + length);
    if (length > 0)
        memcpy(m_bytes.items() + m_bytes.count(), text, size_t(length));
    m_bytes.Extend(length);
}

// For short pieces; longer ones are cut.
void TextBuffer::Format(const char* format, ...)
{
    char piece[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(piece, sizeof piece, format, arguments);
    va_end(arguments);
    Add(piece);
}

void TextBuffer::AddQuoted(const char* text, int length)
{
    Add("\"");
    for (int i = 0; i < length; ++i) {
        char c = text[i];
        if (c == '"' || c == '\\')
            Format("\\%c", c);
        else if (c == '\n')
            Add("\\n");
        else if (c == '\r')
            Add("\\r");
        else if (c == '\t')
            Add("\\t");
        else if (c == 0)
            Add("\\0");
        else if (c < 0x20 || c > 0x7E)
            Format("\\x%02X", unsigned(static_cast<unsigned char>(c)));
        else
            Add(&c, 1);
    }
    Add("\"");
}

void TextBuffer::AddName(const char* text, int length)
{
    if (IsBareName(text, length))
        Add(text, length);
    else
        AddQuoted(text, length);
}

void TextBuffer::AddDouble(double value)
{
    if (isinf(value)) {
        Add(value < 0 ? "-inf" : "inf");
        return;
    }
    // Only one of all the patterns that are no number has a name.
    if (isnan(value)) {
        if (Bits(value) == 0x7FF8000000000000)
            Add("nan");
        else
            Format("0x%016llX", Bits(value));
        return;
    }
    char digits[40];
    for (int precision = 15; precision <= 17; ++precision) {
        snprintf(digits, sizeof digits, "%.*g", precision, value);
        if (Bits(strtod(digits, nullptr)) == Bits(value))
            break;
    }
    Add(digits);
    if (!strpbrk(digits, ".e"))
        Add(".0");
}
