#include "files/UNIXFilePath.h"

#include <assert.h>
#include <string.h>

namespace {

const char kRootText[] = "/";
const char kHereText[] = ".";

char* CopyOf(const char* text)
{
    size_t size = text ? strlen(text) + 1 : 1;
    char* copy = new char[size];
    memcpy(copy, text ? text : "", size);
    return copy;
}

char* Joined(const char* directory, const char* name)
{
    size_t directory_length = directory ? strlen(directory) : 0;
    size_t name_length = name ? strlen(name) : 0;
    char* text = new char[directory_length + name_length + 2];
    if (directory_length)
        memcpy(text, directory, directory_length);
    text[directory_length] = '/';
    if (name_length)
        memcpy(text + directory_length + 1, name, name_length);
    text[directory_length + 1 + name_length] = 0;
    return text;
}

}  // namespace

UNIXFilePath::UNIXFilePath(const char* path) : m_text(CopyOf(path))
{
    Parse();
}

UNIXFilePath::UNIXFilePath(char* path, bool copy) : m_text(copy || !path ? CopyOf(path) : path)
{
    Parse();
}

UNIXFilePath::UNIXFilePath(const char* directory, const char* name)
    : m_text(Joined(directory, name))
{
    Parse();
}

UNIXFilePath::UNIXFilePath(const UNIXFilePath& other)
    : m_text(new char[other.m_length + 1]),
      m_length(other.m_length),
      m_count(other.m_count),
      m_absolute(other.m_absolute)
{
    memcpy(m_text, other.m_text, m_length + 1);
    if (m_count) {
        m_offsets = new long[m_count];
        memcpy(m_offsets, other.m_offsets, m_count * sizeof *m_offsets);
    }
}

UNIXFilePath::~UNIXFilePath()
{
    delete[] m_text;
    delete[] m_offsets;
    delete[] m_kept;
}

// Squeezes the text in place and counts its elements, then notes their places.
void UNIXFilePath::Parse()
{
    m_absolute = m_text[0] == '/';
    m_count = m_absolute ? 1 : 0;
    char* to = m_text;
    for (const char* from = m_text; *from; ++from) {
        bool is_separator = *from == '/';
        if (is_separator && to != m_text && to[-1] == '/')
            continue;
        if (!is_separator && (to == m_text || to[-1] == '/'))
            ++m_count;
        *to++ = *from;
    }
    if (to - m_text > 1 && to[-1] == '/')
        --to;
    *to = 0;
    m_length = to - m_text;
    if (!m_count)
        return;

    m_offsets = new long[m_count];
    int index = 0;
    if (m_absolute)
        m_offsets[index++] = 0;
    for (long at = 0; at < m_length; ++at)
        if (m_text[at] != '/' && (at == 0 || m_text[at - 1] == '/'))
            m_offsets[index++] = at;
}

long UNIXFilePath::ElementEnd(int index) const
{
    if (m_absolute && index == 0)
        return 1;
    return index + 1 < m_count ? m_offsets[index + 1] - 1 : m_length;
}

long UNIXFilePath::ElementLength(int index) const
{
    return ElementEnd(index) - m_offsets[index];
}

bool UNIXFilePath::Is(int index, const char* text) const
{
    size_t length = strlen(text);
    return static_cast<size_t>(ElementLength(index)) == length &&
           memcmp(m_text + m_offsets[index], text, length) == 0;
}

const char* UNIXFilePath::path()
{
    return m_count ? Span(0, m_count - 1) : m_text;
}

const char* UNIXFilePath::Element(int index)
{
    return Span(index, index);
}

const char* UNIXFilePath::Span(int first, int last)
{
    assert(first >= 0 && first <= last && last < m_count);
    // The root shares its one byte with the separator behind it.
    if (m_absolute && last == 0)
        return kRootText;
    for (int index = first + 1; index <= last; ++index)
        m_text[m_offsets[index] - 1] = '/';
    m_text[ElementEnd(last)] = 0;
    return m_text + m_offsets[first];
}

void UNIXFilePath::Collapse()
{
    if (m_kept || !m_count)
        return;
    m_kept = new int[m_count];
    for (int index = 0; index < m_count; ++index) {
        if (Is(index, "."))
            continue;
        if (!Is(index, "..") || m_kept_count == 0 || Is(m_kept[m_kept_count - 1], "..")) {
            m_kept[m_kept_count++] = index;
            continue;
        }
        if (!m_absolute || m_kept_count > 1)
            --m_kept_count;
    }
}

// The first `count` kept elements as a text of its own.
char* UNIXFilePath::KeptText(int count, int* length, int* capacity) const
{
    long size = 2;
    for (int at = 0; at < count; ++at)
        size += ElementLength(m_kept[at]) + 1;
    char* text = new char[size];
    char* to = text;
    for (int at = 0; at < count; ++at) {
        if (to != text && to[-1] != '/')
            *to++ = '/';
        long element_length = ElementLength(m_kept[at]);
        memcpy(to, m_text + m_offsets[m_kept[at]], element_length);
        to += element_length;
    }
    if (count == 0)
        *to++ = kHereText[0];
    *to = 0;
    if (length)
        *length = static_cast<int>(to - text);
    if (capacity)
        *capacity = static_cast<int>(size);
    return text;
}

char* UNIXFilePath::Collapsed_Path(int* length, int* capacity)
{
    Collapse();
    return KeptText(m_kept_count, length, capacity);
}

char* UNIXFilePath::Collapsed_Directory()
{
    Collapse();
    return KeptText(NamesEntry() ? m_kept_count - 1 : m_kept_count, nullptr, nullptr);
}

const char* UNIXFilePath::Collapsed_Filename()
{
    Collapse();
    return NamesEntry() ? Element(m_kept[m_kept_count - 1]) : kHereText;
}

// Whether the last kept element is a name, neither the root nor "..".
bool UNIXFilePath::NamesEntry() const
{
    if (m_kept_count == 0)
        return false;
    int last = m_kept[m_kept_count - 1];
    return !(m_absolute && last == 0) && !Is(last, "..");
}

bool UNIXFilePath::SameKept(const UNIXFilePath& other, int count) const
{
    for (int at = 0; at < count; ++at) {
        int mine = m_kept[at];
        int theirs = other.m_kept[at];
        long length = ElementLength(mine);
        if (length != other.ElementLength(theirs) ||
            memcmp(m_text + m_offsets[mine], other.m_text + other.m_offsets[theirs], length) != 0)
            return false;
    }
    return true;
}

bool UNIXFilePath::Matches(UNIXFilePath& other, int ignore)
{
    Collapse();
    other.Collapse();
    return m_kept_count == other.m_kept_count && SameKept(other, m_kept_count - ignore);
}

bool UNIXFilePath::Contains(UNIXFilePath& other)
{
    Collapse();
    other.Collapse();
    return m_kept_count <= other.m_kept_count && SameKept(other, m_kept_count);
}
