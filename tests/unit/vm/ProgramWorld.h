#ifndef ZEPH_TESTS_UNIT_VM_PROGRAMWORLD_H
#define ZEPH_TESTS_UNIT_VM_PROGRAMWORLD_H

#include <random>
#include <vector>

#include "CalledMachine.h"
#include "Interruption.h"
#include "variables/CallbackVariable.h"
#include "variables/ImmutableVariable.h"

// A function of a random program. Its code stands in the start segment, or in one of its own.
struct ProgramFunction {
    std::string name;
    std::string parameters;
    int more_locals = 0;
    int flags = 0;
    bool is_apart = false;
    int offset = 0;
    std::string code;  // of one that is apart
};

struct Program {
    std::vector<ProgramFunction> functions;
    std::string code;
    unsigned int values = 0;  // seed of what the globals are at the start
};

// Slots of the globals of a program.
enum ProgramSlots {
    kValueSlots = 4,   // 0 to 3: any value
    kSharedSlot = 4,   // what elements refer to
    kCounterSlot = 5,  // of loops, by depth
    kStepSlot = 8,     // what loops count by
    kProgramGlobals = 9
};

// The text of this number does not tell all about it: it has 20 places behind the point.
const double kCut = 1.2345678901234567e-9;

// Texts of the dictionary, from entry 0 on.
inline const std::vector<std::string>& ProgramTexts()
{
    static const std::vector<std::string> texts = {
        "alpha",     "Beta",    "12",    "x.zp",  "",           "0.5",  "-3",
        "two words", "l.fresh", "g.new", "fresh", "0.00001000", "gamma"};
    return texts;
}

// Notes with each text how the output treats white space.
class FlaggedOutput : public RecordingOutput {
public:
    int Write(const char* bytes, int length) override
    {
        text += "{" + std::to_string(flags()) + "}";
        return RecordingOutput::Write(bytes, length);
    }
};

// Answers for each member with a number of its own.
class CountedMembers : public CallbackVariableCallback {
public:
    ~CountedMembers() override { m_answer->DecRefCount(); }
    bool RunFunction(Variable*, AggregateIndex, Variable** result) override
    {
        m_answer->SetValue_Integer(++m_asked);
        *result = m_answer;
        return true;
    }

private:
    Variable* m_answer = new Variable("answer", -1);
    int m_asked = 0;
};

// One machine with a program.
class ProgramWorld {
public:
    explicit ProgramWorld(const Program& program)
    {
        for (const std::string& text : ProgramTexts())
            dictionary.Entry_Add(text.data(), int(text.size()));
        for (int slot = 0; slot < kProgramGlobals; ++slot)
            globals.Insert(("g" + std::to_string(slot)).c_str(), -1);
        application.SetOutput(&output);
        Load(program);
        SetValues(program.values);
    }
    // An aggregate that contains itself, which is possible, would never be freed.
    ~ProgramWorld()
    {
        for (int slot = 0; slot < globals.slots(); ++slot)
            globals.Index(slot, 1)->SetValue_Integer(0);
        if (m_vm)
            m_vm->Shutdown();
    }

    ZephVM* vm()
    {
        if (!m_vm)
            m_vm = new ZephVM("/www/x.zpc", -1, &application, &dictionary, &systems, &globals,
                              &segments, &functions, &calls, nullptr, nullptr, nullptr, nullptr,
                              &heartbeat, &cancelled, &exited, nullptr);
        return m_vm;
    }
    // The machine looks up wherever it can, fewer than so many times; maybe only as long as the
    // values are small.
    void Interrupt(long times, bool while_small)
    {
        heartbeat = 1;
        VariableHash* watched = while_small ? &globals : nullptr;
        vm()->Push_Feature(new Interruption(vm(), watched, &heartbeat, &cancelled, times));
    }

    TestApplication application;
    FlaggedOutput output;
    Dictionary dictionary;
    SystemVariableHash systems{&dictionary, 2, 4};
    VariableHash globals{&dictionary, 4, kProgramGlobals};  // any more of them move it
    SegmentManager segments;
    FunctionManager functions{&dictionary, 3};
    UNIXExternalLibraryManager libraries;
    ExternalCallManager calls{&libraries};
    int heartbeat = 0;
    int cancelled = 0;
    int exited = 0;

private:
    static void SetCode(Segment* segment, const std::string& bytes)
    {
        int size = int(bytes.size());
        char* code = Segment::AllocateCode(size);
        bytes.copy(code, bytes.size());
        int number = segment->number();
        segment->~Segment();
        new (segment) Segment(number, code, size, size);
    }
    void Load(const Program& program)
    {
        SetCode(segments.Start(), program.code);
        for (const ProgramFunction& function : program.functions) {
            Segment* segment = function.is_apart ? segments.Segment_Add() : segments.Start();
            if (function.is_apart)
                SetCode(segment, function.code);
            int index =
                functions.Function_Add(segment->number(), function.offset, function.name.c_str(),
                                       -1, function.parameters.c_str(), -1, function.flags);
            for (int i = 0; i < function.more_locals; ++i)
                functions.Index(index)->locals()->Insert(("more" + std::to_string(i)).c_str(), -1);
        }
    }
    void SetValues(unsigned int seed)
    {
        std::mt19937 random(seed);
        for (int slot = 0; slot < kValueSlots; ++slot)
            SetValue(slot, int(random() % 18), int(random() % 5));
        globals.Index(kSharedSlot, 1)->SetValue_Integer(7);
        globals.Index(kStepSlot, 1)->SetValue_Integer(1);
    }
    void SetValue(int slot, int kind, int detail)
    {
        if (kind >= 15)
            return SetClass(slot, kind);
        if (kind == 0)
            return;  // not made yet
        Variable* variable = globals.Index(slot, 1);
        static const double kDoubles[] = {1.5, -0.0, 1e300, -NAN, INFINITY};
        if (kind == 2 || kind == 3)
            variable->SetValue_Integer(detail == 4 ? 2147483647 : detail - 1);
        else if (kind == 4 || kind == 5)
            variable->SetValue_Double(kDoubles[detail]);
        else if (kind == 6)
            variable->SetValue_Double(detail % 2 ? 0.00001 : kCut);
        else if (kind == 7 || kind == 8)
            variable->SetValue(ProgramTexts()[size_t(detail) + 2].c_str(), -1);
        else if (kind >= 9 && kind <= 11)
            SetArray(variable, detail);
        else if (kind >= 12)
            SetStructure(variable, detail);
        // A double whose text has been asked for is compared by that.
        if (kind == 5 || (kind == 6 && detail > 1))
            variable->value();
    }
    static void SetArray(Variable* variable, int detail)
    {
        for (int i = 1; i <= 6; ++i) {
            if (i == 4 && detail > 1)
                continue;
            Variable* element = variable->Element(AggregateIndex(i), 1);
            if (i % 3 == 0)
                element->SetValue_Double(i + 0.25);
            else if (i % 3 == 1)
                element->SetValue_Integer(i);
            else if (detail > 2)
                element->SetValue("9.5", 3);
        }
        if (detail == 4)
            variable->Element(AggregateIndex(2000000), 1)->SetValue_Integer(3);
    }
    static void SetStructure(Variable* variable, int detail)
    {
        Variable* member = variable->Element(AggregateIndex("alpha", -1), 1);
        member->SetValue_Double(detail < 2 ? kCut : 2.5);
        if (detail == 1)
            member->value();
        member = variable->Element(AggregateIndex("beta", -1), 1);
        if (detail > 2)
            member->SetValue("text", -1);
        else
            member->SetValue_Integer(detail);
    }
    void SetClass(int slot, int kind)
    {
        std::string name = "g" + std::to_string(slot);
        if (kind == 15) {
            auto locked = new ImmutableVariable(name.c_str(), -1, 3, false);
            locked->Lock();
            globals.SetVariable(locked);
        } else if (kind == 16) {
            auto locked = new ImmutableVariable(name.c_str(), -1, false);
            SetArray(locked, 0);
            locked->Lock();
            globals.SetVariable(locked);
        } else {
            globals.SetVariable(new CallbackStructVariable(name.c_str(), -1, new CountedMembers));
        }
    }

    ZephVM* m_vm = nullptr;
};

#endif
