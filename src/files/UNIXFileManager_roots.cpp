#include <errno.h>
#include <fcntl.h>
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
    char text[kLongestRealPath];
    if (chdir(path) != 0 || !getcwd(text, sizeof text))
        return kRealizeMissing;
    HeldPath real(new UNIXFilePath(text));
    if (!real->Matches(*given, 0)) {
        if (!follow)
            return kRealizeLink;
        if (!ignoreowner) {
            RealizeResult result = WalkPath(given);
            if (result != kRealized)
                return result;
            if (!getcwd(text, sizeof text))
                return kRealizeMissing;
            real.reset(new UNIXFilePath(text));
        }
    }
    *out = real.release();
    return kRealized;
}

// Goes along the path, element by element, to see that what each one leads to has
// the owner of the element itself.
RealizeResult UNIXFileManager::WalkPath(UNIXFilePath* given)
{
    if (given->elements() == 0 || chdir(given->Element(0)) != 0)
        return kRealizeMissing;
    for (int index = 1; index < given->elements(); ++index) {
        const char* element = given->Element(index);
        struct stat entry, entered;
        if (lstat(element, &entry) != 0 || chdir(element) != 0 || stat(".", &entered) != 0)
            return kRealizeMissing;
        if (entry.st_uid != entered.st_uid)
            return kRealizeOwnerMismatch;
    }
    return kRealized;
}

// Stores the text of a contained path that is not kRealized. What a missing
// directory left in errno stays there.
bool UNIXFileManager::RealizeFailed(RealizeResult result)
{
    int reason = result == kRealizeMissing ? errno : 0;
    if (result == kRealizeMissing)
        Error("The specified path references a directory that does not exist");
    else if (result == kRealizeLink)
        Error("The specified path references a symbolic link");
    else
        Error(
            "The specified path references a symbolic link to a directory owned by a "
            "different user");
    errno = reason;
    return false;
}

bool UNIXFileManager::GoToRoot(const _UNIXContainedPathSettings& settings, UNIXFilePath** out)
{
    if (fchdir(settings.descriptor) != 0)
        return SystemFailed();
    *out = new UNIXFilePath(*settings.root);
    return true;
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
    if (!FreeFileSpace(1))
        return false;
    if (!path)
        path = "";
    bool absolute = path[0] == '/' && settings.allow_absolute;
    if (!absolute)
        path = SkipSlashes(path);
    if (!path[0] || (path[0] == '.' && !path[1]))
        return GoToRoot(settings, out);

    HeldPath joined(absolute ? new UNIXFilePath(path)
                             : new UNIXFilePath(settings.root->path(), path));
    if (!settings.root->Contains(*joined)) {
        const char* kind = type == kScriptPath      ? "script"
                           : type == kTemporaryPath ? "temporary"
                                                    : "data";
        return Failed(String("The specified path references a path outside the configured ") +
                      kind + " directory");
    }
    if (!absolute && fchdir(settings.descriptor) != 0)
        return SystemFailed();
    RealizeResult result =
        RealizePath(joined.get(), path, out, settings.follow_links, settings.ignore_owner);
    return result == kRealized || RealizeFailed(result);
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
