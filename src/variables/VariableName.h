#ifndef ZEPH_VARIABLES_VARIABLENAME_H
#define ZEPH_VARIABLES_VARIABLENAME_H

#include "variables/StringClass.h"

// The name of a variable. A short one lies in the object itself, since most variables
// are made for a slot, used and ended without anybody asking for their name; it becomes
// a String when somebody does.
class VariableName {
public:
    VariableName() {}
    // A length of -1 means that the text ends at its NUL.
    VariableName(const char* text, int length) { Set(text, length); }
    VariableName(VariableName&& other) noexcept;
    VariableName& operator=(const VariableName&) = delete;
    ~VariableName() { Clear(); }

    // The bytes of the name, counted and not terminated, valid until the next call of
    // a function that is not const.
    const char* bytes(int* length) const;
    // Stays where it is until the next Assign.
    const String& text();
    // The text may be this name's own.
    void Assign(const char* text, int length);

private:
    static constexpr int kRoom = 23;
    static constexpr signed char kString = -1;

    String* string();
    const String* string() const { return const_cast<VariableName*>(this)->string(); }
    void Set(const char* text, int length);
    void Clear();

    alignas(String) char m_bytes[kRoom];  // the short text, or a String
    signed char m_length = 0;             // of the short text, or kString
};

#endif
