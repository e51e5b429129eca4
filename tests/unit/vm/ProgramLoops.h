#ifndef ZEPH_TESTS_UNIT_VM_PROGRAMLOOPS_H
#define ZEPH_TESTS_UNIT_VM_PROGRAMLOOPS_H

#include "ProgramMaker.h"

// The loops of random programs: counters in globals, locals, elements and members.
inline void ProgramMaker::AddLoop(int depth, ProgramCode* code)
{
    const int kForms = 8;
    int form = Below(kForms);
    bool is_local = OneOf(2);
    int slot = is_local ? m_counter + depth : kCounterSlot + depth;
    std::string push = Op(is_local ? kPushL : kPushG, slot);
    std::string pop = Op(is_local ? kPopL : kPopG, slot);
    int turns = OneOf(5) ? 30 + Below(50) : 2 + Below(5);
    bool is_empty = OneOf(4);
    int statements = is_empty ? 0 : 1 + Below(3);
    std::string number = OneOf(2) ? Op(kPushI, turns) : OpDouble(kPushF, turns);
    int head = code->NewLabel();
    int end = code->NewLabel();
    std::string place;
    switch (form) {
        case 0:  // counts in a global
            code->Add(Op(kStoreGI, kCounterSlot + depth, 0));
            code->Place(head);
            AddStatements(statements, depth + 1, code);
            code->Add(Op(kIncG, kCounterSlot + depth, 1) + (OneOf(4) ? Op(kNoop) : "") +
                      Op(kCmpGI, kCounterSlot + depth, turns) + (OneOf(4) ? Op(kNoop) : ""));
            return code->Jump(OneOf(2) ? kJmpLt : kJmpNe, head);
        case 1:  // looks first
            code->Add(Op(kPushI, 0) + Op(kPopG, kCounterSlot + depth));
            code->Place(head);
            code->Add(Op(kCmpGI, kCounterSlot + depth, turns));
            code->Jump(kJmpGe, end);
            AddStatements(statements, depth + 1, code);
            code->Add(Op(kIncG, kCounterSlot + depth, 1));
            code->Jump(kJmp, head);
            return code->Place(end);
        case 2:  // by a number
            code->Add(Number() + pop + Op(kPushI, 0) + pop);
            code->Place(head);
            AddStatements(statements, depth + 1, code);
            code->Add(push + (OneOf(2) ? Op(kPushI, 1) : OpDouble(kPushF, 1.25)) + Op(kAdd) + pop +
                      push + number + Op(kLt));
            return code->Jump(OneOf(2) ? kJmpNe : kJmpGt, head);
        case 3:  // by a variable
            code->Add(Op(kPushI, turns) + pop);
            code->Place(head);
            AddStatements(statements, depth + 1, code);
            code->Add(push + Op(kPushG, kStepSlot) + Op(kSub) + pop + push +
                      (OneOf(2) ? Op(kPushI, 0) : OpDouble(kPushF, 0.5)) + Op(kCmp));
            return code->Jump(kJmpGt, head);
        case 4:  // two globals are compared
            code->Add(Op(kStoreGI, kCounterSlot + depth, 60 - turns) + Op(kPushI, 60) +
                      Op(kPopG, kCounterSlot + 2));
            code->Place(head);
            AddStatements(statements, depth + 1, code);
            code->Add(Op(kIncG, kCounterSlot + depth, 3) +
                      Op(kCmpGG, kCounterSlot + depth, kCounterSlot + 2));
            return code->Jump(kJmpLe, head);
        case 5:  // an element or a member counts
            place = push + (OneOf(2) ? Op(kPushI, 2) + Op(kElem) : Op(kPushC, 1) + Op(kMemb));
            code->Add(Op(kPushI, 0) + pop + Op(kPushI, 0) + place + Op(kStore));
            code->Place(head);
            AddStatements(statements, depth + 1, code);
            code->Add(ReadOnly(place) + Op(kPushI, 1) + Op(kAdd) + place + Op(kStore) +
                      ReadOnly(place) + number + Op(kGe));
            return code->Jump(OneOf(2) ? kJmpEq : kJmpLe, head);
        case 6:  // falls to zero, which ends it
            code->Add(Op(kPushI, turns) + pop);
            code->Place(head);
            AddStatements(statements, depth + 1, code);
            code->Add(push + Op(kPushI, 1) + Op(kSub) + pop + push);
            return code->Jump(kJmpNe, head);
        default:  // incg with a comparison of its own kind
            code->Add(Op(kStoreGI, kCounterSlot + depth, -turns));
            code->Place(head);
            AddStatements(statements, depth + 1, code);
            code->Add(Op(kIncG, kCounterSlot + depth, 1) + Op(kPushG, kCounterSlot + depth) +
                      (OneOf(2) ? Op(kPushI, 0) : OpDouble(kPushF, -0.5)) + Op(kCmp));
            return code->Jump(OneOf(3) ? kJmpLe : kJmpLt, head);
    }
}

#endif
