// What the configuration decides about a request: the library that supplies it, the
// directories, the user that the script runs as, and how errors of all this are shown.

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/CGIApplication.h"
#include "app/HTTPOutput.h"
#include "config/ExternalConfig.h"
#include "files/File.h"
#include "files/UNIXFileManager.h"

namespace {

const char kLocalLibrary[] = "./libzephconfig.so";
const char kLibraryVariable[] = "ZpCONFIG_LIBRARY";

const int kLogMode = kOpenWrite | kOpenCreate | kOpenAppend;

}  // namespace

// A library of an ordinary user could run anything in everybody's requests. One that
// stands in the current directory decides: the environment is not tried behind it.
bool CGIApplication::LoadConfiguration()
{
    static const char prefix[] = "Error loading configuration library: ";
    String path = kLocalLibrary;
    struct stat status;
    if (stat(path.data(), &status) != 0) {
        path = getenv(kLibraryVariable);
        if (path.length() == 0 || stat(path.data(), &status) != 0)
            return ConfigurationError(String(prefix) + "Unable to locate/load libzephconfig.so");
    }
    // The loader would look for a bare name elsewhere, and find another file than the
    // one whose owner is tested here.
    if (!path.contains('/'))
        path.prepend("./");
    if (status.st_uid != 0 && status.st_uid != m_effective_user)
        return ConfigurationError(String(prefix) + "UID mismatch");
    const int kNoFlags = 0;
    if (m_config->Load(path.data(), kNoFlags, m_arguments, m_argument_count))
        return true;
    return ConfigurationError(prefix + m_config->error());
}

bool CGIApplication::CheckConfiguration()
{
    m_security_flags = m_config->value_integer(ZPCONFIG_FLAGS_SECURITY);
    m_dir_zeph = m_config->value_string(ZPCONFIG_DIR_ZEPH, nullptr);
    const char* dir_temp = m_config->value_string(ZPCONFIG_DIR_TEMP, nullptr);
    m_dir_user = m_config->value_string(ZPCONFIG_DIR_USER, nullptr);
    if (!m_dir_zeph)
        return ConfigurationError("zephroot is not defined");
    if (!dir_temp || m_filemanager->InitializeTempDirectory(dir_temp))
        return true;
    return ConfigurationError(m_filemanager->error());
}

bool CGIApplication::ProcessConfiguration(const String& name)
{
    const char* dir_data = m_config->value_string(ZPCONFIG_DIR_DATA, nullptr);
    const char* log_file = m_config->value_string(ZPCONFIG_LOG_FILE, nullptr);
    if (!dir_data)
        return ConfigurationError("No data directory is defined");
    if (!m_filemanager->InitializeDataDirectory(dir_data))
        return ConfigurationError(m_filemanager->error());
    if (!SwitchUser(name))
        return false;
    // A log file that cannot be opened leaves logging off.
    if (log_file && *log_file)
        m_log_file = m_filemanager->Open(kDataPath, log_file, kLogMode);
    m_http_output->SetSizes(m_config->value_integer(ZPCONFIG_BUFSZ_OUTPUT),
                            m_config->value_integer(ZPCONFIG_BUFSZ_OUTPUT_FLUSH));
    return true;
}

// A program that root started runs each script as the script's owner.
bool CGIApplication::SwitchUser(const String& name)
{
    if (m_effective_user != 0)
        return true;
    if (m_script_owner == 0)
        return Error("'" + name + "' is owned by root");
    if (setuid(uid_t(m_script_owner)) != 0)
        return Error("Unable to switch to user mode");
    return true;
}

int CGIApplication::ConfigurationError(const String& message)
{
    String text = "Configuration Error: " + message + "<br>";
    int length;
    const char* administrator = m_config->value_string(ZPCONFIG_INFO_SERVERADMIN, &length);
    if (administrator && length > 0)
        text += "Please contact the server administrator: " + String(administrator, length);
    return OutputError(text.data(), text.length());
}
