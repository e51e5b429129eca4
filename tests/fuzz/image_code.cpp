// Any bytes as the code of a valid image, run by the machine.
#include <signal.h>
#include <string.h>
#include <sys/time.h>

#include "../unit/vm/TestApplication.h"
#include "FuzzTarget.h"
#include "config/ExternalCall.h"
#include "config/UNIXExternalLibrary.h"
#include "image/Dictionary.h"
#include "image/Function.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedLanguages.h"
#include "image/Segment.h"
#include "image/SegmentManager.h"
#include "variables/SystemVariableHash.h"
#include "vm/ZephVM.h"

// A friend of the machine.
class MachineInnards {
public:
    static void MakeStepsAtOnce(ZephVM* vm)
    {
        vm->m_eagerness = DecodedCode::kAlways;
        vm->m_has_run = true;
    }
};

namespace {

const size_t kMostOutput = 1 << 20;
const int kMostTime = 5000;  // microseconds of processor time

// `modgg`: a divisor of zero ends the process, as it is meant to.
const unsigned char kTrapWord[] = {0x04, 0x53};

int cancelled;

void CancelRun(int)
{
    __atomic_store_n(&cancelled, 1, __ATOMIC_RELAXED);
}

// Endless loops are cancelled, as the heartbeat would. The clock counts this process's
// own time and is not the one that the fuzzer uses.
class RunClock {
public:
    RunClock()
    {
        cancelled = 0;
        signal(SIGVTALRM, CancelRun);
        Set(kMostTime);
    }
    ~RunClock() { Set(0); }

private:
    static void Set(int microseconds)
    {
        itimerval timer = {{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_VIRTUAL, &timer, nullptr);
    }
};

// A segment of exactly these bytes, without the word that traps.
void SetCode(Segment* segment, const uint8_t* bytes, size_t size)
{
    char* code = Segment::AllocateCode(int(size));
    if (size > 0)
        memcpy(code, bytes, size);
    for (size_t i = 0; i + 1 < size; ++i)
        if (memcmp(code + i, kTrapWord, sizeof kTrapWord) == 0)
            code[i] = 0;
    int number = segment->number();
    segment->~Segment();
    new (segment) Segment(number, code, int(size), int(size));
}

// Functions of each kind, with their entry points at places of the code.
void AddFunctions(FunctionManager* functions, int size)
{
    functions->Function_Add(0, 0, "start", -1, "", -1, Function::kSetsOutputBit0);
    functions->Function_Add(0, size / 2, "middle", -1, "a,b var", -1, Function::kInheritsOutput);
    functions->Function_Add(0, size, "end", -1, "a", -1, Function::kClearsErrorBit2);
    functions->Function_Add(-1, -1, "nowhere", -1, "", -1, 0);
    functions->Function_Add("external", -1, 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    TestApplication application;
    application.recorded.limit = kMostOutput;
    application.recorded.limit_flag = &cancelled;
    Dictionary dictionary;
    for (const char* text : {"x.zp", "text", "-12", "0x7fffffff", "", " white  space ", "3.5"})
        dictionary.Entry_Add(text, -1);
    SystemVariableHash systems(&dictionary, 12, 512);
    systems.SetVariable("sysone", -1, "system text", -1);
    systems.Insert("systwo", -1);
    VariableHash globals(&dictionary, 12, 512);
    for (const char* name : {"one", "two", "three", "four"})
        globals.Insert(name, -1);
    SegmentManager segments;
    SetCode(segments.Start(), bytes, size);
    FunctionManager functions(&dictionary, 8);
    AddFunctions(&functions, int(size));
    UNIXExternalLibraryManager libraries;
    ExternalCallManager calls(&libraries);
    LocalizedLanguages languages(&application, &dictionary, nullptr, 12, 8);
    LocalizedDictionary localized;
    int heartbeat = 1;
    int exited = 0;

    RunClock clock;
    ZephVM* vm = new ZephVM("/www/x.zpc", -1, &application, &dictionary, &systems, &globals,
                            &segments, &functions, &calls, nullptr, nullptr, &languages, &localized,
                            &heartbeat, &cancelled, &exited, nullptr);
    // Most of such code is too short to come to a place again.
    if (size % 2)
        MachineInnards::MakeStepsAtOnce(vm);
    vm->Go();
    vm->Shutdown();
    return 0;
}
