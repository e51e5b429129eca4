#include <ctype.h>
#include <limits.h>
#include <string.h>

#include "variables/AggregateIndex.h"
#include "variables/VariableHash.h"

// Names with element selectors, as forms and dynamic look-ups bring them.

namespace {

const int kCreate = 1;

// Where the name that starts at `text` ends: at the next selector, or at `end`.
const char* NameEnd(const char* text, const char* end)
{
    while (text != end && *text != ':' && *text != '[')
        ++text;
    return text;
}

const char* SkipSpace(const char* text, const char* end)
{
    while (text != end && isspace(static_cast<unsigned char>(*text)))
        ++text;
    return text;
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads the number of an index from behind its '['. Returns what follows the ']', or
// null for an index that is none.
const char* ReadIndex(const char* text, const char* end, int* number)
{
    text = SkipSpace(text, end);
    long long value = 0;
    for (; text != end && IsDigit(*text); ++text) {
        value = value * 10 + (*text - '0');
        if (value > INT_MAX)
            return nullptr;
    }
    *number = int(value);
    while (text != end && (IsDigit(*text) || isspace(static_cast<unsigned char>(*text))))
        ++text;
    if (text == end || *text++ != ']')
        return nullptr;
    return text == end || *text == ':' || *text == '[' ? text : nullptr;
}

// Makes an array of the variable, if it is none, and adds a value.
int AppendValue(Variable* variable, const char* text, int length)
{
    if (variable->aggregatetype() != kAggregateNone) {
        AggregateIndex behind(variable->ElementsUsed() + 1);
        return variable->Element(behind, kCreate)->SetValue(text, length);
    }
    // Both are made first: the text may be the variable's own.
    Variable* first = new Variable;
    first->SetValue(*variable);
    Variable* second = new Variable("", 0, text, length);
    variable->SetElement(AggregateIndex(1), first);
    variable->SetElement(AggregateIndex(2), second);
    first->DecRefCount();
    second->DecRefCount();
    return 1;
}

}  // namespace

int VariableHash::LookupVariable_Fancy(Variable** out, const char* text, int length, int create)
{
    *out = nullptr;
    if (!text) {
        text = "";
        length = 0;
    }
    const char* end = text + (length < 0 ? strlen(text) : size_t(length));
    const char* at = NameEnd(text, end);
    Variable* variable = nullptr;
    Find(&variable, text, int(at - text), create);
    if (!variable && create) {
        variable = Variable::New(text, int(at - text));
        Insert(variable);
    }
    while (variable && at != end) {
        const char* selector = at + 1;
        int number;
        if (*at == ':') {
            at = NameEnd(selector, end);
            variable = variable->Element(AggregateIndex(selector, int(at - selector)), create);
        } else if ((at = ReadIndex(selector, end, &number))) {
            variable = variable->Element(AggregateIndex(number), create);
        } else {
            Error(kArrayIndexFault);
            return 0;
        }
    }
    *out = variable;
    return 1;
}

int VariableHash::SetVariable_Fancy(const char* name, int length, const char* text, int text_length,
                                    int append)
{
    Variable* variable;
    if (!LookupVariable_Fancy(&variable, name, length, kCreate) || !variable)
        return 0;
    bool is_array = variable->aggregatetype() == kAggregateArray;
    if (!append || (variable->IsNULL() && !is_array))
        return variable->SetValue(text, text_length);
    return AppendValue(variable, text, text_length);
}
