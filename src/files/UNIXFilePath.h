#ifndef ZEPH_FILES_UNIXFILEPATH_H
#define ZEPH_FILES_UNIXFILEPATH_H

// A path taken apart at its slashes.
//
// Runs of slashes count as one and trailing ones are cut off, so the text held is
// the squeezed one. Element 0 of an absolute path is "/". The collapsed form, with
// "." and ".." resolved by their text alone, is made on first need. The file system
// is never asked; nothing fails. A null path is the empty one.
class UNIXFilePath {
public:
    explicit UNIXFilePath(const char* path);
    // Takes the array over, or copies it.
    UNIXFilePath(char* path, bool copy);
    // "directory/name".
    UNIXFilePath(const char* directory, const char* name);
    UNIXFilePath(const UNIXFilePath& other);
    virtual ~UNIXFilePath();

    UNIXFilePath& operator=(const UNIXFilePath&) = delete;

    bool absolute() const { return m_absolute; }
    int elements() const { return m_count; }

    // The whole text, the text of one element, and the text from one element to
    // another, both included. All three are pointers into this object, cut by NUL
    // bytes where the separators stand: a later call changes what they show.
    const char* path();
    const char* Element(int index);
    const char* Span(int first, int last);

    // Resolves "." and "..", once. A ".." that has nothing to remove is kept in a
    // relative path and dropped at the root.
    void Collapse();

    // The kept elements as text; "." for none. The caller owns the array.
    char* Collapsed_Path(int* length, int* capacity);
    // All but the last kept element, as text; the whole when that one is "..".
    // The caller owns the array.
    char* Collapsed_Directory();
    // The last kept element, "." where that names no entry of the directory above.
    // A pointer into this object or to a constant, good until the next Span.
    const char* Collapsed_Filename();

    // Whether both paths keep the same elements, the last `ignore` ones aside.
    bool Matches(UNIXFilePath& other, int ignore);
    // Whether `other` begins with all the elements that this path keeps.
    bool Contains(UNIXFilePath& other);

private:
    void Parse();
    long ElementEnd(int index) const;
    long ElementLength(int index) const;
    bool Is(int index, const char* text) const;
    bool NamesEntry() const;
    bool SameKept(const UNIXFilePath& other, int count) const;
    char* KeptText(int count, int* length, int* capacity) const;

    char* m_text;  // owned
    long m_length = 0;
    int m_count = 0;
    long* m_offsets = nullptr;  // owned, where each element starts; null for none
    bool m_absolute = false;
    int* m_kept = nullptr;  // owned, element indexes; null before Collapse
    int m_kept_count = 0;
};

#endif
