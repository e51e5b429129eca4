#include <ctype.h>
#include <string.h>

#include "variables/StringClass.h"

namespace {

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Letters above 127 have no case here: what they mean depends on an encoding.
template <class Mapping>
void MapLetters(char* text, int length, Mapping map)
{
    for (int i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 128)
            text[i] = char(map(c));
    }
}

}  // namespace

void String::chop(int count)
{
    if (count > 0 && count <= m_length)
        m_length -= count;
}

void String::truncate(unsigned int length)
{
    if (length < unsigned(m_length))
        m_length = int(length);
}

void String::lowcase()
{
    MapLetters(m_data, m_length, tolower);
}

void String::upcase()
{
    MapLetters(m_data, m_length, toupper);
}

String String::lower() const
{
    String copy(*this);
    copy.lowcase();
    return copy;
}

String String::upper() const
{
    String copy(*this);
    copy.upcase();
    return copy;
}

void String::ltrim()
{
    if (!m_data)
        return;
    const char* start = m_data;
    while (IsSpace(*start))
        ++start;
    m_length = int(strlen(start));
    memmove(m_data, start, size_t(m_length) + 1);
}

void String::StripWhitespace()
{
    ltrim();
    while (m_length > 0 && IsSpace(m_data[m_length - 1]))
        --m_length;
    if (m_data)
        m_data[m_length] = 0;
}

void String::CompressWhitespace()
{
    if (!m_data)
        return;
    char* write = m_data;
    bool in_run = false;
    for (const char* read = m_data; *read; ++read) {
        bool space = IsSpace(*read);
        if (!space || !in_run)
            *write++ = *read;
        in_run = space;
    }
    *write = 0;
    m_length = int(write - m_data);
}

String String::Padded(int width, int offset, char c) const
{
    int capacity = CapacityFor(width);
    char* text = new char[size_t(capacity)];
    memset(text, c, size_t(width));
    if (m_length > 0)
        memcpy(text + offset, m_data, size_t(m_length));
    return String(text, width, capacity);
}

String String::padr(int width, char c) const
{
    return width <= m_length ? *this : Padded(width, 0, c);
}

String String::padl(int width, char c) const
{
    return width <= m_length ? *this : Padded(width, width - m_length, c);
}

void String::gsub(const char* pattern, const char* replacement)
{
    int pattern_length = InputLength(pattern, -1);
    int put_length = InputLength(replacement, -1);
    long long length = m_length;
    int found = search(pattern, 0);
    if (found < 0)
        return;
    for (; found >= 0; found = search(pattern, found + pattern_length))
        length += put_length - pattern_length;
    char* text = new char[size_t(CapacityFor(length))];
    char* write = text;
    int from = 0;
    while ((found = search(pattern, from)) >= 0) {
        memcpy(write, m_data + from, size_t(found - from));
        write += found - from;
        if (put_length > 0)
            memcpy(write, replacement, size_t(put_length));
        write += put_length;
        from = found + pattern_length;
    }
    memcpy(write, m_data + from, size_t(m_length - from));
    assign(text, int(length));
    delete[] text;
}
