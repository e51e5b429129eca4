#include "Mutations.h"

#include <initializer_list>

#include "image/TaggedFile.h"
#include "image/TaggedFileLayout.h"

namespace {

const size_t kFirstBytes = 512;       // all bits of these are flipped
const size_t kPadding = 1024 * 1024;  // of the images that promise much

const int kFirstJump = 0x4025;
const int kLastJump = 0x402B;

// Limits of the readers, and what one past them does to signed arithmetic.
const unsigned int kNumbers[] = {
    0,          1,          2,          0x7F,       0xFF,       0x7FFF,     0xFFFF,
    0xAAAAAA9,  0xAAAAAAA,  0xAAAAAAB,  0x7FFFFFE,  0x7FFFFFF,  0x8000000,  0xFFFFFFE,
    0xFFFFFFF,  0x10000000, 0x1FFFFFFF, 0x20000000, 0x3FFFFFFF, 0x7FFFFFFE, 0x7FFFFFFF,
    0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF,
};

// Counts that a large file is made to promise.
const unsigned int kPromises[] = {
    1000, 100000, 0x7FFFFFF, 0xAAAAAAA, 0xAAAAAAB, 0xFFFFFFF, 0x1FFFFFFF, 0x7FFFFFFF,
};

std::string Hex(size_t number)
{
    char text[24];
    snprintf(text, sizeof text, "0x%zx", number);
    return text;
}

// One image and who wants its damaged forms.
class Mutator {
public:
    Mutator(const Image& image, MutationVisitor* visitor) : m_image(image), m_visitor(visitor) {}

    void All()
    {
        if (m_visitor->Wants())
            m_visitor->Take("the image itself", m_image.bytes());
        Bits();
        Lengths();
        Fields();
        Directories();
        Tags();
        Places();
        Promises();
        Links();
        SegmentSizes();
        Jumps();
        Operands();
        Words();
    }

private:
    // Shows a form in which one number is another.
    void Number(const std::string& what, size_t at, unsigned int value)
    {
        if (!m_visitor->Wants())
            return;
        std::string bytes = m_image.bytes();
        Image::SetDword(&bytes, at, value);
        m_visitor->Take(what + " at " + Hex(at) + " = " + Hex(value), bytes);
    }

    void Bits()
    {
        for (size_t at = 0; at < m_image.size(); ++at) {
            if (at >= kFirstBytes && !m_image.IsStructure(at))
                continue;
            for (int bit = 0; bit < 8; ++bit) {
                if (!m_visitor->Wants())
                    continue;
                std::string bytes = m_image.bytes();
                bytes[at] = char(bytes[at] ^ 1 << bit);
                m_visitor->Take("bit " + std::to_string(bit) + " of " + Hex(at), bytes);
            }
        }
    }

    void Lengths()
    {
        for (size_t length = 0; length <= m_image.size(); ++length)
            if (m_visitor->Wants())
                m_visitor->Take("length " + std::to_string(length),
                                m_image.bytes().substr(0, length));
        for (size_t more : {size_t(1), size_t(11), kPadding})
            if (m_visitor->Wants())
                m_visitor->Take(std::to_string(more) + " bytes more",
                                m_image.bytes() + std::string(more, '\0'));
    }

    // At every offset, since the fields of tables stand at any.
    void Fields()
    {
        unsigned int size = unsigned(m_image.size());
        for (size_t at = 0; at + 4 <= m_image.size(); ++at) {
            if (!m_image.IsStructure(at))
                continue;
            unsigned int value = unsigned(m_image.Dword(at));
            for (unsigned int number : kNumbers)
                Number("number", at, number);
            for (unsigned int number : {size - 1, size, size + 1, value - 1, value + 1})
                Number("number", at, number);
        }
    }

    void Directories()
    {
        unsigned int directory = unsigned(m_image.directory());
        unsigned int size = unsigned(m_image.size());
        for (unsigned int at :
             {0u, 4u, 8u, 20u, 24u, 28u, 32u, directory - 1, directory + 1, directory + 12,
              size - 13, size - 12, size - 11, size - 1, size, size + 1})
            Number("directory", kDirectoryOffsetAt, at);
        for (unsigned int count = 0; count <= m_image.sections().size() + 1; ++count)
            Number("directory entries", kDirectoryEntriesAt, count);
        for (const Image::Section& section : m_image.sections())
            Number("section in the directory", section.entry + 4, directory);
    }

    // Sections that are absent, twice there, or of another kind.
    void Tags()
    {
        for (const Image::Section& section : m_image.sections()) {
            Number("no " + Image::TagText(section.tag), section.entry, 0x656E6F6E);
            Number("tag 0 for " + Image::TagText(section.tag), section.entry, 0);
            for (const Image::Section& other : m_image.sections())
                Number(Image::TagText(other.tag) + " for " + Image::TagText(section.tag),
                       section.entry, unsigned(other.tag));
        }
    }

    // Sections that lie on one another.
    void Places()
    {
        for (const Image::Section& section : m_image.sections()) {
            for (const Image::Section& other : m_image.sections()) {
                for (unsigned int more : {0u, 1u, 4u}) {
                    if (!m_visitor->Wants())
                        continue;
                    std::string bytes = m_image.bytes();
                    Image::SetDword(&bytes, section.entry + 4, unsigned(other.offset) + more);
                    Image::SetDword(&bytes, section.entry + 8, unsigned(m_image.size()));
                    m_visitor->Take(Image::TagText(section.tag) + " over " +
                                        Image::TagText(other.tag) + " + " + std::to_string(more),
                                    bytes);
                }
            }
        }
    }

    // Each section moved to the end of a large file, promising more than is there.
    void Promises()
    {
        for (unsigned int count : kPromises)
            Promise("directory", kDirectoryEntriesAt, kDirectoryOffsetAt, nullptr, count);
        for (const Image::Section& section : m_image.sections())
            for (size_t field : {size_t(0), size_t(3), size_t(4), size_t(8), size_t(12)})
                for (unsigned int count : kPromises)
                    if (field + 4 <= section.size)
                        Promise(Image::TagText(section.tag), field, 0, &section, count);
    }

    void Promise(const std::string& what, size_t field, size_t place, const Image::Section* section,
                 unsigned int count)
    {
        if (!m_visitor->Wants())
            return;
        std::string bytes = m_image.bytes();
        size_t end = bytes.size();
        if (section) {
            bytes += m_image.bytes().substr(section->offset, section->size);
            Image::SetDword(&bytes, section->entry + 4, unsigned(end));
            Image::SetDword(&bytes, section->entry + 8, unsigned(section->size + kPadding));
            Image::SetDword(&bytes, end + field, count);
        } else {
            bytes += m_image.bytes().substr(m_image.directory());
            Image::SetDword(&bytes, place, unsigned(end));
            Image::SetDword(&bytes, field, count);
        }
        bytes += std::string(kPadding, '\0');
        m_visitor->Take(what + " promises " + Hex(count) + " in field " + Hex(field), bytes);
    }

    // Chains with cycles, and chains that leave their table.
    void Links()
    {
        unsigned int count = unsigned(m_image.links().size());
        for (size_t link : m_image.links()) {
            for (unsigned int target = 0; target <= count + 1; ++target)
                Number("link", link, target);
            for (unsigned int target : {0x7FFFFFFEu, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu})
                Number("link", link, target);
        }
    }

    // The end of a segment at each of its bytes, which cuts operands.
    void SegmentSizes()
    {
        for (const Image::Code& code : m_image.code())
            for (unsigned int size = 0; size <= code.size + 9; ++size)
                Number("segment size", code.header + 4, size);
    }

    // Jumps to each byte of the segment and around it.
    void Jumps()
    {
        for (const Image::Code& code : m_image.code()) {
            for (const Image::Instruction& jump : code.instructions) {
                if (jump.word < kFirstJump || jump.word > kLastJump)
                    continue;
                unsigned int behind = unsigned(jump.at - code.at + jump.size);
                for (unsigned int target = 0; target <= code.size + 4; ++target)
                    Number("jump", jump.at + 2, target - behind - 2);
                for (unsigned int far : {0x7FFFFFFFu, 0x80000000u})
                    Number("jump", jump.at + 2, far);
            }
        }
    }

    // Indexes and amounts at their limits, in every operand.
    void Operands()
    {
        for (const Image::Code& code : m_image.code())
            for (const Image::Instruction& instruction : code.instructions)
                for (size_t at = instruction.at + 2; at + 4 <= instruction.at + instruction.size;
                     at += 4)
                    for (unsigned int value : {0u, 1u, 2u, 10u, 52u, 62u, 76u, 77u, 511u, 512u,
                                               513u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
                        Number("operand", at, value);
    }

    // Every known word, and words that are nearly known, in each instruction's place.
    void Words()
    {
        static const unsigned int words[] = {
#define ZEPH_OP(word, name, handler) word,
#define ZEPH_WORD(word, name) word,
#include "vm/Instructions.def"
#undef ZEPH_OP
#undef ZEPH_WORD
            0x0001, 0x0FFF, 0x1000, 0x2000, 0x3000, 0x4000, 0x5000, 0x6000, 0x7000,
            0x8000, 0x9001, 0xA001, 0xB001, 0xC001, 0xD001, 0xE001, 0xF001, 0xFFFF,
        };
        for (const Image::Code& code : m_image.code())
            for (const Image::Instruction& instruction : code.instructions)
                for (unsigned int word : words)
                    Word(instruction.at, word);
    }

    void Word(size_t at, unsigned int word)
    {
        if (!m_visitor->Wants())
            return;
        std::string bytes = m_image.bytes();
        Image::SetWord(&bytes, at, word);
        m_visitor->Take("word at " + Hex(at) + " = " + Hex(word), bytes);
    }

    const Image& m_image;
    MutationVisitor* m_visitor;
};

}  // namespace

void VisitMutations(const Image& image, MutationVisitor* visitor)
{
    Mutator(image, visitor).All();
}
