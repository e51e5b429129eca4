#ifndef ZEPH_TESTS_FUZZ_FUZZFILE_H
#define ZEPH_TESTS_FUZZ_FUZZFILE_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

// A file in memory that holds the input of one run, open for reading at its start.
class FuzzFile {
public:
    FuzzFile(const uint8_t* bytes, size_t size) : m_descriptor(memfd_create("input", 0))
    {
        if (m_descriptor < 0 || write(m_descriptor, bytes, size) != ssize_t(size))
            abort();
        lseek(m_descriptor, 0, SEEK_SET);
        snprintf(m_path, sizeof m_path, "/proc/self/fd/%d", m_descriptor);
    }
    ~FuzzFile()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;

    // Under which the file can be opened again.
    const char* path() const { return m_path; }
    // Hands the descriptor over.
    int release()
    {
        int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor;
    }

private:
    int m_descriptor;
    char m_path[40];
};

#endif
