#include "config/UNIXExternalLibrary.h"

#include <dlfcn.h>

UNIXExternalLibrary::~UNIXExternalLibrary()
{
    if (m_handle)
        dlclose(m_handle);
}

bool UNIXExternalLibrary::Load(const char* path)
{
    m_path = path;
    m_handle = dlopen(path, RTLD_LAZY);
    if (m_handle)
        return true;
    m_error = dlerror();
    return false;
}

void* UNIXExternalLibrary::Get_Function(const char* name)
{
    void* function = dlsym(m_handle, name);
    if (!function)
        m_error = String("Unknown symbol '") + name + "'";
    return function;
}

ExternalLibrary* UNIXExternalLibraryManager::Load(const char* path)
{
    UNIXExternalLibrary* library = new UNIXExternalLibrary;
    if (library->Load(path))
        return library;
    m_error = library->error();
    delete library;
    return nullptr;
}
