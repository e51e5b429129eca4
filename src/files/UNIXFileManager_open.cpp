#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/ContainedName.h"

namespace {

// O_NOFOLLOW meets a link: some systems answer with the one, some with the other.
bool IsLinkAnswer(int reason)
{
    return reason == EMLINK || reason == ELOOP;
}

}  // namespace

// One try to open a name.
struct UNIXFileManager::OpenAttempt {
    int flags;     // of open()
    bool creates;  // the file was missing: nobody else may be quicker
    uid_t owner;   // of the file that was there, where owners matter
};

bool UNIXFileManager::OwnerFailed()
{
    return Failed(
        "The specified path references a symbolic link to a directory or file owned by a "
        "different user");
}

UNIXFileManager::Step UNIXFileManager::OwnerStep()
{
    OwnerFailed();
    return Step::kFailed;
}

// To be called while errno is untouched.
UNIXFileManager::Step UNIXFileManager::SystemStep()
{
    Step step = errno == ENOENT ? Step::kMissing : Step::kFailed;
    SystemFailed();
    return step;
}

bool UNIXFileManager::LookBeforeOpen(const ContainedName& name, OpenAttempt* attempt)
{
    attempt->creates = false;
    if (!name.owners_matter())
        return true;
    struct stat status;
    if (lstat(name.name(), &status) == 0) {
        attempt->owner = status.st_uid;
        return name.IsExpected(status) || OwnerFailed();
    }
    if (errno != ENOENT || !(attempt->flags & O_CREAT))
        return SystemFailed();
    attempt->creates = true;
    return true;
}

// What a link leads to was there, so it is not created: should it vanish meanwhile,
// nothing takes its place. A directory is refused as the system does for O_CREAT.
bool UNIXFileManager::CreateNoMore(const ContainedName& name, int flags, OpenAttempt* attempt)
{
    attempt->flags = flags & ~O_CREAT;
    if (!(flags & O_CREAT) || !name.leads_to_directory())
        return true;
    errno = EISDIR;
    return SystemFailed();
}

// A file that somebody has put in the place of the one looked at is given back.
int UNIXFileManager::Opened(const ContainedName& name, const OpenAttempt& attempt, int descriptor)
{
    HeldDescriptor held(descriptor);
    if (attempt.creates || !name.owners_matter())
        return held.release();
    struct stat status;
    bool fits = false;
    if (fstat(descriptor, &status) != 0)
        SystemFailed();
    else
        fits = (status.st_uid == attempt.owner && name.IsExpected(status)) || OwnerFailed();
    return fits ? held.release() : -1;
}

int UNIXFileManager::OpenContained(Zeph_PathType type, const char* path, int flags)
{
    ContainedName name(this);
    if (!FreeFileSpace(1) || name.Enter(type, path) != Step::kTaken)
        return -1;
    OpenAttempt attempt = {flags, false, 0};
    bool look = true;
    for (;;) {
        if (look && !LookBeforeOpen(name, &attempt))
            return -1;
        int how = attempt.flags | (attempt.creates ? O_EXCL : 0);
        int descriptor = open(name.name(), how | O_NOFOLLOW | O_CLOEXEC, kCreationMode);
        if (descriptor >= 0)
            return Opened(name, attempt, descriptor);
        look = true;
        if (errno == EEXIST && attempt.creates)
            continue;
        if (!IsLinkAnswer(errno)) {
            SystemFailed();
            return -1;
        }
        // A target in the same directory keeps the owner that was looked at, which
        // is that of the link: the target must have the same one.
        if (name.Follow(&look) != Step::kTaken || !CreateNoMore(name, flags, &attempt))
            return -1;
    }
}

bool UNIXFileManager::Exists(Zeph_PathType type, const char* path, bool* exists)
{
    *exists = false;
    ContainedName name(this);
    bool moved = false;
    Step step = name.Enter(type, path);
    while (step == Step::kTaken) {
        struct stat status;
        if (lstat(name.name(), &status) != 0)
            step = SystemStep();
        else if (!name.IsExpected(status))
            step = OwnerStep();
        else if (S_ISLNK(status.st_mode))
            step = name.Follow(&moved);
        else
            return *exists = true;
    }
    return step == Step::kMissing;
}
