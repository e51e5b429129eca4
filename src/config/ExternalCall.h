#ifndef ZEPH_CONFIG_EXTERNALCALL_H
#define ZEPH_CONFIG_EXTERNALCALL_H

#include "config/ExternalLibrary.h"
#include "variables/HashTable.h"
#include "variables/StringClass.h"
#include "zeph/extension.h"

class Variable;
class VariableHash;
class ZephVM;

// A function of a library as scripts call it: the library's descriptor, which is borrowed,
// a word that the function may keep something in for the run, and its result. The result
// is used again by the next call, unless somebody has kept it.
class ExternalCall {
public:
    explicit ExternalCall(const _ZP_EL_Function* function);
    ExternalCall(const ExternalCall&) = delete;
    ExternalCall& operator=(const ExternalCall&) = delete;

    // The order of these is binary interface.

    virtual ~ExternalCall();
    // Calls the function. Its result is borrowed, and stands until the next call.
    virtual Variable* Call(ZephVM* vm, VariableHash* parameters);

    const _ZP_EL_Function* function() const { return m_function; }
    const char* name(int* length) const
    {
        *length = m_function->name_length;
        return m_function->name;
    }
    int parameters() const { return m_function->parameter_count; }
    // As FunctionParameter::flags of the same declaration; 0 for a parameter that the
    // library does not declare.
    int ParameterFlags(int index) const;

private:
    const _ZP_EL_Function* m_function;
    void* m_data = nullptr;  // the library's
    Variable* m_result;      // holds one count; null while a call has it
};

class ExternalCalls : public HashTable<ExternalCall> {
public:
    ExternalCalls() : HashTable(1, 1, 8, 16) {}

protected:
    const char* Key(ExternalCall* call, int* length) override { return call->name(length); }
};

// A value that an extension keeps for the run, under a name of its own. Ends by the
// function that came with it.
class ExternalCallPersistentData {
public:
    typedef void (*Destructor)(void* vm, void* value);

    // `destructor` may be null. `vm` is only handed back to it: at the end of a request
    // the machine has ended before.
    ExternalCallPersistentData(ZephVM* vm, const char* key, int length, void* value,
                               Destructor destructor)
        : m_vm(vm), m_key(key, length), m_value(value), m_destructor(destructor)
    {
    }
    ExternalCallPersistentData(const ExternalCallPersistentData&) = delete;
    ExternalCallPersistentData& operator=(const ExternalCallPersistentData&) = delete;
    ~ExternalCallPersistentData()
    {
        if (m_destructor)
            m_destructor(m_vm, m_value);
    }

    const String& key() const { return m_key; }
    void* value() const { return m_value; }

private:
    ZephVM* m_vm;
    String m_key;
    void* m_value;
    Destructor m_destructor;
};

class PersistentData : public HashTable<ExternalCallPersistentData> {
public:
    PersistentData() : HashTable(1, 1, 4, 16) {}

protected:
    const char* Key(ExternalCallPersistentData* data, int* length) override
    {
        *length = data->key().length();
        return data->key().data();
    }
};

// The libraries of builtin functions, in the order in which the configuration names
// them, which is the order of search, and what scripts have called so far. Borrows the
// process's libraries.
class ExternalCallManager {
public:
    explicit ExternalCallManager(ExternalLibraryManager* libraries) : m_libraries(libraries) {}
    // For an asynchronous task: the same libraries, and nothing called or kept yet.
    ExternalCallManager(ExternalCallManager& source);
    ExternalCallManager& operator=(const ExternalCallManager&) = delete;
    ~ExternalCallManager();

    // Opens a library and takes its table of functions. False on failure, with the
    // text in error().
    bool RegisterDSO(const char* path);

    // The function of a name, in any letter case, from the first library that has one;
    // null if none has.
    ExternalCall* Lookup_External(const char* name, int length);

    // Keeps a value under a name, in any letter case, in place of the one that was there,
    // which ends.
    void Register_Persistent(ZephVM* vm, const char* key, int length, void* value,
                             ExternalCallPersistentData::Destructor destructor);
    // Null if there is none.
    void* Lookup_Persistent(const char* key, int length);

    int libraries() const { return m_count; }
    const String& error() const { return m_error; }

private:
    struct Registered {
        ExternalLibrary* library;          // borrowed
        const _ZP_EL_Function* functions;  // the library's array
    };

    void Append(const Registered& entry);
    const _ZP_EL_Function* Search(const char* name, int length) const;

    ExternalLibraryManager* m_libraries;
    ExternalCalls m_calls;
    Registered* m_registered = nullptr;  // owned
    int m_count = 0;
    int m_capacity = 0;
    PersistentData m_persistent;
    String m_error;
};

#endif
