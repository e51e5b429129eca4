#ifndef ZEPH_TESTS_TORTURE_IMAGE_H
#define ZEPH_TESTS_TORTURE_IMAGE_H

#include <string>
#include <vector>

// The bytes of a compiled file and where its parts lie. Trusts the file: it is one
// that the assembler made.
class Image {
public:
    struct Section {
        int tag;
        size_t entry;  // offset of its directory entry
        size_t offset;
        size_t size;
    };
    // An instruction in the code of a segment.
    struct Instruction {
        size_t at;  // offset in the file
        int word;
        size_t size;
    };
    struct Code {
        size_t header;  // offset of the segment's header in the file
        size_t at;
        size_t size;
        std::vector<Instruction> instructions;  // up to the first that is cut off
    };

    explicit Image(std::string bytes);

    const std::string& bytes() const { return m_bytes; }
    size_t size() const { return m_bytes.size(); }
    int Dword(size_t at) const { return Dword(m_bytes, at); }

    static int Dword(const std::string& bytes, size_t at);
    static void SetDword(std::string* bytes, size_t at, unsigned int value);
    static void SetWord(std::string* bytes, size_t at, unsigned int value);
    static std::string TagText(int tag);

    size_t directory() const { return m_directory; }
    const std::vector<Section>& sections() const { return m_sections; }
    const std::vector<Code>& code() const { return m_code; }

    // Offsets of the numbers that say where a chain goes on: heads and successors
    // of all tables of names.
    const std::vector<size_t>& links() const { return m_links; }

    // Whether the byte steers a reader: all but the texts and the code do.
    bool IsStructure(size_t at) const;

private:
    void FindCode(const Section& section);
    void FindInstructions(Code* code) const;
    void FindTable(size_t at, size_t header, size_t record, size_t next);
    void FindTables();

    std::string m_bytes;
    size_t m_directory;
    std::vector<Section> m_sections;
    std::vector<Code> m_code;
    std::vector<size_t> m_links;
    size_t m_texts_begin = 0;
    size_t m_texts_end = 0;
    size_t m_code_begin = 0;
    size_t m_code_end = 0;
};

#endif
