#include "variables/StringClass.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include <utility>

#include "primitives/base64.h"

namespace {

// memmove, for which null is fine where there is nothing to copy.
void CopyText(char* target, const char* text, int length)
{
    if (length > 0)
        memmove(target, text, size_t(length));
}

}  // namespace

int String::CapacityFor(long long length)
{
    const long long kStep = 24;
    long long capacity = (length + kStep) / kStep * kStep;
    if (capacity > INT_MAX)
        abort();
    return int(capacity);
}

int String::InputLength(const char* text, int length)
{
    if (!text)
        return 0;
    if (length >= 0)
        return length;
    size_t counted = strlen(text);
    if (counted > INT_MAX)
        abort();
    return int(counted);
}

String::String(const String& other)
{
    if (other.m_data)
        assign(other.m_data, other.m_length);
}

String::String(String&& other) noexcept
    : m_data(other.m_data), m_capacity(other.m_capacity), m_length(other.m_length)
{
    other.release(nullptr, nullptr);
}

String& String::operator=(const String& other)
{
    if (this != &other)
        assign(other.m_data, other.m_length);
    return *this;
}

String& String::operator=(String&& other) noexcept
{
    if (this == &other)
        return *this;
    delete[] m_data;
    m_data = other.release(&m_length, &m_capacity);
    return *this;
}

String& String::operator=(const char* text)
{
    assign(text);
    return *this;
}

void String::assign(const char* text, int length)
{
    length = InputLength(text, length);
    if (length >= m_capacity) {
        Join(CapacityFor(length), text, length, nullptr, 0);
        return;
    }
    CopyText(m_data, text, length);
    m_length = length;
    m_data[length] = 0;
}

void String::assign(char c)
{
    assign(&c, 1);
}

void String::assign_nocopy(char* buffer, int length, int capacity)
{
    length = InputLength(buffer, length);
    bool adopt = buffer && capacity > length;
    int room = adopt ? capacity : CapacityFor(length);
    char* text = adopt ? buffer : new char[size_t(room)];
    if (!adopt)
        CopyText(text, buffer, length);
    if (buffer != text)
        delete[] buffer;
    if (m_data != text && m_data != buffer)
        delete[] m_data;
    m_data = text;
    m_capacity = room;
    m_length = length;
    m_data[length] = 0;
}

void String::cat(const char* text, int length)
{
    length = InputLength(text, length);
    long long sum = (long long)m_length + length;
    if (sum >= m_capacity) {
        Join(CapacityFor(sum), m_data, m_length, text, length);
        return;
    }
    CopyText(m_data + m_length, text, length);
    m_length = int(sum);
    m_data[m_length] = 0;
}

void String::Append(const char* text, int length)
{
    length = InputLength(text, length);
    long long sum = (long long)m_length + length;
    if (sum < m_capacity) {
        CopyText(m_data + m_length, text, length);
        m_length = int(sum);
        m_data[m_length] = 0;
        return;
    }
    int capacity = CapacityFor(sum);
    if (capacity < INT_MAX / 2)
        capacity *= 2;
    Join(capacity, m_data, m_length, text, length);
}

void String::cat(char c)
{
    // One byte more than needed is asked for, and growth is by a single step: the
    // capacity that results is seen by those who take the array over.
    if (!m_data || (long long)m_length + 2 >= m_capacity) {
        Join(CapacityFor(m_data ? m_capacity : 1), m_data, m_length, &c, 1);
        return;
    }
    m_data[m_length++] = c;
    m_data[m_length] = 0;
}

void String::prepend(const char* text, int length)
{
    length = InputLength(text, length);
    long long sum = (long long)m_length + length;
    Join(sum < m_capacity ? m_capacity : CapacityFor(sum), text, length, m_data, m_length);
}

void String::Join(int capacity, const char* first, int first_length, const char* second,
                  int second_length)
{
    char* joined = new char[size_t(capacity)];
    CopyText(joined, first, first_length);
    CopyText(joined + first_length, second, second_length);
    delete[] m_data;
    m_data = joined;
    m_capacity = capacity;
    m_length = first_length + second_length;
    m_data[m_length] = 0;
}

char* String::release(int* length, int* capacity)
{
    char* text = m_data;
    if (length)
        *length = m_length;
    if (capacity)
        *capacity = m_capacity;
    m_data = nullptr;
    m_length = 0;
    m_capacity = 0;
    return text;
}

void String::destroy()
{
    delete[] release(nullptr, nullptr);
}

String String::Base64_Encode() const
{
    long long size = ((long long)m_length + 2) / 3 * 4;
    int capacity = CapacityFor(size);
    char* text = new char[size_t(capacity)];
    return String(text, zp_base64_encode(data(), text, m_length), capacity);
}

String String::Base64_Decode() const
{
    int capacity = CapacityFor(((long long)m_length + 3) / 4 * 3);
    char* text = new char[size_t(capacity)];
    return String(text, zp_base64_decode(data(), text, m_length), capacity);
}

bool String::Equals(const char* text, int length) const
{
    return length == m_length && (length == 0 || memcmp(m_data, text, size_t(length)) == 0);
}

bool String::operator==(const char* text) const
{
    return Equals(text, InputLength(text, -1));
}

String& String::operator+=(const String& text)
{
    cat(text);
    return *this;
}

String& String::operator+=(const char* text)
{
    cat(text);
    return *this;
}

String& String::operator+=(char c)
{
    cat(c);
    return *this;
}

String operator+(const String& left, const String& right)
{
    return String(left) + right;
}

String operator+(const String& left, const char* right)
{
    return String(left) + right;
}

String operator+(const char* left, const String& right)
{
    return String(left) + right;
}

String operator+(String&& left, const String& right)
{
    left.cat(right);
    return std::move(left);
}

String operator+(String&& left, const char* right)
{
    left.cat(right);
    return std::move(left);
}

char* zeph_strdup(const char* text)
{
    if (!text)
        return nullptr;
    size_t size = strlen(text) + 1;
    char* copy = new char[size];
    memcpy(copy, text, size);
    return copy;
}
