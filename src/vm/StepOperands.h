#ifndef ZEPH_VM_STEPOPERANDS_H
#define ZEPH_VM_STEPOPERANDS_H

#include "image/Dictionary.h"
#include "variables/AggregateElementTree.h"
#include "variables/DirectValue.h"
#include "variables/VariableHash.h"
#include "vm/DecodedCode.h"
#include "vm/StepValues.h"

// Where the steps of the frame that runs have their operands: variables by slot, elements
// and members of those. All short ways give up, having changed nothing, where there is more
// to do.
class StepOperands {
public:
    explicit StepOperands(Dictionary* names) : m_names(names) {}

    // To be called for a table whenever anything but a short way has run.
    void SetTable(DecodedStep::Table table, const VariableHash* variables)
    {
        m_tables[table] = {variables->entries(), unsigned(variables->slots())};
    }
    // The same for the stack, of whose entries those up to `behind` have memory. A handler
    // gets more, or finds none.
    void SetStack(Stack_Entry* entries, Stack_Entry* behind)
    {
        base = entries;
        limit = behind;
        limit_of_several = behind - entries >= kMostPushed ? behind - kMostPushed + 1 : entries;
    }
    // The variable of a slot, null if it has not been made.
    Variable* At(unsigned char table, int slot) const
    {
        const Table& of = m_tables[table];
        return unsigned(slot) < of.slots ? of.entries[slot].variable : nullptr;
    }
    Variable* Left(const DecodedStep* step) const { return At(step->left_table, step->a); }
    Variable* Right(const DecodedStep* step) const { return At(step->right_table, step->b); }
    Variable* Result(const DecodedStep* step) const { return At(step->result_table, step->result); }

    // The number of an index operand; below 1 for none that can be used.
    int Index(const DecodedStep* step) const
    {
        if (step->right_table == DecodedStep::kNumber)
            return step->b;
        Variable* variable = Right(step);
        int number = 0;
        return variable && DirectValue::Integer(variable, &number) ? number : 0;
    }
    // The member that a step names, null for none. Kept in the step for as long as its
    // structure has the same members.
    [[gnu::always_inline]] Variable* Member(DecodedStep* step) const
    {
        Variable* structure = Left(step);
        if (!structure ||
            (!DirectValue::HasStamp(structure, step->stamp) && !FindMember(structure, step)))
            return nullptr;
        return step->member ? step->member->var() : nullptr;
    }

    // The number that arithmetic sees of what a step would push, and the variable that has
    // it, null for none.
    [[gnu::always_inline]] bool Number(DecodedStep* step, double* out, Variable** variable) const
    {
        *variable = nullptr;
        if (step->kind == DecodedStep::kPushMember)
            *variable = Member(step);
        else if (step->kind == DecodedStep::kPushVariable)
            *variable = Left(step);
        else
            return OtherNumber(step, out);
        return *variable && DirectValue::Double(*variable, out);
    }
    // The number that a comparison sees of it.
    [[gnu::always_inline]] bool Comparable(DecodedStep* step, double* out) const
    {
        Variable* variable;
        if (step->kind == DecodedStep::kPushMember)
            variable = Member(step);
        else if (step->kind == DecodedStep::kPushVariable)
            variable = Left(step);
        else
            return OtherNumber(step, out);
        return variable && DirectValue::Comparable(variable, out);
    }
    // Does the work of a step that stores, with a number in the place of the entry.
    bool Store(DecodedStep* step, double value) const
    {
        if (step->kind == DecodedStep::kStoreElement)
            return SetElement(step, value);
        Variable* variable = step->kind == DecodedStep::kStoreMember ? Member(step) : Left(step);
        return variable && DirectValue::SetDouble(variable, value);
    }
    // Sets the element that a step names.
    template <class Number>
    bool SetElement(const DecodedStep* step, Number value) const
    {
        Variable* array = Left(step);
        return array && DirectValue::SetElement(array, Index(step), value);
    }

    Stack_Entry* base;
    Stack_Entry* limit;
    Stack_Entry* limit_of_several;  // where the top has to be below for a step of several

private:
    // The most that the instructions of one step push before they take anything.
    static constexpr int kMostPushed = 3;

    bool OtherNumber(const DecodedStep* step, double* out) const
    {
        if (step->kind == DecodedStep::kPushElement)
            return ElementNumber(step, out);
        *out = step->kind == DecodedStep::kPushInteger ? step->a : step->real;
        return true;
    }
    bool ElementNumber(const DecodedStep* step, double* out) const
    {
        Variable* array = Left(step);
        int integer;
        switch (array ? DirectValue::ElementNumber(array, Index(step), &integer, out)
                      : Variable::kNone) {
            case Variable::kInteger:
                *out = integer;
                return true;
            case Variable::kDouble:
                return true;
            default:
                return false;
        }
    }
    [[gnu::noinline]] bool FindMember(Variable* structure, DecodedStep* step) const
    {
        AggregateElementTree* members = DirectValue::Members(structure);
        if (!members)
            return false;
        PermanentText name;
        name.data = m_names->Entry(step->b, &name.length);
        step->stamp = members->stamp();
        step->member = name.data ? members->Find(AggregateIndex(name)) : nullptr;
        return true;
    }

    struct Table {
        const _VH_Entry* entries;
        unsigned int slots;
    };
    Table m_tables[2];    // by DecodedStep::Table
    Dictionary* m_names;  // borrowed
};

#endif
