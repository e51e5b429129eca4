// What goes wrong in a running script: the texts, who is told, and whether it goes on.

#include <utility>

#include "app/LogParameter.h"
#include "app/ZephApplication.h"
#include "primitives/conversions.h"
#include "variables/VariableHash.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"

namespace {

// Bit of a frame's error output flags: the message of a runtime error may be shown.
const int kShowsErrors = 4;

// Of an error in no known tag.
const TagErrorSetting kUnknownTag = {-1, nullptr, nullptr,
                                     TagErrorSetting::kFatal | TagErrorSetting::kDisplay};

bool IsRow(int tag)
{
    return unsigned(tag) < unsigned(kTagErrorRows);
}

// A number of "[%08x:%08x]".
void PutHex(char* out, unsigned int value)
{
    for (int digit = 7; digit >= 0; --digit, value >>= 4)
        out[digit] = "0123456789abcdef"[value & 15];
}

}  // namespace

// The head of an error text: prefix, kind, path, position and source line, each of
// the last two only where known.
String ZephVM::Position(const char* kind)
{
    char position[] = "[00000000:00000000]: ";
    PutHex(position + 1, unsigned(m_segment));
    PutHex(position + 10, m_instruction_offset);
    String text = m_error_prefix + kind + m_path + " @ " + position;
    int length = 0;
    const char* source = source_name(&length);
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
    if (Logs(kLogFatalError))
        LogEvent(kLogFatalError, {m_error});
    return 0;
}

// The machine is halted, or set going again, by assignment: a non-fatal error takes back
// a halt that stood before, on purpose.
int ZephVM::RuntimeError(int tag, const String& message)
{
    const TagErrorSetting& row = IsRow(tag) ? m_error_settings[tag] : kUnknownTag;
    String text = Position("Runtime error in ");
    if (IsRow(tag))
        text = text + row.tag_name + ": ";
    text = text + message + "\n";
    std::swap(m_error, text);
    // The last error itself may be told again; it is in the other text now.
    const String& bare = &message == &m_error ? text : message;
    m_halted = (row.setting & TagErrorSetting::kFatal) != 0;
    bool shown = row.setting & TagErrorSetting::kDisplay && m_frame->error_output & kShowsErrors;
    m_application->Notify_RuntimeError(tag, m_error, shown);
    if (row.error_variable)
        m_global_variables->SetVariable(row.error_variable, -1, bare.data(), bare.length());
    if (Logs(kLogRuntimeError))
        LogEvent(kLogRuntimeError, {LogParameter(row.tag_name ? row.tag_name : "", -1), bare});
    return 0;
}

int ZephVM::EncodedRuntimeError(int tag, const String& message)
{
    int length, capacity;
    char* text =
        ZephApplication::EncodeEntities(message.data(), message.length(), &length, &capacity);
    return RuntimeError(tag, String(text, length, capacity));
}

void ZephVM::ClearErrorVariable(int tag)
{
    if (IsRow(tag) && m_error_settings[tag].error_variable)
        m_global_variables->ClearVariable(m_error_settings[tag].error_variable, -1);
}
