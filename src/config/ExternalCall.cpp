#include "config/ExternalCall.h"

#include <stdlib.h>
#include <string.h>

#include "image/Function.h"
#include "primitives/memcmpi.h"
#include "variables/Variable.h"
#include "variables/allocation.h"

namespace {

const int kGrowth = 16;

static_assert(sizeof(_ZP_EL_Function) == 32 && sizeof(_ZP_EL_Parameter) == 16);

typedef const _ZP_EL_Table* (*FunctionTableEntry)();

bool HasName(const _ZP_EL_Function* function, const char* name, int length)
{
    return function->name_length == length && memcmpi(function->name, name, length) == 0;
}

}  // namespace

ExternalCall::ExternalCall(const _ZP_EL_Function* function)
    : m_function(function), m_result(new Variable)
{
}

ExternalCall::~ExternalCall()
{
    if (m_result)
        m_result->DecRefCount();
}

int ExternalCall::ParameterFlags(int index) const
{
    if (index < 0 || index >= m_function->parameter_count || !m_function->parameters)
        return 0;
    bool is_reference = m_function->parameters[index].flags & ZP_EL_REFERENCE;
    return is_reference ? FunctionParameter::kByReference : 0;
}

// The result that the script has kept stays as it is; and clearing one that the function
// made a reference would clear what it refers to. A function that is called again before
// it has returned finds no result here, and gets one for itself.
Variable* ExternalCall::Call(ZephVM* vm, VariableHash* parameters)
{
    Variable* result = m_result;
    m_result = nullptr;
    if (result && (result->refcount() > 1 || result->type() == Variable::kReference)) {
        result->DecRefCount();
        result = nullptr;
    }
    if (result)
        result->SetNULL();
    else
        result = new Variable;
    m_function->function(vm, parameters, result, &m_data);
    if (m_result)
        m_result->DecRefCount();
    m_result = result;
    return result;
}

ExternalCallManager::ExternalCallManager(ExternalCallManager& source)
    : m_libraries(source.m_libraries)
{
    for (int i = 0; i < source.m_count; ++i)
        RegisterDSO(source.m_registered[i].library->path().data());
}

// A value's function may still look for others, so they end one by one.
ExternalCallManager::~ExternalCallManager()
{
    for (int slot = 0; slot < m_persistent.Entries(); ++slot) {
        if (ExternalCallPersistentData* data = m_persistent.Index(slot))
            delete m_persistent.Remove(data->key().data(), data->key().length());
    }
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
    const _ZP_EL_Table* table = entry();
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

ExternalCall* ExternalCallManager::Lookup_External(const char* name, int length)
{
    if (length < 0)
        length = int(strlen(name));
    ExternalCall* call = m_calls.Find(name, length);
    if (call)
        return call;
    const _ZP_EL_Function* function = Search(name, length);
    if (!function)
        return nullptr;
    call = new ExternalCall(function);
    m_calls.Insert(call);
    return call;
}

const _ZP_EL_Function* ExternalCallManager::Search(const char* name, int length) const
{
    for (int i = 0; i < m_count; ++i) {
        for (const _ZP_EL_Function* entry = m_registered[i].functions; entry->name; ++entry) {
            if (HasName(entry, name, length))
                return entry;
        }
    }
    return nullptr;
}

// The former value is out of the table before its function runs, which may register again.
void ExternalCallManager::Register_Persistent(ZephVM* vm, const char* key, int length, void* value,
                                              ExternalCallPersistentData::Destructor destructor)
{
    while (ExternalCallPersistentData* former = m_persistent.Remove(key, length))
        delete former;
    m_persistent.Insert(new ExternalCallPersistentData(vm, key, length, value, destructor));
}

void* ExternalCallManager::Lookup_Persistent(const char* key, int length)
{
    ExternalCallPersistentData* found = m_persistent.Find(key, length);
    return found ? found->value() : nullptr;
}
