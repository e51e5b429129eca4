#ifndef ZEPH_FILES_HELDDIRECTORY_H
#define ZEPH_FILES_HELDDIRECTORY_H

#include "files/UNIXFileManager.h"

// Goes back to the current directory of its construction when it goes out of
// scope. is_held() is false when that directory could not be opened; the text is
// then in the manager's error().
class HeldDirectory {
public:
    explicit HeldDirectory(UNIXFileManager* manager)
        : m_manager(manager), m_saved(manager->SaveCurrentDirectory())
    {
    }
    ~HeldDirectory()
    {
        if (is_held())
            m_manager->RestoreCurrentDirectory(m_saved);
    }

    HeldDirectory(const HeldDirectory&) = delete;
    HeldDirectory& operator=(const HeldDirectory&) = delete;

    bool is_held() const { return m_saved >= 0; }

private:
    UNIXFileManager* m_manager;  // borrowed
    int m_saved;
};

#endif
