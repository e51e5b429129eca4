#ifndef ZEPH_TOOLS_ZEPHASM_SOURCELINE_H
#define ZEPH_TOOLS_ZEPHASM_SOURCELINE_H

#include "image_text/Array.h"

enum class TokenKind : unsigned char {
    kWord,    // letters, digits and _ . + - # /
    kString,  // in double quotes; the text is what it stands for
    kMark,    // one of ( ) , : $
    kEnd,     // behind the last token
};

struct Token {
    TokenKind kind;
    int column;  // 1-based, in bytes
    int start;   // of the text, in the line's store
    int length;
};

// One line of assembly text, cut into tokens. White space and a comment, which runs
// from ';' to the end of the line, separate tokens.
class SourceLine {
public:
    // Cuts a line, without its line end, in place of the last one. When a token cannot
    // be read the result is false, with the fault() and its column().
    bool Split(const char* line, int length);
    const char* fault() const { return m_fault; }
    int column() const { return m_column; }

    // Tokens are numbered from 0; behind the last one stands kEnd, however far.
    const Token& At(int number) const;
    int count() const { return m_tokens.count() - 1; }
    const char* Text(const Token& token) const { return m_store.items() + token.start; }
    bool Is(const Token& token, TokenKind kind, const char* text) const;

private:
    bool Failed(const char* fault, int column);
    int SplitWord(const char* line, int length, int at);
    int SplitString(const char* line, int length, int at);
    int Escape(const char* line, int length, int at);
    void Keep(TokenKind kind, int column, int start);
    void Store(char c) { m_store.Add(c); }

    Array<Token> m_tokens;
    Array<char> m_store;  // the texts of all tokens, each with a NUL behind it
    const char* m_fault = nullptr;
    int m_column = 0;
};

#endif
