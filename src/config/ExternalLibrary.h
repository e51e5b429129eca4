#ifndef ZEPH_CONFIG_EXTERNALLIBRARY_H
#define ZEPH_CONFIG_EXTERNALLIBRARY_H

#include "variables/HashTable.h"
#include "variables/StringClass.h"

// A shared library that the program opened. A failed operation leaves its text in
// error().
class ExternalLibrary {
public:
    ExternalLibrary() {}
    ExternalLibrary(const ExternalLibrary&) = delete;
    ExternalLibrary& operator=(const ExternalLibrary&) = delete;
    virtual ~ExternalLibrary() {}

    virtual bool Load(const char* path) = 0;
    // The address of an exported function, or null.
    virtual void* Get_Function(const char* name) = 0;

    const String& path() const { return m_path; }
    const String& error() const { return m_error; }

protected:
    String m_path;
    String m_error;
};

class ExternalLibraries : public HashTable<ExternalLibrary> {
public:
    ExternalLibraries() : HashTable(1, 1, 4, 16) {}

protected:
    const char* Key(ExternalLibrary* library, int* length) override
    {
        *length = library->path().length();
        return library->path().data();
    }
};

// The libraries of the process by path: each is opened at first need, shared by all
// who name it, and stays open until the manager ends.
class ExternalLibraryManager {
public:
    ExternalLibraryManager() {}
    ExternalLibraryManager(const ExternalLibraryManager&) = delete;
    ExternalLibraryManager& operator=(const ExternalLibraryManager&) = delete;
    virtual ~ExternalLibraryManager() {}

    // Null on failure, with the text in error().
    virtual ExternalLibrary* Lookup(const char* path);
    // Opens the library anew; the result is the caller's.
    virtual ExternalLibrary* Load(const char* path) = 0;

    const String& error() const { return m_error; }

protected:
    String m_error;

private:
    ExternalLibraries m_libraries;
};

#endif
