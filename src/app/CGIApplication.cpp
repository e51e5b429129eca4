#include "app/CGIApplication.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "app/HTTPOutput.h"
#include "config/ExternalCall.h"
#include "config/ExternalConfig.h"
#include "config/LibraryRegistry.h"
#include "config/UNIXExternalLibrary.h"
#include "files/UNIXFileManager.h"
#include "image/Dictionary.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedLanguages.h"
#include "image/SegmentManager.h"
#include "image/TaggedFile.h"
#include "primitives/zptime.h"
#include "variables/SystemVariableHash.h"
#include "vm/ZephVM.h"

namespace {

// Sizes of the request's tables: bucket bits and first block.
const int kVariableBits = 12;
const int kVariableBlock = 512;
const int kFunctionBits = 8;
const int kLanguageBits = 12;
const int kLanguageBlock = 8;

const int kFinal = 1;

// Deletes each `\`; nothing is unescaped.
void StripBackslashes(char* text)
{
    char* to = text;
    for (; *text; ++text)
        if (*text != '\\')
            *to++ = *text;
    *to = 0;
}

}  // namespace

CGIApplication::CGIApplication(int argc, char** argv)
    : m_filemanager(new UNIXFileManager(this)),
      m_librarymanager(new UNIXExternalLibraryManager),
      m_http_output(new CGIOutput(this)),
      m_argc(argc),
      m_argv(argv),
      m_process_id(getpid()),
      m_thread_id(m_process_id),
      m_effective_user(geteuid())
{
    m_output = m_http_output;
    m_path_info = getenv("PATH_INFO");
    m_query_string = getenv("QUERY_STRING");
    CopyArguments();
    const char* slash = strrchr(m_basename, '/');
    if (slash)
        m_basename = slash + 1;
    for (int i = 1; i < m_argument_count; ++i)
        StripBackslashes(m_arguments[i]);
    if (!getcwd(m_current_directory, sizeof m_current_directory))
        strcpy(m_current_directory, ".");
    memset(m_hostname, 0, sizeof m_hostname);
    gethostname(m_hostname, sizeof m_hostname - 1);
}

void CGIApplication::CopyArguments()
{
    m_argument_count = m_argc;
    m_arguments = new char*[size_t(m_argc) + 1];
    m_arguments_size = 0;
    for (int i = 0; i < m_argc; ++i) {
        m_arguments[i] = zeph_strdup(m_argv[i]);
        m_arguments_size += strlen(m_argv[i]) + 1;
    }
    m_arguments[m_argc] = nullptr;
    m_basename = m_argc > 0 ? m_arguments[0] : "";
}

CGIApplication::~CGIApplication()
{
    delete m_log_file;
    delete m_config;
    delete m_system_variables;
    delete m_global_variables;
    delete m_segments;
    delete m_functions;
    delete m_calls;
    delete m_commerce;
    delete m_databases;
    delete m_systems;
    delete m_languages;
    delete m_localized;
    delete m_filemanager;
    delete m_librarymanager;
    delete m_output;
    // The names of variables lie in it.
    delete m_dictionary;
    for (int i = 0; i < m_argument_count; ++i)
        delete[] m_arguments[i];
    delete[] m_arguments;
}

FileManager* CGIApplication::filemanager()
{
    return m_filemanager;
}

ExternalLibraryManager* CGIApplication::librarymanager()
{
    return m_librarymanager;
}

Config* CGIApplication::config()
{
    return m_config;
}

int CGIApplication::Go()
{
    TaggedFile image(m_filemanager);
    srand(unsigned(zp_time()));
    MakeRequestObjects(&image);
    m_http_output->SetConfig(m_config);
    String name;
    if (!Load(&image, name))
        return 1;
    MakeVM(name);
    image.Deactivate();
    m_config->AddVariables();
    OutputHeaders();
    // The deadline starts only here: the load does not count against the script.
    ResetGlobalTimeout();
    m_vm->Go();
    m_output->Flush(kFinal);
    EndVM();
    return 0;
}

// Everything up to the machine.
bool CGIApplication::Load(TaggedFile* image, String& name)
{
    if (!LoadConfiguration() || !CheckConfiguration())
        return false;
    m_filemanager->MaxFiles(m_config->value_integer(ZPCONFIG_MAX_FILES));
    m_filemanager->SecurityOptions(m_security_flags);
    File* file;
    return GetScriptInformation(&file, name) && LoadScript(file, image, name) &&
           ProcessConfiguration(name);
}

void CGIApplication::MakeRequestObjects(TaggedFile* image)
{
    m_dictionary = new Dictionary;
    m_system_variables = new SystemVariableHash(m_dictionary, kVariableBits, kVariableBlock);
    m_global_variables = new VariableHash(m_dictionary, kVariableBits, kVariableBlock);
    m_segments = new SegmentManager;
    m_functions = new FunctionManager(m_dictionary, kFunctionBits);
    m_calls = new ExternalCallManager(m_librarymanager);
    m_commerce = new CommerceLibraryManager(m_librarymanager);
    m_databases = new ExternalDatabaseLibraryManager(m_librarymanager);
    m_systems = new SystemLibraryManager(m_librarymanager);
    m_languages = new LocalizedLanguages(this, m_dictionary, image, kLanguageBits, kLanguageBlock);
    m_localized = new LocalizedDictionary;
    m_config = new ExternalConfig(this, m_calls, m_commerce, m_databases, m_systems,
                                  m_system_variables, m_global_variables);
}

void CGIApplication::MakeVM(const String& name)
{
    ZephVM* const kNoParent = nullptr;
    m_vm =
        new ZephVM(name.data(), name.length(), this, m_dictionary, m_system_variables,
                   m_global_variables, m_segments, m_functions, m_calls, m_commerce, m_databases,
                   m_languages, m_localized, heartbeat(), cancelled_flag(), exit_flag(), kNoParent);
    m_current_vm = m_vm;
}

void CGIApplication::EndVM()
{
    m_vm->Shutdown();
    m_vm = nullptr;
    m_current_vm = nullptr;
}
