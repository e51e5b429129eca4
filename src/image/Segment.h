#ifndef ZEPH_IMAGE_SEGMENT_H
#define ZEPH_IMAGE_SEGMENT_H

class PreparedCode;
class TaggedFile;

// One run of code: the instruction bytes and nothing else, for code holds no
// addresses and runs from wherever it was loaded.
//
// Operands are fetched without a look at the end, by design: an instruction that
// is cut off by the end of its segment takes its operand from behind it. So every
// code buffer, wherever it is made, has kSpareBytes zero bytes behind its
// capacity; AllocateCode makes such buffers. The segment owns its buffer.
class Segment {
public:
    // Room behind the capacity, more than any instruction's operands take.
    static constexpr int kSpareBytes = 16;
    // New buffers and growth come in multiples of this.
    static constexpr int kBlock = 8192;

    // A buffer of `capacity` bytes, of any content or zero, and the spare ones
    // behind it, zero. Freed by free(). Null when memory is exhausted.
    static char* AllocateCode(int capacity);
    static char* AllocateZeroedCode(int capacity);

    // An empty segment with room for kBlock bytes, zero.
    explicit Segment(int number);
    // Takes over a buffer from AllocateCode(capacity).
    Segment(int number, char* code, int capacity, int size);
    Segment(Segment& source);
    Segment& operator=(const Segment&) = delete;
    virtual ~Segment();

    int number() const { return m_number; }
    char* code() const { return m_code; }
    int capacity() const { return m_capacity; }
    // Bytes that count.
    int size() const { return m_size; }

    // The position behind the value, or -1, `out` being untouched, when the value
    // does not lie within the size.
    int Read_Byte(int position, unsigned char* out) const;
    int Read_Word(int position, unsigned short* out) const;
    int Read_Dword(int position, int* out) const;
    int Read_Double(int position, double* out) const;

    // Write over or behind the code, growing it; the position behind the value.
    // -1, and nothing done, for a position that no segment can have.
    int Write_Byte(int position, unsigned char value);
    int Write_Word(int position, unsigned short value);
    int Write_Dword(int position, int value);
    int Write_Double(int position, double value);

    // Makes the capacity `wanted`, rounded up to a multiple of kBlock, the new
    // room being zero. Never shrinks, and does nothing for a size that no segment
    // can have.
    void Grow(int wanted);

    // What a machine has made of the code, null for nothing yet; it belongs to the segment
    // and ends with any change of the code.
    PreparedCode* prepared() const { return m_prepared; }
    void SetPrepared(PreparedCode* prepared);

    // Writes the bytes that count into the open section.
    bool Write(TaggedFile* file) const;

private:
    const char* Readable(int position, int width) const;
    char* Writable(int position, int width);

    int m_number;
    char* m_code;  // owned, m_capacity + kSpareBytes long
    int m_capacity;
    int m_size;
    PreparedCode* m_prepared = nullptr;  // owned
};

#endif
