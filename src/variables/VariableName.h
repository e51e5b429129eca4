#ifndef ZEPH_VARIABLES_VARIABLENAME_H
#define ZEPH_VARIABLES_VARIABLENAME_H

#include <string.h>

#include "variables/StringClass.h"

// Counted text that outlives every variable of the process, such as that of the program's
// dictionary.
struct PermanentText {
    const char* data;
    int length;
};

// The name of a variable or of an element. Most are used and ended without anybody asking
// for their name, so it takes no memory of its own: permanent text is only pointed at, and
// a short name lies in the object itself. It becomes a String when somebody asks for one.
class VariableName {
public:
    VariableName() {}
    // A length of -1 means that the text ends at its NUL.
    VariableName(const char* text, int length) { Set(text, length); }
    explicit VariableName(const PermanentText& text) { Set(text); }
    VariableName(const VariableName& other)
    {
        if (other.m_form == kString)
            Copy(other);
        else
            CopyBytes(other);
    }
    VariableName(VariableName&& other) noexcept;
    VariableName& operator=(const VariableName&) = delete;
    ~VariableName() { Clear(); }

    bool IsEmpty() const
    {
        int length;
        bytes(&length);
        return length == 0;
    }
    // The bytes of the name, counted and not terminated, valid until the next call of
    // a function that is not const.
    const char* bytes(int* length) const
    {
        if (m_form < 0)
            return OtherBytes(length);
        *length = m_form;
        return m_bytes;
    }
    // Stays where it is until the next Assign.
    String& text();
    // The text may be this name's own.
    void Assign(const char* text, int length);

private:
    static constexpr int kRoom = 23;
    static constexpr signed char kString = -1;
    static constexpr signed char kPermanent = -2;

    const char* OtherBytes(int* length) const;
    String* string();
    const String* string() const { return const_cast<VariableName*>(this)->string(); }
    PermanentText permanent() const;
    void Copy(const VariableName& other);
    void CopyBytes(const VariableName& other)
    {
        memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
        m_form = other.m_form;
    }
    void Set(const char* text, int length);
    void Set(const PermanentText& text);
    void Clear()
    {
        if (m_form == kString)
            string()->~String();
        m_form = 0;
    }

    alignas(String) char m_bytes[kRoom];  // the short text, a PermanentText or a String
    signed char m_form = 0;               // length of the short text, or one of the above
};

#endif
