#include "SettingsFile.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ErrorText.h"

namespace {

const char kFileVariable[] = "ZpCONFIG_FILE";
const char kNameBesideLibrary[] = "zeph.conf";
const char kSystemFile[] = "/etc/zeph/zeph.conf";

const int kNone = -1;

// The part of a path up to its last slash, with it; 0 for a bare name.
int DirectoryLength(const char* path)
{
    const char* slash = strrchr(path, '/');
    return slash ? int(slash - path) + 1 : 0;
}

bool IsMissing(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

}  // namespace

SettingsFile::~SettingsFile()
{
    free(m_text);
}

bool SettingsFile::Read(ErrorText* error)
{
    int descriptor = Open(error);
    if (descriptor == kNone)
        return false;
    bool success = ReadFrom(descriptor, error);
    close(descriptor);
    return success;
}

// A file that the environment names is the one that is wanted: if it is missing, to
// take another would hide the mistake.
int SettingsFile::Open(ErrorText* error)
{
    const char* named = getenv(kFileVariable);
    if (named && *named) {
        if (!SetAbsolutePath("", 0, named)) {
            error->Add("The path in ").Add(kFileVariable).Add(" is too long");
            return kNone;
        }
        int descriptor = OpenPath();
        return descriptor == kNone ? Unreadable(error) : descriptor;
    }
    if (!SetPathBesideLibrary())
        return OpenSystemFile("", error);
    int descriptor = OpenPath();
    if (descriptor != kNone)
        return descriptor;
    if (!IsMissing(errno))
        return Unreadable(error);
    char beside[kPathSize];
    memcpy(beside, m_path, strlen(m_path) + 1);
    return OpenSystemFile(beside, error);
}

// `beside` is the path that was tried in vain, or empty.
int SettingsFile::OpenSystemFile(const char* beside, ErrorText* error)
{
    SetAbsolutePath("", 0, kSystemFile);
    int descriptor = OpenPath();
    if (descriptor != kNone)
        return descriptor;
    if (!IsMissing(errno))
        return Unreadable(error);
    error->Add("No settings file: ").Add(kFileVariable).Add(" is not set, and there is neither ");
    if (*beside)
        error->Path(beside);
    else
        error->Add("a ").Add(kNameBesideLibrary).Add(" beside the library");
    error->Add(" nor ").Path(kSystemFile);
    return kNone;
}

// Both parts may be relative to the current directory, which the runtime leaves soon.
// No printf and no copies on the stack: every request passes here, and each page that
// is touched for the first time costs more than the whole path.
bool SettingsFile::SetAbsolutePath(const char* directory, int directory_length, const char* name)
{
    const char** start = directory_length > 0 ? &directory : &name;
    int used = 0;
    if (**start != '/') {
        if (!getcwd(m_path, kPathSize - 1))
            return false;
        used = int(strlen(m_path));
        m_path[used++] = '/';
    }
    if (strncmp(*start, "./", 2) == 0) {
        *start += 2;
        if (directory_length > 0)
            directory_length -= 2;
    }
    int name_length = int(strnlen(name, kPathSize));
    if (used + directory_length + name_length >= kPathSize)
        return false;
    memcpy(m_path + used, directory, size_t(directory_length));
    memcpy(m_path + used + directory_length, name, size_t(name_length) + 1);
    return true;
}

// Any address within the library tells its path; that of an exported function would be
// a symbol for the loader to look up in every request.
bool SettingsFile::SetPathBesideLibrary()
{
    Dl_info library;
    if (!dladdr(kNameBesideLibrary, &library) || !library.dli_fname)
        return false;
    return SetAbsolutePath(library.dli_fname, DirectoryLength(library.dli_fname),
                           kNameBesideLibrary);
}

// Does not wait for a writer, if someone has put a pipe there.
int SettingsFile::OpenPath() const
{
    return open(m_path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

bool SettingsFile::ReadFrom(int descriptor, ErrorText* error)
{
    struct stat status;
    if (fstat(descriptor, &status) != 0) {
        Unreadable(error);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        error->Path(m_path).Add(": expected a regular file");
        return false;
    }
    if (status.st_size > kLargest) {
        error->Path(m_path).Add(": the file is too large; at most ").Add(int(kLargest));
        error->Add(" bytes are read");
        return false;
    }
    return Fill(descriptor, status.st_size, error);
}

// One read, as long as the file does not change its size meanwhile.
bool SettingsFile::Fill(int descriptor, long size, ErrorText* error)
{
    m_text = static_cast<char*>(malloc(size_t(size) + 1));
    if (!m_text) {
        Unreadable(error);
        return false;
    }
    while (m_length < size) {
        ssize_t count = read(descriptor, m_text + m_length, size_t(size - m_length));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            Unreadable(error);
            return false;
        }
        if (count == 0)
            break;
        m_length += int(count);
    }
    m_text[m_length] = 0;
    return true;
}

// Tells the reason of the system; gives kNone.
int SettingsFile::Unreadable(ErrorText* error) const
{
    const char* reason = strerror(errno);
    error->Path(m_path).Add(": the settings file cannot be read: ").Add(reason);
    return kNone;
}

char* SettingsFile::Below(const char* path, int* length) const
{
    size_t directory = size_t(DirectoryLength(m_path));
    size_t name = strlen(path);
    char* result = static_cast<char*>(malloc(directory + name + 1));
    if (!result)
        return nullptr;
    memcpy(result, m_path, directory);
    memcpy(result + directory, path, name + 1);
    *length = int(directory + name);
    return result;
}
