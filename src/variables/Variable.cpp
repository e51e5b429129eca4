#include "variables/Variable.h"

#include "primitives/conversions.h"

Variable::Variable(const char* name, int name_length, const char* text, int length)
    : m_name(name, name_length), m_value(text, length), m_valid(kTextValid), m_primary(kText)
{
}

Variable::Variable(const char* name, int name_length, int value)
    : m_name(name, name_length), m_integer(value), m_valid(kIntegerValid), m_primary(kInteger)
{
}

const String& Variable::value()
{
    if (m_valid & kTextValid)
        return m_value;
    if (m_valid & kIntegerValid) {
        int length, capacity;
        char* text = itos(m_integer, &length, &capacity);
        m_value.assign_nocopy(text, length, capacity);
    } else {
        m_value.assign("", 0);
    }
    m_valid |= kTextValid;
    return m_value;
}

int Variable::value_integer()
{
    if (m_valid & kIntegerValid)
        return m_integer;
    m_integer = m_valid & kTextValid ? stoi(m_value.data(), m_value.length(), nullptr) : 0;
    m_valid |= kIntegerValid;
    return m_integer;
}

bool Variable::IsNULL()
{
    if (m_valid & kTextValid)
        return m_value.length() == 0;
    return m_valid == 0;
}

int Variable::SetNULL()
{
    if (m_valid & kTextValid)
        m_value.assign("", 0);
    SetForm(0, kNone);
    return 1;
}

int Variable::SetValue(const char* text, int length)
{
    m_value.assign(text, length);
    SetForm(kTextValid, kText);
    return 1;
}

int Variable::SetValue(Variable& source)
{
    if (&source == this)
        return 1;
    if (source.m_valid == 0)
        source.value();
    if (source.m_valid & kTextValid)
        m_value.assign(source.m_value.data(), source.m_value.length());
    m_integer = source.m_integer;
    m_valid = source.m_valid;
    m_primary = source.m_primary;
    return 1;
}

int Variable::SetValue_Nocopy(char* text, int length, int capacity)
{
    m_value.assign_nocopy(text, length, capacity);
    SetForm(kTextValid, kText);
    return 1;
}

int Variable::SetValue_Integer(int value)
{
    m_integer = value;
    SetForm(kIntegerValid, kInteger);
    return 1;
}

void Variable::DecRefCount()
{
    if (--m_refcount == 0)
        delete this;
}

void Variable::SetForm(int valid, PrimaryType primary)
{
    m_valid = valid;
    m_primary = primary;
}

ImmutableVariable::ImmutableVariable(const char* name, int name_length, const char* text,
                                     int length, bool lock)
    : Variable(name, name_length, text, length), m_locked(lock)
{
}

ImmutableVariable::ImmutableVariable(const char* name, int name_length, int value, bool lock)
    : Variable(name, name_length, value), m_locked(lock)
{
}

int ImmutableVariable::SetNULL()
{
    return m_locked ? 1 : Variable::SetNULL();
}

int ImmutableVariable::SetValue(const char* text, int length)
{
    return m_locked ? 1 : Variable::SetValue(text, length);
}

int ImmutableVariable::SetValue(Variable& source)
{
    return m_locked ? 1 : Variable::SetValue(source);
}

int ImmutableVariable::SetValue_Nocopy(char* text, int length, int capacity)
{
    if (!m_locked)
        return Variable::SetValue_Nocopy(text, length, capacity);
    delete[] text;
    return 1;
}

int ImmutableVariable::SetValue_Integer(int value)
{
    return m_locked ? 1 : Variable::SetValue_Integer(value);
}
