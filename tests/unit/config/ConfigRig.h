#ifndef ZEPH_TESTS_CONFIGRIG_H
#define ZEPH_TESTS_CONFIGRIG_H

#include <string.h>

#include <string>

#include "app/VMApplication.h"
#include "config/ExternalCall.h"
#include "config/ExternalConfig.h"
#include "config/LibraryRegistry.h"
#include "config/UNIXExternalLibrary.h"
#include "image/Dictionary.h"
#include "variables/VariableHash.h"
#include "vm/TagErrorSettings.h"

// As much of an application as the settings ask of it: the libraries of the process.
class LibrariesOnlyApplication : public VMApplication {
public:
    ExternalLibraryManager* librarymanager() override { return &m_libraries; }

    FileManager* filemanager() override { return nullptr; }
    Config* config() override { return nullptr; }
    const char* basename() override { return ""; }
    const char* hostname() override { return ""; }
    const char* lasterror() override { return ""; }
    Output* output() override { return nullptr; }
    Output* SetOutput(Output*) override { return nullptr; }
    char* MakeSessionID(int*) override { return nullptr; }
    int processid() override { return 0; }
    int threadid() override { return 0; }
    const char* lockhostname() override { return ""; }
    int lockexpiration() override { return 0; }
    int OutputError(const char*, int) override { return 0; }
    void Sleep(int) override {}
    const String& GetUserID() override { return m_user; }
    void AsynchronousSleep(long, Zeph_PathType, const char*) override {}
    const char* process_name() override { return ""; }
    void SetProcessName(const char*, int) override {}

private:
    UNIXExternalLibraryManager m_libraries;
    String m_user;
};

// The settings of a request, with all that they hand things over to. The error settings
// of tags, which are the process's, are put back at the end.
class ConfigRig {
public:
    ConfigRig() { memcpy(m_tags, tag_default_errorsettings, sizeof m_tags); }
    ~ConfigRig() { memcpy(tag_default_errorsettings, m_tags, sizeof m_tags); }

    bool Load(const char* path) { return config.Load(path, 0, nullptr, 0); }
    std::string Error() const { return Standard(config.error()); }
    // "(null)" for a setting without a value.
    std::string Text(int key)
    {
        int length = -1;
        const char* text = config.value_string(key, &length);
        return text ? std::string(text, size_t(length)) : "(null)";
    }
    // "(none)" for a variable that is not there.
    static std::string Value(VariableHash& scope, const char* name)
    {
        Variable* variable = nullptr;
        const int kOnlyIfThere = 0;
        if (!scope.Find(&variable, name, -1, kOnlyIfThere) || !variable)
            return "(none)";
        return Standard(variable->value());
    }
    static int TagSetting(int row) { return tag_default_errorsettings[row].setting; }
    // "name=path name=path" in the order of registration.
    static std::string Registered(LibraryRegistry& registry)
    {
        std::string all;
        for (int slot = 0; slot < registry.table()->Entries(); ++slot) {
            RegisteredLibrary* library = registry.table()->Index(slot);
            all += (slot ? " " : "") + Standard(library->name()) + "=" + Standard(library->path());
        }
        return all;
    }
    static std::string Standard(const String& text)
    {
        return std::string(text.data(), size_t(text.length()));
    }

    LibrariesOnlyApplication application;
    ExternalCallManager calls{application.librarymanager()};
    CommerceLibraryManager commerce{application.librarymanager()};
    ExternalDatabaseLibraryManager databases{application.librarymanager()};
    SystemLibraryManager systems{application.librarymanager()};
    Dictionary names;
    VariableHash system{&names, 4, 16};
    VariableHash global{&names, 4, 16};
    ExternalConfig config{&application, &calls, &commerce, &databases, &systems, &system, &global};

private:
    TagErrorSetting m_tags[kTagErrorRows];
};

#endif
