#include <string.h>

#include "image/Function.h"
#include "image/Segment.h"
#include "zephasm/Assembler.h"

namespace {

// Names of the bits that a function has, as they are written.
const struct {
    const char* name;
    int flag;
} kFunctionFlags[] = {
    {"external", Function::kExternal},
    {"output", Function::kSetsOutputBit0},
    {"showerrors", Function::kSetsErrorBit2},
    {"hideerrors", Function::kClearsErrorBit2},
    {"inheritoutput", Function::kInheritsOutput},
};

const char* const kBucketNames[kBucketTables] = {"system", "global", "functions", "languages"};

const long long kLowestInteger = -0x80000000LL;
const long long kHighestInteger = 0xFFFFFFFFLL;

// The most buckets that readers allow: two to the power of this. One bit more than
// the bits of a number stands for a single bucket.
const int kMaximumBits = 28;
const int kSingleBucketBits = 32;

}  // namespace

const Assembler::Directive Assembler::kDirectives[] = {
    {".version", &Assembler::Version},
    {".flags", &Assembler::Flags},
    {".identifier", &Assembler::Identifier},
    {".buckets", &Assembler::Buckets},
    {".text", &Assembler::Text},
    {".system", &Assembler::System},
    {".global", &Assembler::Global},
    {".local", &Assembler::Local},
    {".segment", &Assembler::StartSegment},
    {".function", &Assembler::StartFunction},
    {".endfunction", &Assembler::EndFunction},
    {".external", &Assembler::External},
    {".byte", &Assembler::Bytes},
    {".word", &Assembler::Words},
    {".language", &Assembler::Language},
    {".localized", &Assembler::Localized},
    {".piece", &Assembler::Piece},
    {nullptr, nullptr},
};

void Assembler::Version()
{
    int version;
    if (TakeNumber(1, kHighestInteger, "a version", &version) && AtEnd())
        m_image->SetVersion(version);
}

void Assembler::Flags()
{
    do {
        int flags = Dictionary::kNoTrace;
        if (!Skip("notrace") &&
            !TakeNumber(kLowestInteger, kHighestInteger, "notrace or a number", &flags))
            return;
        m_image->AddFlags(flags);
    } while (Peek().kind != TokenKind::kEnd);
}

void Assembler::Identifier()
{
    const Token& token = Peek();
    const char* digits = m_line.Text(token);
    const int length = 2 * ImageBuilder::kIdentifierSize;
    if (token.kind != TokenKind::kWord || token.length != length ||
        strspn(digits, "0123456789abcdefABCDEF") != size_t(length)) {
        Expected("32 hexadecimal digits");
        return;
    }
    char bytes[ImageBuilder::kIdentifierSize];
    for (int i = 0; i < ImageBuilder::kIdentifierSize; ++i) {
        char pair[3] = {digits[2 * i], digits[2 * i + 1], 0};
        bytes[i] = static_cast<char>(strtoul(pair, nullptr, 16));
    }
    ++m_next;
    if (AtEnd())
        m_image->SetIdentifier(bytes);
}

void Assembler::Buckets()
{
    int table = 0;
    while (table < kBucketTables && !Skip(kBucketNames[table]))
        ++table;
    if (table == kBucketTables) {
        Expected("system, global, functions or languages");
        return;
    }
    static const char kExpected[] = "a number from 0 to 28, or 32";
    int bits;
    Place place = {m_line_number, Peek().column};
    int high = m_line.Is(Peek(), TokenKind::kWord, "32") ? kSingleBucketBits : kMaximumBits;
    if (!TakeNumber(0, high, kExpected, &bits) || !AtEnd())
        return;
    m_image->SetBucketBits(static_cast<BucketTable>(table), bits);
    m_bucket_places[table] = place;
}

void Assembler::Text()
{
    const Token* text;
    if (TakeString("a text in quotes", &text) && AtEnd())
        m_image->AddText(m_line.Text(*text), text->length);
}

void Assembler::System()
{
    int name;
    if (TakeText("a name or #index", &name) && AtEnd())
        m_image->system()->Declare(name);
}

void Assembler::Global()
{
    int name;
    if (TakeText("a name or #index", &name) && AtEnd())
        m_image->global()->Declare(name);
}

void Assembler::Local()
{
    int name;
    if (!m_function)
        Error(m_line.At(m_next - 1).column,
              "a local variable belongs between .function and .endfunction");
    else if (TakeText("a name or #index", &name) && AtEnd())
        m_function->locals()->Insert(name);
}

void Assembler::StartSegment()
{
    CloseFunction("the next segment");
    m_segment = m_image->AddSegment();
    const Token& token = Peek();
    if (Skip("start")) {
        if (m_has_start)
            Error(token.column, "there is another start segment");
        else
            m_image->SetStart(m_segment);
        m_has_start = true;
    }
    AtEnd();
}

// A function that is left open is closed, with a fault.
void Assembler::CloseFunction(const char* where)
{
    if (!m_function)
        return;
    m_function = nullptr;
    TextBuffer text;
    text.Format("this function has no .endfunction in front of %s", where);
    ErrorAt(m_function_place, text);
}

// The entry point is here, or where "at" tells.
void Assembler::StartFunction()
{
    int column = m_line.At(m_next - 1).column;
    CloseFunction("the next function");
    Function* function;
    bool is_sound = TakeFunction(0, &function);
    m_function_place = {m_line_number, column};
    m_function = function ? function : m_image->AddFunction(-1, 0);
    if (!is_sound)
        return;
    if (!Skip("at")) {
        if (AtEnd() && NeedsSegment())
            function->SetCode(m_segment->number(), m_segment->size());
        return;
    }
    int segment, offset;
    if (TakeNumber(kLowestInteger, kHighestInteger, "a segment number", &segment) &&
        TakeNumber(kLowestInteger, kHighestInteger, "an offset", &offset) && AtEnd())
        function->SetCode(segment, offset);
}

void Assembler::EndFunction()
{
    if (!m_function)
        Error(m_line.At(m_next - 1).column, "there is no open function");
    else
        AtEnd();
    m_function = nullptr;
}

void Assembler::External()
{
    Function* function;
    if (TakeFunction(Function::kExternal, &function))
        AtEnd();
}

// Name, parameters and flags; false, after a message, when there is a fault. What was
// read of a faulty one stays, so that calls of it and uses of its parameters are no
// further faults. `function` is null only when there is no name.
bool Assembler::TakeFunction(int flags, Function** function)
{
    *function = nullptr;
    int name;
    if (!TakeText("a name or #index", &name))
        return false;
    int behind_name = m_next;
    bool are_flags_sound = TakeFunctionFlags(&flags);
    int behind_flags = m_next;
    m_next = behind_name;
    *function = m_image->AddFunction(name, flags);
    if (!TakeParameters(*function))
        return false;
    m_next = behind_flags;
    return are_flags_sound;
}

// The flags stand behind the parameters, but are read first.
bool Assembler::TakeFunctionFlags(int* flags)
{
    while (Peek().kind != TokenKind::kEnd && !Skip(")"))
        ++m_next;
    while (Peek().kind != TokenKind::kEnd && !m_line.Is(Peek(), TokenKind::kWord, "at")) {
        int flag = 0;
        for (const auto& known : kFunctionFlags)
            if (flag == 0 && Skip(known.name))
                flag = known.flag;
        if (flag == 0 && !TakeNumber(kLowestInteger, kHighestInteger,
                                     "a flag of the function, a number or at", &flag))
            return false;
        *flags |= flag;
    }
    return true;
}

bool Assembler::TakeParameters(Function* function)
{
    static const char kEnd[] = "\",\" or \")\"";
    if (!TakeMark('(', "\"(\""))
        return false;
    if (Skip(")"))
        return true;
    do {
        if (!TakeParameter(function))
            return false;
    } while (Skip(","));
    return TakeMark(')', kEnd);
}

// A parameter is a local variable of its own, unless it names another one's slot.
bool Assembler::TakeParameter(Function* function)
{
    int name;
    if (!TakeText("a name or #index", &name))
        return false;
    int flags = Skip("var") ? FunctionParameter::kByReference : 0;
    if (Skip("flags") && !TakeNumber(kLowestInteger, kHighestInteger, "a number", &flags))
        return false;
    if (!Skip("slot")) {
        m_image->AddParameter(function, name, flags);
        return true;
    }
    int slot;
    if (!TakeNumber(kLowestInteger, kHighestInteger, "a slot", &slot))
        return false;
    m_image->AddParameter(function, name, flags, slot);
    return true;
}

bool Assembler::NeedsSegment()
{
    return m_segment || Error(m_line.At(0).column, "code must stand behind .segment");
}

void Assembler::Bytes()
{
    Numbers(1, 0xFF, "a number from 0 to 255");
}

void Assembler::Words()
{
    Numbers(2, 0xFFFF, "a number from 0 to 0xFFFF");
}

void Assembler::Numbers(int width, long long high, const char* what)
{
    if (!NeedsSegment())
        return;
    do {
        int value;
        if (!TakeNumber(0, high, what, &value))
            return;
        int position = m_segment->size();
        if (width == 1)
            position = m_segment->Write_Byte(position, static_cast<unsigned char>(value));
        else
            position = m_segment->Write_Word(position, static_cast<unsigned short>(value));
        if (position < 0) {
            Error(1, "the segment is too large");
            return;
        }
        Skip(",");
    } while (Peek().kind != TokenKind::kEnd);
}

void Assembler::Language()
{
    int name;
    if (m_image->languages() == ImageBuilder::kMostLanguages)
        Error(m_line.At(m_next - 1).column, "a file has 65536 languages at most");
    else if (TakeText("a name or #index", &name) && AtEnd())
        m_image->AddLanguage(name);
}

// .localized KEY LANGUAGE, then the pieces of the text, or the number of its first.
void Assembler::Localized()
{
    int key;
    if (!TakeText("a text or #index", &key))
        return;
    const Token& token = Peek();
    int language;
    if (!TakeIndex(&language)) {
        if (!PeekName()) {
            Expected("a language or #number");
            return;
        }
        language = m_image->FindLanguage(m_line.Text(token), token.length);
        ++m_next;
    }
    if (language < 0 || language >= m_image->languages()) {
        TextBuffer text;
        text.Add("there is no language ");
        text.AddQuoted(m_line.Text(token), token.length);
        ErrorAt({m_line_number, token.column}, text);
        return;
    }
    int first;
    if (TakeFirst(&first))
        m_image->AddLocalized(language, key, first);
}

// The pieces of one text stand one behind the other; a text without any has no first.
bool Assembler::TakeFirst(int* first)
{
    if (TakeIndex(first))
        return AtEnd();
    *first = Peek().kind == TokenKind::kEnd ? -1 : m_image->pieces();
    while (Peek().kind != TokenKind::kEnd) {
        int type, identifier;
        if (!TakePiece(&type, &identifier))
            return false;
        bool is_last = Peek().kind == TokenKind::kEnd;
        m_image->AddPiece(type, identifier, is_last ? -1 : m_image->pieces() + 1);
    }
    return true;
}

// A text, or '$' and the name of a variable.
bool Assembler::TakePiece(int* type, int* identifier)
{
    bool is_variable = Skip("$");
    *type = is_variable ? LocalizedDictionaryEntry::kVariable : LocalizedDictionaryEntry::kText;
    return TakeText(is_variable ? "a name or #index" : "a text, $name or #number", identifier);
}

// One piece by itself, with the number of the one that follows it.
void Assembler::Piece()
{
    int type, identifier;
    int next = -1;
    if (!TakePiece(&type, &identifier))
        return;
    if (Skip("next") &&
        !TakeNumber(kLowestInteger, kHighestInteger, "the number of a piece", &next))
        return;
    if (AtEnd())
        m_image->AddPiece(type, identifier, next);
}
