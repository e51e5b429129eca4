#ifndef ZEPH_TESTS_UNIT_VM_MACHINEMODEL_H
#define ZEPH_TESTS_UNIT_VM_MACHINEMODEL_H

#include <string>
#include <vector>

#include "OperatorModel.h"
#include "vm/ZephVM_Stack.h"

// The values of a machine without the machine: what stands on its stack and in its
// globals, and how each kind is read.

const int kGlobals = 3;

// A variable as it was last set, and the forms that were made of that since.
struct ModelVariable {
    bool has_text = false, has_integer = false, has_double = false;
    std::string text;
    int integer = 0;
    double real = 0;

    const std::string& Text()
    {
        if (!has_text)
            text = has_double    ? model::ToText(real)
                   : has_integer ? std::to_string(integer)
                                 : std::string();
        has_text = true;
        return text;
    }
    int Integer()
    {
        if (has_integer)
            return integer;
        bool error = false;
        integer = 0;
        if (!has_double && has_text) {
            integer = model::ToInteger(text, &error);
            if (error)
                Double();
        }
        if (has_double)
            integer = model::Truncated(real);
        has_integer = true;
        return integer;
    }
    double Double()
    {
        if (!has_double)
            real = has_text ? model::ToDouble(text) : has_integer ? integer : 0.0;
        has_double = true;
        return real;
    }
    double Compared(bool* error)
    {
        *error = false;
        if (!has_text)
            return has_double || has_integer ? Double() : 0.0;
        real = model::ToDouble(text, error);
        has_double |= !*error;
        return real;
    }
    bool Truth()
    {
        if (!has_text && has_double)
            return real != 0;
        if (!has_text && has_integer)
            return integer != 0;
        return model::IsTrue(Text());
    }
    bool Null() const { return has_text ? text.empty() : !has_integer && !has_double; }
    void Set(const std::string& value)
    {
        *this = {};
        has_text = true;
        text = value;
    }
    void Set(int value)
    {
        *this = {};
        has_integer = true;
        integer = value;
    }
    void Set(double value)
    {
        *this = {};
        has_double = true;
        real = value;
    }
};

struct ModelEntry {
    int kind = Stack_Entry::kInteger;
    bool owned = false;
    int integer = 0;
    double real = 0;
    std::string text;  // of a text or a link buffer
    int slot = 0;      // of a variable
};

class Model {
public:
    ModelVariable variables[kGlobals];
    std::vector<ModelEntry> stack;
    std::string written;

    ModelEntry& Top() { return stack.back(); }
    ModelEntry Take()
    {
        ModelEntry entry = stack.back();
        stack.pop_back();
        return entry;
    }
    void Push(int value)
    {
        ModelEntry entry;
        entry.integer = value;
        stack.push_back(entry);
    }
    void Push(double value)
    {
        ModelEntry entry;
        entry.kind = Stack_Entry::kDouble;
        entry.real = value;
        stack.push_back(entry);
    }
    void Push(const std::string& text, int kind, bool owned)
    {
        ModelEntry entry;
        entry.kind = kind;
        entry.owned = owned;
        entry.text = text;
        stack.push_back(entry);
    }
    void PushVariable(int slot)
    {
        ModelEntry entry;
        entry.kind = Stack_Entry::kVariable;
        entry.owned = true;
        entry.slot = slot;
        stack.push_back(entry);
    }

    std::string Text(const ModelEntry& entry)
    {
        switch (entry.kind) {
            case Stack_Entry::kInteger:
                return std::to_string(entry.integer);
            case Stack_Entry::kDouble:
                return model::ToText(entry.real);
            case Stack_Entry::kVariable:
                return variables[entry.slot].Text();
        }
        return entry.text;
    }
    int Integer(const ModelEntry& entry)
    {
        switch (entry.kind) {
            case Stack_Entry::kInteger:
                return entry.integer;
            case Stack_Entry::kDouble:
                return model::Truncated(entry.real);
            case Stack_Entry::kVariable:
                return variables[entry.slot].Integer();
        }
        return model::ToInteger(entry.text);
    }
    double Double(const ModelEntry& entry)
    {
        switch (entry.kind) {
            case Stack_Entry::kInteger:
                return entry.integer;
            case Stack_Entry::kDouble:
                return entry.real;
            case Stack_Entry::kVariable:
                return variables[entry.slot].Double();
        }
        return model::ToDouble(entry.text);
    }
    bool Truth(const ModelEntry& entry)
    {
        switch (entry.kind) {
            case Stack_Entry::kInteger:
                return entry.integer != 0;
            case Stack_Entry::kDouble:
                return entry.real != 0;
            case Stack_Entry::kVariable:
                return variables[entry.slot].Truth();
        }
        return model::IsTrue(entry.text);
    }
    bool Null(const ModelEntry& entry)
    {
        if (entry.kind == Stack_Entry::kVariable)
            return variables[entry.slot].Null();
        return entry.kind >= Stack_Entry::kString && entry.text.empty();
    }
    void Store(const ModelEntry& entry, int slot)
    {
        ModelVariable& target = variables[slot];
        if (entry.kind == Stack_Entry::kInteger) {
            target.Set(entry.integer);
        } else if (entry.kind == Stack_Entry::kDouble) {
            target.Set(entry.real);
        } else if (entry.kind != Stack_Entry::kVariable) {
            target.Set(entry.text);
        } else if (entry.slot != slot) {
            ModelVariable& source = variables[entry.slot];
            if (!source.has_text && !source.has_integer && !source.has_double)
                source.Text();
            target = source;
        }
    }
    double Compared(const ModelEntry& entry, bool* error)
    {
        *error = false;
        if (entry.kind == Stack_Entry::kVariable)
            return variables[entry.slot].Compared(error);
        if (entry.kind < Stack_Entry::kString)
            return Double(entry);
        return model::ToDouble(entry.text, error);
    }
    int Order(const ModelEntry& left, const ModelEntry& right)
    {
        bool error;
        double left_number = Compared(left, &error);
        if (!error) {
            double right_number = Compared(right, &error);
            if (!error)
                return model::OrderOfNumbers(left_number, right_number);
        }
        std::string left_text = Text(left);
        return model::OrderOfTexts(left_text, Text(right));
    }
    void Concatenate()
    {
        ModelEntry right = Take(), left = Take();
        bool built = left.owned || right.owned;
        std::string text = Text(left);
        text += Text(right);
        Push(text, built ? Stack_Entry::kLinkBuffer : Stack_Entry::kString, true);
    }
};

#endif
