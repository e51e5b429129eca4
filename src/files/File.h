#ifndef ZEPH_FILES_FILE_H
#define ZEPH_FILES_FILE_H

#include "files/PathType.h"
#include "variables/StringClass.h"

class FileManager;

// Ways to open a file, a set of bits. Libraries pass the numbers.
enum FileOpenMode : int {
    kOpenRead = 1,
    kOpenWrite = 2,
    kOpenCreate = 4,
    kOpenTruncate = 8,
    kOpenAppend = 16,
    kOpenExclusive = 32,
    kOpenOutsidePool = 64,  // never loses its descriptor, counts against no limit
};

enum FileLockType : int {
    kReadLock = 0,
    kWriteLock = 1,
};

// An open file.
//
// Made by a FileManager, deleted by its user, before the manager goes. It may lose
// its descriptor to another file of the pool between two operations and gets it
// back on the next one, at the same position; locks do not survive that, a mapping
// does. A failed operation returns false, -1 or null, leaves its text in error()
// and changes nothing else.
//
// The order of the virtual operations is binary interface.
class File {
public:
    virtual ~File();

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    virtual bool OwnerID(int* id) = 0;
    virtual bool GroupID(int* id) = 0;

    // One read or write of the system: the number of bytes moved, which may be
    // less than asked for, or -1.
    virtual int Read(char* target, int length) = 0;
    virtual int Write(const char* source, int length) = 0;

    // Offsets are in bytes from the start; the new position or -1.
    virtual long Seek(long offset) = 0;
    virtual long Tell() = 0;
    virtual long Length() = 0;
    virtual bool IsDirectory(bool* is_directory) = 0;

    // Waits for a record lock on a byte range; a length of 0 reaches to the end
    // of the file, however it grows. The locks belong to the process, and closing
    // any descriptor of the same file drops them all.
    virtual bool Lock(FileLockType type, long start, long length) = 0;
    virtual bool Release(long start, long length) = 0;

    // Maps a part of the file for reading in place of any earlier mapping; the
    // mapping belongs to this object. A length of -1 stands for the whole file.
    virtual const char* Map(long offset, long length) = 0;
    // Gives the mapping up.
    virtual bool Release() = 0;

    // For the pool: take a descriptor again, or give it up. A failed activation
    // writes its text to `error` and leaves the file without a descriptor.
    virtual bool Activate(String& error) = 0;
    virtual void Deactivate() = 0;

    virtual void Error(const String& text);
    virtual const String& error();

    int Read(unsigned char* target, int length);
    int Write(const unsigned char* source, int length);
    int Write(const String& text);

    const String& path() const { return m_path; }

protected:
    // A file opened by its plain path.
    File(FileManager* manager, const char* path);
    // A file opened by a path under one of the configured directories.
    File(FileManager* manager, Zeph_PathType type, const char* path);

    FileManager* m_manager;  // borrowed
    bool m_has_type;         // opened by path type
    Zeph_PathType m_type;    // of no meaning without m_has_type
    String m_path;

private:
    String m_error;
};

#endif
