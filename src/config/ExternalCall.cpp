#include "config/ExternalCall.h"

#include <stdlib.h>

#include "variables/allocation.h"

namespace {

const int kGrowth = 16;

// What a function library's zeph_function_table() returns: a word of the library's
// own, and its functions up to one without a name.
struct FunctionTable {
    long long reserved;
    const void* functions;
};

typedef const FunctionTable* (*FunctionTableEntry)();

}  // namespace

ExternalCallManager::~ExternalCallManager()
{
    free(m_registered);
}

bool ExternalCallManager::RegisterDSO(const char* path)
{
    ExternalLibrary* library = m_libraries->Lookup(path);
    if (!library) {
        m_error = m_libraries->error();
        return false;
    }
    auto entry = reinterpret_cast<FunctionTableEntry>(library->Get_Function("zeph_function_table"));
    if (!entry) {
        m_error = library->error();
        return false;
    }
    const FunctionTable* table = entry();
    if (!table) {
        m_error = "Unable to retrieve function descriptor table";
        return false;
    }
    Append({library, table->functions});
    return true;
}

void ExternalCallManager::Append(const Registered& entry)
{
    if (m_count == m_capacity) {
        m_capacity += kGrowth;
        m_registered = static_cast<Registered*>(
            GrownMemory(m_registered, size_t(m_capacity), sizeof(Registered)));
    }
    m_registered[m_count++] = entry;
}
