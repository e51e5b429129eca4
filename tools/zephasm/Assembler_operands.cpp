#include <errno.h>
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "image/Function.h"
#include "zephasm/Assembler.h"

namespace {

const long long kLowestInteger = -0x80000000LL;
const long long kHighestInteger = 0xFFFFFFFFLL;

const char kIntegerExpected[] = "an integer of 32 bits";
const char kDoubleExpected[] = "a number, inf, nan or 16 hexadecimal digits behind 0x";

// A decimal number, or hexadecimal digits behind 0x, with a sign or none.
bool ParseInteger(const char* text, long long* value)
{
    const char* digits = text + (*text == '-' || *text == '+');
    bool is_hex = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    const char* allowed = is_hex ? "0123456789abcdefABCDEF" : "0123456789";
    digits += is_hex ? 2 : 0;
    if (!*digits || digits[strspn(digits, allowed)] != 0)
        return false;
    errno = 0;
    long long amount = strtoll(digits, nullptr, is_hex ? 16 : 10);
    *value = *text == '-' ? -amount : amount;
    return errno == 0;
}

bool IsRawDouble(const char* text)
{
    return text[0] == '0' && text[1] == 'x' && strlen(text) == 18 &&
           text[2 + strspn(text + 2, "0123456789abcdefABCDEF")] == 0;
}

bool ParseDouble(const char* text, double* value)
{
    if (IsRawDouble(text)) {
        unsigned long long bits = strtoull(text, nullptr, 16);
        memcpy(value, &bits, sizeof bits);
        return true;
    }
    const char* first = text + (*text == '-' || *text == '+');
    if (strcmp(first, "inf") == 0) {
        *value = *text == '-' ? -INFINITY : INFINITY;
        return true;
    }
    if (strcmp(text, "nan") == 0) {
        unsigned long long bits = 0x7FF8000000000000;
        memcpy(value, &bits, sizeof bits);
        return true;
    }
    if (!*first || !strchr("0123456789.", *first))
        return false;
    char* end;
    *value = strtod(text, &end);
    return *end == 0 && !isinf(*value);
}

}  // namespace

bool Assembler::Error(int column, const char* format, ...)
{
    char piece[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(piece, sizeof piece, format, arguments);
    va_end(arguments);
    TextBuffer text;
    text.Add(piece);
    return ErrorAt({m_line_number, column}, text);
}

// Gives false, for return statements.
bool Assembler::ErrorAt(Place place, const TextBuffer& text)
{
    if (m_errors >= kMaximumErrors)
        return false;
    ++m_errors;
    m_messages->Add(m_file);
    m_messages->Format(":%d:%d: ", place.line, place.column);
    m_messages->Add(text.text(), text.length());
    m_messages->Add("\n");
    if (m_errors == kMaximumErrors) {
        m_messages->Add(m_file);
        m_messages->Add(": too many errors\n");
    }
    return false;
}

bool Assembler::Expected(const char* what)
{
    const Token& token = Peek();
    TextBuffer text;
    text.Format("expected %s, found ", what);
    if (token.kind == TokenKind::kEnd)
        text.Add("the end of the line");
    else
        text.AddQuoted(m_line.Text(token), token.length);
    return ErrorAt({m_line_number, token.column}, text);
}

bool Assembler::PeekIs(TokenKind kind, char c)
{
    const Token& token = Peek();
    return token.kind == kind && m_line.Text(token)[0] == c;
}

bool Assembler::PeekName()
{
    const Token& token = Peek();
    return token.kind == TokenKind::kString ||
           (token.kind == TokenKind::kWord && IsBareName(m_line.Text(token), token.length));
}

bool Assembler::AtEnd()
{
    return Peek().kind == TokenKind::kEnd || Expected("the end of the line");
}

// Takes the word or mark if it is the next token.
bool Assembler::Skip(const char* word)
{
    if (!m_line.Is(Peek(), TokenKind::kWord, word) && !m_line.Is(Peek(), TokenKind::kMark, word))
        return false;
    ++m_next;
    return true;
}

bool Assembler::TakeMark(char mark, const char* what)
{
    if (!PeekMark(mark))
        return Expected(what);
    ++m_next;
    return true;
}

bool Assembler::TakeNumber(long long low, long long high, const char* what, int* value)
{
    long long number;
    const Token& token = Peek();
    if (token.kind != TokenKind::kWord || !ParseInteger(m_line.Text(token), &number) ||
        number < low || number > high)
        return Expected(what);
    ++m_next;
    *value = int(unsigned(number));
    return true;
}

bool Assembler::TakeDouble(double* value)
{
    const Token& token = Peek();
    if (token.kind != TokenKind::kWord || !ParseDouble(m_line.Text(token), value))
        return Expected(kDoubleExpected);
    ++m_next;
    return true;
}

// A plain index, '#' and a number. False, without a message, for anything else.
bool Assembler::TakeIndex(int* index)
{
    long long number;
    if (!PeekIs(TokenKind::kWord, '#') || !ParseInteger(m_line.Text(Peek()) + 1, &number) ||
        number < kLowestInteger || number > kHighestInteger)
        return false;
    ++m_next;
    *index = int(unsigned(number));
    return true;
}

bool Assembler::TakeText(const char* what, int* index)
{
    if (TakeIndex(index))
        return true;
    if (!PeekName())
        return Expected(what);
    const Token& token = Peek();
    *index = m_image->Text(m_line.Text(token), token.length);
    ++m_next;
    return true;
}

bool Assembler::TakeString(const char* what, const Token** token)
{
    *token = &Peek();
    if ((*token)->kind != TokenKind::kString)
        return Expected(what);
    ++m_next;
    return true;
}

// A variable that was not declared is declared here.
bool Assembler::TakeSlot(SlotTable* table, const char* what, int* slot)
{
    if (TakeIndex(slot))
        return true;
    if (!PeekName())
        return Expected(what);
    const Token& token = Peek();
    *slot = table->Find(m_line.Text(token), token.length);
    if (*slot < 0)
        *slot = table->Declare(m_image->Text(m_line.Text(token), token.length));
    ++m_next;
    return true;
}

bool Assembler::TakeLocal(int* slot)
{
    if (!m_function)
        return TakeSlot(m_image->global(), "a global variable or #slot", slot);
    if (TakeIndex(slot))
        return true;
    if (!PeekName())
        return Expected("a local variable or #slot");
    const Token& token = Peek();
    *slot = m_function->locals()->Seek(-1, m_line.Text(token), token.length, nullptr);
    if (*slot < 0) {
        TextBuffer text;
        text.Add("there is no local variable ");
        text.AddQuoted(m_line.Text(token), token.length);
        return ErrorAt({m_line_number, token.column}, text);
    }
    ++m_next;
    return true;
}

bool Assembler::TakeName(Operand* operand, const char* what)
{
    if (!PeekName())
        return Expected(what);
    operand->name = &Peek();
    ++m_next;
    return true;
}

bool Assembler::TakeJump(Operand* operand)
{
    static const char kExpected[] = "a label, or a distance with its sign";
    if (PeekIs(TokenKind::kWord, '+') || PeekIs(TokenKind::kWord, '-'))
        return TakeNumber(kLowestInteger, kHighestInteger, kExpected, &operand->value);
    return TakeIndex(&operand->value) || TakeName(operand, kExpected);
}

bool Assembler::TakeOperand(Operand* operand)
{
    switch (operand->kind) {
        case OperandKind::kNone:
            return true;
        case OperandKind::kText:
            return TakeText("a text or #index", &operand->value);
        case OperandKind::kSystem:
            return TakeSlot(m_image->system(), "a system variable or #slot", &operand->value);
        case OperandKind::kGlobal:
            return TakeSlot(m_image->global(), "a global variable or #slot", &operand->value);
        case OperandKind::kLocal:
            return TakeLocal(&operand->value);
        case OperandKind::kFunction:
            return TakeIndex(&operand->value) || TakeName(operand, "a function or #index");
        case OperandKind::kJump:
            return TakeJump(operand);
        case OperandKind::kInteger:
            return TakeNumber(kLowestInteger, kHighestInteger, kIntegerExpected, &operand->value);
        case OperandKind::kDouble:
            return TakeDouble(&operand->number);
    }
    return false;
}
