#ifndef ZEPH_VARIABLES_LINKBUFFER_H
#define ZEPH_VARIABLES_LINKBUFFER_H

class Output;
class Variable;

// One piece of a LinkBuffer. Owns its array and all blocks behind it: deleting the
// first block frees the chain, in a loop, however long it is.
class LinkBuffer_Block {
public:
    // Takes over a new[] array, of which `used` bytes are text.
    LinkBuffer_Block(char* text, int used_bytes, int capacity_bytes)
        : data(text), used(used_bytes), capacity(capacity_bytes)
    {
    }
    LinkBuffer_Block(const LinkBuffer_Block&) = delete;
    LinkBuffer_Block& operator=(const LinkBuffer_Block&) = delete;
    virtual ~LinkBuffer_Block();

    char* data;  // owned
    int used;
    int capacity;
    LinkBuffer_Block* next = nullptr;      // owned
    LinkBuffer_Block* previous = nullptr;  // borrowed
};

// A text that grows at both ends without being copied: a chain of blocks, which
// becomes one array only when somebody asks for it.
//
// All lengths are in bytes and none may be -1; a length of 0 or less adds no text.
// A text of more bytes than an int can count ends the process, as exhausted memory
// does.
class LinkBuffer {
public:
    // The first block is a multiple of `first_unit` bytes, every other one a multiple
    // of `next_unit`. A unit below 1 counts as 1.
    LinkBuffer(int first_unit, int next_unit);
    LinkBuffer(const LinkBuffer&) = delete;
    LinkBuffer& operator=(const LinkBuffer&) = delete;
    virtual ~LinkBuffer();

    int length() const { return m_length; }

    void cat(const char* text, int length);
    void prepend(const char* text, int length);
    // Take over a new[] array, even an empty one.
    void cat_nocopy(const char* text, int length, int capacity);
    void prepend_nocopy(const char* text, int length, int capacity);
    // The decimal text of a number.
    void cat(int value);
    void prepend(int value);
    void cat(double value);
    void prepend(double value);
    // A copy of the variable's text.
    void cat(Variable* variable);
    void prepend(Variable* variable);
    // Copy the other's text, which may be this buffer itself.
    void cat(LinkBuffer* other);
    void prepend(LinkBuffer* other);
    // Move the other's blocks over and delete it.
    void cat_destroy(LinkBuffer* other);
    void prepend_destroy(LinkBuffer* other);
    // Two upper-case hexadecimal digits.
    void cat_hex(unsigned char value);

    // Makes the text one block with room for `extra` bytes behind it.
    void coalesce(int extra);
    // The whole text, NUL-terminated, valid until the next change. `capacity` counts
    // the bytes of the array; both pointers may be null.
    const char* data(int* length, int* capacity);
    // Hands the text over as one array with room for `extra` bytes behind it, no NUL
    // written, and leaves the buffer empty. An empty buffer gives an array of one byte,
    // whatever `extra` is.
    char* release(int* length, int* capacity, int extra);
    // Copies the text to memory that has room for length() bytes.
    void append_to(char* target) const;
    // Writes the text block by block. Stands with the output classes.
    void output(Output* target);

    // Calls `sink(const char* text, int length)` for each block with text in it,
    // from first to last.
    template <class Sink>
    void ForEachBlock(Sink sink) const
    {
        for (const LinkBuffer_Block* block = m_head; block; block = block->next) {
            if (block->used > 0)
                sink(static_cast<const char*>(block->data), block->used);
        }
    }

private:
    static LinkBuffer_Block* NewBlock(int unit, const char* text, int length);

    // All lengthening passes here.
    void AddLength(int length);
    void LinkBehind(LinkBuffer_Block* block);
    void LinkInFront(LinkBuffer_Block* block);
    void Forget();

    LinkBuffer_Block* m_head = nullptr;  // owned
    LinkBuffer_Block* m_tail = nullptr;  // borrowed, the last of the chain
    int m_length = 0;
    int m_first_unit;
    int m_next_unit;
};

#endif
