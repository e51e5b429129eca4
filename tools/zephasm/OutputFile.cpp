#include "zephasm/OutputFile.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/FileDescriptor.h"

namespace {

const int kMostLinks = 40;

bool Failed(String* error)
{
    *error = strerror(errno);
    return false;
}

bool IsSameFile(const struct stat& left, const struct stat& right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

// Puts the target of a link for its path; false when there is no link.
bool FollowLink(String* path)
{
    char target[PATH_MAX];
    ssize_t length = readlink(path->data(), target, sizeof target);
    if (length <= 0 || length == ssize_t(sizeof target))
        return false;
    const char* slash = target[0] == '/' ? nullptr : strrchr(path->data(), '/');
    int folder = slash ? int(slash - path->data()) + 1 : 0;
    *path = String(path->data(), folder) + String(target, int(length));
    return true;
}

// What a new file gets.
mode_t UsualMode()
{
    mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// As far as the system lets us; without the owner, no rights that were his alone.
void TakeOwnerAndMode(int descriptor, const struct stat& old)
{
    mode_t kept = 0777;
    if (fchown(descriptor, old.st_uid, old.st_gid) == 0)
        kept = 07777;
    else if (fchown(descriptor, uid_t(-1), old.st_gid) != 0)
        kept = 0707;
    fchmod(descriptor, old.st_mode & kept);
}

bool WriteAll(int descriptor, const char* bytes, size_t count)
{
    while (count > 0) {
        ssize_t written = write(descriptor, bytes, count);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            bytes += written;
            count -= size_t(written);
        }
    }
    return true;
}

}  // namespace

OutputFile::~OutputFile()
{
    if (m_temporary)
        unlink(m_temporary);
    free(m_temporary);
}

bool OutputFile::Start(String* error)
{
    struct stat target;
    m_exists = stat(m_target.data(), &m_old) == 0;
    if (!m_exists && errno != ENOENT)
        return Failed(error);
    String path = m_target;
    for (int links = 0; links < kMostLinks && FollowLink(&path);)
        ++links;
    // Some links of the system lead to a file that no path leads to.
    m_is_copied = m_exists && (!S_ISREG(m_old.st_mode) || stat(path.data(), &target) != 0 ||
                               !IsSameFile(m_old, target));
    if (m_is_copied) {
        const char* folder = getenv("TMPDIR");
        return MakeTemporary(String(folder && *folder ? folder : P_tmpdir) + "/zephasm", error);
    }
    m_target = path;
    return MakeTemporary(m_target, error);
}

bool OutputFile::MakeTemporary(const String& prefix, String* error)
{
    m_temporary = strdup((prefix + ".XXXXXX").data());
    int descriptor = m_temporary ? mkstemp(m_temporary) : -1;
    if (descriptor < 0) {
        Failed(error);
        free(m_temporary);
        m_temporary = nullptr;
        return false;
    }
    close(descriptor);
    return true;
}

bool OutputFile::Finish(String* error)
{
    if (m_is_copied)
        return CopyToTarget(error);
    // Last of all: a mode that forbids writing would forbid making the file, too.
    HeldDescriptor made(open(m_temporary, O_RDONLY | O_CLOEXEC));
    if (m_exists)
        TakeOwnerAndMode(made.get(), m_old);
    else
        fchmod(made.get(), UsualMode());
    if (rename(m_temporary, m_target.data()) != 0)
        return Failed(error);
    free(m_temporary);
    m_temporary = nullptr;
    return true;
}

bool OutputFile::CopyToTarget(String* error)
{
    HeldDescriptor from(open(m_temporary, O_RDONLY | O_CLOEXEC));
    // A reader who goes away may end this process with the next write.
    unlink(m_temporary);
    free(m_temporary);
    m_temporary = nullptr;
    HeldDescriptor to(open(m_target.data(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (from.get() < 0 || to.get() < 0)
        return Failed(error);
    char block[16384];
    ssize_t got;
    while ((got = read(from.get(), block, sizeof block)) > 0)
        if (!WriteAll(to.get(), block, size_t(got)))
            return Failed(error);
    return got == 0 || Failed(error);
}
