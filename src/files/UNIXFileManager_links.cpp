#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/ContainedName.h"

namespace {

const int kLongestLink = 1023;  // bytes of a link's text

const int kOwner = 1;
const int kWithCase = 0;
const int kSeenBucketBits = 6;
const int kSeenBlock = 8;

const char kHereText[] = ".";

FileIdentity IdentityOf(const struct stat& status)
{
    return {status.st_dev, status.st_ino};
}

}  // namespace

SeenFiles::SeenFiles() : HashTable<FileIdentity>(kOwner, kWithCase, kSeenBucketBits, kSeenBlock) {}

bool SeenFiles::Add(const FileIdentity& identity)
{
    FileIdentity key = identity;
    if (Find(&key))
        return false;
    Insert(new FileIdentity(identity));
    return true;
}

const char* SeenFiles::Key(FileIdentity* element, int* length)
{
    *length = sizeof *element;
    return reinterpret_cast<const char*>(element);
}

UNIXFileManager::Step UNIXFileManager::ContainedName::Enter(Zeph_PathType type, const char* path)
{
    if (!m_manager->ContainedPathSettings(type, &m_settings))
        return Step::kFailed;
    UNIXFilePath parsed(path);
    HeldText directory(parsed.Collapsed_Directory());
    Step step = m_manager->EnterContained(type, m_settings, directory.get(), m_directory.out());
    if (step == Step::kTaken)
        m_name.reset(zeph_strdup(parsed.Collapsed_Filename()));
    return step;
}

bool UNIXFileManager::ContainedName::IsExpected(const struct stat& status) const
{
    if (!m_has_followed || !owners_matter())
        return true;
    FileIdentity identity = IdentityOf(status);
    return identity.device == m_target.device && identity.inode == m_target.inode;
}

UNIXFileManager::Step UNIXFileManager::ContainedName::Follow(bool* moved)
{
    if (!m_settings.follow_links)
        return m_manager->RealizeFailed(kRealizeLink, 0);
    char target[kLongestLink + 1];
    uid_t owner = 0;
    Step step = ReadLink(target, &owner);
    if (step == Step::kTaken)
        step = CheckTarget(target, owner);
    if (step != Step::kTaken)
        return step;
    *moved = strchr(target, '/') != nullptr;
    if (*moved)
        return MoveTo(target);
    m_name.reset(zeph_strdup(target));
    return Step::kTaken;
}

// The link is held while it is read, so that its text and its owner are those of one
// link, whoever swaps the name meanwhile. A text that does not fit is refused: a cut
// one names some other file.
UNIXFileManager::Step UNIXFileManager::ContainedName::ReadLink(char* target, uid_t* owner)
{
    HeldDescriptor link(open(name(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status;
    if (link.get() < 0 || fstat(link.get(), &status) != 0)
        return m_manager->SystemStep();
    if (!IsExpected(status))
        return m_manager->OwnerStep();
    ssize_t length = -1;
    errno = EINVAL;
    if (S_ISLNK(status.st_mode))
        length = readlinkat(link.get(), "", target, kLongestLink + 1);
    if (length > kLongestLink)
        errno = ENAMETOOLONG;
    if (length < 0 || length > kLongestLink)
        return m_manager->SystemStep();
    target[length] = 0;
    *owner = status.st_uid;
    return Step::kTaken;
}

// Here the system resolves the whole text at once. Which file it found is remembered:
// the one that the walk ends at must be the one whose owner was compared.
UNIXFileManager::Step UNIXFileManager::ContainedName::CheckTarget(const char* target,
                                                                  uid_t link_owner)
{
    struct stat status;
    if (lstat(target, &status) != 0)
        return m_manager->SystemStep();
    m_has_followed = true;
    m_leads_to_directory = S_ISDIR(status.st_mode);
    m_target = IdentityOf(status);
    if (!m_seen.Add(m_target)) {
        m_manager->Failed("The specified path references a recursive symbolic link");
        return Step::kFailed;
    }
    if (owners_matter() && link_owner != status.st_uid)
        return m_manager->OwnerStep();
    return Step::kTaken;
}

// The elements of the target are walked as they stand: behind a link, ".." is the
// directory above the one that the link leads to. A slash at the end means the
// directory itself, whether its name is a link or not.
//
// The directory of a link's target is not held against the root, on purpose: once
// links are followed, one of the right owner may lead out of it.
UNIXFileManager::Step UNIXFileManager::ContainedName::MoveTo(const char* target)
{
    UNIXFilePath path(target[0] == '/' ? UNIXFilePath(target)
                                       : UNIXFilePath(m_directory->path(), target));
    int last = path.elements() - 1;
    bool is_entered = last == 0 || target[strlen(target) - 1] == '/';
    HeldText directory(zeph_strdup(is_entered ? path.path() : path.Span(0, last - 1)));
    HeldText name(zeph_strdup(is_entered ? kHereText : path.Element(last)));

    UNIXFilePath given(directory.get());
    int reason = 0;
    RealizeResult result =
        m_manager->Realize(&given, directory.get(), m_directory.out(), m_settings.follow_links,
                           m_settings.ignore_owner, &reason);
    if (result != kRealized)
        return m_manager->RealizeFailed(result, reason);
    m_name.reset(name.release());
    return Step::kTaken;
}
