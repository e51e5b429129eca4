#include "variables/encoders.h"

#include <ctype.h>
#include <limits.h>
#include <string.h>

#include "primitives/memcmpi.h"
#include "variables/LinkBuffer.h"

namespace {

struct Entity {
    const char* name;
    int name_length;
    char character;
    bool any_case;
};

const Entity kEntities[] = {
    {"amp", 3, '&', true},  {"lt", 2, '<', true},   {"gt", 2, '>', true},
    {"quot", 4, '"', true}, {"#40", 3, '(', false}, {"#41", 3, ')', false},
};

// Asked for every byte of a text, so it does not search the table.
const Entity* EntityOf(char c)
{
    switch (c) {
        case '&':
            return &kEntities[0];
        case '<':
            return &kEntities[1];
        case '>':
            return &kEntities[2];
        case '"':
            return &kEntities[3];
        case '(':
            return &kEntities[4];
        case ')':
            return &kEntities[5];
        default:
            return nullptr;
    }
}

const Entity* EntityNamed(const char* name, int length)
{
    for (const Entity& entity : kEntities) {
        if (entity.name_length == length &&
            (entity.any_case ? memcmpi(entity.name, name, length)
                             : memcmp(entity.name, name, size_t(length))) == 0)
            return &entity;
    }
    return nullptr;
}

int InputLength(const char* text, int length)
{
    if (!text)
        return 0;
    return length < 0 ? int(strnlen(text, INT_MAX)) : length;
}

// The output of an encoder: what it is made of, and the array at the end.
class Encoded {
public:
    explicit Encoded(int input_length)
        : m_text(input_length > INT_MAX - kUnit ? INT_MAX : input_length + kUnit, kUnit)
    {
    }
    void Add(const char* text, int length)
    {
        if (length > 0)
            m_text.cat(text, length);
    }
    void Add(char c) { m_text.cat(&c, 1); }
    void AddHex(int value) { m_text.cat_hex(static_cast<unsigned char>(value & 0xFF)); }
    // "\uXXXX"
    void AddUnit(int high, int low)
    {
        m_text.cat("\\u", 2);
        AddHex(high);
        AddHex(low);
    }
    char* Release(int* out_length, int* out_capacity)
    {
        int length;
        char* text = m_text.release(&length, out_capacity, 1);
        text[length] = 0;
        if (out_length)
            *out_length = length;
        return text;
    }

private:
    static constexpr int kUnit = 512;

    LinkBuffer m_text;
};

unsigned char ByteAt(const char* text, int position)
{
    return static_cast<unsigned char>(text[position]);
}

bool IsOneOf(const char* set, unsigned char c)
{
    return c != 0 && strchr(set, c);
}

bool IsLetterOrDigit(unsigned char c)
{
    return c < 128 && isalnum(c);
}

int HexValue(unsigned char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    c |= 0x20;
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// The letter behind the backslash for a control character, or 0. Byte 7 and not 8
// gives "\b", on purpose: scripts and pages have been written against it.
char EscapeLetter(unsigned char c)
{
    switch (c) {
        case 7:
            return 'b';
        case 9:
            return 't';
        case 10:
            return 'n';
        case 12:
            return 'f';
        case 13:
            return 'r';
        case '"':
        case '/':
        case '\\':
            return char(c);
        default:
            return 0;
    }
}

// How many bytes a UTF-8 character has by its lead byte; 1 for any other byte.
int CharacterLength(unsigned char lead)
{
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    return lead >= 0xF0 && lead <= 0xF7 ? 4 : 1;
}

// Adds the character of `length` bytes that starts at `text`. Continuation bytes are
// taken as they come.
void AddUTF8(Encoded& out, const char* text, int length)
{
    int lead = ByteAt(text, 0);
    int b1 = length > 1 ? ByteAt(text, 1) : 0;
    int b2 = length > 2 ? ByteAt(text, 2) : 0;
    int b3 = length > 3 ? ByteAt(text, 3) : 0;
    if (length == 1) {
        out.AddUnit(0, lead);
    } else if (length == 2) {
        out.AddUnit((lead & 0x1C) >> 2, (lead << 6) | (b1 & 0x3F));
    } else if (length == 3) {
        out.AddUnit((lead << 4) | ((b1 & 0x3C) >> 2), (b1 << 6) | (b2 & 0x3F));
    } else {
        // Only plane 1 comes out as a true surrogate pair. That stays so: pages hold
        // texts that were encoded like this.
        out.AddUnit((lead & 3) | 0xD8, ((b2 & 0x30) >> 4) | ((b1 & 0x0F) << 2));
        out.AddUnit(((b2 & 0x0C) >> 2) | 0xDC, (b2 << 6) | (b3 & 0x3F));
    }
}

// Adds what stands for the bytes at `text` and returns how many they were.
int AddJavaScript(Encoded& out, const char* text, int rest, bool utf8)
{
    unsigned char c = ByteAt(text, 0);
    char letter = EscapeLetter(c);
    if (letter) {
        out.Add('\\');
        out.Add(letter);
        return 1;
    }
    if (IsLetterOrDigit(c) || IsOneOf(" $+,-.:@_", c) || (!utf8 && c > 159)) {
        out.Add(char(c));
        return 1;
    }
    int length = utf8 ? CharacterLength(c) : 1;
    if (length > rest)
        length = 1;
    AddUTF8(out, text, length);
    return length;
}

}  // namespace

char* EncodeEntities(const char* text, int length, int* out_length, int* out_capacity)
{
    length = InputLength(text, length);
    Encoded out(length);
    int start = 0;
    for (int i = 0; i < length; ++i) {
        const Entity* entity = EntityOf(text[i]);
        if (!entity)
            continue;
        out.Add(text + start, i - start);
        out.Add('&');
        out.Add(entity->name, entity->name_length);
        out.Add(';');
        start = i + 1;
    }
    out.Add(text + start, length - start);
    return out.Release(out_length, out_capacity);
}

char* DecodeEntities(const char* text, int length, int* out_length, int* out_capacity)
{
    length = InputLength(text, length);
    Encoded out(length);
    int start = 0;
    for (int i = 0; i < length; ++i) {
        if (text[i] != '&')
            continue;
        int end = i + 1;
        while (end < length && text[end] != ';' && !isspace(ByteAt(text, end)))
            ++end;
        // A name that is cut off by the end of the text counts as well.
        const Entity* entity = nullptr;
        if (end == length || text[end] == ';')
            entity = EntityNamed(text + i + 1, end - i - 1);
        if (entity) {
            out.Add(text + start, i - start);
            out.Add(entity->character);
            start = end < length ? end + 1 : end;
        }
        i = end;
    }
    out.Add(text + start, length - start);
    return out.Release(out_length, out_capacity);
}

char* EncodeAttribute(const char* text, int length, int* out_length, int* out_capacity)
{
    length = InputLength(text, length);
    Encoded out(length);
    for (int i = 0; i < length; ++i) {
        unsigned char c = ByteAt(text, i);
        if (c == ' ') {
            out.Add('+');
        } else if (IsLetterOrDigit(c) || IsOneOf("*-.@_", c)) {
            out.Add(char(c));
        } else {
            out.Add('%');
            out.AddHex(c);
        }
    }
    return out.Release(out_length, out_capacity);
}

char* DecodeAttribute(const char* text, int length, int* out_length, int* out_capacity)
{
    length = InputLength(text, length);
    char* decoded = new char[size_t(length) + 1];
    int written = 0;
    for (int i = 0; i < length; ++i) {
        char c = text[i];
        if (c == '+')
            c = ' ';
        if (c == '%' && length - i > 2) {
            int high = HexValue(ByteAt(text, i + 1));
            int low = HexValue(ByteAt(text, i + 2));
            if (high >= 0 && low >= 0) {
                c = char(high * 16 + low);
                i += 2;
            }
        }
        decoded[written++] = c;
    }
    decoded[written] = 0;
    if (out_length)
        *out_length = written;
    if (out_capacity)
        *out_capacity = length == INT_MAX ? INT_MAX : length + 1;
    return decoded;
}

char* EncodeJavaScriptString(const char* text, int length, int* out_length, int* out_capacity,
                             bool utf8)
{
    length = InputLength(text, length);
    Encoded out(length);
    for (int i = 0; i < length;)
        i += AddJavaScript(out, text + i, length - i, utf8);
    return out.Release(out_length, out_capacity);
}

char* StripNULLs(const char* text, int length, int* out_length, int* out_capacity)
{
    length = InputLength(text, length);
    char* stripped = new char[size_t(length) + 1];
    int written = 0;
    for (int i = 0; i < length; ++i) {
        if (text[i])
            stripped[written++] = text[i];
    }
    stripped[written] = 0;
    if (out_length)
        *out_length = written;
    if (out_capacity)
        *out_capacity = length == INT_MAX ? INT_MAX : length + 1;
    return stripped;
}
