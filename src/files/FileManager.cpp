#include "files/FileManager.h"

#include <stdio.h>

namespace {

const int kBorrowed = 0;

}  // namespace

FileManager::FileManager(ZephApplication* application)
    : m_application(application), m_active(kBorrowed), m_inactive(kBorrowed)
{
}

FileManager::~FileManager() = default;

const String& FileManager::error()
{
    return m_error;
}

void FileManager::Error(const String& text)
{
    m_error = text;
}

bool FileManager::Failed(const String& text)
{
    Error(text);
    return false;
}

bool FileManager::SystemFailed()
{
    Error(lasterror());
    return false;
}

bool FileManager::FreeFileSpace(int count)
{
    if (m_max_files == 0)
        return true;
    if (m_max_files < count) {
        char text[128];
        snprintf(text, sizeof text,
                 "Simultaneous request for %d file handles exceeds the maximum number of "
                 "simultaneous file handles.",
                 m_max_files);
        return Failed(text);
    }
    while (m_active.Entries() > m_max_files - count) {
        File* oldest = m_active.Remove(kListTail);
        m_inactive.Insert(oldest, kListHead);
        oldest->Deactivate();
    }
    return true;
}

File* FileManager::FileOpened(File* file)
{
    m_active.Insert(file, kListHead);
    return file;
}

void FileManager::FileClosed(File* file)
{
    if (m_active.Seek(file))
        m_active.Remove(kListCursor);
    else if (m_inactive.Seek(file))
        m_inactive.Remove(kListCursor);
}

void FileManager::DeactivateFile(File* file)
{
    if (!m_active.Seek(file))
        return;
    m_active.Remove(kListCursor);
    m_inactive.Insert(file, kListTail);
    file->Deactivate();
}

bool FileManager::ActivateFile(File* file)
{
    if (m_active.Seek(file)) {
        m_active.Remove(kListCursor);
        m_active.Insert(file, kListHead);
        return true;
    }
    if (!FreeFileSpace(1))
        return false;
    if (!m_inactive.Seek(file))
        return Failed("Activation request for invalid or non-active file");
    String text;
    if (!file->Activate(text))
        return Failed(text);
    // Opening may have moved the cursor: a file pushed out of the pool meanwhile
    // went into this list.
    m_inactive.Seek(file);
    m_inactive.Remove(kListCursor);
    m_active.Insert(file, kListHead);
    return true;
}

void FileManager::MaxFiles(int maximum)
{
    m_max_files = maximum;
}

void FileManager::SecurityOptions(int options)
{
    m_security_options = options;
}
