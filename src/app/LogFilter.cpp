#include "app/LogFilter.h"

#include <ctype.h>
#include <string.h>

#include "primitives/conversions.h"

namespace {

bool IsSpace(char c)
{
    return isspace(static_cast<unsigned char>(c));
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

const char* SkipSpace(const char* text)
{
    while (IsSpace(*text))
        ++text;
    return text;
}

// Reads digits, if there are any, and the white space behind them.
const char* ReadLine(const char* text, int* line)
{
    const char* end = text;
    while (IsDigit(*end))
        ++end;
    if (end > text)
        *line = stoi(text, int(end - text), nullptr);
    return SkipSpace(end);
}

}  // namespace

bool LogFilterEntry::Matches(const char* file, int length, int line) const
{
    return length == m_file.length() && memcmp(file, m_file.data(), size_t(length)) == 0 &&
           (m_first == 0 || line >= m_first) && (m_last == 0 || line <= m_last);
}

void LogFilter::Parse(const char* text)
{
    m_include.Dump();
    m_exclude.Dump();
    while (text && *(text = SkipSpace(text))) {
        text = ParseItem(text);
        if (!text)
            return;
        text += strcspn(text, ",");
        text += *text == ',';
    }
}

// Reads one item and stores it. Returns what follows it, null to end the parse.
const char* LogFilter::ParseItem(const char* text)
{
    List<LogFilterEntry>* list = &m_include;
    if (*text == '!') {
        list = &m_exclude;
        text = SkipSpace(text + 1);
    }
    const char* file = text;
    while (*text && !IsSpace(*text) && *text != ':' && *text != ',')
        ++text;
    int length = int(text - file);
    int first = 0;
    int last = 0;
    text = SkipSpace(text);
    if (*text == ':') {
        text = SkipSpace(text + 1);
        if (!*text)
            return nullptr;
        text = ReadLine(text, &first);
        last = first;
        if (*text == '-') {
            last = 0;
            text = ReadLine(SkipSpace(text + 1), &last);
        }
    }
    list->Insert(new LogFilterEntry(file, length, first, last), kListTail);
    return text;
}

bool LogFilter::Passes(const char* file, int length, int line)
{
    if (IsIn(&m_exclude, file, length, line))
        return false;
    return m_include.Entries() == 0 || IsIn(&m_include, file, length, line);
}

bool LogFilter::IsIn(List<LogFilterEntry>* list, const char* file, int length, int line)
{
    for (LogFilterEntry* entry = list->First(); entry; entry = list->Next()) {
        if (entry->Matches(file, length, line))
            return true;
    }
    return false;
}
