#ifndef ZEPH_APP_HTTPOUTPUT_H
#define ZEPH_APP_HTTPOUTPUT_H

#include "app/Output.h"
#include "variables/HashTable.h"

class CGIApplication;
class Config;

// A response header. Owned texts came from new[].
class HTTPOutput_Header {
public:
    HTTPOutput_Header(const char* name, int name_length, int name_owned, const char* value,
                      int value_length, int value_owned);
    HTTPOutput_Header(const HTTPOutput_Header&) = delete;
    HTTPOutput_Header& operator=(const HTTPOutput_Header&) = delete;
    ~HTTPOutput_Header();

    const char* name() const { return m_name; }
    int name_length() const { return m_name_length; }
    const char* value() const { return m_value; }
    int value_length() const { return m_value_length; }

private:
    const char* m_name;
    int m_name_length;
    int m_name_owned;
    const char* m_value;
    int m_value_length;
    int m_value_owned;
};

// Headers by name, in any letter case, in the order of setting.
class HTTPOutput_Headers : public HashTable<HTTPOutput_Header> {
public:
    HTTPOutput_Headers() : HashTable(kOwner, kNoCase, kBucketBits, kBlock) {}

private:
    static const int kOwner = 1;
    static const int kNoCase = 1;
    static const int kBucketBits = 12;
    static const int kBlock = 512;

protected:
    const char* Key(HTTPOutput_Header* header, int* length) override
    {
        *length = header->name_length();
        return header->name();
    }
};

// A buffer of the chain that holds a response body. Owns the buffers behind it.
class HTTPOutput_Chain {
public:
    // `size` is the first capacity in bytes and the unit of growth; with `grow` clear
    // the buffer takes only what fits.
    HTTPOutput_Chain(int size, int grow);
    HTTPOutput_Chain(const HTTPOutput_Chain&) = delete;
    HTTPOutput_Chain& operator=(const HTTPOutput_Chain&) = delete;
    ~HTTPOutput_Chain();

    // Takes the text, or its beginning, and returns the number of bytes taken.
    int Write(const char* text, int length);

    const char* data() const { return m_text; }
    int used() const { return m_used; }
    void Empty() { m_used = 0; }

    HTTPOutput_Chain* next = nullptr;  // owned

private:
    void Grow(int more);

    int m_grow;
    int m_unit;
    int m_capacity;
    int m_used = 0;
    char* m_text;  // owned
};

// A response: headers that are held back until the first flush, and a body that is
// gathered in a chain of buffers, so that a page of any size is copied once. A body
// that ends before the first flush gets a Content-Length.
//
// The protocol's form of headers and the way out are left to the class that derives.
class HTTPOutput : public Output {
public:
    // Sizes in bytes: of a buffer, and of what is held back before a flush.
    HTTPOutput(int chain_size, int flush_threshold);
    ~HTTPOutput() override;

    // Both take effect with the next buffer and the next write; a chain size below 1
    // leaves the one at hand.
    void SetSizes(int chain_size, int flush_threshold);

    using Output::Header;
    // Replaces a header of the same name, which then stands last.
    int Header(const char* name, int name_length, int name_owned, const char* value,
               int value_length, int value_owned) override;
    int Write(const char* text, int length) override;
    int Flush() override { return Flush(0); }
    // Sends headers and body. Returns the sum of what DoWrite returned.
    int Flush(int final) override;
    int type() override { return kHTTP; }

    virtual void Header_ContentLength();
    virtual void OutputHeaders() = 0;
    // Sends a part: the number of bytes sent, or a negative number on failure.
    virtual int DoWrite(const char* text, int length) = 0;
    virtual void SetConfig(Config* config) { m_config = config; }

protected:
    HTTPOutput_Headers* headers() { return &m_headers; }

private:
    bool Send(const HTTPOutput_Chain& chain, int* sent);
    bool Retry(const char* text, int length, int* sent);

    int m_chain_size;
    int m_flush_threshold;
    bool m_headers_sent = false;
    HTTPOutput_Headers m_headers;
    HTTPOutput_Chain* m_first = nullptr;    // owned; made at the first write
    HTTPOutput_Chain* m_current = nullptr;  // in the chain of m_first
    long long m_written = 0;                // bytes since the start
    long long m_unflushed = 0;              // bytes since the last flush
    Config* m_config = nullptr;             // borrowed; may be null
    int m_retry_delay = -1;                 // microseconds, -1 until asked for
};

// The response of a CGI program: a header block without a status line, then the body,
// on descriptor 1. A client that went away cancels the run.
class CGIOutput : public HTTPOutput {
public:
    explicit CGIOutput(CGIApplication* application);

    void OutputHeaders() override;
    int DoWrite(const char* text, int length) override;

private:
    CGIApplication* m_application;  // borrowed; may be null
};

#endif
