// Instructions that move values between the stack and fields of open databases.

#include "image/Dictionary.h"
#include "variables/ImmutableVariable.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Stack.h"

// The field of an open view, null for none. No database can be opened yet, so there is none
// to be found.
Variable* ZephVM::Lookup_Field(const char*, int, const char*, int)
{
    return nullptr;
}

// The names are dictionary entries; null after a fatal error as well.
Variable* ZephVM::FieldByEntries(unsigned int view, unsigned int field)
{
    int view_length, field_length;
    const char* view_name = m_dictionary->Entry(int(view), &view_length);
    const char* field_name = m_dictionary->Entry(int(field), &field_length);
    if (view_name && field_name)
        return Lookup_Field(view_name, view_length, field_name, field_length);
    FatalError("Invalid dictionary reference");
    return nullptr;
}

// A field that is not there reads as NULL, and what would go into it is dropped.
int ZephVM::pushd()
{
    PoppedText field(m_stack);
    PoppedText view(m_stack);
    if (m_halted)
        return 0;
    return PushNamed(Lookup_Field(view.data(), view.length(), field.data(), field.length()));
}

int ZephVM::pushdc()
{
    return PushNamed(FieldByEntries(m_a, m_b));
}

int ZephVM::popd()
{
    PoppedText field(m_stack);
    PoppedText view(m_stack);
    if (m_halted)
        return 0;
    return PopField(Lookup_Field(view.data(), view.length(), field.data(), field.length()));
}

int ZephVM::popdc()
{
    return PopField(FieldByEntries(m_a, m_b));
}

int ZephVM::PopField(Variable* field)
{
    if (m_halted)
        return 0;
    if (field)
        m_stack->PopV(field);
    else
        m_stack->Pop();
    return !m_halted;
}
