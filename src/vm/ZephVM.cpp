#include "vm/ZephVM.h"

#include <string.h>

#include "app/LogParameter.h"
#include "app/ZephApplication.h"
#include "image/Dictionary.h"
#include "image/Segment.h"
#include "image/SegmentManager.h"
#include "variables/ImmutableVariable.h"
#include "variables/VariableHash.h"
#include "vm/DecodedCode.h"
#include "vm/Feature.h"
#include "vm/Instruction.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

const int kNoOwner = 0;

}  // namespace

ZephVM::ZephVM(const char* path, int length, ZephApplication* application, Dictionary* dictionary,
               VariableHash* system_variables, VariableHash* global_variables,
               SegmentManager* segments, FunctionManager* functions,
               ExternalCallManager* external_calls, CommerceLibraryManager*,
               ExternalDatabaseLibraryManager*, LocalizedLanguages*, LocalizedDictionary*,
               int* heartbeat, int* cancelled, int* exit_flag, ZephVM* parent)
    : m_path(path, length),
      m_heartbeat(heartbeat || !parent ? heartbeat : parent->m_heartbeat),
      m_cancelled(cancelled || !parent ? cancelled : parent->m_cancelled),
      m_exit(exit_flag || !parent ? exit_flag : parent->m_exit),
      m_application(application),
      m_dictionary(dictionary),
      m_system_variables(system_variables),
      m_global_variables(global_variables),
      m_segments(segments),
      m_functions(functions),
      m_external_calls(external_calls),
      m_features(kNoOwner),
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
    ReadTraceMask();
}

ZephVM::~ZephVM()
{
    DeleteFeatures();
    while (m_frame) {
        ZephVM_Frame* previous = m_frame->previous;
        delete m_frame;
        m_frame = previous;
    }
    DeleteSpareFrames();
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

// Every instruction by its handler. The operands have been taken.
int ZephVM::Execute(unsigned int word)
{
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

int ZephVM::Set_Segment()
{
    Segment* segment = m_segments->Get(m_segment);
    if (!segment)
        return FatalError("Invalid segment reference");
    m_loaded = segment;
    m_code_size = unsigned(segment->size());
    m_loaded_segment = m_segment;
    return 1;
}

// Runs instructions one by one from their bytes, as long as the run goes straight on. What
// ends that is left to the loop.
void ZephVM::RunOnce()
{
    const unsigned char* code = reinterpret_cast<const unsigned char*>(m_loaded->code());
    int segment = m_segment;
    ZephVM_Frame* frame = m_frame;
    bool goes_on = true;
    while (goes_on && static_cast<unsigned long long>(m_pc) + 1 < m_code_size) {
        Instruction instruction(code, m_pc);
        m_instruction_offset = m_pc;
        m_pc = instruction.next;
        m_a = unsigned(instruction.a);
        m_b = unsigned(instruction.b);
        m_double_a = instruction.double_a;
        m_double_b = instruction.double_b;
        Execute(instruction.word);
        goes_on = m_pc > m_instruction_offset && m_frame == frame && m_segment == segment &&
                  m_loaded_segment == segment && !m_halted && !*m_exit && !IsInterrupted();
    }
}

// The loaded code as steps, made when it is first entered.
DecodedCode* ZephVM::Decoded()
{
    PreparedCode* prepared = m_loaded->prepared();
    if (!prepared) {
        const void* code = m_loaded->code();
        prepared =
            new DecodedCode(static_cast<const unsigned char*>(code), m_code_size, m_eagerness);
        m_loaded->SetPrepared(prepared);
    }
    return static_cast<DecodedCode*>(prepared);
}

// Whether the run ends here, which it does in every frame but that of a filter: there the
// end of the code is the filter's answer, and the tag says where to go on. A filter's frame
// that waits for a function which native code called is at the end of that call.
int ZephVM::EndOfSegment()
{
    if (m_frame->type() != ZephVM_Frame::kFilter || m_frame == m_calling_frame)
        return 1;
    ZephVM_FilterFrame* frame = static_cast<ZephVM_FilterFrame*>(m_frame);
    int passed = m_stack->PopBool();
    (this->*frame->resume)(passed);
    return 0;
}

int ZephVM::TimedOut()
{
    if (m_halted)
        return 0;
    m_halted = true;
    m_application->Notify_TimeoutError("Application timed out");
    if (Logs(kLogTimedOut))
        LogEvent(kLogTimedOut, {});
    return 0;
}

void ZephVM::Heartbeat()
{
    m_last_heartbeat = Polled(m_heartbeat);
    if (m_parent)
        m_parent->Heartbeat();
    HeartbeatFeatures();
}
