#include "config/ExternalLibrary.h"

ExternalLibrary* ExternalLibraryManager::Lookup(const char* path)
{
    ExternalLibrary* library = m_libraries.Find(path, -1);
    if (library)
        return library;
    library = Load(path);
    if (library)
        m_libraries.Insert(library);
    return library;
}
