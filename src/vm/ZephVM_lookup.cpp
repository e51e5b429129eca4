// Variables by name: for instructions and native code that have no slot.

#include "image/Dictionary.h"
#include "variables/VariableHash.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"

namespace {

const int kCreate = 1;
const int kNoCreate = 0;

bool HasSelector(const char* name, int length)
{
    for (int i = 0; i < length; ++i) {
        if (name[i] == ':' || name[i] == '[')
            return true;
    }
    return false;
}

bool Find(VariableHash* variables, Variable** out, const char* name, int length, int create,
          String* error)
{
    if (variables->LookupVariable_Fancy(out, name, length, create))
        return true;
    *error = variables->error();
    return false;
}

}  // namespace

// No database is known to the machine, so a name in one finds nothing, and no database
// stands in the order of a name without a scope.
bool ZephVM::Lookup_Variable(Variable** out, const char* name, int length, String* error)
{
    *out = nullptr;
    const char* rest;
    const char* alias;
    int rest_length, alias_length;
    int scope = VariableHash::Scope(name, length, &rest, &rest_length, &alias, &alias_length);
    // The text may be that of an element, which ends when its array becomes a structure.
    String kept;
    if (HasSelector(rest, rest_length)) {
        kept.assign(rest, rest_length);
        rest = kept.data();
    }
    switch (scope) {
        case VariableHash::kLocalScope:
            return Find(m_frame->locals(), out, rest, rest_length, kCreate, error);
        case VariableHash::kGlobalScope:
            return Find(m_global_variables, out, rest, rest_length, kCreate, error);
        case VariableHash::kSystemScope:
            return Find(m_system_variables, out, rest, rest_length, kNoCreate, error);
        case VariableHash::kDatabaseScope:
            return true;
    }
    return SearchScopes(out, rest, rest_length, error);
}

// The first scope that has the variable ends the search; a name that none has becomes a
// global. The locals of the root frame are the globals, which come last.
bool ZephVM::SearchScopes(Variable** out, const char* name, int length, String* error)
{
    if (!Find(m_system_variables, out, name, length, kNoCreate, error))
        return false;
    if (*out)
        return true;
    if (m_frame->previous) {
        if (!Find(m_frame->locals(), out, name, length, kNoCreate, error))
            return false;
        if (*out)
            return true;
    }
    return Find(m_global_variables, out, name, length, kCreate, error);
}

Variable* ZephVM::Lookup_Variable(const char* name, int length)
{
    Variable* variable;
    String error;
    if (!Lookup_Variable(&variable, name, length, &error))
        FatalError(error);
    return variable;
}

// The variable that a dictionary entry names; null after a fatal error as well.
Variable* ZephVM::NamedByEntry(unsigned int entry)
{
    int length;
    const char* name = m_dictionary->Entry(int(entry), &length);
    if (name)
        return Lookup_Variable(name, length);
    FatalError("Invalid dictionary reference");
    return nullptr;
}

Variable* ZephVM::Lookup_Global(const char* name, int length)
{
    Variable* variable = nullptr;
    m_global_variables->Find(&variable, name, length, kCreate);
    return variable;
}
