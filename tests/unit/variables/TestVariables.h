#ifndef ZEPH_TESTS_VARIABLES_TESTVARIABLES_H
#define ZEPH_TESTS_VARIABLES_TESTVARIABLES_H

#include <memory>
#include <string>

#include "variables/AggregateElementTree.h"
#include "variables/Variable.h"

// Short forms that the tests of variables share.

struct GiveBack {
    void operator()(Variable* variable) const { variable->DecRefCount(); }
};

// Holds the count that a new variable starts with.
using Held = std::unique_ptr<Variable, GiveBack>;

// Made where the compiler does not see the class, since the class may change.
[[gnu::noinline]] inline Held Fresh(const char* text = nullptr)
{
    return Held(text ? new Variable("", 0, text, -1) : new Variable("", 0));
}

inline std::string TextOf(const String& text)
{
    return std::string(text.data(), size_t(text.length()));
}

inline std::string ValueOf(Variable& variable)
{
    return TextOf(variable.value());
}

inline std::string NameOf(Variable& variable)
{
    return TextOf(variable.name());
}

// The elements in order as "1=a 5=b" or "name=a other=b".
inline std::string ElementsOf(Variable& variable)
{
    std::string text;
    AggregateElementTree* elements = variable.aggregateelements();
    if (!elements)
        return "scalar";
    List<AggregateElement> list(0);
    elements->AppendToList(list);
    for (AggregateElement* element = list.First(); element; element = list.Next()) {
        AggregateIndex index(element->index());
        String& name = index;
        text += (text.empty() ? "" : " ") + TextOf(name) + "=" + ValueOf(*element->var());
    }
    return text;
}

inline Variable* At(Variable& variable, int number)
{
    return variable.Element(AggregateIndex(number), 0);
}

inline Variable* Member(Variable& variable, const char* name)
{
    return variable.Element(AggregateIndex(name, -1), 0);
}

inline void Put(Variable& variable, int number, const char* text)
{
    variable.Element(AggregateIndex(number), 1)->SetValue(text, -1);
}

inline void Put(Variable& variable, const char* name, const char* text)
{
    variable.Element(AggregateIndex(name, -1), 1)->SetValue(text, -1);
}

// An array of texts from 1 on: one letter an element.
inline Held ArrayOf(const std::string& letters)
{
    Held array = Fresh();
    array->Convert_Aggregate(kAggregateArray);
    for (size_t i = 0; i < letters.size(); ++i)
        Put(*array, int(i) + 1, std::string(1, letters[i]).c_str());
    return array;
}

#endif
