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
    StepOperands(Dictionary* names, VariableHash* globals)
        : m_by_kind{nullptr, globals}, m_names(names)
    {
    }

    void SetLocals(VariableHash* locals) { m_by_kind[DecodedStep::kLocal] = locals; }
    // The variable of a slot, null if it has not been made.
    Variable* At(unsigned char table, int slot) const { return m_by_kind[table]->Made(slot); }
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
    Variable* Member(DecodedStep* step) const
    {
        Variable* structure = Left(step);
        AggregateElementTree* members = structure ? DirectValue::Members(structure) : nullptr;
        if (!members)
            return nullptr;
        if (members->stamp() != step->stamp)
            FindMember(members, step);
        return step->member ? step->member->var() : nullptr;
    }

    // The number that arithmetic sees of what a step would push.
    bool Number(DecodedStep* step, double* out) const
    {
        Variable* variable;
        switch (step->kind) {
            case DecodedStep::kPushInteger:
                *out = step->a;
                return true;
            case DecodedStep::kPushDouble:
                *out = step->real;
                return true;
            case DecodedStep::kPushVariable:
                variable = Left(step);
                break;
            case DecodedStep::kPushMember:
                variable = Member(step);
                break;
            case DecodedStep::kPushElement:
                return ElementNumber(step, out);
            default:
                return false;
        }
        return variable && DirectValue::Double(variable, out);
    }
    // The number that a comparison sees of it.
    bool Comparable(DecodedStep* step, double* out) const
    {
        Variable* variable;
        switch (step->kind) {
            case DecodedStep::kPushVariable:
                variable = Left(step);
                break;
            case DecodedStep::kPushMember:
                variable = Member(step);
                break;
            default:
                return Number(step, out);
        }
        return variable && DirectValue::Comparable(variable, out);
    }
    // Does the work of a step that stores, with a number in the place of the entry.
    bool Store(DecodedStep* step, double value) const
    {
        Variable* variable;
        switch (step->kind) {
            case DecodedStep::kPopVariable:
                variable = Left(step);
                break;
            case DecodedStep::kStoreMember:
                variable = Member(step);
                break;
            case DecodedStep::kStoreElement:
                return SetElement(step, value);
            default:
                return false;
        }
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
    Stack_Entry* limit;  // of what has memory; a handler gets more, or finds none

private:
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
    void FindMember(AggregateElementTree* members, DecodedStep* step) const
    {
        PermanentText name;
        name.data = m_names->Entry(step->b, &name.length);
        step->stamp = members->stamp();
        step->member = name.data ? members->Find(AggregateIndex(name)) : nullptr;
    }

    VariableHash* m_by_kind[2];  // by DecodedStep::Table; borrowed
    Dictionary* m_names;         // borrowed
};

#endif
