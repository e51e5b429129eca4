#ifndef ZEPH_TESTS_UNIT_VM_PROGRAMMAKER_H
#define ZEPH_TESTS_UNIT_VM_PROGRAMMAKER_H

#include "ProgramCode.h"
#include "ProgramValues.h"
#include "ProgramWorld.h"

// Makes random programs of what scripts are compiled to, and of what none would be.
//
// Loops count in slots of their own, so that most end. References go from the value slots and
// their elements to what can hold none, so that no aggregate contains itself.
class ProgramMaker : private ProgramValues {
public:
    explicit ProgramMaker(unsigned int seed) : ProgramValues(seed) {}

    Program Make()
    {
        m_program.values = Seed();
        Declare();
        ProgramCode code;
        int start = code.NewLabel();
        code.Jump(kJmp, start);
        for (int i = int(m_program.functions.size()) - 1; i >= 0; --i)
            AddFunction(i, &code);
        code.Place(start);
        m_function = -1;
        m_locals = kValueSlots;
        m_counter = kCounterSlot;
        AddMain(&code);
        m_program.code = code.Bytes();
        for (size_t i = 0; i < m_program.functions.size(); ++i) {
            if (!m_program.functions[i].is_apart)
                m_program.functions[i].offset = code.Offset(m_starts[i]);
        }
        return m_program;
    }

private:
    bool InFunction() const { return m_function >= 0; }

    void Declare()
    {
        static const char* const kParameters[] = {"",      "a",       "a,b",        "a,b,c",
                                                  "a var", "a,b var", "a var,b var"};
        int count = Below(5);
        for (int i = 0; i < count; ++i) {
            ProgramFunction function;
            function.name = "f" + std::to_string(i);
            function.parameters = kParameters[OneOf(3) ? Below(7) : 1 + Below(2)];
            // As many locals as there are value slots at least, and those of the counters.
            function.more_locals = kValueSlots + 2 - Parameters(function);
            function.flags = OneOf(6) ? 1 << (1 + Below(4)) : 0;
            function.is_apart = OneOf(4);
            m_program.functions.push_back(function);
        }
        m_starts.resize(size_t(count));
    }
    static int Parameters(const ProgramFunction& function)
    {
        int commas = 0;
        for (char c : function.parameters)
            commas += c == ',';
        return function.parameters.empty() ? 0 : commas + 1;
    }
    static bool IsReference(const ProgramFunction& function, int parameter)
    {
        size_t at = 0;
        for (; parameter > 0; --parameter)
            at = function.parameters.find(',', at) + 1;
        return function.parameters.substr(at, function.parameters.find(',', at) - at).size() > 1;
    }

    void AddFunction(int index, ProgramCode* start_code)
    {
        ProgramFunction& function = m_program.functions[size_t(index)];
        m_function = index;
        m_locals = kValueSlots;
        m_counter = kValueSlots;
        ProgramCode own;
        ProgramCode* code = function.is_apart ? &own : start_code;
        if (!function.is_apart)
            code->Place(m_starts[size_t(index)] = code->NewLabel());
        if (OneOf(4))
            AddRecursion(code);
        AddStatements(1 + Below(4), 0, code);
        AddReturn(code);
        if (function.is_apart)
            function.code = own.Bytes();
    }
    void AddMain(ProgramCode* code)
    {
        if (!OneOf(4))
            code->Add(Op(kTagError, 62, Below(2)));
        int rounds = m_program.functions.empty() ? 1 : 1 + Below(3);
        for (int i = 0; i < rounds; ++i) {
            AddStatements(1 + Below(6), 0, code);
            if (!m_program.functions.empty())
                AddCall(0, code);
        }
        AddStatements(Below(4), 0, code);
    }

    // The function itself, as long as its first parameter says so.
    void AddRecursion(ProgramCode* code)
    {
        const ProgramFunction& function = m_program.functions[size_t(m_function)];
        int parameters = Parameters(function);
        if (parameters == 0 || IsReference(function, 0))
            return;
        int end = code->NewLabel();
        code->Add(Op(kPushL, 0) + Op(kPushI, 0) + Op(kGt));
        code->Jump(kJmpEq, end);
        code->Add(Op(kPushL, 0) + Op(kPushI, 1) + Op(kSub));
        for (int i = 1; i < parameters; ++i)
            code->Add(Op(kPushL, i));
        code->Add(Op(kCall, m_function) + Op(kPopL, kValueSlots - 1));
        code->Place(end);
    }
    void AddReturn(ProgramCode* code)
    {
        switch (Below(12)) {
            case 0:
                return code->Add(Op(kRetN));
            case 1:  // borrows a local
                return code->Add(Variable() + Op(kDup) + Op(kSwap) + Op(kPop) + Op(kRet));
            case 2:  // more than the value
                return code->Add(Value() + Value() + (OneOf(2) ? Op(kDup) : "") + Op(kRet));
            case 3:  // a text of its own
                return code->Add(Value() + Value() + Op(kCat) + Op(kRet));
            case 4:
                return code->Add(Operand() + Operand() + Arithmetic() + Op(kRet));
            case 5:
                return code->Add(OneOf(2) ? Op(kRet) : Value() + Op(kNoop) + Op(kRet));
            default:
                return code->Add(Value() + Op(kRet));
        }
    }
    void AddCall(int callee, ProgramCode* code)
    {
        const ProgramFunction& function = m_program.functions[size_t(callee)];
        int parameters = Parameters(function);
        if (OneOf(8))
            code->Add(Value());  // more than it takes
        bool has_less = OneOf(60);
        for (int i = 0; i < parameters; ++i) {
            if (i == 0 && has_less)
                continue;
            bool is_variable = IsReference(function, i) && !OneOf(60);
            code->Add(is_variable          ? Variable()
                      : i == 0 && OneOf(2) ? Op(kPushI, Below(4))
                                           : Value());
        }
        code->Add(Op(kCall, callee));
        int use = Below(8);
        if (use < 4)
            code->Add(Into());
        else if (use == 4)
            code->Add(Op(kOut));
        else if (use == 5)
            code->Add(Number() + Arithmetic() + Into());
        else if (use == 6)
            code->Add(Op(kPop));
    }

    // ---- Statements

    void AddStatements(int count, int depth, ProgramCode* code)
    {
        for (; count > 0; --count)
            AddStatement(depth, code);
    }
    void AddStatement(int depth, ProgramCode* code)
    {
        switch (Below(22)) {
            case 0:
            case 1:
                return code->Add(Value() + Store());
            case 2:
            case 3:
                return code->Add(Operand() + Operand() + Arithmetic() + Store());
            case 4:
                return AddCalculationIntoItself(code);
            case 5:
                return code->Add(Variable() + Number() + Arithmetic() + (OneOf(5) ? "" : Into()));
            case 6:
            case 7:
                return AddJump(depth, code);
            case 8:
                return code->Add(Op(kIncG, Slot(kValueSlots), Below(9) - 4) +
                                 (OneOf(2) ? Op(kStoreGI, Slot(kValueSlots), Below(4)) : ""));
            case 9:
            case 10:
                return AddAppend(code);
            case 11:
            case 12:
            case 13:
                return depth < 2 ? AddLoop(depth, code) : code->Add(Value() + Into());
            case 14:
                return AddRandomCall(code);
            case 15:
                return AddReference(code);
            case 16:
                return AddOddity(code);
            case 17:
                return code->Add(Op(kLineNo, Below(100)) + Value() + Op(kOut));
            case 18:
                return AddJumpIntoBytes(depth, code);
            case 19:
                return AddCount(depth, code);
            default:
                return code->Add(Operand() + Op(kOut));
        }
    }
    // Into the variable, element or member that the left operand is, or into one near to it.
    void AddCalculationIntoItself(ProgramCode* code)
    {
        int which = Below(3);
        int word = Push();
        int slot = Below(m_locals);
        std::string within = which == 0 ? Index() : Member();
        auto near = [&] { return Op(OneOf(6) ? Push() : word, OneOf(6) ? Below(m_locals) : slot); };
        if (which == 2)
            return code->Add(near() + Operand() + Arithmetic() + Op(Popping(word), slot));
        std::string left = near() + within + Op(which == 0 ? kElemReadonly : kMembReadonly);
        std::string right = OneOf(2) ? Number() : Operand();
        if (OneOf(4))
            within = which == 0 ? Index() : Member();
        code->Add(left + right + Arithmetic() + near() + within + Op(which == 0 ? kElem : kMemb) +
                  Op(kStore));
    }
    void AddJump(int depth, ProgramCode* code)
    {
        int behind = code->NewLabel();
        int which = Below(6);
        if (which == 0)
            code->Add(Op(kCmpGI, Slot(kValueSlots), Below(5) - 1));
        else if (which == 1)
            code->Add(Op(kCmpGG, Slot(kValueSlots), Slot(kValueSlots)));
        else if (which == 2)
            code->Add(Operand());
        else if (which == 3)
            code->Add(Operand() + Text() + Comparison());
        else
            code->Add(Operand() + Operand() + Comparison());
        code->Jump(ConditionalJump(), behind);
        AddStatements(1 + Below(2), depth, code);
        code->Place(behind);
    }
    // What is set may be what is compared then, as in loops, or another variable.
    void AddCount(int depth, ProgramCode* code)
    {
        int slot = Below(m_locals);
        int word = Push();
        auto near = [&](int used) { return OneOf(6) ? Below(m_locals) : used; };
        if (OneOf(3))
            code->Add(Op(kIncG, near(slot), Below(3)));
        else
            code->Add(Op(word, near(slot)) + (OneOf(2) ? Number() : Variable()) + Arithmetic() +
                      Op(Popping(OneOf(6) ? Push() : word), near(slot)));
        if (OneOf(3))
            code->Add(Op(kCmpGI, near(slot), Below(5)));
        else
            code->Add(Op(OneOf(6) ? Push() : word, near(slot)) + Number() + Comparison());
        int behind = code->NewLabel();
        code->Jump(ConditionalJump(), behind);
        AddStatement(depth, code);
        code->Place(behind);
    }
    static int Popping(int word) { return word == kPushG ? kPopG : kPopL; }
    // Into an operand as likely as not. It only goes forward, so that loops still end mostly.
    void AddJumpIntoBytes(int depth, ProgramCode* code)
    {
        int near = code->NewLabel();
        bool is_conditional = OneOf(2);
        if (is_conditional)
            code->Add(Operand());
        code->Jump(is_conditional ? ConditionalJump() : kJmp, near, Below(14));
        code->Place(near);
        // A word within the operand of another instruction.
        static const int kWords[] = {kPop, kAdd, kDup, kRet, kLineNo, kNoop, kIncG, kPushG};
        if (OneOf(3))
            code->Add(Op(kPushI, kWords[Below(8)] << (OneOf(2) ? 16 : 0)));
        AddStatements(1 + Below(2), depth, code);
    }
    // The same variable at both ends, more often than not.
    void AddAppend(ProgramCode* code)
    {
        int word = Push();
        int slot = Below(m_locals);
        code->Add(Op(word, slot));
        for (int pieces = 1 + Below(4); pieces > 0; --pieces)
            code->Add((OneOf(3)   ? Text()
                       : OneOf(6) ? Operand()
                       : OneOf(2) ? Number()
                                  : Variable()) +
                      Op(kCat));
        code->Add(OneOf(4) ? Into() : Op(Popping(word), slot));
    }
    void AddRandomCall(ProgramCode* code)
    {
        int first = m_function + 1;  // no function calls an earlier one
        int count = int(m_program.functions.size());
        if (first < count)
            AddCall(first + Below(count - first), code);
    }
    void AddReference(ProgramCode* code)
    {
        std::string source = Op(kPushG, kSharedSlot);
        if (OneOf(3))
            return code->Add(Op(kPushG, 0) + Index() + Op(kElem) + source + Op(kRefer));
        std::string target = InFunction() && OneOf(2) ? Op(kPopRL, 1 + Below(m_locals - 1))
                                                      : Op(kPopRG, 1 + Below(kValueSlots - 1));
        code->Add((OneOf(2) ? source : Op(kPushG, 1 + Below(kValueSlots - 1))) + target);
    }
    void AddOddity(ProgramCode* code)
    {
        static const int kRare[] = {kExit, kPop, kSwap, kRetN, kRet, kSecondExit};
        switch (Below(9)) {
            case 0:
                return code->Add(Op(kStdOutput, Below(4)));
            case 1:
                return code->Add(Op(kErrOutput, Below(8)));
            case 2:  // a runtime error
                return code->Add(Variable() + Op(kPushI, -1) + Op(kElemReadonly));
            case 3:
                return code->Add(Value() + Op(kPopNC, 8 + Below(3)));
            case 4:
                return code->Add(Op(kPushNC, 8 + Below(3)) + Into());
            case 5:
                return code->Add(Value() + Op(kDup) + Into() + Op(kPop));
            case 6:
                return code->Add(Value() + Value() + Op(kSwap) + Into() + Store());
            case 7:
                return code->Add(OneOf(6) ? Op(kRare[Below(6)]) : Value() + Op(kPop));
            default:
                return code->Add(Operand() + Operand() + Comparison() + Store());
        }
    }
    void AddLoop(int depth, ProgramCode* code);

    Program m_program;
    std::vector<int> m_starts;     // labels of the functions in the start segment
    int m_function = -1;           // whose code is made; -1 for the rest
    int m_counter = kCounterSlot;  // slot of the outermost loop's counter among the locals
};

#include "ProgramLoops.h"

#endif
