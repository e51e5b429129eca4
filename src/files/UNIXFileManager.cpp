#include "files/UNIXFileManager.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/UNIXFile.h"

UNIXFileManager::UNIXFileManager(ZephApplication* application) : FileManager(application) {}

UNIXFileManager::UNIXFileManager(ZephApplication* application, const UNIXFileManager& other)
    : FileManager(application)
{
    MaxFiles(other.max_files());
    SecurityOptions(other.security_options());
    CopyRoot(&m_data, other.m_data);
    CopyRoot(&m_script, other.m_script);
    CopyRoot(&m_temporary, other.m_temporary);
}

UNIXFileManager::~UNIXFileManager() = default;

// A directory whose descriptor cannot be had again stays configured in the copy, and
// everything under it fails: were it forgotten, temporary files would go elsewhere.
void UNIXFileManager::CopyRoot(Root* root, const Root& other)
{
    if (!other.path.get())
        return;
    root->path.reset(new UNIXFilePath(*other.path));
    root->descriptor.reset(fcntl(other.descriptor.get(), F_DUPFD_CLOEXEC, 0));
}

const char* UNIXFileManager::lasterror()
{
    const char* text = strerror(errno);
    return text[0] ? text : "Unknown error";
}

int UNIXFileManager::OpenMode(int mode)
{
    int flags = O_RDONLY;
    if (mode & kOpenWrite)
        flags = mode & kOpenRead ? O_RDWR : O_WRONLY;
    if (mode & kOpenCreate)
        flags |= O_CREAT;
    if (mode & kOpenTruncate)
        flags |= O_TRUNC;
    if (mode & kOpenAppend)
        flags |= O_APPEND;
    if (mode & kOpenExclusive)
        flags |= O_EXCL;
    return flags;
}

File* UNIXFileManager::Open(const char* path, int mode)
{
    if (!FreeFileSpace(1))
        return nullptr;
    int flags = OpenMode(mode);
    int descriptor = open(path, flags | O_CLOEXEC, kCreationMode);
    if (descriptor < 0) {
        SystemFailed();
        return nullptr;
    }
    File* file = new UNIXFile(this, path, descriptor, flags);
    return mode & kOpenOutsidePool ? file : FileOpened(file);
}

File* UNIXFileManager::Open(Zeph_PathType type, const char* path, int mode)
{
    int flags = OpenMode(mode);
    int descriptor = OpenContained(type, path, flags);
    if (descriptor < 0)
        return nullptr;
    File* file = new UNIXFile(this, type, path, descriptor, flags);
    return mode & kOpenOutsidePool ? file : FileOpened(file);
}

bool UNIXFileManager::Stat(Zeph_PathType type, const char* path, struct stat* status)
{
    HeldDescriptor descriptor(OpenContained(type, path, OpenMode(kOpenRead)));
    if (descriptor.get() < 0)
        return false;
    return fstat(descriptor.get(), status) == 0 || SystemFailed();
}

bool UNIXFileManager::Length(Zeph_PathType type, const char* path, long* length)
{
    struct stat status;
    if (!Stat(type, path, &status))
        return false;
    *length = status.st_size;
    return true;
}

bool UNIXFileManager::IsDirectory(Zeph_PathType type, const char* path, bool* is_directory)
{
    struct stat status;
    if (!Stat(type, path, &status))
        return false;
    *is_directory = S_ISDIR(status.st_mode);
    return true;
}

bool UNIXFileManager::ModifiedTime(Zeph_PathType type, const char* path, long* time)
{
    struct stat status;
    if (!Stat(type, path, &status))
        return false;
    *time = status.st_mtime;
    return true;
}

char UNIXFileManager::pathseparator()
{
    return '/';
}

int UNIXFileManager::SaveCurrentDirectory()
{
    int descriptor = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        SystemFailed();
    return descriptor;
}

bool UNIXFileManager::RestoreCurrentDirectory(int saved)
{
    HeldDescriptor descriptor(saved);
    return fchdir(descriptor.get()) == 0 || SystemFailed();
}
