#include "files/UNIXFile.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/UNIXFileManager.h"

namespace {

const long kWholeFile = -1;

int FlagsForOpeningAgain(int flags)
{
    return flags & ~(O_CREAT | O_TRUNC | O_EXCL);
}

}  // namespace

UNIXFile::UNIXFile(UNIXFileManager* manager, const char* path, int descriptor, int flags)
    : File(manager, path), m_descriptor(descriptor), m_flags(FlagsForOpeningAgain(flags))
{
}

UNIXFile::UNIXFile(UNIXFileManager* manager, Zeph_PathType type, const char* path, int descriptor,
                   int flags)
    : File(manager, type, path), m_descriptor(descriptor), m_flags(FlagsForOpeningAgain(flags))
{
}

UNIXFile::~UNIXFile()
{
    if (m_mapping)
        munmap(m_mapping, m_mapping_length);
    if (m_descriptor >= 0)
        close(m_descriptor);
    m_manager->FileClosed(this);
}

UNIXFileManager* UNIXFile::manager() const
{
    return static_cast<UNIXFileManager*>(m_manager);
}

// Sees to it that there is a descriptor; head of every operation that uses one.
bool UNIXFile::Ready()
{
    if (m_descriptor >= 0)
        return true;
    if (m_manager->ActivateFile(this))
        return true;
    Error(m_manager->error());
    return false;
}

// Takes the system's text; to be called while errno is untouched.
bool UNIXFile::Failed()
{
    Error(m_manager->lasterror());
    return false;
}

// The answer to a length that makes no sense.
int UNIXFile::Refused()
{
    Error("Invalid argument");
    return -1;
}

bool UNIXFile::Status(struct stat* status)
{
    if (!Ready())
        return false;
    return fstat(m_descriptor, status) == 0 || Failed();
}

bool UNIXFile::OwnerID(int* id)
{
    struct stat status;
    if (!Status(&status))
        return false;
    *id = static_cast<int>(status.st_uid);
    return true;
}

bool UNIXFile::GroupID(int* id)
{
    struct stat status;
    if (!Status(&status))
        return false;
    *id = static_cast<int>(status.st_gid);
    return true;
}

int UNIXFile::Read(char* target, int length)
{
    if (!Ready())
        return -1;
    if (length < 0)
        return Refused();
    ssize_t count = read(m_descriptor, target, static_cast<size_t>(length));
    if (count < 0)
        Failed();
    return static_cast<int>(count);
}

int UNIXFile::Write(const char* source, int length)
{
    if (!Ready())
        return -1;
    if (length < 0)
        return Refused();
    ssize_t count = write(m_descriptor, source, static_cast<size_t>(length));
    if (count < 0)
        Failed();
    return static_cast<int>(count);
}

long UNIXFile::Seek(long offset)
{
    if (!Ready())
        return -1;
    long position = lseek(m_descriptor, offset, SEEK_SET);
    if (position < 0)
        Failed();
    return position;
}

long UNIXFile::Tell()
{
    if (!Ready())
        return -1;
    long position = lseek(m_descriptor, 0, SEEK_CUR);
    if (position < 0)
        Failed();
    return position;
}

long UNIXFile::Length()
{
    struct stat status;
    return Status(&status) ? status.st_size : -1;
}

bool UNIXFile::IsDirectory(bool* is_directory)
{
    struct stat status;
    if (!Status(&status))
        return false;
    *is_directory = S_ISDIR(status.st_mode);
    return true;
}

bool UNIXFile::LockRange(short kind, long start, long length)
{
    if (!Ready())
        return false;
    struct flock range = {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    return fcntl(m_descriptor, F_SETLKW, &range) == 0 || Failed();
}

bool UNIXFile::Lock(FileLockType type, long start, long length)
{
    return LockRange(type == kWriteLock ? F_WRLCK : F_RDLCK, start, length);
}

bool UNIXFile::Release(long start, long length)
{
    return LockRange(F_UNLCK, start, length);
}

const char* UNIXFile::Map(long offset, long length)
{
    if (!Ready())
        return nullptr;
    if (length == kWholeFile && (length = Length()) < 0)
        return nullptr;
    if (length <= 0) {
        Refused();
        return nullptr;
    }
    size_t size = static_cast<size_t>(length);
    void* mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, m_descriptor, offset);
    if (mapping == MAP_FAILED) {
        Failed();
        return nullptr;
    }
    Release();
    m_mapping = mapping;
    m_mapping_length = size;
    return static_cast<const char*>(mapping);
}

bool UNIXFile::Release()
{
    if (!m_mapping)
        return true;
    void* mapping = m_mapping;
    m_mapping = nullptr;
    return munmap(mapping, m_mapping_length) == 0 || Failed();
}

int UNIXFile::OpenAgain(String& error)
{
    int descriptor;
    if (m_has_type) {
        descriptor = manager()->OpenContained(m_type, m_path.data(), m_flags);
        if (descriptor < 0)
            error = m_manager->error();
    } else {
        descriptor = open(m_path.data(), m_flags | O_CLOEXEC);
        if (descriptor < 0)
            error.assign(m_manager->lasterror(), -1);
    }
    return descriptor;
}

bool UNIXFile::Activate(String& error)
{
    HeldDescriptor descriptor(OpenAgain(error));
    if (descriptor.get() < 0)
        return false;
    if (m_offset != 0 && lseek(descriptor.get(), m_offset, SEEK_SET) < 0) {
        error.assign("Unable to restore file position during activation", -1);
        return false;
    }
    m_descriptor = descriptor.release();
    return true;
}

void UNIXFile::Deactivate()
{
    if (m_descriptor < 0)
        return;
    // What has no position, as a pipe, goes on where it stands.
    long offset = lseek(m_descriptor, 0, SEEK_CUR);
    m_offset = offset < 0 ? 0 : offset;
    // The descriptor is gone even when the system has a late write to complain of.
    if (close(m_descriptor) != 0)
        Failed();
    m_descriptor = -1;
}
