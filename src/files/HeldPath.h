#ifndef ZEPH_FILES_HELDPATH_H
#define ZEPH_FILES_HELDPATH_H

#include "files/UNIXFilePath.h"

// Owns a path; null is none.
class HeldPath {
public:
    explicit HeldPath(UNIXFilePath* path = nullptr) : m_path(path) {}
    ~HeldPath() { delete m_path; }

    HeldPath(const HeldPath&) = delete;
    HeldPath& operator=(const HeldPath&) = delete;

    UNIXFilePath* get() const { return m_path; }
    UNIXFilePath* operator->() const { return m_path; }
    UNIXFilePath& operator*() const { return *m_path; }

    UNIXFilePath* release()
    {
        UNIXFilePath* path = m_path;
        m_path = nullptr;
        return path;
    }

    void reset(UNIXFilePath* path = nullptr)
    {
        delete m_path;
        m_path = path;
    }

    // Gives the path up and the place to put another one.
    UNIXFilePath** out()
    {
        reset();
        return &m_path;
    }

private:
    UNIXFilePath* m_path;
};

#endif
