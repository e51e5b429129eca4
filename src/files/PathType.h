#ifndef ZEPH_FILES_PATHTYPE_H
#define ZEPH_FILES_PATHTYPE_H

// The configured directory that a contained path is relative to. Libraries pass
// the numbers, so they do not change.
enum Zeph_PathType : int {
    kDataPath = 0,
    kScriptPath = 1,
    kTemporaryPath = 2,
};

#endif
