#include <limits.h>
#include <string.h>

#include "primitives/letter_case.h"
#include "primitives/string_search.h"
#include "variables/StringClass.h"

namespace {

// Positions below 0 count as the start.
int Start(int position)
{
    return position < 0 ? 0 : position;
}

}  // namespace

int String::search(const char* needle, int start) const
{
    start = Start(start);
    size_t needle_length = needle ? strlen(needle) : 0;
    if (needle_length == 0 || start >= m_length)
        return -1;
    if (needle_length > size_t(m_length - start))
        return -1;
    int found = bf_search(needle, int(needle_length), m_data + start, m_length - start);
    return found < 0 ? -1 : start + found;
}

int String::freq(const char* needle) const
{
    int count = 0;
    for (int at = search(needle, 0); at >= 0; at = search(needle, at + 1))
        ++count;
    return count;
}

bool String::contains(char c, int start) const
{
    start = Start(start);
    return start < m_length && memchr(m_data + start, c, size_t(m_length - start));
}

bool String::contains(const char* needle, int start) const
{
    return search(needle, start) >= 0;
}

bool String::matches(char c, int position) const
{
    return position >= 0 && position <= m_length && data()[position] == c;
}

bool String::matches(const char* text, int position) const
{
    position = Start(position);
    int rest = position < m_length ? m_length - position : 0;
    size_t length = text ? strlen(text) : 0;
    if (length != size_t(rest))
        return false;
    for (int i = 0; i < rest; ++i) {
        if (UpperLetter(static_cast<unsigned char>(m_data[position + i])) !=
            UpperLetter(static_cast<unsigned char>(text[i])))
            return false;
    }
    return true;
}

String String::at(int start, int end) const
{
    start = Start(start);
    if (end > m_length)
        end = m_length;
    return start < end ? Part(start, end) : String();
}

String String::from(int position) const
{
    position = Start(position);
    return position < m_length ? String(m_data + position, -1) : String();
}

String String::from(const char* needle, int start) const
{
    int found = search(needle, start);
    return found < 0 ? String() : from(found);
}

String String::after(int position) const
{
    return position == INT_MAX ? String() : from(position + 1);
}

String String::after(const char* needle, int start) const
{
    int found = search(needle, start);
    return found < 0 ? String() : from(found + int(strlen(needle)));
}

String String::before(int position) const
{
    return position < 0 ? String() : at(0, position);
}

String String::before(const char* needle) const
{
    int found = search(needle, 0);
    return found < 0 ? *this : at(0, found);
}

int split(const String& text, String* fields, int max, const char* separator)
{
    if (max < 1)
        return 0;
    size_t separator_length = separator ? strlen(separator) : 0;
    if (separator_length == 0) {
        fields[0] = text;
        return 1;
    }
    int count = 0;
    int start = 0;
    for (int found; count < max && (found = text.search(separator, start)) >= 0; ++count) {
        fields[count] = text.at(start, found);
        start = found + int(separator_length);
    }
    if (count == max)
        return count;
    fields[count] = text.at(start, text.length());
    return fields[count].length() > 0 ? count + 1 : count;
}
