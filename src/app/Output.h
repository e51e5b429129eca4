#ifndef ZEPH_APP_OUTPUT_H
#define ZEPH_APP_OUTPUT_H

// Where a script's text goes.
//
// The base keeps the flags and the memory of white space that compressed writing
// needs; what happens to text and headers is up to the classes that derive from it.
// Texts are borrowed for the call unless a parameter says `owned`, which hands a
// new[] array over whatever the outcome. A length of -1 means that a text ends at its
// NUL. The order of the virtual operations is binary interface.
class Output {
public:
    // Bits of flags(): how Write_Compressed treats white space.
    enum Flags {
        kCompressFast = 1,
        kCompressFull = 2
    };
    // What type() answers.
    enum Type {
        kBuffered = 0,
        kHTTP = 1,
        kNull = 2
    };

    Output() {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output() {}

    // Writes and flushes.
    virtual int Write_Error(const char* text, int length);
    // Sets a response header. 1 if it will be sent, 0 if not (sent already, or an
    // output that has no headers).
    virtual int Header(const char* name, const char* value);
    virtual int Header(const char* name, int name_length, int name_owned, const char* value,
                       int value_length, int value_owned);
    // Both return the length that was given.
    virtual int Write(const char* text, int length) = 0;
    virtual int Write_Compressed(const char* text, int length);
    virtual int Flush() = 0;
    // The last flush of a response, when `final` is set.
    virtual int Flush(int final);
    virtual int type() = 0;
    virtual int flags() { return m_flags; }
    virtual void SetFlags(int flags) { m_flags = flags; }
    // Drops one leading white space behind white space.
    virtual int Write_Compressed_Fast(const char* text, int length);
    // Reduces each run of white space to its first character.
    virtual int Write_Compressed_Full(const char* text, int length);

protected:
    void RememberSpace(const char* text, int length);

private:
    int m_flags = 0;
    // Set at the start, so that the leading white space of a page can be dropped.
    int m_after_space = 1;
};

// Swallows all text, or hands it to a callback.
class NullOutput : public Output {
public:
    explicit NullOutput(int (*callback)(const char* text, int length)) : m_callback(callback) {}

    int Write(const char* text, int length) override { return DoWrite(text, length); }
    int Write_Compressed(const char* text, int length) override { return DoWrite(text, length); }
    int Flush() override { return 1; }
    int Flush(int) override { return 0; }
    int type() override { return kNull; }
    // The callback's result, or the length if there is none.
    virtual int DoWrite(const char* text, int length);

private:
    int (*m_callback)(const char*, int);  // may be null
};

#endif
