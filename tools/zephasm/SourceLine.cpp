#include "zephasm/SourceLine.h"

#include <string.h>

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

bool IsWordByte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (c != 0 && strchr("_.+-#/", c));
}

bool IsMark(char c)
{
    return c != 0 && strchr("(),:$", c);
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace

bool SourceLine::Failed(const char* fault, int column)
{
    m_fault = fault;
    m_column = column;
    return false;
}

bool SourceLine::Split(const char* line, int length)
{
    m_tokens.Clear();
    m_store.Clear();
    int at = 0;
    while (at >= 0 && at < length && line[at] != ';') {
        char c = line[at];
        if (IsBlank(c)) {
            ++at;
        } else if (c == '"') {
            at = SplitString(line, length, at);
        } else if (IsWordByte(c)) {
            at = SplitWord(line, length, at);
        } else if (IsMark(c)) {
            int start = m_store.count();
            Store(c);
            Keep(TokenKind::kMark, ++at, start);
        } else {
            return Failed("this byte can stand in a string only", at + 1);
        }
    }
    if (at < 0)
        return false;
    Keep(TokenKind::kEnd, at + 1, m_store.count());
    return true;
}

void SourceLine::Keep(TokenKind kind, int column, int start)
{
    m_tokens.Add({kind, column, start, m_store.count() - start});
    Store(0);
}

int SourceLine::SplitWord(const char* line, int length, int at)
{
    int column = at + 1;
    int start = m_store.count();
    for (; at < length && IsWordByte(line[at]); ++at)
        Store(line[at]);
    Keep(TokenKind::kWord, column, start);
    return at;
}

// This and Escape give the position behind what they read, or -1.
int SourceLine::SplitString(const char* line, int length, int at)
{
    int column = at + 1;
    int start = m_store.count();
    for (++at; at < length && line[at] != '"';) {
        if (line[at] == '\\') {
            at = Escape(line, length, at);
            if (at < 0)
                return -1;
        } else {
            Store(line[at++]);
        }
    }
    if (at >= length) {
        Failed("this string has no end", column);
        return -1;
    }
    Keep(TokenKind::kString, column, start);
    return at + 1;
}

int SourceLine::Escape(const char* line, int length, int at)
{
    static const char letters[] = "nrt0\\\"";
    static const char meanings[] = "\n\r\t\0\\\"";
    char c = at + 1 < length ? line[at + 1] : 0;
    const char* letter = c ? strchr(letters, c) : nullptr;
    if (letter) {
        Store(meanings[letter - letters]);
        return at + 2;
    }
    if (c == 'x' && at + 3 < length && HexDigit(line[at + 2]) >= 0 && HexDigit(line[at + 3]) >= 0) {
        Store(static_cast<char>(HexDigit(line[at + 2]) * 16 + HexDigit(line[at + 3])));
        return at + 4;
    }
    Failed("expected \\n, \\r, \\t, \\0, \\\\, \\\" or \\x and two hexadecimal digits", at + 1);
    return -1;
}

const Token& SourceLine::At(int number) const
{
    return m_tokens[number < count() ? number : count()];
}

bool SourceLine::Is(const Token& token, TokenKind kind, const char* text) const
{
    return token.kind == kind && strlen(text) == size_t(token.length) &&
           memcmp(Text(token), text, size_t(token.length)) == 0;
}
