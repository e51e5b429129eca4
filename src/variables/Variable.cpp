#include "variables/Variable.h"

#include <new>
#include <utility>

#include "variables/AggregateElementTree.h"
#include "variables/AggregateWalk.h"
#include "variables/CallbackVariable.h"
#include "variables/KeptMemory.h"
#include "variables/ReferenceVariable.h"

namespace {

// Variables that have lost their last count while another one was ending.
struct Endings {
    Variable* first;
    bool is_active;
};

thread_local Endings t_endings;

}  // namespace

Variable::Variable(const char* name, int name_length, const char* text, int length)
    : m_name(name, name_length), m_value(text, length), m_valid(kTextValid), m_primary(kText)
{
}

Variable::Variable(const String& name, const String& text)
    : Variable(name.data(), name.length(), text.data(), text.length())
{
}

// Unlike a set, this makes the integer at once.
Variable::Variable(const char* name, int name_length, double value)
    : m_name(name, name_length),
      m_real(value),
      m_integer(Truncated(value)),
      m_valid(kIntegerValid | kDoubleValid),
      m_primary(kDouble)
{
}

Variable::Variable(const char* name, int name_length, int value)
    : m_name(name, name_length),
      m_real(value),
      m_integer(value),
      m_valid(kIntegerValid),
      m_primary(kInteger)
{
}

Variable::Variable(const char* name, int name_length, char* buffer, int length, int capacity)
    : m_name(name, name_length),
      m_value(buffer, length, capacity),
      m_valid(kTextValid),
      m_primary(kText)
{
}

// Reading a form may make and keep it, so a source is never really constant.
Variable::Variable(const Variable& source)
{
    int length;
    const char* name = source.NameBytes(&length);
    m_name.Assign(name, length);
    Variable::SetValue(const_cast<Variable&>(source));
}

Variable::Variable(VariableName&& name, int refcount)
    : m_name(std::move(name)), m_refcount(refcount)
{
}

Variable::Variable(Variable&& source, int refcount)
    : m_name(std::move(source.m_name)),
      m_value(std::move(source.m_value)),
      m_real(source.m_real),
      m_elements(std::exchange(source.m_elements, nullptr)),
      m_integer(source.m_integer),
      m_refcount(refcount),
      m_valid(source.m_valid),
      m_primary(source.m_primary),
      m_aggregate(source.m_aggregate),
      m_walked(source.m_walked)
{
    // Whoever has kept elements by the stamp meets another class now.
    if (m_elements)
        m_elements->Restamp();
}

void* Variable::operator new(size_t size)
{
    return KeptMemory<Variable>::Take(size);
}

void Variable::operator delete(void* memory, size_t size)
{
    KeptMemory<Variable>::Give(memory, size);
}

Variable* Variable::New(const char* name, int name_length)
{
    Variable* variable = new Variable(name, name_length);
    variable->m_direct = true;
    return variable;
}

Variable* Variable::New(const PermanentText& name)
{
    Variable* variable = new Variable(name);
    variable->m_direct = true;
    return variable;
}

Variable* Variable::New(const VariableName& name)
{
    Variable* variable = new Variable(name);
    variable->m_direct = true;
    return variable;
}

Variable::~Variable()
{
    delete std::exchange(m_elements, nullptr);
}

Variable* Variable::Clone(ZephApplication*)
{
    return new Variable(*this);
}

int Variable::SetNULL()
{
    if (m_valid & kTextValid)
        ClearText();
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
    Variable* real = source.RealIdentity();
    if (real->aggregateelements()) {
        AggregateElementTree* copy = CopiedElements(real, m_immutable);
        AggregateType copied_type = real->aggregatetype();
        m_valid = 0;
        ReplaceElements(copy, copied_type);
    } else if (real != this) {
        CopyScalar(*real);
    }
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

int Variable::SetValue_Double(double value)
{
    m_real = value;
    SetForm(kDoubleValid, kDouble);
    return 1;
}

void Variable::CopyScalar(Variable& source)
{
    switch (source.type()) {
        case kAlwaysNull:
            Variable::SetNULL();
            return;
        case kComputedInteger:
            Variable::SetValue_Integer(source.value_integer());
            return;
        case kComputedText:
            CopyText(source);
            return;
        case kPreferring:
            CopyPreferred(source);
            return;
        default:
            if (source.m_valid == 0)
                source.value();
            CopyForms(source);
    }
}

void Variable::CopyText(Variable& source)
{
    const String& text = source.value();
    Variable::SetValue(text.data(), text.length());
}

void Variable::CopyPreferred(Variable& source)
{
    if (source.m_valid != 0)
        CopyForms(source);
    else if (source.preferred_type() == kInteger)
        Variable::SetValue_Integer(source.value_integer());
    else if (source.preferred_type() == kDouble)
        Variable::SetValue_Double(source.value_double());
    else
        CopyText(source);
}

void Variable::CopyForms(Variable& source)
{
    if (source.m_valid & kTextValid) {
        if (source.m_value.length() > 0)
            m_value = source.m_value;
        else
            ClearText();
    }
    m_real = source.m_real;
    m_integer = source.m_integer;
    SetForm(source.m_valid, PrimaryType(source.m_primary));
}

// Empties the text without making storage for it.
void Variable::ClearText()
{
    if (m_value.length() > 0)
        m_value.assign("", 0);
}

void Variable::ReplaceElements(AggregateElementTree* elements, AggregateType aggregate)
{
    AggregateElementTree* former = m_elements;
    m_elements = elements;
    m_aggregate = static_cast<unsigned char>(aggregate);
    delete former;
}

void Variable::RaiseCounts(Variable* first)
{
    for (;;) {
        ++first->m_refcount;
        Variable* next = first->NextIdentity();
        if (next == first)
            return;
        first = next;
    }
}

void Variable::GiveCountsBack(Variable* first)
{
    for (;;) {
        Variable* next = first->NextIdentity();
        bool is_last = next == first;
        first->GiveCountBack();
        if (is_last)
            return;
        first = next;
    }
}

// What ends may hold the last count of others, and these of more: all but the first
// wait in a list, so that the depth of nesting does not become depth of calls.
void Variable::End()
{
    if (!m_elements && !m_link.target) {
        if (!m_direct) {
            delete this;
            return;
        }
        // Of this very class, without a virtual call.
        this->Variable::~Variable();
        operator delete(this, sizeof(Variable));
        return;
    }
    if (t_endings.is_active) {
        m_next_ending = t_endings.first;
        t_endings.first = this;
        return;
    }
    t_endings.is_active = true;
    delete this;
    while (Variable* next = t_endings.first) {
        t_endings.first = next->m_next_ending;
        delete next;
    }
    t_endings.is_active = false;
}

// The target is counted before the elements go, among which it may be.
void Variable::Make_Reference(Variable* target)
{
    if (target == this || target->RealIdentity() == this)
        return;
    int counts = m_refcount;
    for (int i = 0; i < counts; ++i)
        target->IncRefCount();
    VariableName kept_name(std::move(m_name));
    AggregateElementTree* former = std::exchange(m_elements, nullptr);
    this->~Variable();
    new (this) ReferenceVariable(std::move(kept_name), target, counts);
    delete former;
}

void Variable::Make_CallbackStruct(CallbackVariableCallback* callback)
{
    int counts = m_refcount;
    Variable kept(std::move(*this), counts);
    this->~Variable();
    new (this) CallbackStructVariable(std::move(kept), counts, callback);
}
