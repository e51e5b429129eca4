#ifndef ZEPH_TESTS_HOOKEDCONFIGLIBRARY_H
#define ZEPH_TESTS_HOOKEDCONFIGLIBRARY_H

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <map>
#include <string>
#include <vector>

#include "zeph/extension.h"

// A configuration library played by the test: a real shared library, whose table leads
// back here. One at a time. What was asked of it is in `calls`.
class HookedConfigLibrary {
public:
    HookedConfigLibrary() : m_handle(dlopen(ZEPH_HookedLibrary, RTLD_LAZY))
    {
        Current() = this;
        Install(&table);
    }
    ~HookedConfigLibrary()
    {
        Install(nullptr);
        Current() = nullptr;
        dlclose(m_handle);
    }
    HookedConfigLibrary(const HookedConfigLibrary&) = delete;
    HookedConfigLibrary& operator=(const HookedConfigLibrary&) = delete;

    void Install(const zpConfig_Library* offered)
    {
        void* place = m_handle ? dlsym(m_handle, "hooked_table") : nullptr;
        if (!place)
            abort();
        *static_cast<const zpConfig_Library**>(place) = offered;
    }

    std::vector<std::string> calls;
    zpConfig_Library table = {2, Init, nullptr, GetInteger, GetString, Error, Cleanup, Script};

    // Answers.
    int init_result = 0;
    int script_result = 0;
    std::string error_text;
    void* word_to_set = nullptr;
    void (*at_init)(ExternalConfig*) = nullptr;
    std::map<int, int> integers;
    std::map<int, std::string> texts;
    bool owned = false;
    int length = -1;

    // What came in.
    ExternalConfig* config = nullptr;
    int flags = -1;
    void* arguments = nullptr;
    int argument_count = -1;
    void* word_at_init = this;
    void* word_seen = nullptr;
    std::string script;
    File* file = nullptr;

private:
    static HookedConfigLibrary*& Current()
    {
        static HookedConfigLibrary* current;
        return current;
    }
    static HookedConfigLibrary* Called(const std::string& what, void** word)
    {
        Current()->calls.push_back(what);
        Current()->word_seen = *word;
        return Current();
    }
    static std::string WithKey(const char* what, int key)
    {
        char text[40];
        snprintf(text, sizeof text, "%s %x", what, unsigned(key));
        return text;
    }

    static int Init(ExternalConfig* config, void** word, int flags, void* arguments, int count)
    {
        HookedConfigLibrary* library = Called("init", word);
        library->config = config;
        library->flags = flags;
        library->arguments = arguments;
        library->argument_count = count;
        library->word_at_init = *word;
        *word = library->word_to_set;
        if (library->at_init)
            library->at_init(config);
        return library->init_result;
    }
    static int GetInteger(ExternalConfig*, void** word, int key, int* value)
    {
        HookedConfigLibrary* library = Called(WithKey("integer", key), word);
        auto found = library->integers.find(key);
        if (found == library->integers.end())
            return 1;
        *value = found->second;
        return 0;
    }
    static int GetString(ExternalConfig*, void** word, int key, char** text, int* length,
                         int* owned)
    {
        HookedConfigLibrary* library = Called(WithKey("string", key), word);
        auto found = library->texts.find(key);
        if (found == library->texts.end())
            return 1;
        *text = found->second.data();
        if (library->owned)
            *text = strcpy(new char[found->second.size() + 1], *text);
        *length = library->length >= 0 ? library->length : int(found->second.size());
        *owned = library->owned;
        return 0;
    }
    static char* Error(ExternalConfig*, void** word)
    {
        return Called("error", word)->error_text.data();
    }
    static void Cleanup(ExternalConfig*, void** word) { Called("cleanup", word); }
    static int Script(ExternalConfig*, void** word, const char* script, File* file)
    {
        HookedConfigLibrary* library = Called("script", word);
        library->script = script;
        library->file = file;
        return library->script_result;
    }

    void* m_handle;
};

#endif
