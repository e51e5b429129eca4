#ifndef ZEPH_TOOLS_IMAGE_TEXT_TEXTBUFFER_H
#define ZEPH_TOOLS_IMAGE_TEXT_TEXTBUFFER_H

#include "image_text/Array.h"

// A long text that is written piece by piece: a listing, or the messages of a run.
// Counted; it has no terminator.
class TextBuffer {
public:
    const char* text() const { return m_bytes.count() > 0 ? m_bytes.items() : ""; }
    int length() const { return m_bytes.count(); }

    // A length of -1 means that the text ends at its NUL.
    void Add(const char* text, int length = -1);
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // In double quotes, with escapes for all that is not printable ASCII.
    void AddQuoted(const char* text, int length);
    // The same, but without quotes where the assembler reads it as a bare name.
    void AddName(const char* text, int length);
    // The shortest text that stands for exactly this double, as the assembler reads it.
    void AddDouble(double value);

private:
    Array<char> m_bytes;
};

// What names may be made of without quotes: a letter or '_', then letters, digits,
// '_', '.' and '-'.
bool IsBareName(const char* text, int length);

#endif
