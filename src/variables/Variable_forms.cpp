#include "variables/Variable.h"

#include <limits.h>

#include "primitives/conversions.h"
#include "primitives/number_text.h"
#include "variables/AggregateWalk.h"

const String& Variable::value()
{
    if (aggregateelements()) {
        ClearText();
        Serialize(m_value);
    } else if (!(m_valid & kTextValid)) {
        Convert_String();
    }
    return m_value;
}

int Variable::value_integer()
{
    if (m_aggregate != kAggregateNone)
        return 0;
    if (!(m_valid & kIntegerValid))
        Convert_Integer();
    return m_integer;
}

double Variable::value_double()
{
    if (m_aggregate != kAggregateNone)
        return 0.0;
    if (!(m_valid & kDoubleValid))
        Convert_Double();
    return m_real;
}

// The text is parsed each time, even beside a valid double: only the parser tells
// whether it is a number.
double Variable::value_compare(int* error)
{
    *error = m_aggregate != kAggregateNone;
    if (*error)
        return 0.0;
    if (m_valid & kTextValid) {
        m_real = stod(m_value.data(), m_value.length(), m_value.length() + 1, error);
        if (*error == 0)
            m_valid |= kDoubleValid;
        return m_real;
    }
    if (!(m_valid & kDoubleValid)) {
        if (!(m_valid & kIntegerValid))
            return 0.0;
        m_real = m_integer;
        m_valid |= kDoubleValid;
    }
    return m_real;
}

bool Variable::IsNULL()
{
    if (m_aggregate != kAggregateNone)
        return false;
    if (m_valid & kTextValid)
        return m_value.length() == 0;
    return m_valid == 0;
}

// Judging an aggregate leaves its text marked as valid, on purpose: later judgements
// of it go by the text as it was last built, whatever has become of the elements.
bool Variable::IsTrue()
{
    if (!(m_valid & kTextValid)) {
        if (m_valid & kDoubleValid)
            return m_real != 0.0;
        if (m_valid & kIntegerValid)
            return m_integer != 0;
        Convert_String();
        const String& text = value();
        return IsTrue(text.data(), text.length());
    }
    return IsTrue(m_value.data(), m_value.length());
}

bool Variable::IsTrue(const char* text, int length)
{
    int points = 0;
    for (int i = 0; i < length; ++i) {
        if (text[i] == '.')
            ++points;
        else if (text[i] != '0')
            return true;
    }
    return points > 1;
}

void Variable::Convert_String()
{
    if (m_valid & kDoubleValid) {
        ConvertDoubleToText();
    } else if (m_valid & kIntegerValid) {
        char text[kIntegerRoom];
        m_value.assign(text, FormatInteger(m_integer, text));
    } else {
        ClearText();
    }
    m_valid |= kTextValid;
}

// A short text goes into the storage that is there.
void Variable::ConvertDoubleToText()
{
    if (HasShortText(m_real)) {
        char text[kShortDoubleRoom];
        m_value.assign(text, FormatShortest(m_real, text));
        return;
    }
    int length, capacity;
    char* text = dtos(m_real, &length, &capacity, -1);
    m_value.assign_nocopy(text, length, capacity);
}

void Variable::Convert_Integer()
{
    int error = 0;
    m_integer = 0;
    if (!(m_valid & kDoubleValid) && m_valid & kTextValid) {
        m_integer = stoi(m_value.data(), m_value.length(), &error);
        if (error)
            Convert_Double();
    }
    if (m_valid & kDoubleValid)
        m_integer = Truncated(m_real);
    m_valid |= kIntegerValid;
}

int Variable::Truncated(double value)
{
    if (!(value > INT_MIN - 1.0 && value < INT_MAX + 1.0))
        return INT_MIN;
    return int(value);
}

void Variable::Convert_Double()
{
    if (m_valid & kTextValid)
        m_real = stod(m_value.data(), m_value.length(), m_value.length() + 1, nullptr);
    else
        m_real = m_valid & kIntegerValid ? m_integer : 0.0;
    m_valid |= kDoubleValid;
}

void Variable::Serialize(String& out)
{
    if (aggregateelements()) {
        SerializeElements(this, out);
        return;
    }
    const String& text = value();
    if (out.length() > 0)
        out.cat(",", 1);
    out.cat(text);
}
