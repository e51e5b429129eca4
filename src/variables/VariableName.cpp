#include "variables/VariableName.h"

#include <string.h>

#include <new>
#include <utility>

void VariableName::Copy(const VariableName& other)
{
    int length;
    if (other.m_form == kPermanent) {
        Set(other.permanent());
    } else {
        const char* text = other.bytes(&length);
        Set(text, length);
    }
}

VariableName::VariableName(VariableName&& other) noexcept : m_form(other.m_form)
{
    if (m_form == kString)
        new (m_bytes) String(std::move(*other.string()));
    else
        memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
}

String* VariableName::string()
{
    return std::launder(reinterpret_cast<String*>(m_bytes));
}

PermanentText VariableName::permanent() const
{
    PermanentText text;
    memcpy(&text, m_bytes, sizeof text);
    return text;
}

// Of a name that does not lie in the object.
const char* VariableName::OtherBytes(int* length) const
{
    if (m_form == kPermanent) {
        PermanentText text = permanent();
        *length = text.length;
        return text.data;
    }
    *length = string()->length();
    return string()->data();
}

String& VariableName::text()
{
    if (m_form != kString) {
        int length;
        const char* text = bytes(&length);
        String made;
        if (length > 0)
            made.assign(text, length);
        new (m_bytes) String(std::move(made));
        m_form = kString;
    }
    return *string();
}

void VariableName::Assign(const char* text, int length)
{
    VariableName assigned(text, length);
    Clear();
    new (this) VariableName(std::move(assigned));
}

void VariableName::Set(const PermanentText& text)
{
    static_assert(sizeof text <= kRoom);
    memcpy(m_bytes, &text, sizeof text);
    m_form = kPermanent;
}

void VariableName::Set(const char* text, int length)
{
    size_t size = !text ? 0 : length < 0 ? strlen(text) : size_t(length);
    static_assert(sizeof(String) <= kRoom);
    if (size > kRoom) {
        new (m_bytes) String(text, length);
        m_form = kString;
        return;
    }
    if (size > 0)
        memcpy(m_bytes, text, size);
    m_form = static_cast<signed char>(size);
}
