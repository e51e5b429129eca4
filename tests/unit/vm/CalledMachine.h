#ifndef ZEPH_TESTS_UNIT_VM_CALLEDMACHINE_H
#define ZEPH_TESTS_UNIT_VM_CALLEDMACHINE_H

#include "TestMachine.h"
#include "config/Config.h"
#include "image/Function.h"

// A library made of functions of the test.
class TableLibrary : public ExternalLibrary {
public:
    bool Load(const char* path) override
    {
        m_path = path;
        return true;
    }
    void* Get_Function(const char*) override
    {
        s_table.functions = s_functions;
        return reinterpret_cast<void*>(&Table);
    }

    static inline const _ZP_EL_Function* s_functions = nullptr;

private:
    static const _ZP_EL_Table* Table() { return &s_table; }

    static inline _ZP_EL_Table s_table = {};
};

class TableLibraryManager : public ExternalLibraryManager {
public:
    ExternalLibrary* Load(const char* path) override
    {
        TableLibrary* library = new TableLibrary;
        library->Load(path);
        return library;
    }
};

// What a test does to a machine that code cannot do to it yet.
class MachineInnards {
public:
    // Makes a frame current that shares the stack and the locals of the present one.
    static void Enter(ZephVM* vm, ZephVM_Frame* frame, int segment, int offset)
    {
        frame->Set_LocalVariable_Hash(vm->m_frame->locals(), false);
        frame->Set_Stack(vm->m_frame->stack(), false);
        frame->previous = vm->m_frame;
        vm->EnterFrame(frame, segment, offset);
    }
    static void Leave(ZephVM* vm) { vm->DropFrame(); }
    static void SetPosition(ZephVM* vm, int segment, int offset)
    {
        vm->m_segment = segment;
        vm->m_pc = unsigned(offset);
    }
    // When the machine makes steps of its code, from its start on.
    static void SetEagerness(ZephVM* vm, DecodedCode::Eagerness eagerness)
    {
        vm->m_eagerness = eagerness;
        vm->m_has_run = true;
    }
    static int segment(ZephVM* vm) { return vm->m_segment; }
    static unsigned int pc(ZephVM* vm) { return vm->m_pc; }
    static unsigned int operand(ZephVM* vm) { return vm->m_a; }
    static unsigned int second_operand(ZephVM* vm) { return vm->m_b; }
    static double double_operand(ZephVM* vm) { return vm->m_double_a; }
    static int refcount(ZephVM* vm) { return vm->m_refcount; }
    // The frames of ended calls that wait for the next calls of a function.
    static int spares(ZephVM* vm, int function)
    {
        int count = 0;
        ZephVM_Frame* frame = function < vm->m_spare_count ? vm->m_spare_frames[function] : nullptr;
        for (; frame; frame = frame->previous)
            ++count;
        return count;
    }
};

// A machine with functions: each stands in a segment of its own.
class CalledMachineTest : public MachineTest {
protected:
    ~CalledMachineTest() override { End(); }

    // The index of a new function with this code.
    int Script(const char* name, const char* parameters, const std::string& code, int flags = 0)
    {
        segments.Start();
        Segment* segment = segments.Segment_Add();
        Write(segment, code);
        return functions.Function_Add(segment->number(), 0, name, -1, parameters, -1, flags);
    }
    int External(const char* name, const char* parameters)
    {
        int index = functions.Function_Add(name, -1, 0);
        functions.Index(index)->SetParameters(parameters, -1);
        return index;
    }
    // The machine's libraries are one with these functions.
    void UseLibrary(const _ZP_EL_Function* table)
    {
        TableLibrary::s_functions = table;
        ASSERT_TRUE(table_calls.RegisterDSO("table"));
        external_calls = &table_calls;
    }
    // A machine of another class, which the test ends by Shutdown.
    template <class Machine>
    Machine* MakeAs()
    {
        return new Machine("/www/x.zpc", -1, &application, &dictionary, &systems, &globals,
                           &segments, &functions, external_calls, nullptr, nullptr, nullptr,
                           nullptr, &heartbeat, &cancelled, &exited, nullptr);
    }
    // Logs these events.
    void LogLevel(unsigned int events)
    {
        settings.SetValue_Integer(ZPCONFIG_LOG_LEVEL, int(events));
        application.settings = &settings;
    }
    int Text(const char* text) { return dictionary.Entry_Add(text, -1); }
    std::string PushText(const char* text) { return Op(kPushC, Text(text)); }
    // The text on top of the stack, which is taken off.
    std::string Popped()
    {
        PoppedText text(stack());
        return text.data() ? std::string(text.data(), size_t(text.length())) : "(none)";
    }
    std::vector<std::string> FatalTexts()
    {
        std::vector<std::string> texts;
        for (const std::string& text : application.fatal_errors) {
            size_t start = text.rfind("]: ");
            texts.push_back(text.substr(start + 3, text.size() - start - 4));
        }
        return texts;
    }
    bool in_function() { return vm()->frame()->type() == ZephVM_Frame::kFunction; }
    Variable* Global(int slot) { return globals.Index(slot, 1); }

    Config settings;
    TableLibraryManager table_libraries;
    ExternalCallManager table_calls{&table_libraries};
};

#endif
