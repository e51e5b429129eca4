#ifndef ZEPH_TOOLS_ZEPHASM_OUTPUTFILE_H
#define ZEPH_TOOLS_ZEPHASM_OUTPUTFILE_H

#include <sys/stat.h>

#include "variables/StringClass.h"

// The place where a finished file is to stand, and a temporary file to make it in.
//
// A regular file, or one that is not there yet, gets its new content in one step: the
// temporary file is made beside it and takes its place, with its owner and mode. Of a
// link it is the target that is replaced. What is no regular file, such as a pipe or a
// device, stays what it is: the content is copied into it.
//
// Knows nothing of the content. On failure the operations give false, with the text in
// `error`, and the place is as it was.
class OutputFile {
public:
    explicit OutputFile(const char* path) : m_target(path) {}
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    // Removes the temporary file, if it is still there.
    ~OutputFile();

    // Makes the temporary file, which is empty.
    bool Start(String* error);
    // Its path; null before Start.
    const char* temporary() const { return m_temporary; }
    // Puts its content in place.
    bool Finish(String* error);

private:
    bool MakeTemporary(const String& prefix, String* error);
    bool CopyToTarget(String* error);

    String m_target;
    struct stat m_old = {};       // what stands there
    bool m_exists = false;        // m_old is set
    bool m_is_copied = false;     // into the target, instead of taking its place
    char* m_temporary = nullptr;  // owned (malloc)
};

#endif
