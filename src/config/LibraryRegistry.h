#ifndef ZEPH_CONFIG_LIBRARYREGISTRY_H
#define ZEPH_CONFIG_LIBRARYREGISTRY_H

#include "config/ExternalLibrary.h"
#include "variables/HashTable.h"
#include "variables/StringClass.h"

// A shared library that the configuration made known under a name. It is not opened
// before a script asks for it, so a bad path fails at first use.
class RegisteredLibrary {
public:
    RegisteredLibrary(const char* name, const char* path) : m_name(name), m_path(path) {}
    virtual ~RegisteredLibrary() {}

    const String& name() const { return m_name; }
    const String& path() const { return m_path; }

private:
    String m_name;
    String m_path;
};

// Registered libraries by name, in any letter case, in the order of registration.
class RegisteredLibraries : public HashTable<RegisteredLibrary> {
public:
    RegisteredLibraries() : HashTable(1, 1, 4, 16) {}

protected:
    const char* Key(RegisteredLibrary* library, int* length) override
    {
        *length = library->name().length();
        return library->name().data();
    }
};

// What the commerce, system and database libraries have in common: a table of names
// and paths over the process's libraries, which are borrowed. A failed operation
// leaves its text in error().
class LibraryRegistry {
public:
    explicit LibraryRegistry(ExternalLibraryManager* libraries) : m_libraries(libraries) {}
    LibraryRegistry(const LibraryRegistry&) = delete;
    LibraryRegistry& operator=(const LibraryRegistry&) = delete;
    virtual ~LibraryRegistry() {}

    // Always succeeds. Of two registrations of a name the first is found.
    virtual bool RegisterDSO(const char* name, const char* path)
    {
        m_table.Insert(new RegisteredLibrary(name, path));
        return true;
    }
    virtual void Error(const String& text) { m_error = text; }
    virtual const String& error() { return m_error; }

    RegisteredLibraries* table() { return &m_table; }

protected:
    ExternalLibraryManager* libraries() { return m_libraries; }

private:
    ExternalLibraryManager* m_libraries;
    RegisteredLibraries m_table;
    String m_error;
};

class CommerceLibraryManager : public LibraryRegistry {
public:
    using LibraryRegistry::LibraryRegistry;
};

class SystemLibraryManager : public LibraryRegistry {
public:
    using LibraryRegistry::LibraryRegistry;
};

class ExternalDatabaseLibraryManager : public LibraryRegistry {
public:
    using LibraryRegistry::LibraryRegistry;
};

#endif
