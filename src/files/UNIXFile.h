#ifndef ZEPH_FILES_UNIXFILE_H
#define ZEPH_FILES_UNIXFILE_H

#include <stddef.h>

#include "files/File.h"

class UNIXFileManager;
struct stat;

// A file over a descriptor of the system.
//
// Every operation that needs the descriptor asks the manager for it when the pool
// has taken it. The file is opened again by its path: a plain relative path then
// means what it means in the current directory of that moment.
class UNIXFile : public File {
public:
    // Take the descriptor over. `flags` are those of open(); the ones that create
    // or truncate are forgotten, so that opening it again does neither.
    UNIXFile(UNIXFileManager* manager, const char* path, int descriptor, int flags);
    UNIXFile(UNIXFileManager* manager, Zeph_PathType type, const char* path, int descriptor,
             int flags);
    ~UNIXFile() override;

    using File::Read;
    using File::Write;

    bool OwnerID(int* id) override;
    bool GroupID(int* id) override;
    int Read(char* target, int length) override;
    int Write(const char* source, int length) override;
    long Seek(long offset) override;
    long Tell() override;
    long Length() override;
    bool IsDirectory(bool* is_directory) override;
    bool Lock(FileLockType type, long start, long length) override;
    bool Release(long start, long length) override;
    const char* Map(long offset, long length) override;
    bool Release() override;
    bool Activate(String& error) override;
    void Deactivate() override;

private:
    UNIXFileManager* manager() const;
    bool Ready();
    bool Failed();
    int Refused();
    bool Status(struct stat* status);
    bool LockRange(short kind, long start, long length);
    int OpenAgain(String& error);

    int m_descriptor;           // owned; -1 when deactivated
    int m_flags;                // for opening again
    void* m_mapping = nullptr;  // owned; null for none
    size_t m_mapping_length = 0;
    long m_offset = 0;  // where to go on, while deactivated
};

#endif
