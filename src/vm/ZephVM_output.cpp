// Instructions that write, and what a fault of the machine itself says.

#include "app/Output.h"
#include "app/ZephApplication.h"
#include "image/Dictionary.h"
#include "primitives/conversions.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

// A number of "[%08x:%08x]".
void PutHex(char* out, unsigned int value)
{
    for (int digit = 7; digit >= 0; --digit, value >>= 4)
        out[digit] = "0123456789abcdef"[value & 15];
}

}  // namespace

int ZephVM::out()
{
    PoppedText text(m_stack);
    if (m_halted)
        return 0;
    m_application->output()->Write(text.data(), text.length());
    return 1;
}

int ZephVM::out_comp()
{
    PoppedText text(m_stack);
    if (m_halted)
        return 0;
    m_application->output()->Write_Compressed(text.data(), text.length());
    return 1;
}

int ZephVM::stdoutput()
{
    m_frame->standard_output = int(m_a);
    m_application->output()->SetFlags(int(m_a));
    return 1;
}

int ZephVM::erroutput()
{
    m_frame->error_output = int(m_a);
    return 1;
}

int ZephVM::op_errmsg()
{
    PoppedText text(m_stack);
    if (m_halted)
        return 0;
    m_error_prefix.assign(text.data(), text.length());
    return 1;
}

// The head of an error text: prefix, kind, path, position and source line, each of
// the last two only where known.
String ZephVM::Position(const char* kind)
{
    char position[] = "[00000000:00000000]: ";
    PutHex(position + 1, unsigned(m_segment));
    PutHex(position + 10, m_instruction_offset);
    String text = m_error_prefix + kind + m_path + " @ " + position;
    int length = 0;
    const char* source = m_dictionary->Entry(m_source_index, &length);
    if (source && length > 0)
        text += String(source, length) + ": ";
    if (m_line != 0) {
        int digits, capacity;
        char* line = itos(m_line, &digits, &capacity);
        text += "Line " + String(line, digits, capacity) + ": ";
    }
    return text;
}

int ZephVM::FatalError(const String& message)
{
    m_error = Position("Fatal error in ") + message + "\n";
    m_halted = true;
    m_application->Notify_FatalError(m_error);
    return 0;
}
