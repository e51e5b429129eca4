#ifndef ZEPH_EXTENSIONS_CONFIG_ERRORTEXT_H
#define ZEPH_EXTENSIONS_CONFIG_ERRORTEXT_H

// The text of a failure, put together piece by piece in a buffer of its own, since
// memory may be what has run out.
//
// The runtime shows it in a page as it stands. So what it quotes is encoded for HTML,
// and cut where it is long.
class ErrorText {
public:
    ErrorText() { m_text[0] = 0; }

    char* text() { return m_text; }

    ErrorText& Add(const char* words);
    ErrorText& Add(int number);
    // In single quotes; a `length` of -1 means up to the NUL.
    ErrorText& Quote(const char* outside, int length = -1);
    // Of a long path the end is shown.
    ErrorText& Path(const char* path);

private:
    enum {
        kLongestQuote = 80,
        kLongestPath = 400,
        kCapacity = 4096
    };

    void Encode(const char* bytes, int length);

    int m_length = 0;
    char m_text[kCapacity];
};

#endif
