#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/UNIXFileManager.h"

namespace {

const int kLongestRealPath = 1024;  // bytes, the NUL included

const char* SkipSlashes(const char* path)
{
    while (*path == '/')
        ++path;
    return path;
}

// To be called while errno is untouched.
RealizeResult Missing(int* reason)
{
    *reason = errno;
    return kRealizeMissing;
}

// Goes where a held link leads; `owner` is that of the link.
RealizeResult EnterLink(int link, uid_t owner, int* reason)
{
    char target[PATH_MAX];
    ssize_t length = readlinkat(link, "", target, sizeof target);
    if (length == static_cast<ssize_t>(sizeof target)) {
        errno = ENAMETOOLONG;
        length = -1;
    }
    if (length < 0)
        return Missing(reason);
    target[length] = 0;
    struct stat entered;
    if (chdir(target) != 0 || stat(".", &entered) != 0)
        return Missing(reason);
    return entered.st_uid == owner ? kRealized : kRealizeOwnerMismatch;
}

// Goes into what the element names. It is held from the look at it to the step into it,
// so that nobody can put something else in its place between the two.
RealizeResult EnterElement(const char* element, int* reason)
{
    HeldDescriptor entry(open(element, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status;
    if (entry.get() < 0 || fstat(entry.get(), &status) != 0)
        return Missing(reason);
    if (S_ISLNK(status.st_mode))
        return EnterLink(entry.get(), status.st_uid, reason);
    return fchdir(entry.get()) == 0 ? kRealized : Missing(reason);
}

}  // namespace

// What a failure calls a configured directory.
struct UNIXFileManager::RootWords {
    const char* kind;
    const char* name;  // the user it belongs to; null or empty for none
};

bool UNIXFileManager::RootFailed(const RootWords& words, const char* what)
{
    String text = String("The configured ") + words.kind + " directory";
    if (words.name && words.name[0])
        text = text + " for '" + words.name + "'";
    return Failed(text + what);
}

bool UNIXFileManager::InitializeRoot(Root* root, const char* path, const RootWords& words,
                                     bool follow, bool ignore_owner)
{
    root->path.reset();
    root->descriptor.reset();
    if (!path || path[0] != '/')
        return RootFailed(words, " is not an absolute path");
    HeldPath real;
    RealizeResult result = RealizePath(path, real.out(), follow, ignore_owner);
    // Opened before the result is looked at, on purpose: where the process may not
    // read the directory it stands in, that is what gets reported.
    HeldDescriptor descriptor(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.get() < 0)
        return SystemFailed();
    switch (result) {
        case kRealizeMissing:
            return RootFailed(words, " does not exist");
        case kRealizeLink:
            return RootFailed(words, " references a symbolic link");
        case kRealizeOwnerMismatch:
            return RootFailed(
                words, " references a symbolic link to a directory owned by a different user");
        case kRealized:
            break;
    }
    root->path.reset(real.release());
    root->descriptor.reset(descriptor.release());
    return true;
}

bool UNIXFileManager::InitializeDataDirectory(const char* path)
{
    return InitializeRoot(&m_data, path, {"data", nullptr}, Allows(kDataFollowLinks),
                          Allows(kDataIgnoreOwner));
}

bool UNIXFileManager::InitializeTempDirectory(const char* path)
{
    return InitializeRoot(&m_temporary, path, {"temporary", nullptr}, Allows(kTemporaryFollowLinks),
                          Allows(kTemporaryIgnoreOwner));
}

bool UNIXFileManager::InitializeScriptDirectory(const char* path, const char* name)
{
    return InitializeRoot(&m_script, path, {"script", name}, Allows(kScriptFollowLinks),
                          Allows(kScriptIgnoreOwner));
}

bool UNIXFileManager::ContainedPathSettings(Zeph_PathType type,
                                            _UNIXContainedPathSettings* settings)
{
    if (type == kScriptPath) {
        if (!m_script.path.get())
            return Failed("There is no configured script directory");
        *settings = {m_script.descriptor.get(), m_script.path.get(), Allows(kScriptFollowLinks),
                     Allows(kScriptIgnoreOwner), Allows(kScriptAllowAbsolute)};
        return true;
    }
    if (type == kTemporaryPath && m_temporary.path.get()) {
        *settings = {m_temporary.descriptor.get(), m_temporary.path.get(),
                     Allows(kTemporaryFollowLinks), Allows(kTemporaryIgnoreOwner), false};
        return true;
    }
    if (!m_data.path.get())
        return Failed("There is no configured data directory");
    *settings = {m_data.descriptor.get(), m_data.path.get(), Allows(kDataFollowLinks),
                 Allows(kDataIgnoreOwner), Allows(kDataAllowAbsolute)};
    return true;
}

RealizeResult UNIXFileManager::RealizePath(const char* path, UNIXFilePath** out, bool follow,
                                           bool ignoreowner)
{
    UNIXFilePath given(path);
    return RealizePath(&given, path, out, follow, ignoreowner);
}

RealizeResult UNIXFileManager::RealizePath(UNIXFilePath* given, const char* path,
                                           UNIXFilePath** out, bool follow, bool ignoreowner)
{
    int reason = 0;
    return Realize(given, path, out, follow, ignoreowner, &reason);
}

RealizeResult UNIXFileManager::Realize(UNIXFilePath* given, const char* path, UNIXFilePath** out,
                                       bool follow, bool ignoreowner, int* reason)
{
    char text[kLongestRealPath];
    if (chdir(path) != 0 || !getcwd(text, sizeof text))
        return Missing(reason);
    HeldPath real(new UNIXFilePath(text));
    if (!real->Matches(*given, 0)) {
        if (!follow)
            return kRealizeLink;
        if (!ignoreowner) {
            RealizeResult result = WalkPath(given, reason);
            if (result != kRealized)
                return result;
            if (!getcwd(text, sizeof text))
                return Missing(reason);
            real.reset(new UNIXFilePath(text));
        }
    }
    *out = real.release();
    return kRealized;
}

// Goes along the path, element by element, to see that each link in it leads to a
// directory of its own owner.
RealizeResult UNIXFileManager::WalkPath(UNIXFilePath* given, int* reason)
{
    if (given->elements() == 0 || chdir(given->Element(0)) != 0)
        return Missing(reason);
    RealizeResult result = kRealized;
    for (int index = 1; result == kRealized && index < given->elements(); ++index)
        result = EnterElement(given->Element(index), reason);
    return result;
}

// Stores the text of a contained path that is not kRealized.
UNIXFileManager::Step UNIXFileManager::RealizeFailed(RealizeResult result, int reason)
{
    if (result == kRealizeMissing) {
        Failed("The specified path references a directory that does not exist");
        return reason == ENOENT ? Step::kMissing : Step::kFailed;
    }
    if (result == kRealizeLink)
        Failed("The specified path references a symbolic link");
    else
        Failed(
            "The specified path references a symbolic link to a directory owned by a "
            "different user");
    return Step::kFailed;
}

UNIXFileManager::Step UNIXFileManager::GoToRoot(const _UNIXContainedPathSettings& settings,
                                                UNIXFilePath** out)
{
    if (fchdir(settings.descriptor) != 0)
        return SystemStep();
    *out = new UNIXFilePath(*settings.root);
    return Step::kTaken;
}

UNIXFileManager::Step UNIXFileManager::LeavesRoot(Zeph_PathType type)
{
    const char* kind = "data";
    if (type == kScriptPath)
        kind = "script";
    else if (type == kTemporaryPath)
        kind = "temporary";
    Failed(String("The specified path references a path outside the configured ") + kind +
           " directory");
    return Step::kFailed;
}

bool UNIXFileManager::RealizeContainedPath(Zeph_PathType type, const char* path, UNIXFilePath** out)
{
    _UNIXContainedPathSettings settings;
    return ContainedPathSettings(type, &settings) &&
           RealizeContainedPath(type, settings, path, out);
}

bool UNIXFileManager::RealizeContainedPath(Zeph_PathType type,
                                           const _UNIXContainedPathSettings& settings,
                                           const char* path, UNIXFilePath** out)
{
    return EnterContained(type, settings, path, out) == Step::kTaken;
}

UNIXFileManager::Step UNIXFileManager::EnterContained(Zeph_PathType type,
                                                      const _UNIXContainedPathSettings& settings,
                                                      const char* path, UNIXFilePath** out)
{
    if (!FreeFileSpace(1))
        return Step::kFailed;
    if (!path)
        path = "";
    bool absolute = path[0] == '/' && settings.allow_absolute;
    if (!absolute)
        path = SkipSlashes(path);
    if (!path[0] || (path[0] == '.' && !path[1]))
        return GoToRoot(settings, out);

    HeldPath joined(absolute ? new UNIXFilePath(path)
                             : new UNIXFilePath(settings.root->path(), path));
    if (!settings.root->Contains(*joined))
        return LeavesRoot(type);
    // An absolute path needs no step into the root. Where the root has no descriptor, the
    // step is taken all the same: its failure is the answer to every path.
    bool steps_in = !absolute || settings.descriptor < 0;
    if (steps_in && fchdir(settings.descriptor) != 0)
        return SystemStep();
    int reason = 0;
    RealizeResult result =
        Realize(joined.get(), path, out, settings.follow_links, settings.ignore_owner, &reason);
    return result == kRealized ? Step::kTaken : RealizeFailed(result, reason);
}

char* UNIXFileManager::NormalizeContainedPath(Zeph_PathType type, const char* path, int* length,
                                              int* capacity)
{
    _UNIXContainedPathSettings settings;
    if (!ContainedPathSettings(type, &settings))
        return nullptr;
    if (!path)
        path = "";
    if (!settings.allow_absolute)
        return UNIXFilePath(SkipSlashes(path)).Collapsed_Path(length, capacity);
    if (path[0] == '/')
        return UNIXFilePath(path).Collapsed_Path(length, capacity);
    return UNIXFilePath(settings.root->path(), path).Collapsed_Path(length, capacity);
}
