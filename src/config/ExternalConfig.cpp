#include "config/ExternalConfig.h"

#include "app/ZephApplication.h"
#include "config/ExternalCall.h"
#include "config/ExternalLibrary.h"
#include "config/LibraryRegistry.h"
#include "variables/VariableHash.h"
#include "vm/TagErrorSettings.h"

namespace {

typedef const zpConfig_Library* (*ConfigLibraryEntry)();

// The first version of the library interface had another way to set up a script.
const int kObsoleteVersion = 1;

// Moves all variables of a queue, in order, to their scope.
void MoveTo(VariableHash* scope, QueuedVariables* queue)
{
    while (queue->Entries() > 0)
        scope->SetVariable(queue->Remove(kListHead));
}

}  // namespace

void QueuedVariables::Purge(Variable* variable)
{
    variable->DecRefCount();
}

ExternalConfig::ExternalConfig(ZephApplication* application, ExternalCallManager* calls,
                               CommerceLibraryManager* commerce,
                               ExternalDatabaseLibraryManager* databases,
                               SystemLibraryManager* systems, VariableHash* system_variables,
                               VariableHash* global_variables)
    : m_application(application),
      m_calls(calls),
      m_commerce(commerce),
      m_databases(databases),
      m_systems(systems),
      m_system_variables(system_variables),
      m_global_variables(global_variables)
{
}

ExternalConfig::~ExternalConfig()
{
    if (m_table && m_table->cleanup)
        m_table->cleanup(this, &m_library_data);
}

ConfigValue* ExternalConfig::default_value(int key)
{
    int integer = 0;
    if (m_table && key & ZPCONFIG_INTEGER && m_table->get_integer &&
        m_table->get_integer(this, &m_library_data, key, &integer) == 0)
        return new ConfigValue(key, integer);
    char* text = nullptr;
    int length = 0;
    int owned = 0;
    if (m_table && key & ZPCONFIG_STRING && m_table->get_string &&
        m_table->get_string(this, &m_library_data, key, &text, &length, &owned) == 0)
        return new ConfigValue(key, text, text ? length : 0, owned);
    return Config::default_value(key);
}

bool ExternalConfig::Failed(const String& text)
{
    m_error = text;
    return false;
}

// The library's own text where it has one.
bool ExternalConfig::LibraryFailed(const char* otherwise)
{
    return Failed(m_table->error ? m_table->error(this, &m_library_data) : otherwise);
}

bool ExternalConfig::Load(const char* path, int flags, void* arguments, int argument_count)
{
    ExternalLibraryManager* libraries = m_application->librarymanager();
    ExternalLibrary* library = libraries->Lookup(path);
    if (!library)
        return Failed(libraries->error());
    auto entry = reinterpret_cast<ConfigLibraryEntry>(library->Get_Function("zeph_config_library"));
    if (!entry)
        return Failed(library->error());
    m_table = entry();
    if (!m_table)
        return Failed("Unable to retrieve configuration descriptor table");
    if (!m_table->init ||
        m_table->init(this, &m_library_data, flags, arguments, argument_count) == 0)
        return true;
    return LibraryFailed("Error initializing configuration library");
}

bool ExternalConfig::LoadScriptConfig(const char* script, File* file)
{
    if (!m_table)
        return false;
    // The version is an int in a word of 8 bytes; the rest of the word is the library's.
    if (int(m_table->version) == kObsoleteVersion && m_table->script_config_version_1)
        return Failed(
            "Configuration library uses no longer supported v1 API script-specific configuration "
            "load method");
    if (!m_table->script_config || m_table->script_config(this, &m_library_data, script, file) == 0)
        return true;
    return LibraryFailed("Error loading script-specific configuration");
}

void ExternalConfig::AddVariables()
{
    MoveTo(m_system_variables, &m_queued_system);
    MoveTo(m_global_variables, &m_queued_global);
}

bool ExternalConfig::Register_Library_Builtin(const char* path)
{
    return m_calls->RegisterDSO(path);
}

bool ExternalConfig::Register_Library_System(const char* name, const char* path)
{
    return m_systems->RegisterDSO(name, path);
}

bool ExternalConfig::Register_Library_Database(const char* name, const char* path)
{
    return m_databases->RegisterDSO(name, path);
}

bool ExternalConfig::Register_Library_Commerce(const char* name, const char* path)
{
    return m_commerce->RegisterDSO(name, path);
}

void ExternalConfig::SetVariable_System(const char* name, int name_length, const char* value,
                                        int length)
{
    m_queued_system.Insert(new Variable(name, name_length, value, length), kListTail);
}

void ExternalConfig::SetVariable_Global(const char* name, int name_length, const char* value,
                                        int length)
{
    m_queued_global.Insert(new Variable(name, name_length, value, length), kListTail);
}

void ExternalConfig::Set_DefaultErrorSetting(const char* tag, int length, int setting)
{
    int row = m_tags.Lookup(tag, length);
    if (row >= 0)
        tag_default_errorsettings[row].setting = setting;
}
