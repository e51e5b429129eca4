#ifndef ZEPH_TESTS_UNIT_VM_TESTMACHINE_H
#define ZEPH_TESTS_UNIT_VM_TESTMACHINE_H

#include <gtest/gtest.h>
#include <string.h>

#include <new>
#include <string>

#include "TestApplication.h"
#include "config/ExternalCall.h"
#include "config/UNIXExternalLibrary.h"
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

inline std::string OpDouble(int word, double operand)
{
    char bytes[sizeof operand];
    memcpy(bytes, &operand, sizeof operand);
    return Op(word) + std::string(bytes, sizeof operand);
}

enum Words {
    kNoop = 0x0000,
    kPushN = 0x0009,
    kPop = 0x000B,
    kPopN = 0x0011,
    kSPush = 0x0013,
    kSPop = 0x0014,
    kOut = 0x0015,
    kAdd = 0x0016,
    kSub = 0x0017,
    kCat = 0x0018,
    kBitAnd = 0x0019,
    kBitOr = 0x001A,
    kBitXor = 0x001B,
    kBitOc = 0x001C,
    kBitSl = 0x001D,
    kBitSr = 0x001E,
    kDiv = 0x001F,
    kMul = 0x0020,
    kMod = 0x0021,
    kRoundS = 0x0022,
    kCrypt = 0x0023,
    kPow = 0x0024,
    kRoundF = 0x0025,
    kCmp = 0x002C,
    kAnd = 0x002D,
    kOr = 0x002E,
    kIn = 0x002F,
    kCin = 0x0030,
    kEin = 0x0031,
    kEcin = 0x0032,
    kEq = 0x0033,
    kNe = 0x0034,
    kGe = 0x0035,
    kLe = 0x0036,
    kLt = 0x0037,
    kGt = 0x0038,
    kNot = 0x0039,
    kDup = 0x003A,
    kRet = 0x003B,
    kRetN = 0x003C,
    kElem = 0x003E,
    kElemReadonly = 0x003F,
    kMemb = 0x0040,
    kMembReadonly = 0x0041,
    kStore = 0x0042,
    kExit = 0x0043,
    kOutComp = 0x0051,
    kErrMsg = 0x0052,
    kPopRN = 0x0055,
    kRefer = 0x0057,
    kIsNull = 0x005A,
    kSwap = 0x005B,
    kSecondExit = 0x0116,
    kPushC = 0x4001,
    kPushI = 0x4002,
    kPushS = 0x4004,
    kPushG = 0x4005,
    kPushL = 0x4006,
    kPushNC = 0x400A,
    kPopS = 0x400C,
    kPopG = 0x400D,
    kPopL = 0x400E,
    kPopNC = 0x4012,
    kJmp = 0x4025,
    kJmpEq = 0x4026,
    kJmpLt = 0x4027,
    kJmpGt = 0x4028,
    kJmpLe = 0x4029,
    kJmpGe = 0x402A,
    kJmpNe = 0x402B,
    kCall = 0x403D,
    kLineNo = 0x4044,
    kSourceFile = 0x404A,
    kErrOutput = 0x404C,
    kStdOutput = 0x4050,
    kPopRG = 0x4053,
    kPopRL = 0x4054,
    kPopRNC = 0x4056,
    kTagError = 0x504B,
    kSwapN = 0x505C,
    kCmpGG = 0x5301,
    kCmpGI = 0x5302,
    kIncG = 0x5303,
    kModGG = 0x5304,
    kStoreGI = 0x5305,
    kPushF = 0x8003
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
                          &segments, &functions, external_calls, nullptr, nullptr, nullptr, nullptr,
                          beat, cancel, leave, parent);
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
    FunctionManager functions{&dictionary, 8};
    UNIXExternalLibraryManager libraries;
    ExternalCallManager calls{&libraries};
    ExternalCallManager* external_calls = &calls;
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
