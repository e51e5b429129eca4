#ifndef ZEPH_VARIABLES_STRINGCLASS_H
#define ZEPH_VARIABLES_STRINGCLASS_H

// A counted byte string. It knows no encoding and may hold NUL bytes, though some
// operations, which say so, end at the first one.
//
// Storage comes from new[] and belongs to the String; whenever there is storage it
// holds a NUL behind the text. A String without storage reads as the empty text.
// Wherever an operation allocates, the capacity is the length plus one for the NUL,
// rounded up to a multiple of 24. On input a length of -1 means that the text ends
// at its NUL, and a null pointer is the empty text. Arguments may point into the
// String itself. Nothing here fails: exhausted memory, or a length that an int
// cannot hold, ends the process.
class String {
public:
    String() {}
    String(const String& other);
    String(String&& other) noexcept;
    // Implicit, so that a literal serves wherever a String is expected.
    String(const char* text, int length = -1) { assign(text, length); }
    // Takes the array over, as assign_nocopy does.
    String(char* buffer, int length, int capacity) { assign_nocopy(buffer, length, capacity); }
    ~String() { delete[] m_data; }

    String& operator=(const String& other);
    String& operator=(String&& other) noexcept;
    String& operator=(const char* text);

    // The text; "" when there is no storage, never null.
    const char* data() const { return m_data ? m_data : ""; }
    int length() const { return m_length; }
    int capacity() const { return m_capacity; }

    // Text and NUL are copied into the storage at hand, or into new storage if that
    // is too small. The empty text leaves storage behind as well, of 24 bytes.
    void assign(const char* text, int length = -1);
    void assign(char c);
    // Takes the new[] array over. One without room for the NUL is copied and freed.
    void assign_nocopy(char* buffer, int length, int capacity);

    void cat(const char* text, int length = -1);
    // Grows by 24 bytes at a time: long texts are built in a LinkBuffer.
    void cat(char c);
    // The same as cat, but growth doubles the capacity, so that as many additions as one
    // likes cost no more than their bytes.
    void Append(const char* text, int length);
    void cat(const String& text) { cat(text.m_data, text.m_length); }
    // Both move the text to a new array, whose capacity stays if it is large enough.
    void prepend(const char* text, int length = -1);
    void prepend(char c) { prepend(&c, 1); }

    // Hands the array over to the caller and leaves the String without storage. Null
    // and 0 when there is none. Either pointer may be null.
    char* release(int* length, int* capacity);
    // Frees the storage.
    void destroy();

    // Both shorten the text where that is possible. They write no NUL: what was cut
    // off still stands behind the text.
    void chop(int count);
    void truncate(unsigned int length);

    // Letters below 128 only; lowcase and upcase in place.
    void lowcase();
    void upcase();
    String lower() const;
    String upper() const;

    // White space is space, tab, CR and LF. These three work in place, up to the first NUL
    // byte, wherever that is: it ends the text for good, and what chop or truncate have
    // cut off comes back. CompressWhitespace reduces each run to its first character.
    void ltrim();
    void StripWhitespace();
    void CompressWhitespace();

    // Position of the needle at or behind `start`, or -1; an empty needle is not found.
    int search(const char* needle, int start) const;
    int index(const char* needle) const { return search(needle, 0); }
    // Number of matches, overlapping ones included.
    int freq(const char* needle) const;
    bool contains(char c, int start = 0) const;
    bool contains(const char* needle, int start = 0) const;
    // Whether `c` is the byte at `position`, which may be the length: there stands the NUL.
    bool matches(char c, int position) const;
    // Whether what stands from `position` to the end equals the text, ignoring case.
    bool matches(const char* text, int position) const;

    // The bytes from `start` up to and excluding `end`, as far as they exist.
    String at(int start, int end) const;
    // What begins at, or follows, a position or the first match at or behind `start`;
    // empty if there is none. Reads to the first NUL.
    String from(int position) const;
    String from(const char* needle, int start = 0) const;
    String after(int position) const;
    String after(const char* needle, int start = 0) const;
    // What stands in front of a position or of the first match; all if there is none.
    String before(int position) const;
    String before(const char* needle) const;

    // Padded to a width on the right or on the left; a longer text as it is.
    String padr(int width, char c) const;
    String padl(int width, char c) const;

    // Replaces every match in place, from left to right; what was put in is not
    // searched again. An empty `pattern` matches nothing, a null `replacement` deletes.
    void gsub(const char* pattern, const char* replacement);

    String Base64_Encode() const;
    String Base64_Decode() const;

    bool operator==(const String& other) const { return Equals(other.m_data, other.m_length); }
    bool operator==(const char* text) const;

    String& operator+=(const String& text);
    String& operator+=(const char* text);
    String& operator+=(char c);

private:
    static int CapacityFor(long long length);
    // The length of an argument: what a -1 stands for, 0 for null.
    static int InputLength(const char* text, int length);

    bool Equals(const char* text, int length) const;
    // The text between two positions, which stand within it.
    String Part(int start, int end) const { return String(data() + start, end - start); }
    // Replaces the storage by a new array with two texts in it, one behind the other.
    void Join(int capacity, const char* first, int first_length, const char* second,
              int second_length);
    // A new String of that width, the text at `offset` and `c` around it.
    String Padded(int width, int offset, char c) const;

    char* m_data = nullptr;  // owned
    int m_capacity = 0;      // bytes allocated
    int m_length = 0;
};

String operator+(const String& left, const String& right);
String operator+(const String& left, const char* right);
String operator+(const char* left, const String& right);
// For a chain of additions: the left side is a temporary and grows in place.
String operator+(String&& left, const String& right);
String operator+(String&& left, const char* right);

// Cuts `text` at each separator into at most `max` fields, from left to right, and
// returns how many were set. What stands behind the last separator goes into the next
// field, but counts only if it is not empty. Without a separator the whole text is
// one field.
int split(const String& text, String* fields, int max, const char* separator);

// A copy in a new array that the caller owns; null for null.
char* zeph_strdup(const char* text);

#endif
