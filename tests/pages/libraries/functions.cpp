// Functions for scripts, of each kind that a declaration can have.
#include "variables/Variable.h"
#include "variables/VariableHash.h"
#include "zeph/extension.h"

#ifndef ZEPH_WHICH
#define ZEPH_WHICH "first library"
#endif

namespace {

// The text of the second value.
int Second(ZephVM*, VariableHash* parameters, Variable* result, void**)
{
    return result->SetValue(*parameters->Index(1, 1));
}

// Adds one to the script's own variable.
int Increment(ZephVM*, VariableHash* parameters, Variable*, void**)
{
    Variable* variable = parameters->Index(0, 1);
    return variable->SetValue_Integer(variable->value_integer() + 1);
}

// The number of the call.
int Count(ZephVM*, VariableHash*, Variable* result, void** data)
{
    *data = static_cast<char*>(*data) + 1;
    return result->SetValue_Integer(int(reinterpret_cast<long long>(*data)));
}

// How many arguments there are: those of a former call would be among them.
int Arguments(ZephVM*, VariableHash* parameters, Variable* result, void**)
{
    int arguments = 0;
    for (int slot = 0; slot < parameters->Entries(); ++slot)
        arguments += parameters->Index(slot, 0) != nullptr;
    return result->SetValue_Integer(arguments);
}

int Which(ZephVM*, VariableHash*, Variable* result, void**)
{
    return result->SetValue(ZEPH_WHICH, -1);
}

const _ZP_EL_Parameter kValues[] = {{"a", 0, 0}, {"b", 0, 0}};
const _ZP_EL_Parameter kReference[] = {{"a", 0, ZP_EL_REFERENCE}};

const _ZP_EL_Function kFunctions[] = {
    {"second", 6, 2, kValues, Second}, {"increment", 9, 1, kReference, Increment},
    {"count", 5, 0, nullptr, Count},   {"arguments", 9, 2, kValues, Arguments},
    {"Which", 5, 0, nullptr, Which},   {nullptr, 0, 0, nullptr, nullptr},
};

const _ZP_EL_Table kTable = {nullptr, kFunctions};

}  // namespace

const _ZP_EL_Table* zeph_function_table(void)
{
    return &kTable;
}
