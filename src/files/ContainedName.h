#ifndef ZEPH_FILES_CONTAINEDNAME_H
#define ZEPH_FILES_CONTAINEDNAME_H

#include <sys/stat.h>

#include "files/HeldText.h"
#include "files/UNIXFileManager.h"
#include "variables/HashTable.h"

// What makes two names the same file.
struct FileIdentity {
    unsigned long long device;
    unsigned long long inode;
};

// The files that a walk has come by.
class SeenFiles : public HashTable<FileIdentity> {
public:
    SeenFiles();

    // Enters the file; false when it was there before.
    bool Add(const FileIdentity& identity);

protected:
    const char* Key(FileIdentity* element, int* length) override;
};

// The last element of a contained path, in the directory that the process has been
// brought to, and the way from link to link from there.
//
// Lives as long as one operation. Failures leave their text in the manager. It opens
// and creates nothing; whoever does compares what he got by IsExpected.
class UNIXFileManager::ContainedName {
public:
    explicit ContainedName(UNIXFileManager* manager) : m_manager(manager) {}

    ContainedName(const ContainedName&) = delete;
    ContainedName& operator=(const ContainedName&) = delete;

    // Goes to the directory of the path.
    Step Enter(Zeph_PathType type, const char* path);

    // Where the name is a link: takes the name that it holds instead and, if that is
    // one in another directory, goes there; `moved` tells which.
    Step Follow(bool* moved);

    const char* name() const { return m_name.get(); }

    // Whether a link and what it leads to must have one owner.
    bool owners_matter() const { return m_settings.follow_links && !m_settings.ignore_owner; }

    // Whether this is the file that the last link led to when its owner was compared.
    // Before the first link, and where no owner is compared, every file is.
    bool IsExpected(const struct stat& status) const;

    // Whether the last link led to a directory.
    bool leads_to_directory() const { return m_leads_to_directory; }

private:
    Step ReadLink(char* target, uid_t* owner);
    Step CheckTarget(const char* target, uid_t link_owner);
    Step MoveTo(const char* target);

    UNIXFileManager* m_manager;  // borrowed
    _UNIXContainedPathSettings m_settings = {};
    HeldPath m_directory;  // where the process is
    HeldText m_name;
    bool m_has_followed = false;
    bool m_leads_to_directory = false;
    FileIdentity m_target = {};  // of no meaning before the first link
    SeenFiles m_seen;
};

#endif
