#ifndef ZEPH_CONFIG_EXTERNALCONFIG_H
#define ZEPH_CONFIG_EXTERNALCONFIG_H

#include "config/Config.h"
#include "variables/List.h"
#include "variables/StringClass.h"
#include "variables/Variable.h"
#include "vm/TagLookup.h"

class CommerceLibraryManager;
class ExternalCallManager;
class ExternalDatabaseLibraryManager;
class ExternalLibrary;
class ExternalLibraryManager;
class SystemLibraryManager;
class VariableHash;
class ZephApplication;

// Variables waiting for their scope; holds one count of each.
class QueuedVariables : public List<Variable> {
public:
    QueuedVariables() : List(1) {}
    ~QueuedVariables() override { Dump(); }
    void Purge(Variable* variable) override;
};

// The settings as the installation's configuration library supplies them. The
// library is asked for a setting when it is first read; where it has no answer the
// built-in default stands.
//
// All managers and tables are borrowed. A failed load leaves its text in error().
class ExternalConfig : public Config {
public:
    ExternalConfig(ZephApplication* application, ExternalCallManager* calls,
                   CommerceLibraryManager* commerce, ExternalDatabaseLibraryManager* databases,
                   SystemLibraryManager* systems, VariableHash* system_variables,
                   VariableHash* global_variables);
    // Lets the library clean up.
    ~ExternalConfig() override;

    ConfigValue* default_value(int key) override;

    // Opens the library at `path` and starts it with the program's arguments.
    bool Load(const char* path, int flags, void* arguments, int argument_count);
    // Asks the library for the settings of one script, whose open file it may look at.
    bool LoadScriptConfig(const char* script, File* file);
    // Moves the queued variables to their scopes.
    void AddVariables();

    // Make a library known. False on failure, with the text in the manager.
    bool Register_Library_Builtin(const char* path);
    bool Register_Library_System(const char* name, const char* path);
    bool Register_Library_Database(const char* name, const char* path);
    bool Register_Library_Commerce(const char* name, const char* path);

    // Queue a variable for every script's system or global scope.
    void SetVariable_System(const char* name, int name_length, const char* value, int length);
    void SetVariable_Global(const char* name, int name_length, const char* value, int length);

    // Changes the default of a tag; an unknown tag is ignored. Acts on machines that
    // are made afterwards.
    void Set_DefaultErrorSetting(const char* tag, int length, int setting);

    const String& error() const { return m_error; }

private:
    bool Failed(const String& text);
    bool LibraryFailed(const char* otherwise);

    ZephApplication* m_application;
    void* m_library_data = nullptr;             // the library's own
    const zpConfig_Library* m_table = nullptr;  // the library's
    String m_error;
    ExternalCallManager* m_calls;
    CommerceLibraryManager* m_commerce;
    ExternalDatabaseLibraryManager* m_databases;
    SystemLibraryManager* m_systems;
    VariableHash* m_system_variables;
    VariableHash* m_global_variables;
    QueuedVariables m_queued_system;
    QueuedVariables m_queued_global;
    TagLookup m_tags;
};

#endif
