#ifndef ZEPH_TESTS_UNIT_VM_TESTMACHINE_H
#define ZEPH_TESTS_UNIT_VM_TESTMACHINE_H

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "TestApplication.h"
#include "image/Dictionary.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedLanguages.h"
#include "image/Segment.h"
#include "image/SegmentManager.h"
#include "variables/SystemVariableHash.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

// Instructions as bytes, with no, one or two integer operands.
inline std::string Op(int word)
{
    return {char(word), char(word >> 8)};
}

inline std::string Integer(int value)
{
    return {char(value), char(value >> 8), char(value >> 16), char(value >> 24)};
}

inline std::string Op(int word, int a)
{
    return Op(word) + Integer(a);
}

inline std::string Op(int word, int a, int b)
{
    return Op(word) + Integer(a) + Integer(b);
}

enum Words {
    kNoop = 0x0000,
    kPop = 0x000B,
    kOut = 0x0015,
    kDup = 0x003A,
    kStore = 0x0042,
    kExit = 0x0043,
    kOutComp = 0x0051,
    kErrMsg = 0x0052,
    kSwap = 0x005B,
    kSecondExit = 0x0116,
    kPushC = 0x4001,
    kPushI = 0x4002,
    kPushS = 0x4004,
    kPushG = 0x4005,
    kPushL = 0x4006,
    kPopS = 0x400C,
    kPopG = 0x400D,
    kPopL = 0x400E,
    kJmp = 0x4025,
    kJmpEq = 0x4026,
    kJmpLt = 0x4027,
    kJmpGt = 0x4028,
    kJmpLe = 0x4029,
    kJmpGe = 0x402A,
    kJmpNe = 0x402B,
    kLineNo = 0x4044,
    kSourceFile = 0x404A,
    kErrOutput = 0x404C,
    kStdOutput = 0x4050,
    kTagError = 0x504B,
    kSwapN = 0x505C,
    kIncG = 0x5303,
    kModGG = 0x5304,
    kStoreGI = 0x5305
};

// One machine over an image made in memory: dictionary entries 0 "alpha" to 3 "x.zp",
// the empty text as entry 4, globals 0 to 2 and system variables 0 and 1.
class MachineTest : public ::testing::Test {
protected:
    MachineTest()
    {
        for (const char* text : {"alpha", "beta", "12", "x.zp", ""})
            dictionary.Entry_Add(text, -1);
        for (const char* name : {"one", "two", "three"})
            globals.Insert(name, -1);
        systems.SetVariable("sysone", -1, "system text", -1);
        systems.Insert("never made", -1);
    }
    ~MachineTest() override { End(); }

    // The machine, made at first use: after the segments have their code.
    ZephVM* vm()
    {
        if (!m_vm)
            m_vm = Make(nullptr, &heartbeat, &cancelled, &exited);
        return m_vm;
    }
    ZephVM* Make(ZephVM* parent, int* beat, int* cancel, int* leave)
    {
        return new ZephVM("/www/x.zpc", -1, &application, &dictionary, &systems, &globals,
                          &segments, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, beat,
                          cancel, leave, parent);
    }
    void End()
    {
        if (m_vm)
            m_vm->Shutdown();
        m_vm = nullptr;
    }
    // Gives the start segment its code, in a buffer without room to spare.
    void Code(const std::string& bytes)
    {
        int size = int(bytes.size());
        char* code = Segment::AllocateCode(size);
        bytes.copy(code, bytes.size());
        Segment* segment = segments.Start();
        int number = segment->number();
        segment->~Segment();
        new (segment) Segment(number, code, size, size);
    }
    static void Write(Segment* segment, const std::string& bytes)
    {
        for (size_t i = 0; i < bytes.size(); ++i)
            segment->Write_Byte(int(i), static_cast<unsigned char>(bytes[i]));
    }
    // What Go returns for a code, in a machine of its own.
    int Run(const std::string& bytes)
    {
        End();
        Code(bytes);
        return vm()->Go();
    }

    ZephVM_Stack* stack() { return vm()->frame()->stack(); }
    int depth() { return stack()->Entries(); }
    std::string written() { return application.recorded.text; }
    // The message of the only fatal error so far, without its head and line end.
    std::string Fatal()
    {
        if (application.fatal_errors.size() != 1)
            return std::to_string(application.fatal_errors.size()) + " fatal errors";
        std::string text = application.fatal_errors[0];
        size_t start = text.rfind(": ");
        return text.substr(start + 2, text.size() - start - 3);
    }
    std::string GlobalText(int slot) { return globals.Index(slot, 1)->value().data(); }
    int GlobalInteger(int slot) { return globals.Index(slot, 1)->value_integer(); }

    TestApplication application;
    Dictionary dictionary;
    SystemVariableHash systems{&dictionary, 12, 512};
    VariableHash globals{&dictionary, 12, 512};
    SegmentManager segments;
    int heartbeat = 0;
    int cancelled = 0;
    int exited = 0;

private:
    ZephVM* m_vm = nullptr;
};

// A variable that tells when it ends.
class WatchedVariable : public Variable {
public:
    WatchedVariable(const char* text, bool* ended)
        : Variable("watched", -1, text, -1), m_ended(ended)
    {
        *ended = false;
    }
    ~WatchedVariable() override { *m_ended = true; }

private:
    bool* m_ended;
};

#endif
