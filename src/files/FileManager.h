#ifndef ZEPH_FILES_FILEMANAGER_H
#define ZEPH_FILES_FILEMANAGER_H

#include "files/File.h"
#include "variables/List.h"
#include "variables/StringClass.h"

class ZephApplication;

// Opens files and keeps the pool of their descriptors.
//
// Paths come in two forms. The plain forms take a path as it stands and are for
// the files that the administrator names. The forms with a Zeph_PathType hold the
// path inside the directory of that type, and are for all that a script names.
//
// The pool: at most MaxFiles files have a descriptor at one time. The active list
// runs from the newest to the oldest, use does not move a file, and the oldest
// loses its descriptor first. A failed operation returns false or null and leaves
// its text in error().
//
// Owned by the application; used by one thread. The order of the virtual
// operations is binary interface.
class FileManager {
public:
    virtual ~FileManager();

    FileManager(const FileManager&) = delete;
    FileManager& operator=(const FileManager&) = delete;

    // The text of the system's last error, as errno has it; never empty.
    virtual const char* lasterror() = 0;

    // `mode` is a set of FileOpenMode bits. The caller deletes the file; null on
    // failure.
    virtual File* Open(const char* path, int mode) = 0;

    virtual File* Open(Zeph_PathType type, const char* path, int mode) = 0;
    // A missing file, or a link to one, is false and a success.
    virtual bool Exists(Zeph_PathType type, const char* path, bool* exists) = 0;
    virtual bool Length(Zeph_PathType type, const char* path, long* length) = 0;
    virtual bool IsDirectory(Zeph_PathType type, const char* path, bool* is_directory) = 0;
    // In seconds since the epoch.
    virtual bool ModifiedTime(Zeph_PathType type, const char* path, long* time) = 0;

    virtual const String& error();
    virtual void Error(const String& text);

    virtual char pathseparator() = 0;

    // What `path` means under its directory, as text, without a look at the file
    // system: the caller owns the array. Null when there is no such directory.
    virtual char* NormalizeContainedPath(Zeph_PathType type, const char* path, int* length,
                                         int* capacity) = 0;

    // Takes descriptors from the oldest files until `count` new ones fit.
    virtual bool FreeFileSpace(int count);
    // Enters a file with a descriptor into the pool; gives the file.
    virtual File* FileOpened(File* file);
    // Forgets a file; one that is not in the pool is no error.
    virtual void FileClosed(File* file);
    // Takes the descriptor of a file, unless it has none or is outside the pool.
    virtual void DeactivateFile(File* file);
    // Makes sure that a file of the pool has its descriptor, as the newest.
    virtual bool ActivateFile(File* file);

    // How many files of the pool may have a descriptor; 0 is no limit.
    virtual void MaxFiles(int maximum);
    // What links and absolute paths are allowed; the bits are those of
    // UNIXFileManager.h.
    virtual void SecurityOptions(int options);

protected:
    // `application` may be null: nothing here calls it.
    explicit FileManager(ZephApplication* application);

    ZephApplication* application() const { return m_application; }
    int max_files() const { return m_max_files; }
    int security_options() const { return m_security_options; }

    // Store a text and give false, for return statements: this one a text of our
    // own, the other one lasterror().
    bool Failed(const String& text);
    bool SystemFailed();

private:
    ZephApplication* m_application;  // borrowed
    String m_error;
    int m_max_files = 0;
    int m_security_options = 0;
    List<File> m_active;    // borrowed files, from the newest to the oldest
    List<File> m_inactive;  // borrowed files
};

#endif
