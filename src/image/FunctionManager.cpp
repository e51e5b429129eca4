#include "image/FunctionManager.h"

#include <stdlib.h>
#include <string.h>

#include "image/BucketRecords.h"
#include "image/Dictionary.h"
#include "image/FunctionRecords.h"
#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/NameOrder.h"
#include "variables/allocation.h"

namespace {

const int kTag = SectionTag('f', 'u', 'n', 'c');
const int kNextSize = 4;

// Functions by which the table grows.
const int kBlock = 64;

const BucketRecordRules kRules = {
    7,
    kMaximumFunctions,
    "function_list_header.bucket_bits out of range",
    "function_list_header.function_count out of range",
    "function_list_header.bucket_entries out of range",
    "function_hash_bucket.index out of range",
};

void DeleteFunctions(Function** functions, int count)
{
    for (int i = 0; i < count; ++i)
        delete functions[i];
    free(functions);
}

}  // namespace

FunctionManager::FunctionManager(Dictionary* dictionary, int bucket_bits)
    : m_dictionary(dictionary), m_chains(bucket_bits)
{
}

FunctionManager::FunctionManager(ZephApplication* application, Dictionary* dictionary,
                                 FunctionManager& source)
    : m_dictionary(dictionary),
      m_chains(source.m_chains.bits()),
      m_capacity(source.m_count),
      m_count(source.m_count)
{
    m_chains.CopyFrom(source.m_chains);
    m_functions = static_cast<Function**>(ZeroedMemory(size_t(m_count), sizeof(Function*)));
    for (int i = 0; i < m_count; ++i)
        m_functions[i] = new Function(application, dictionary, *source.m_functions[i]);
}

FunctionManager::~FunctionManager()
{
    DeleteFunctions(m_functions, m_count);
}

bool FunctionManager::Failed(const String& text)
{
    Error(text);
    return false;
}

unsigned int FunctionManager::hash(const char* name, int length) const
{
    return m_chains.Bucket(NameHash(name, length < 0 ? int(strlen(name)) : length));
}

const char* FunctionManager::Name(int index, int* length)
{
    return m_dictionary->Entry(m_functions[index]->name_index(), length);
}

Function* FunctionManager::Function_Get(const char* name, int length)
{
    if (length < 0)
        length = int(strlen(name));
    int index = FindNameInOrder(m_chains, m_count, name, length,
                                [this](int candidate, int* size) { return Name(candidate, size); });
    return Index(index);
}

int FunctionManager::Function_Add(Function* function, const char* name, int length)
{
    if (length < 0)
        length = int(strlen(name));
    if (m_count == m_capacity) {
        m_capacity += kBlock;
        m_functions = static_cast<Function**>(
            GrownMemory(m_functions, size_t(m_capacity), sizeof(Function*)));
        m_chains.Grow(m_capacity);
    }
    m_functions[m_count] = function;
    function->SetIndex(m_count);
    LinkName(&m_chains, m_count, name, length,
             [this](int candidate, int* size) { return Name(candidate, size); });
    return m_count++;
}

int FunctionManager::Function_Add(const char* name, int length, int flags)
{
    int index = m_dictionary->Entry_Add(name, length);
    Function* function = new Function(m_dictionary, index, flags | Function::kExternal, -1, -1);
    return Function_Add(function, name, length);
}

int FunctionManager::Function_Add(int segment, int offset, const char* name, int length,
                                  const char* parameters, int parameters_length, int flags)
{
    int index = m_dictionary->Entry_Add(name, length);
    Function* function = new Function(m_dictionary, index, flags, segment, offset);
    function->SetParameters(parameters, parameters_length);
    return Function_Add(function, name, length);
}

int FunctionManager::Function_Add(Function* source)
{
    const String& name = source->name();
    int index = m_dictionary->Entry_Add(name.data(), name.length());
    Function* function = new Function(index, source, m_dictionary);
    List<FunctionParameter>* parameters = source->parameters();
    for (FunctionParameter* parameter = parameters->First(); parameter;
         parameter = parameters->Next()) {
        const String& text = parameter->name();
        function->AddParameter(parameter->flags(), text.data(), text.length());
    }
    return Function_Add(function, name.data(), name.length());
}

bool FunctionManager::Read(TaggedFile* file)
{
    if (!file->Section_Read_Start(kTag, nullptr))
        return Failed(file->error());
    BucketRecordHeader header;
    if (!ReadBucketHeader(file, kRules, &header, &m_error))
        return false;
    HashChains chains(header.bits);
    if (!ReadBuckets(file, kRules, header, &chains, &m_error))
        return false;
    if (!ReadNext(file, &chains, header.count))
        return false;
    Function** functions =
        static_cast<Function**>(ZeroedMemory(size_t(header.count), sizeof(Function*)));
    for (int i = 0; i < header.count; ++i) {
        functions[i] = ReadFunction(file, i);
        if (!functions[i]) {
            DeleteFunctions(functions, i);
            return false;
        }
    }
    file->Section_Read_End();
    DeleteFunctions(m_functions, m_count);
    m_functions = functions;
    m_capacity = m_count = header.count;
    m_chains.Swap(chains);
    return true;
}

// Chains are taken as they stand.
bool FunctionManager::ReadNext(TaggedFile* file, HashChains* chains, int count)
{
    SectionBytes records;
    if (!records.Read(file, (long long)kNextSize * count))
        return Failed(file->error());
    chains->Grow(count);
    for (int i = 0; i < count; ++i)
        chains->SetNext(i, GetDword(records.bytes() + (long long)kNextSize * i));
    return true;
}

Function* FunctionManager::ReadFunction(TaggedFile* file, int index)
{
    SectionBytes header;
    if (!header.Read(file, kFunctionSize)) {
        Error(file->error());
        return nullptr;
    }
    const unsigned char* bytes = header.bytes();
    int name = GetDword(bytes + kFunctionNameAt);
    if (!m_dictionary->Entry(name, nullptr)) {
        Error("Invalid function header name index");
        return nullptr;
    }
    Function* function =
        new Function(m_dictionary, name, GetDword(bytes + kFunctionFlagsAt),
                     GetDword(bytes + kFunctionSegmentAt), GetDword(bytes + kFunctionOffsetAt));
    function->SetIndex(index);
    if (function->Read(file, GetDword(bytes + kFunctionParametersAt)))
        return function;
    Error(function->error());
    delete function;
    return nullptr;
}

bool FunctionManager::Write(TaggedFile* file)
{
    file->Section_Start(kTag);
    if (!WriteBuckets(file, kRules, m_chains, m_count, &m_error))
        return false;
    for (int i = 0; i < m_count; ++i) {
        char next[kNextSize];
        PutDword(next, m_chains.Next(i));
        if (!WriteSection(file, next, kNextSize, &m_error))
            return false;
    }
    for (int i = 0; i < m_count; ++i)
        if (!m_functions[i]->Write(file))
            return Failed(m_functions[i]->error());
    return true;
}
