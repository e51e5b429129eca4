#ifndef ZEPH_APP_LOGFILTER_H
#define ZEPH_APP_LOGFILTER_H

#include "variables/List.h"
#include "variables/StringClass.h"

// Lines of one source file.
class LogFilterEntry {
public:
    // A line of 0 means no limit on that side.
    LogFilterEntry(const char* file, int length, int first, int last)
        : m_file(file, length), m_first(first), m_last(last)
    {
    }

    bool Matches(const char* file, int length, int line) const;

private:
    String m_file;
    int m_first;
    int m_last;
};

// Which source positions are logged: all but those of the exclude list, and where there is
// an include list, only those of it.
class LogFilter {
public:
    LogFilter() : m_include(1), m_exclude(1) {}

    // Replaces both lists by what an administrator wrote: items between commas, each a file,
    // with '!' in front for the exclude list, and ":first-last", ":line", ":first-" or
    // ":-last" behind it for a part of its lines. A ':' at the very end drops its item and
    // ends the parse.
    void Parse(const char* text);
    bool Passes(const char* file, int length, int line);

private:
    static bool IsIn(List<LogFilterEntry>* list, const char* file, int length, int line);
    const char* ParseItem(const char* text);

    List<LogFilterEntry> m_include;
    List<LogFilterEntry> m_exclude;
};

#endif
