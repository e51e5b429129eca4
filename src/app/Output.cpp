#include "app/Output.h"

#include <string.h>

#include "variables/LinkBuffer.h"

namespace {

// As the C locale has it. The C library's table would be a page more to touch in every
// request.
bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

int Output::Write_Error(const char* text, int length)
{
    int result = Write(text, length);
    Flush();
    return result;
}

int Output::Header(const char* name, const char* value)
{
    return Header(name, -1, 0, value, -1, 0);
}

int Output::Header(const char* name, int, int name_owned, const char* value, int, int value_owned)
{
    if (name_owned)
        delete[] name;
    if (value_owned)
        delete[] value;
    return 0;
}

int Output::Write_Compressed(const char* text, int length)
{
    if (m_flags & kCompressFast)
        return Write_Compressed_Fast(text, length);
    if (m_flags & kCompressFull)
        return Write_Compressed_Full(text, length);
    return Write(text, length);
}

int Output::Flush(int)
{
    return 0;
}

int Output::Write_Compressed_Fast(const char* text, int length)
{
    if (length < 0)
        length = int(strlen(text));
    int dropped = m_after_space && length > 0 && IsSpace(text[0]) ? 1 : 0;
    Write(text + dropped, length - dropped);
    return length;
}

int Output::Write_Compressed_Full(const char* text, int length)
{
    if (length < 0)
        length = int(strlen(text));
    int start = 0;
    while (m_after_space && start < length && IsSpace(text[start]))
        ++start;
    while (start < length) {
        // A piece ends behind the first character of a run of white space.
        int end = start;
        while (end < length && !IsSpace(text[end]))
            ++end;
        if (end < length)
            ++end;
        Write(text + start, end - start);
        while (end < length && IsSpace(text[end]))
            ++end;
        start = end;
    }
    return length;
}

void Output::RememberSpace(const char* text, int length)
{
    m_after_space = length > 0 && IsSpace(text[length - 1]);
}

int NullOutput::DoWrite(const char* text, int length)
{
    return m_callback ? m_callback(text, length) : length;
}

void LinkBuffer::output(Output* output)
{
    ForEachBlock([&](const char* text, int length) { output->Write(text, length); });
}
