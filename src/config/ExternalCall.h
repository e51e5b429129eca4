#ifndef ZEPH_CONFIG_EXTERNALCALL_H
#define ZEPH_CONFIG_EXTERNALCALL_H

#include "config/ExternalLibrary.h"
#include "variables/StringClass.h"

// The libraries of builtin functions, in the order in which the configuration names
// them, which is the order of search. Borrows the process's libraries.
class ExternalCallManager {
public:
    explicit ExternalCallManager(ExternalLibraryManager* libraries) : m_libraries(libraries) {}
    ExternalCallManager(const ExternalCallManager&) = delete;
    ExternalCallManager& operator=(const ExternalCallManager&) = delete;
    ~ExternalCallManager();

    // Opens a library and takes its table of functions. False on failure, with the
    // text in error().
    bool RegisterDSO(const char* path);

    int libraries() const { return m_count; }
    const String& error() const { return m_error; }

private:
    struct Registered {
        ExternalLibrary* library;  // borrowed
        const void* functions;     // the library's array
    };

    void Append(const Registered& entry);

    ExternalLibraryManager* m_libraries;
    Registered* m_registered = nullptr;  // owned
    int m_count = 0;
    int m_capacity = 0;
    String m_error;
};

#endif
