#include "app/HTTPOutput.h"

#include <string.h>
#include <sys/select.h>
#include <unistd.h>

#include "app/CGIApplication.h"
#include "config/Config.h"
#include "primitives/conversions.h"

namespace {

const int kDefaultChainSize = 8192;
const int kDefaultFlushThreshold = 1048576;
const int kHeaderBlock = 512;  // grows
const int kMicroseconds = 1000000;

// The second argument of a chain.
const int kFixed = 0;
const int kGrowing = 1;

int LengthOf(const char* text, int length)
{
    return length >= 0 ? length : text ? int(strlen(text)) : 0;
}

void Pause(int microseconds)
{
    timeval delay = {microseconds / kMicroseconds, microseconds % kMicroseconds};
    select(0, nullptr, nullptr, nullptr, &delay);
}

}  // namespace

HTTPOutput_Header::HTTPOutput_Header(const char* name, int name_length, int name_owned,
                                     const char* value, int value_length, int value_owned)
    : m_name(name),
      m_name_length(LengthOf(name, name_length)),
      m_name_owned(name_owned),
      m_value(value),
      m_value_length(LengthOf(value, value_length)),
      m_value_owned(value_owned)
{
}

HTTPOutput_Header::~HTTPOutput_Header()
{
    if (m_name_owned)
        delete[] m_name;
    if (m_value_owned)
        delete[] m_value;
}

HTTPOutput_Chain::HTTPOutput_Chain(int size, int grow)
    : m_grow(grow), m_unit(size), m_capacity(size), m_text(new char[size_t(size)])
{
}

// Frees the buffers behind this one in a loop: a chain may be a million long.
HTTPOutput_Chain::~HTTPOutput_Chain()
{
    while (next) {
        HTTPOutput_Chain* after = next->next;
        next->next = nullptr;
        delete next;
        next = after;
    }
    delete[] m_text;
}

int HTTPOutput_Chain::Write(const char* text, int length)
{
    if (length > m_capacity - m_used) {
        if (m_grow)
            Grow(length);
        else
            length = m_capacity - m_used;
    }
    memcpy(m_text + m_used, text, size_t(length));
    m_used += length;
    return length;
}

// By its own size at least, so that many additions cost no more than their bytes.
void HTTPOutput_Chain::Grow(int more)
{
    int units = (more > m_capacity ? more : m_capacity) / m_unit + 1;
    m_capacity += units * m_unit;
    char* larger = new char[size_t(m_capacity)];
    memcpy(larger, m_text, size_t(m_used));
    delete[] m_text;
    m_text = larger;
}

HTTPOutput::HTTPOutput(int chain_size, int flush_threshold)
    : m_chain_size(chain_size), m_flush_threshold(flush_threshold)
{
}

HTTPOutput::~HTTPOutput()
{
    delete m_first;
}

void HTTPOutput::SetSizes(int chain_size, int flush_threshold)
{
    if (chain_size > 0)
        m_chain_size = chain_size;
    m_flush_threshold = flush_threshold;
}

int HTTPOutput::Header(const char* name, int name_length, int name_owned, const char* value,
                       int value_length, int value_owned)
{
    if (m_headers_sent)
        return Output::Header(name, name_length, name_owned, value, value_length, value_owned);
    delete m_headers.Remove(name, name_length);
    m_headers.Insert(
        new HTTPOutput_Header(name, name_length, name_owned, value, value_length, value_owned));
    return 1;
}

int HTTPOutput::Write(const char* text, int length)
{
    length = LengthOf(text, length);
    if (length == 0)
        return 0;
    m_written += length;
    m_unflushed += length;
    if (!m_first)
        m_current = m_first = new HTTPOutput_Chain(m_chain_size, kFixed);
    int done = m_current->Write(text, length);
    while (done < length) {
        m_current = m_current->next = new HTTPOutput_Chain(m_chain_size, kFixed);
        done += m_current->Write(text + done, length - done);
    }
    RememberSpace(text, length);
    if (m_unflushed >= m_flush_threshold) {
        Flush(0);
        m_unflushed = 0;
    }
    return length;
}

int HTTPOutput::Flush(int final)
{
    if (!m_headers_sent) {
        m_headers_sent = true;
        if (final)
            Header_ContentLength();
        OutputHeaders();
    }
    int sent = 0;
    for (HTTPOutput_Chain* chain = m_first; chain; chain = chain->next)
        if (chain->used() > 0 && !Send(*chain, &sent))
            break;
    if (m_first) {
        delete m_first->next;
        m_first->next = nullptr;
        m_first->Empty();
        m_current = m_first;
    }
    return sent;
}

// False when the flush is to stop.
bool HTTPOutput::Send(const HTTPOutput_Chain& chain, int* sent)
{
    int count = DoWrite(chain.data(), chain.used());
    *sent += count;
    if (count < 0)
        return false;
    return count == chain.used() || Retry(chain.data() + count, chain.used() - count, sent);
}

// Sends the rest of a short write bit by bit. A client that takes nothing more ends
// this buffer only, a failed write the flush.
bool HTTPOutput::Retry(const char* text, int length, int* sent)
{
    if (m_retry_delay < 0)
        m_retry_delay = m_config ? m_config->value_integer(ZPCONFIG_DELAY_FILE) : 0;
    while (length > 0) {
        Pause(m_retry_delay);
        int count = DoWrite(text, length);
        *sent += count;
        if (count <= 0)
            return count == 0;
        text += count;
        length -= count;
    }
    return true;
}

void HTTPOutput::Header_ContentLength()
{
    static const char name[] = "Content-Length";
    if (m_headers.Find(name, -1))
        return;
    int length, capacity;
    char* value = itos(int(m_written), &length, &capacity);
    const int kOwned = 1;
    m_headers.Insert(new HTTPOutput_Header(name, -1, 0, value, length, kOwned));
}

CGIOutput::CGIOutput(CGIApplication* application)
    : HTTPOutput(kDefaultChainSize, kDefaultFlushThreshold), m_application(application)
{
}

void CGIOutput::OutputHeaders()
{
    HTTPOutput_Chain block(kHeaderBlock, kGrowing);
    for (HTTPOutput_Header* header = headers()->First(); header; header = headers()->Next()) {
        block.Write(header->name(), header->name_length());
        block.Write(": ", 2);
        block.Write(header->value(), header->value_length());
        block.Write("\r\n", 2);
    }
    block.Write("\r\n", 2);
    DoWrite(block.data(), block.used());
}

int CGIOutput::DoWrite(const char* text, int length)
{
    int count = int(write(STDOUT_FILENO, text, size_t(length)));
    if (count < 0 && m_application)
        m_application->Cancelled();
    return count;
}
