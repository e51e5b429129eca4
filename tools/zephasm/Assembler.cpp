#include "zephasm/Assembler.h"

#include <string.h>

#include "image/Function.h"
#include "image/Segment.h"

namespace {

// Four hexadecimal digits and nothing else.
bool IsWord(const char* text)
{
    const size_t kDigits = 4;
    return strlen(text) == kDigits && strspn(text, "0123456789abcdefABCDEF") == kDigits;
}

}  // namespace

Assembler::Assembler(const char* file, ImageBuilder* image, TextBuffer* messages)
    : m_file(file), m_image(image), m_messages(messages), m_fixups(1)
{
}

bool Assembler::Assemble(const char* text, long long length)
{
    const char* end = text + length;
    while (text < end && m_errors < kMaximumErrors) {
        const void* found = memchr(text, '\n', size_t(end - text));
        const char* line_end = found ? static_cast<const char*>(found) : end;
        ++m_line_number;
        ReadLine(text, int(line_end - text));
        text = found ? line_end + 1 : end;
    }
    if (m_errors < kMaximumErrors) {
        CloseFunction("the end of the file");
        SetFixups();
        CheckBuckets();
    }
    return m_errors == 0;
}

void Assembler::ReadLine(const char* line, int length)
{
    m_next = 0;
    if (m_line.Split(line, length))
        ReadStatement();
    else
        Error(m_line.column(), "%s", m_line.fault());
}

void Assembler::ReadStatement()
{
    const Token& first = Peek();
    if (first.kind == TokenKind::kEnd)
        return;
    if (first.kind != TokenKind::kWord) {
        Expected("an instruction, a directive or a label");
        return;
    }
    if (m_line.Is(m_line.At(m_next + 1), TokenKind::kMark, ":")) {
        ReadLabel();
        return;
    }
    if (m_line.Text(first)[0] == '.')
        ReadDirective();
    else
        ReadInstruction();
}

// A statement may stand behind the label.
void Assembler::ReadLabel()
{
    if (!PeekName()) {
        Expected("a label");
        return;
    }
    const Token& name = Peek();
    if (!NeedsSegment())
        return;
    if (m_labels.Find(m_line.Text(name), name.length)) {
        Error(name.column, "label \"%s\" stands here for the second time", m_line.Text(name));
        return;
    }
    m_labels.Insert(
        new Label{String(m_line.Text(name), name.length), m_segment->number(), m_segment->size()});
    m_next += 2;
    ReadStatement();
}

void Assembler::ReadDirective()
{
    const Token& name = Peek();
    for (const Directive* directive = kDirectives; directive->name; ++directive) {
        if (m_line.Is(name, TokenKind::kWord, directive->name)) {
            ++m_next;
            (this->*directive->read)();
            return;
        }
    }
    Expected("a directive");
}

void Assembler::ReadInstruction()
{
    const Instruction* instruction = TakeInstruction();
    if (!instruction || !NeedsSegment())
        return;
    Operand operands[2] = {{instruction->kinds[0]}, {instruction->kinds[1]}};
    for (int i = 0; i < instruction->operands(); ++i) {
        if (i > 0)
            Skip(",");
        if (!TakeOperand(&operands[i]))
            return;
    }
    if (AtEnd())
        Emit(*instruction, operands);
}

// An instruction by its name, which several may share: the number of operands tells
// them apart, or a '/' and the word in hexadecimal digits.
const Instruction* Assembler::TakeInstruction()
{
    const Token& token = Peek();
    const char* name = m_line.Text(token);
    const char* slash = strchr(name, '/');
    int length = slash ? int(slash - name) : token.length;
    const Instruction* found = FindInstruction(name, length, -1);
    if (!found) {
        Expected("an instruction, a directive or a label");
        return nullptr;
    }
    ++m_next;
    if (slash) {
        const Instruction* exact = IsWord(slash + 1)
                                       ? FindInstruction(unsigned(strtoul(slash + 1, nullptr, 16)))
                                       : nullptr;
        if (exact && strcmp(exact->name, found->name) == 0)
            return exact;
        Error(token.column, "there is no instruction \"%s\"", name);
        return nullptr;
    }
    int operands = 0;
    for (int i = m_next; i < m_line.count(); ++i)
        operands += !m_line.Is(m_line.At(i), TokenKind::kMark, ",");
    const Instruction* fitting = FindInstruction(name, length, operands);
    return fitting ? fitting : found;
}

void Assembler::Emit(const Instruction& instruction, Operand* operands)
{
    int position = m_segment->size();
    int end = position + InstructionSize(instruction.word);
    position = m_segment->Write_Word(position, static_cast<unsigned short>(instruction.word));
    for (int i = 0; i < 2 && position >= 0; ++i)
        if (operands[i].kind != OperandKind::kNone)
            position = EmitOperand(position, operands[i], end);
    if (position < 0)
        Error(1, "the segment is too large");
}

int Assembler::EmitOperand(int position, const Operand& operand, int end)
{
    if (operand.kind == OperandKind::kDouble)
        return m_segment->Write_Double(position, operand.number);
    if (operand.name) {
        const Token& name = *operand.name;
        m_fixups.Insert(new Fixup{operand.kind,
                                  String(m_line.Text(name), name.length),
                                  {m_line_number, name.column},
                                  m_segment,
                                  position,
                                  end},
                        kListTail);
    }
    return m_segment->Write_Dword(position, operand.value);
}

void Assembler::SetFixups()
{
    for (Fixup* fixup = m_fixups.First(); fixup; fixup = m_fixups.Next()) {
        if (fixup->kind == OperandKind::kJump)
            SetJump(*fixup);
        else
            SetCall(*fixup);
    }
}

void Assembler::SetJump(const Fixup& fixup)
{
    TextBuffer text;
    Label* label = m_labels.Find(fixup.name.data(), fixup.name.length());
    if (label && label->segment == fixup.segment->number()) {
        fixup.segment->Write_Dword(fixup.operand, label->offset - fixup.end);
        return;
    }
    if (!label) {
        text.Add("there is no label ");
        text.AddQuoted(fixup.name.data(), fixup.name.length());
    } else {
        text.Add("label ");
        text.AddQuoted(fixup.name.data(), fixup.name.length());
        text.Add(" stands in another segment");
    }
    ErrorAt(fixup.place, text);
}

void Assembler::SetCall(const Fixup& fixup)
{
    int function = m_image->FindFunction(fixup.name.data(), fixup.name.length());
    if (function >= 0) {
        fixup.segment->Write_Dword(fixup.operand, function);
        return;
    }
    TextBuffer text;
    text.Add("there is no function ");
    text.AddQuoted(fixup.name.data(), fixup.name.length());
    ErrorAt(fixup.place, text);
}

// How many buckets a table can have depends on the names in it, so it is known only now.
void Assembler::CheckBuckets()
{
    for (int i = 0; i < kBucketTables; ++i) {
        TextBuffer fault;
        bool is_told = m_bucket_places[i].line > 0;
        if (is_told && !m_image->BucketsFit(static_cast<BucketTable>(i), &fault))
            ErrorAt(m_bucket_places[i], fault);
    }
}
