// How a request finds its script: the name in the environment or the arguments,
// the directory that it stands in, and the image that is read from its file.

#include <pwd.h>
#include <string.h>

#include "app/CGIApplication.h"
#include "config/ExternalConfig.h"
#include "files/File.h"
#include "files/UNIXFileManager.h"
#include "image/Dictionary.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedLanguages.h"
#include "image/SegmentManager.h"
#include "image/TaggedFile.h"
#include "variables/SystemVariableHash.h"
#include "variables/encoders.h"

namespace {

const int kSystemVariables = SectionTag('s', 'y', 's', 't');
const int kGlobalVariables = SectionTag('g', 'l', 'b', 'l');

String Unable(const String& name, const String& reason)
{
    return "Unable to execute '" + name + "': " + reason;
}

String Encoded(const String& text)
{
    int length, capacity;
    char* encoded = EncodeEntities(text.data(), text.length(), &length, &capacity);
    return String(encoded, length, capacity);
}

}  // namespace

// Three forms: a path that the server routed here, a query string that begins with
// the script's name, or a command argument.
const char* CGIApplication::RequestedName(int* length)
{
    const char* name;
    if (m_path_info) {
        name = m_path_info[0] == '/' ? m_path_info + 1 : m_path_info;
    } else if (m_argument_count >= 2) {
        name = m_arguments[1];
    } else if (m_query_string) {
        *length = int(strcspn(m_query_string, "+"));
        return m_query_string;
    } else {
        return m_config->value_string(ZPCONFIG_DEFAULT_FILE, length);
    }
    *length = int(strlen(name));
    return name;
}

bool CGIApplication::GetScriptInformation(File** file, String& name)
{
    int length;
    const char* requested = RequestedName(&length);
    name.assign(requested, length);
    return InitializeScriptDirectory(name) && OpenScript(file, name);
}

// A name that begins with '~' names a user, and stands below that user's home; one
// that names no file behind the user is left without a directory, which is refused.
bool CGIApplication::InitializeScriptDirectory(String& name)
{
    String home;
    const char* directory = m_dir_zeph;
    const char* user = nullptr;
    if (name.matches('~', 0)) {
        directory = nullptr;
        if (name.length() >= 2 && strchr(name.data(), '/')) {
            if (!UserDirectory(name, &home))
                return false;
            directory = home.data();
            user = m_user_name.data();
        }
    }
    if (m_filemanager->InitializeScriptDirectory(directory, user))
        return true;
    return ConfigurationError(m_filemanager->error());
}

// Cuts the user off the name.
bool CGIApplication::UserDirectory(String& name, String* directory)
{
    int slash = int(strchr(name.data(), '/') - name.data());
    m_user_name = name.at(1, slash);
    const passwd* user = getpwnam(m_user_name.data());
    if (!user)
        return ConfigurationError("Invalid user '" + m_user_name + "'");
    *directory = String(user->pw_dir) + "/" + m_dir_user;
    name = name.at(slash + 1, name.length());
    return true;
}

// A directory stands for its default file, however many times.
bool CGIApplication::OpenScript(File** file, String& name)
{
    for (;;) {
        File* opened = m_filemanager->Open(kScriptPath, name.data(), kOpenRead);
        if (!opened)
            return Error(Unable(Encoded(name), m_filemanager->error()));
        bool is_directory;
        if (!opened->IsDirectory(&is_directory)) {
            String reason = opened->error();
            delete opened;
            return Error(Unable(Encoded(name), reason));
        }
        if (!is_directory) {
            *file = opened;
            return true;
        }
        delete opened;
        if (name.length() == 0 || !name.matches('/', name.length() - 1))
            name += '/';
        name += m_config->value_string(ZPCONFIG_DEFAULT_FILE, nullptr);
    }
}

bool CGIApplication::LoadScript(File* file, TaggedFile* image, const String& name)
{
    if (!m_config->LoadScriptConfig(name.data(), file)) {
        delete file;
        return ConfigurationError(m_config->error());
    }
    if (!file->OwnerID(&m_script_owner) || !image->Open(name.data(), file)) {
        delete file;
        return Error(Unable(name, image->error()));
    }
    if (ReadImage(image))
        return true;
    return Error(Unable(name, TaggedFile::kCorrupt));
}

bool CGIApplication::ReadImage(TaggedFile* image)
{
    if (!m_dictionary->Read(image))
        return false;
    m_dictionary->SetPermanent();
    return m_system_variables->Read(image, kSystemVariables) &&
           m_global_variables->Read(image, kGlobalVariables) && m_languages->Read() &&
           m_localized->Read(image) && m_segments->Read(image) && m_functions->Read(image);
}
