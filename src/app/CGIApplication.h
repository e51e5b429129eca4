#ifndef ZEPH_APP_CGIAPPLICATION_H
#define ZEPH_APP_CGIAPPLICATION_H

#include "app/Monitor.h"
#include "app/UNIXApplication.h"
#include "variables/Variable.h"

class Dictionary;
class ExternalCallManager;
class ExternalConfig;
class File;
class FunctionManager;
class HTTPOutput;
class LocalizedDictionary;
class LocalizedLanguages;
class SegmentManager;
class SystemVariableHash;
class TaggedFile;
class UNIXExternalLibraryManager;
class UNIXFileManager;
class VariableHash;

// One process that serves one request of a web server: it finds and loads the
// script, runs it and sends the response.
//
// Owns every per-request object. Go does all the work on the main thread; the
// heartbeat thread and the signal handler call only Heartbeat and Cancelled, which
// take the monitor. Error texts end in the page, headers first.
class CGIApplication : public UNIXApplication {
public:
    // `argv` is the process's own and may be written over by SetProcessName.
    CGIApplication(int argc, char** argv);
    ~CGIApplication() override;

    // Serves the request: the exit status of the process, 0 when the script ran,
    // whatever came of it, and 1 when something kept it from starting.
    int Go();
    // Stops the run: the client is gone or a signal arrived.
    void Cancelled();
    int ConfigurationError(const String& message);
    // The machine that runs at the moment, and that a sleep keeps alive; null for none.
    ZephVM* current_vm() const { return m_current_vm; }

    FileManager* filemanager() override;
    ExternalLibraryManager* librarymanager() override;
    CommerceLibraryManager* commercemanager() override { return m_commerce; }
    ExternalDatabaseLibraryManager* databasemanager() override { return m_databases; }
    SystemLibraryManager* systemlibrarymanager() override { return m_systems; }
    Config* config() override;
    const char* basename() override { return m_basename; }
    const char* hostname() override { return m_hostname; }
    Output* output() override { return m_output; }
    Output* SetOutput(Output* output) override;
    char* MakeSessionID(int* length) override;
    void ResetGlobalTimeout() override;
    int processid() override { return m_process_id; }
    int threadid() override { return m_thread_id; }
    const char* lockhostname() override;
    int lockexpiration() override;
    int OutputError(const char* text, int length) override;
    void Sleep(int milliseconds) override;
    void AsynchronousSleep(long until, Zeph_PathType type, const char* path) override;
    void Heartbeat(long now) override;
    const char* process_name() override;
    void SetProcessName(const char* name, int length) override;

protected:
    bool m_is_task = false;  // this process is an asynchronous task

private:
    void CopyArguments();

    // The steps of Go. Each is false after an error, which has been shown.
    void MakeRequestObjects(TaggedFile* image);
    bool Load(TaggedFile* image, String& name);
    bool LoadConfiguration();
    bool CheckConfiguration();
    bool GetScriptInformation(File** file, String& name);
    bool LoadScript(File* file, TaggedFile* image, const String& name);
    bool ProcessConfiguration(const String& name);
    void MakeVM(const String& name);
    void EndVM();

    // Their parts.
    const char* RequestedName(int* length);
    bool InitializeScriptDirectory(String& name);
    bool UserDirectory(String& name, String* directory);
    bool OpenScript(File** file, String& name);
    bool ReadImage(TaggedFile* image);
    bool SwitchUser(const String& name);
    bool OutputHeaders();
    void OutputCookie();
    void WaitForTaskEvent(long until, Zeph_PathType type, const char* path);

    ExternalConfig* m_config = nullptr;            // owned
    UNIXFileManager* m_filemanager;                // owned
    UNIXExternalLibraryManager* m_librarymanager;  // owned
    Output* m_output;                              // owned
    HTTPOutput* m_http_output;                     // the first output

    int m_argc;
    char** m_argv;       // the process's own
    char** m_arguments;  // owned copies
    int m_argument_count;
    size_t m_arguments_size;  // of the originals, a NUL for each included
    const char* m_basename;   // in m_arguments
    char m_current_directory[512];
    char m_hostname[256];
    const char* m_path_info;     // in the environment; null when unset
    const char* m_query_string;  // in the environment; null when unset

    int m_process_id;
    int m_thread_id;
    unsigned int m_effective_user;
    int m_script_owner = -1;
    Monitor m_monitor;

    int m_security_flags = 0;
    const char* m_dir_zeph = nullptr;  // the configuration's
    const char* m_dir_user = nullptr;  // the configuration's
    String m_user_name;                // of a ~user script
    File* m_log_file = nullptr;        // owned
    bool m_headers_output = false;
    ZephVM* m_vm = nullptr;          // the request's, ended by Shutdown
    ZephVM* m_current_vm = nullptr;  // the one that a sleep pulses

    Dictionary* m_dictionary = nullptr;  // owned, as all that follow
    SystemVariableHash* m_system_variables = nullptr;
    VariableHash* m_global_variables = nullptr;
    SegmentManager* m_segments = nullptr;
    FunctionManager* m_functions = nullptr;
    ExternalCallManager* m_calls = nullptr;
    CommerceLibraryManager* m_commerce = nullptr;
    ExternalDatabaseLibraryManager* m_databases = nullptr;
    SystemLibraryManager* m_systems = nullptr;
    LocalizedLanguages* m_languages = nullptr;
    LocalizedDictionary* m_localized = nullptr;
};

#endif
