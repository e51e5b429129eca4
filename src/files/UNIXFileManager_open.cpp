#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/HeldText.h"
#include "files/UNIXFileManager.h"
#include "variables/HashTable.h"

namespace {

const int kCreationMode = 0666;
const int kLongestLink = 1023;  // bytes of a link's text

const int kOwner = 1;
const int kWithCase = 0;
const int kSeenBucketBits = 6;
const int kSeenBlock = 8;

// O_NOFOLLOW meets a link: some systems answer with the one, some with the other.
bool IsLinkAnswer(int reason)
{
    return reason == EMLINK || reason == ELOOP;
}

// What makes two names the same file.
struct FileIdentity {
    unsigned long long device;
    unsigned long long inode;
};

class SeenFiles : public HashTable<FileIdentity> {
public:
    SeenFiles() : HashTable<FileIdentity>(kOwner, kWithCase, kSeenBucketBits, kSeenBlock) {}

    // Enters the file; false when it was there before.
    bool Add(const struct stat& status)
    {
        FileIdentity identity = {status.st_dev, status.st_ino};
        if (Find(&identity))
            return false;
        Insert(new FileIdentity(identity));
        return true;
    }

protected:
    const char* Key(FileIdentity* element, int* length) override
    {
        *length = sizeof *element;
        return reinterpret_cast<const char*>(element);
    }
};

}  // namespace

// The last element of a contained path, in the directory that the process has been
// brought to, and the way from link to link from there. Failures leave their text in
// the manager.
class UNIXFileManager::ContainedName {
public:
    explicit ContainedName(UNIXFileManager* manager) : m_manager(manager) {}

    // Goes to the directory of the path.
    bool Enter(Zeph_PathType type, const char* path)
    {
        if (!m_manager->FreeFileSpace(1) || !m_manager->ContainedPathSettings(type, &m_settings))
            return false;
        UNIXFilePath parsed(path);
        HeldText directory(parsed.Collapsed_Directory());
        if (!m_manager->RealizeContainedPath(type, m_settings, directory.get(), m_directory.out()))
            return false;
        m_name.reset(zeph_strdup(parsed.Collapsed_Filename()));
        return true;
    }

    const char* name() const { return m_name.get(); }

    // Whether a link and what it leads to must have one owner.
    bool owners_matter() const { return m_settings.follow_links && !m_settings.ignore_owner; }

    // Where the name is a link: takes the name that it holds instead and, if that is
    // one in another directory, goes there; `moved` tells which.
    bool Follow(bool* moved)
    {
        char target[kLongestLink + 1];
        if (!m_settings.follow_links)
            return m_manager->RealizeFailed(kRealizeLink);
        uid_t owner = 0;
        if (!ReadLink(target, &owner) || !CheckTarget(target, owner))
            return false;
        *moved = strchr(target, '/') != nullptr;
        if (*moved)
            return MoveTo(target);
        m_name.reset(zeph_strdup(target));
        return true;
    }

private:
    // The link is held while it is read, so that its text and its owner are those of
    // one link, whoever swaps the name meanwhile. A text that does not fit is refused:
    // a cut one names some other file.
    bool ReadLink(char* target, uid_t* owner)
    {
        HeldDescriptor link(open(name(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        struct stat status;
        if (link.get() < 0 || fstat(link.get(), &status) != 0)
            return m_manager->SystemFailed();
        ssize_t length = -1;
        errno = EINVAL;
        if (S_ISLNK(status.st_mode))
            length = readlinkat(link.get(), "", target, kLongestLink + 1);
        if (length > kLongestLink)
            errno = ENAMETOOLONG;
        if (length < 0 || length > kLongestLink)
            return m_manager->SystemFailed();
        target[length] = 0;
        *owner = status.st_uid;
        return true;
    }

    bool CheckTarget(const char* target, uid_t link_owner)
    {
        struct stat status;
        if (lstat(target, &status) != 0)
            return m_manager->SystemFailed();
        if (!m_seen.Add(status))
            return m_manager->Failed("The specified path references a recursive symbolic link");
        return !owners_matter() || link_owner == status.st_uid || m_manager->OwnerFailed();
    }

    // The directory of a link's target is not held against the root, on purpose: once
    // links are followed, one of the right owner may lead out of it.
    bool MoveTo(const char* target)
    {
        HeldPath path(target[0] == '/' ? new UNIXFilePath(target)
                                       : new UNIXFilePath(m_directory->path(), target));
        HeldText directory(path->Collapsed_Directory());
        RealizeResult result = m_manager->RealizePath(
            directory.get(), m_directory.out(), m_settings.follow_links, m_settings.ignore_owner);
        if (result != kRealized)
            return m_manager->RealizeFailed(result);
        m_name.reset(zeph_strdup(path->Collapsed_Filename()));
        return true;
    }

    UNIXFileManager* m_manager;  // borrowed
    _UNIXContainedPathSettings m_settings = {};
    HeldPath m_directory;  // where the process is
    HeldText m_name;
    SeenFiles m_seen;
};

// One try to open a name.
struct UNIXFileManager::OpenAttempt {
    int flags;
    bool creates;  // the file was missing: nobody else may be quicker
    uid_t owner;   // of the file that was there, where owners matter
};

bool UNIXFileManager::OwnerFailed()
{
    return Failed(
        "The specified path references a symbolic link to a directory or file owned by a "
        "different user");
}

bool UNIXFileManager::LookBeforeOpen(const ContainedName& name, OpenAttempt* attempt)
{
    attempt->creates = false;
    if (!name.owners_matter())
        return true;
    struct stat status;
    if (lstat(name.name(), &status) == 0) {
        attempt->owner = status.st_uid;
        return true;
    }
    if (errno != ENOENT || !(attempt->flags & O_CREAT))
        return SystemFailed();
    attempt->creates = true;
    return true;
}

// A file that somebody has put in the place of the one looked at is given back.
int UNIXFileManager::Opened(const ContainedName& name, const OpenAttempt& attempt, int descriptor)
{
    HeldDescriptor held(descriptor);
    if (attempt.creates || !name.owners_matter())
        return held.release();
    struct stat status;
    bool fits = fstat(descriptor, &status) == 0 ? status.st_uid == attempt.owner || OwnerFailed()
                                                : SystemFailed();
    return fits ? held.release() : -1;
}

int UNIXFileManager::OpenContained(Zeph_PathType type, const char* path, int flags)
{
    ContainedName name(this);
    if (!name.Enter(type, path))
        return -1;
    OpenAttempt attempt = {flags, false, 0};
    bool look = true;
    for (;;) {
        if (look && !LookBeforeOpen(name, &attempt))
            return -1;
        int descriptor =
            open(name.name(), flags | (attempt.creates ? O_EXCL : 0) | O_NOFOLLOW | O_CLOEXEC,
                 kCreationMode);
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
        if (!name.Follow(&look))
            return -1;
    }
}

bool UNIXFileManager::Exists(Zeph_PathType type, const char* path, bool* exists)
{
    *exists = false;
    ContainedName name(this);
    if (!name.Enter(type, path))
        return errno == ENOENT;
    bool moved = false;
    struct stat status;
    for (;;) {
        if (lstat(name.name(), &status) != 0)
            return errno == ENOENT || SystemFailed();
        if (!S_ISLNK(status.st_mode)) {
            *exists = true;
            return true;
        }
        if (!name.Follow(&moved))
            return errno == ENOENT;
    }
}
