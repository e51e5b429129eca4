#ifndef ZEPH_FILES_UNIXFILEMANAGER_H
#define ZEPH_FILES_UNIXFILEMANAGER_H

#include "files/FileDescriptor.h"
#include "files/FileManager.h"
#include "files/HeldPath.h"

struct stat;

// The bits of SecurityOptions. A set bit is the permissive choice; absolute paths
// are never allowed under the temporary directory.
enum FileSecurityOption : int {
    kScriptFollowLinks = 0x001,
    kScriptIgnoreOwner = 0x002,
    kDataFollowLinks = 0x004,
    kDataIgnoreOwner = 0x008,
    kDataAllowAbsolute = 0x010,
    kScriptAllowAbsolute = 0x020,
    kTemporaryFollowLinks = 0x100,
    kTemporaryIgnoreOwner = 0x200,
};

// How RealizePath ended.
enum RealizeResult : int {
    kRealized = 0,
    kRealizeMissing = 1,
    kRealizeLink = 2,           // a symbolic link where none is allowed
    kRealizeOwnerMismatch = 3,  // a link to a directory of another owner
};

// A configured directory and what is allowed under it; all of it borrowed.
struct _UNIXContainedPathSettings {
    int descriptor = -1;
    UNIXFilePath* root = nullptr;
    bool follow_links = false;
    bool ignore_owner = false;
    bool allow_absolute = false;
};

// The file manager over the system's files, and the one place that keeps scripts
// inside the configured directories.
//
// A contained path is checked by its text first. Then the process changes into the
// real directory and the last step works on a bare name there, so that nobody can
// swap a directory between the test and the use. After every contained operation
// the current directory is therefore anywhere; callers that care save it. The
// current directory is one for all threads, so one thread does contained work.
class UNIXFileManager : public FileManager {
public:
    explicit UNIXFileManager(ZephApplication* application);
    // A copy for another application object, with descriptors of its own.
    UNIXFileManager(ZephApplication* application, const UNIXFileManager& other);
    ~UNIXFileManager() override;

    const char* lasterror() override;
    File* Open(const char* path, int mode) override;
    File* Open(Zeph_PathType type, const char* path, int mode) override;
    bool Exists(Zeph_PathType type, const char* path, bool* exists) override;
    bool Length(Zeph_PathType type, const char* path, long* length) override;
    bool IsDirectory(Zeph_PathType type, const char* path, bool* is_directory) override;
    bool ModifiedTime(Zeph_PathType type, const char* path, long* time) override;
    char pathseparator() override;
    char* NormalizeContainedPath(Zeph_PathType type, const char* path, int* length,
                                 int* capacity) override;

    // The flags of open() for a set of FileOpenMode bits.
    static int OpenMode(int mode);

    // Set a configured directory, by its absolute path, in place of the former one.
    // `name`, which may be null, is the user whose script directory it is. After a
    // failure there is no such directory. The process is left in it.
    bool InitializeDataDirectory(const char* path);
    bool InitializeTempDirectory(const char* path);
    bool InitializeScriptDirectory(const char* path, const char* name);

    // Temporary files live under the data directory, by its rules, when they have
    // no directory of their own.
    bool ContainedPathSettings(Zeph_PathType type, _UNIXContainedPathSettings* settings);

    // Changes into the directory `path` and gives the path that the system then
    // reports, owned by the caller, and only for kRealized. The other form compares
    // with `given`, the absolute path that `path` stands for. Neither sets error().
    RealizeResult RealizePath(const char* path, UNIXFilePath** out, bool follow, bool ignoreowner);
    RealizeResult RealizePath(UNIXFilePath* given, const char* path, UNIXFilePath** out,
                              bool follow, bool ignoreowner);

    // Changes into the directory `path` under the directory of `type`, and gives
    // its real path, owned by the caller.
    bool RealizeContainedPath(Zeph_PathType type, const char* path, UNIXFilePath** out);
    bool RealizeContainedPath(Zeph_PathType type, const _UNIXContainedPathSettings& settings,
                              const char* path, UNIXFilePath** out);

    // A new descriptor, or -1; `flags` are those of open().
    int OpenContained(Zeph_PathType type, const char* path, int flags);

    // What fstat says about the opened file.
    bool Stat(Zeph_PathType type, const char* path, struct stat* status);

    // A descriptor of the current directory for RestoreCurrentDirectory, which
    // goes back to it and closes it; -1 on failure.
    int SaveCurrentDirectory();
    bool RestoreCurrentDirectory(int descriptor);

private:
    // A configured directory.
    struct Root {
        HeldPath path;              // null when not configured
        HeldDescriptor descriptor;  // -1 when there is none: then it serves no path
    };
    struct RootWords;
    struct OpenAttempt;
    class ContainedName;

    // How a step on the way to a contained name ended. The text of the last two is
    // in error().
    enum class Step {
        kTaken,
        kMissing,  // the system knows no such name
        kFailed,
    };

    static constexpr int kCreationMode = 0666;

    bool Allows(int option) const { return (security_options() & option) != 0; }

    static void CopyRoot(Root* root, const Root& other);
    bool InitializeRoot(Root* root, const char* path, const RootWords& words, bool follow,
                        bool ignore_owner);
    bool RootFailed(const RootWords& words, const char* what);
    // RealizePath; `reason` takes the system's error number for kRealizeMissing.
    RealizeResult Realize(UNIXFilePath* given, const char* path, UNIXFilePath** out, bool follow,
                          bool ignoreowner, int* reason);
    RealizeResult WalkPath(UNIXFilePath* given, int* reason);
    Step RealizeFailed(RealizeResult result, int reason);
    // RealizeContainedPath, with the outcome in full.
    Step EnterContained(Zeph_PathType type, const _UNIXContainedPathSettings& settings,
                        const char* path, UNIXFilePath** out);
    Step GoToRoot(const _UNIXContainedPathSettings& settings, UNIXFilePath** out);
    Step LeavesRoot(Zeph_PathType type);

    // Store the text of a failure, as Failed and SystemFailed do.
    bool OwnerFailed();
    Step OwnerStep();
    Step SystemStep();

    bool LookBeforeOpen(const ContainedName& name, OpenAttempt* attempt);
    bool CreateNoMore(const ContainedName& name, int flags, OpenAttempt* attempt);
    int Opened(const ContainedName& name, const OpenAttempt& attempt, int descriptor);

    Root m_data;
    Root m_script;
    Root m_temporary;
};

#endif
