#ifndef ZEPH_TESTS_UNIT_APP_STDOUTINMEMORY_H
#define ZEPH_TESTS_UNIT_APP_STDOUTINMEMORY_H

#include <stdio.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

// Descriptor 1 led into memory, until Restore or the end of the block. What the tests
// themselves print meanwhile would land there too: look at the text after Restore.
class StdoutInMemory {
public:
    StdoutInMemory() : m_memory(memfd_create("output", 0)), m_former(dup(STDOUT_FILENO))
    {
        fflush(stdout);
        dup2(m_memory, STDOUT_FILENO);
    }
    ~StdoutInMemory()
    {
        Restore();
        close(m_memory);
    }
    StdoutInMemory(const StdoutInMemory&) = delete;
    StdoutInMemory& operator=(const StdoutInMemory&) = delete;

    void Restore()
    {
        if (m_former < 0)
            return;
        dup2(m_former, STDOUT_FILENO);
        close(m_former);
        m_former = -1;
    }
    long Size() const { return lseek(m_memory, 0, SEEK_END); }
    std::string Text() const
    {
        std::string text(size_t(Size()), '\0');
        ssize_t count = pread(m_memory, text.data(), text.size(), 0);
        text.resize(count < 0 ? 0 : size_t(count));
        return text;
    }

private:
    int m_memory;
    int m_former;
};

#endif
