#include "image/Function.h"

#include <string.h>

#include "image/Dictionary.h"
#include "image/FunctionRecords.h"
#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"

namespace {

// The table of locals: two to the power of so many buckets, first room for so
// many slots.
const int kLocalBits = 8;
const int kLocalBlock = 64;

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Narrows a piece of text to what stands between its white space.
void Strip(const char** text, int* length)
{
    while (*length > 0 && IsSpace(**text)) {
        ++*text;
        --*length;
    }
    while (*length > 0 && IsSpace((*text)[*length - 1]))
        --*length;
}

void CopyEntry(Dictionary* dictionary, int index, String* name)
{
    int length;
    const char* text = dictionary->Entry(index, &length);
    name->assign(text, length);
}

}  // namespace

const String& FunctionParameter::name()
{
    if (!m_has_name)
        CopyEntry(m_dictionary, m_name_index, &m_name);
    m_has_name = true;
    return m_name;
}

Function::Function(Dictionary* dictionary, int name_index, int flags, int segment, int offset)
    : m_flags(flags),
      m_name_index(name_index),
      m_parameters(1),
      m_segment(segment),
      m_offset(offset),
      m_dictionary(dictionary),
      m_locals(dictionary, kLocalBits, kLocalBlock)
{
}

Function::Function(ZephApplication* application, Dictionary* dictionary, Function& source)
    : m_index(source.m_index),
      m_flags(source.m_flags),
      m_name_index(source.m_name_index),
      m_parameters(1),
      m_segment(source.m_segment),
      m_offset(source.m_offset),
      m_dictionary(dictionary),
      m_locals(application, dictionary, source.m_locals)
{
    List<FunctionParameter>* parameters = &source.m_parameters;
    for (FunctionParameter* parameter = parameters->First(); parameter;
         parameter = parameters->Next())
        m_parameters.Insert(new FunctionParameter(dictionary, parameter->name_index(),
                                                  parameter->flags(), parameter->slot()),
                            kListTail);
}

Function::Function(int name_index, Function* source, Dictionary* dictionary)
    : Function(dictionary, name_index, source->m_flags, -1, -1)
{
}

bool Function::Failed(const String& text)
{
    m_error = text;
    return false;
}

const String& Function::name()
{
    if (!m_has_name)
        CopyEntry(m_dictionary, m_name_index, &m_name);
    m_has_name = true;
    return m_name;
}

void Function::SetCode(int segment, int offset)
{
    m_segment = segment;
    m_offset = offset;
}

void Function::CountPlainParameters()
{
    int count = 0;
    bool is_plain = true;
    for (FunctionParameter* parameter = m_parameters.First(); parameter;
         parameter = m_parameters.Next())
        is_plain = is_plain && parameter->flags() == 0 && parameter->slot() == count++;
    m_plain_parameters = is_plain && count <= m_locals.Entries() ? count : -1;
}

int Function::AddParameter(int flags, const char* name, int length)
{
    if (length < 0)
        length = int(strlen(name));
    int index = m_dictionary->Entry_Add(name, length);
    int slot = m_locals.Insert(index, name, length, nullptr);
    m_plain_parameters = kUnknown;
    m_parameters.Insert(new FunctionParameter(m_dictionary, index, flags, slot), kListTail);
    return slot;
}

void Function::SetParameters(const char* list, int length)
{
    if (length < 0)
        length = int(strlen(list));
    if (length == 0)
        return;
    const char* end = list + length;
    for (;;) {
        const void* comma = memchr(list, ',', size_t(end - list));
        const char* piece_end = comma ? static_cast<const char*>(comma) : end;
        AddDeclaredParameter(list, int(piece_end - list));
        if (!comma)
            return;
        list = piece_end + 1;
    }
}

void Function::AddDeclaredParameter(const char* piece, int length)
{
    Strip(&piece, &length);
    int name_length = 0;
    while (name_length < length && !IsSpace(piece[name_length]))
        ++name_length;
    const char* rest = piece + name_length;
    int rest_length = length - name_length;
    Strip(&rest, &rest_length);
    bool is_reference = rest_length > 0 && String(rest, rest_length).matches("var", 0);
    AddParameter(is_reference ? FunctionParameter::kByReference : 0, piece, name_length);
}

bool Function::Read(TaggedFile* file, int parameter_count)
{
    if (parameter_count != 0 && !ReadParameters(file, parameter_count))
        return false;
    return m_locals.Read(file) || Failed(m_locals.error());
}

bool Function::ReadParameters(TaggedFile* file, int count)
{
    if (count < 0 || count > kMaximumParameters)
        return Failed("function_header.parameter_count out of range");
    SectionBytes records;
    if (!records.Read(file, (long long)kParameterSize * count))
        return Failed(file->error());
    for (int i = 0; i < count; ++i) {
        const unsigned char* record = records.bytes() + (long long)kParameterSize * i;
        int name = GetDword(record + kParameterNameAt);
        if (!m_dictionary->Entry(name, nullptr))
            return Failed("Invalid function parameter name index");
        m_parameters.Insert(
            new FunctionParameter(m_dictionary, name, GetDword(record + kParameterFlagsAt),
                                  GetDword(record + kParameterSlotAt)),
            kListTail);
    }
    return true;
}

bool Function::Write(TaggedFile* file)
{
    char header[kFunctionSize];
    PutDword(header + kFunctionNameAt, m_name_index);
    PutDword(header + kFunctionParametersAt, m_parameters.Entries());
    PutDword(header + kFunctionFlagsAt, m_flags);
    PutDword(header + kFunctionSegmentAt, m_segment);
    PutDword(header + kFunctionOffsetAt, m_offset);
    if (file->Section_Write(header, kFunctionSize) != kFunctionSize)
        return Failed(file->error());
    for (FunctionParameter* parameter = m_parameters.First(); parameter;
         parameter = m_parameters.Next()) {
        char record[kParameterSize];
        PutDword(record + kParameterNameAt, parameter->name_index());
        PutDword(record + kParameterFlagsAt, parameter->flags());
        PutDword(record + kParameterSlotAt, parameter->slot());
        if (file->Section_Write(record, kParameterSize) != kParameterSize)
            return Failed(file->error());
    }
    return m_locals.Write(file) || Failed(m_locals.error());
}
