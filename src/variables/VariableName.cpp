#include "variables/VariableName.h"

#include <string.h>

#include <new>
#include <utility>

VariableName::VariableName(VariableName&& other) noexcept : m_length(other.m_length)
{
    if (m_length == kString)
        new (m_bytes) String(std::move(*other.string()));
    else
        memcpy(m_bytes, other.m_bytes, size_t(m_length));
}

String* VariableName::string()
{
    return std::launder(reinterpret_cast<String*>(m_bytes));
}

const char* VariableName::bytes(int* length) const
{
    if (m_length == kString) {
        *length = string()->length();
        return string()->data();
    }
    *length = m_length;
    return m_bytes;
}

const String& VariableName::text()
{
    if (m_length != kString) {
        char short_text[kRoom];
        int length = m_length;
        memcpy(short_text, m_bytes, size_t(length));
        String* made = new (m_bytes) String;
        if (length > 0)
            made->assign(short_text, length);
        m_length = kString;
    }
    return *string();
}

void VariableName::Assign(const char* text, int length)
{
    VariableName assigned(text, length);
    Clear();
    new (this) VariableName(std::move(assigned));
}

void VariableName::Set(const char* text, int length)
{
    size_t size = !text ? 0 : length < 0 ? strlen(text) : size_t(length);
    if (size > kRoom) {
        new (m_bytes) String(text, length);
        m_length = kString;
        return;
    }
    if (size > 0)
        memcpy(m_bytes, text, size);
    m_length = static_cast<signed char>(size);
}

void VariableName::Clear()
{
    if (m_length == kString)
        string()->~String();
    m_length = 0;
}
