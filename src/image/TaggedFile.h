#ifndef ZEPH_IMAGE_TAGGEDFILE_H
#define ZEPH_IMAGE_TAGGEDFILE_H

#include "variables/StringClass.h"

class File;
class FileManager;

// The four bytes of a section's tag, as they stand in the file, as one number.
constexpr int SectionTag(char first, char second, char third, char fourth)
{
    return int(static_cast<unsigned char>(first) | static_cast<unsigned char>(second) << 8 |
               static_cast<unsigned char>(third) << 16 |
               unsigned(static_cast<unsigned char>(fourth)) << 24);
}

// A compiled file: a header, sections under tags, and a directory that alone says
// where they lie.
//
// Knows no section's content. Reads and writes, but not both in one life between
// Open or Create and Close. The file manager is borrowed; the file belongs to this
// object once it is open. A failure is a false or negative result with its text in
// error(); a read that gives less than was asked for is no failure here, and
// leaves the text as it was.
//
// One section is current at most. Asking for a tag that is absent keeps the
// current section, if there is one, and succeeds: a reader that leaves its section
// selected hands it on to whoever asks for one that is missing. That is
// deliberate: how strictly sections must be present is the readers' matter.
class TaggedFile {
public:
    // Versions that are read, and the one that is written unless told otherwise.
    static constexpr unsigned int kFirstVersion = 0x10001;
    static constexpr unsigned int kLastVersion = 0x1000B;
    // What is said of a file that is no image, here and by a loader that meets a bad
    // section.
    static const char kCorrupt[];

    explicit TaggedFile(FileManager* manager);
    TaggedFile(const TaggedFile&) = delete;
    TaggedFile& operator=(const TaggedFile&) = delete;
    virtual ~TaggedFile();
    virtual const String& error();
    virtual void Error(const String& text);

    // Close what is open, then read header and directory of a file: one named by
    // its plain path, with a mode of FileManager::Open, or one that is open. A
    // file handed in stays the caller's when the result is false.
    bool Open(const char* path, int mode);
    bool Open(const char* path, File* file);

    // Selects a section for sequential reading from its first byte. Through a
    // non-null `size` comes its size in bytes.
    bool Section_Read_Start(int tag, int* size);
    // Up to `count` bytes from the read position, or from an offset in the named
    // section, which leaves the read position alone. The number of bytes read, or
    // -1; less than `count` at the end of the section or of the file.
    int Section_Read(char* buffer, int count);
    int Section_Read(int tag, int offset, char* buffer, int count);
    void Section_Read_End();

    // Whether the directory has the tag; selects nothing.
    bool Section_Exists(int tag) const { return Find(tag) != nullptr; }
    // Whether a read at the same place would give all of `count` bytes, by the
    // length of section and file. Fails with the text that the read would leave.
    // For counts that come from the file, before room is made for them.
    bool Section_Holds(long long count);
    bool Section_Holds(int tag, long long offset, long long count);
    // Bytes in the open file, or -1.
    long long FileLength();

    // Gives the system's handle up; the next read takes it again.
    void Deactivate();
    void Close();
    bool is_open() const { return m_file != nullptr; }
    unsigned int version() const { return m_version; }

    // Starts a new file, with a zero `version` standing for kLastVersion and a
    // null `identifier` for 16 zero bytes. Valid only after Section_Flush.
    bool Create(const char* path, const char* identifier, int version);
    // Ends the open section, if any, and starts one.
    void Section_Start(int tag);
    // Appends to the open section; the number of bytes written, or negative.
    int Section_Write(const char* data, int count);
    void Section_End();
    // Writes directory and header, once and last: what was written after the last
    // Section_End is in no section.
    bool Section_Flush();

private:
    struct Entry {
        int tag;
        int offset;
        int size;
    };

    bool Failed(const char* text);
    bool ReadHeader();
    bool ReadDirectory();
    bool CheckDirectory();
    void MakeDirectory(int capacity);
    void Forget();
    const Entry* Find(int tag) const;
    bool Select(int tag);
    bool CheckSequential(long long count);
    bool CheckRandom(long long offset, long long count);
    bool Reaches(long long offset, long long count);

    bool SeekTo(long offset);
    int FromWindow(long offset, char* buffer, int count);
    int ReadDirect(long offset, char* buffer, int count);
    int Fetch(long offset, char* buffer, int count);
    bool FillWindow(long offset);
    void DropWindow();
    bool WindowEndsFile();

    bool WriteAll(const char* data, int count);
    bool WriteHeader();

    FileManager* m_manager;  // borrowed
    File* m_file = nullptr;  // owned; null when closed
    String m_name;
    String m_error;

    unsigned int m_version = 0;
    char m_identifier[16] = {};
    int m_directory_offset = 0;
    int m_directory_entries = 0;

    Entry* m_directory = nullptr;  // owned
    int m_directory_capacity = 0;
    const Entry* m_current = nullptr;  // in m_directory; null for none

    // Reading: the position in the current section. Writing: in the file.
    int m_cursor;

    bool m_is_writing_section = false;
    int m_section_tag = 0;
    int m_section_offset = 0;
    int m_section_size = 0;

    // A stretch of the file read ahead, so that a small image costs one read.
    char* m_window = nullptr;  // owned; null when nothing is read ahead
    long m_window_offset = 0;
    int m_window_size = 0;
    long m_position = -1;  // of the file; -1 for unknown
};

#endif
