#ifndef ZEPH_CONFIG_UNIXEXTERNALLIBRARY_H
#define ZEPH_CONFIG_UNIXEXTERNALLIBRARY_H

#include "config/ExternalLibrary.h"

// A library opened by the dynamic loader.
class UNIXExternalLibrary : public ExternalLibrary {
public:
    ~UNIXExternalLibrary() override;

    bool Load(const char* path) override;
    void* Get_Function(const char* name) override;

private:
    void* m_handle = nullptr;
};

class UNIXExternalLibraryManager : public ExternalLibraryManager {
public:
    ExternalLibrary* Load(const char* path) override;
};

#endif
