#include "ErrorText.h"

#include <stdio.h>
#include <string.h>

ErrorText& ErrorText::Add(const char* words)
{
    int length = int(strlen(words));
    if (length >= kCapacity - m_length)
        length = kCapacity - m_length - 1;
    memcpy(m_text + m_length, words, size_t(length));
    m_length += length;
    m_text[m_length] = 0;
    return *this;
}

ErrorText& ErrorText::Add(int number)
{
    char digits[16];
    snprintf(digits, sizeof digits, "%d", number);
    return Add(digits);
}

ErrorText& ErrorText::Quote(const char* outside, int length)
{
    if (length < 0)
        length = int(strnlen(outside, kLongestQuote + 1));
    Add("'");
    Encode(outside, length > kLongestQuote ? int(kLongestQuote) : length);
    return Add(length > kLongestQuote ? "...'" : "'");
}

ErrorText& ErrorText::Path(const char* path)
{
    size_t length = strlen(path);
    if (length > kLongestPath) {
        Add("...");
        path += length - kLongestPath;
        length = kLongestPath;
    }
    Encode(path, int(length));
    return *this;
}

void ErrorText::Encode(const char* bytes, int length)
{
    for (int i = 0; i < length; ++i) {
        char byte[2] = {bytes[i], 0};
        switch (byte[0]) {
            case '<':
                Add("&lt;");
                break;
            case '>':
                Add("&gt;");
                break;
            case '&':
                Add("&amp;");
                break;
            case '"':
                Add("&quot;");
                break;
            default:
                Add(byte);
        }
    }
}
