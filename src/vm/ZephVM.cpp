#include "vm/ZephVM.h"

#include <string.h>

#include "app/ZephApplication.h"
#include "image/Dictionary.h"
#include "image/Segment.h"
#include "image/SegmentManager.h"
#include "primitives/conversions.h"
#include "variables/ImmutableVariable.h"
#include "variables/VariableHash.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

// The counter and the flags belong to the application, and its heartbeat thread
// writes them under a mutex that the loop does not take.
int Polled(const int* flag)
{
    return __atomic_load_n(flag, __ATOMIC_RELAXED);
}

unsigned int Dword(const unsigned char* bytes)
{
    return bytes[0] | unsigned(bytes[1]) << 8 | unsigned(bytes[2]) << 16 | unsigned(bytes[3]) << 24;
}

double Double(const unsigned char* bytes)
{
    unsigned long long bits = Dword(bytes) | static_cast<unsigned long long>(Dword(bytes + 4))
                                                 << 32;
    double value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

// The two bits that say what an operand is; 0 and 3 mean none.
enum OperandForm {
    kIntegerOperand = 1,
    kDoubleOperand = 2
};

}  // namespace

ZephVM::ZephVM(const char* path, int length, ZephApplication* application, Dictionary* dictionary,
               VariableHash* system_variables, VariableHash* global_variables,
               SegmentManager* segments, FunctionManager*, ExternalCallManager*,
               CommerceLibraryManager*, ExternalDatabaseLibraryManager*, LocalizedLanguages*,
               LocalizedDictionary*, int* heartbeat, int* cancelled, int* exit_flag, ZephVM* parent)
    : m_path(path, length),
      m_heartbeat(heartbeat || !parent ? heartbeat : parent->m_heartbeat),
      m_cancelled(cancelled || !parent ? cancelled : parent->m_cancelled),
      m_exit(exit_flag || !parent ? exit_flag : parent->m_exit),
      m_application(application),
      m_dictionary(dictionary),
      m_system_variables(system_variables),
      m_global_variables(global_variables),
      m_segments(segments),
      m_null(new NULLVariable),
      m_parent(parent)
{
    memcpy(m_error_settings, tag_default_errorsettings, sizeof m_error_settings);
    m_frame = new ZephVM_Frame;
    m_frame->Set_LocalVariable_Hash(global_variables, false);
    m_stack = new ZephVM_Stack(this, ZephVM_Stack::kFrameCapacity);
    m_frame->Set_Stack(m_stack, true);
    m_segment = m_segments->Start()->number();
    if (m_parent)
        ++m_parent->m_refcount;
}

ZephVM::~ZephVM()
{
    while (m_frame) {
        ZephVM_Frame* previous = m_frame->previous;
        delete m_frame;
        m_frame = previous;
    }
    m_null->DecRefCount();
    if (m_parent)
        m_parent->Release();
}

void ZephVM::Shutdown()
{
    Release();
}

void ZephVM::Release()
{
    if (--m_refcount == 0)
        delete this;
}

// Takes one operand of the given form from `bytes`, which moves behind it.
inline void ZephVM::Fetch(unsigned int form, const unsigned char** bytes, unsigned int* integer,
                   double* real)
{
    if (form == kIntegerOperand) {
        *integer = Dword(*bytes);
        *bytes += 4;
    } else if (form == kDoubleOperand) {
        *real = Double(*bytes);
        *bytes += 8;
    }
}

// Operands are taken by the word's bits alone, and may run past the end of the code:
// every code buffer has spare zeros for that.
inline int ZephVM::Dispatch()
{
    const unsigned char* bytes = m_code + m_pc;
    unsigned int word = bytes[0] | unsigned(bytes[1]) << 8;
    bytes += 2;
    Fetch(word >> 14, &bytes, &m_a, &m_double_a);
    Fetch(word >> 12 & 3, &bytes, &m_b, &m_double_b);
    m_pc = unsigned(bytes - m_code);

    switch (word) {
#define ZEPH_OP(word, name, handler) \
    case word:                       \
        return handler;
#define ZEPH_WORD(word, name)
#include "vm/Instructions.def"
#undef ZEPH_OP
#undef ZEPH_WORD
    }
    return FatalError("Illegal Instruction");
}

// Before each instruction the loop reads the two flags that another thread or a
// nested run may set, so that a cancelled script stops between any two of them.
int ZephVM::Go()
{
    for (;;) {
        if (Polled(m_cancelled))
            return TimedOut();
        if (m_last_heartbeat != Polled(m_heartbeat))
            Heartbeat();
        if (m_halted)
            return 0;
        if (*m_exit)
            return 1;
        if (m_segment != m_loaded_segment && !Set_Segment())
            return 0;
        m_instruction_offset = m_pc;
        // In 64 bits: a jump may have left any value in the program counter.
        // Running off the end of the code is how every run ends.
        if (static_cast<unsigned long long>(m_pc) + 1 >= m_code_size)
            return 1;
        Dispatch();
    }
}

int ZephVM::Set_Segment()
{
    Segment* segment = m_segments->Get(m_segment);
    if (!segment)
        return FatalError("Invalid segment reference");
    m_code = reinterpret_cast<const unsigned char*>(segment->code());
    m_code_size = unsigned(segment->size());
    m_loaded_segment = m_segment;
    return 1;
}

int ZephVM::TimedOut()
{
    if (m_halted)
        return 0;
    m_halted = true;
    m_application->Notify_TimeoutError("Application timed out");
    return 0;
}

void ZephVM::Heartbeat()
{
    m_last_heartbeat = Polled(m_heartbeat);
    if (m_parent)
        m_parent->Heartbeat();
}
