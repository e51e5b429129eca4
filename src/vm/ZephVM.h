#ifndef ZEPH_VM_ZEPHVM_H
#define ZEPH_VM_ZEPHVM_H

#include <initializer_list>

#include "variables/List.h"
#include "variables/Stack.h"
#include "variables/StringClass.h"
#include "vm/DecodedCode.h"
#include "vm/TagErrorSettings.h"

class CommerceLibraryManager;
class Dictionary;
class ExternalCall;
class ExternalCallManager;
class ExternalDatabaseLibraryManager;
class Feature;
class Function;
class FunctionManager;
class FunctionParameter;
class LocalizedDictionary;
class LocalizedLanguages;
class NULLVariable;
class Segment;
class SegmentManager;
class Variable;
class VariableHash;
class VariableList;
class ZephApplication;
class ZephVM_Frame;
class ZephVM_FunctionFrame;
class ZephVM_Stack;
struct LogParameter;
struct Stack_Entry;

// One thread of script execution: a stack machine over the segments of one loaded
// image. The program counter is a segment number and a byte offset; strings are
// dictionary indexes and variables are slots, so the code needs no relocation.
//
// Borrows the image and the managers from the application or whoever loaded them.
// A handler that fails reports through FatalError and goes on to its end with zero
// values; the loop leaves at its next round. The texts of the last error stay in
// error(). Used by one thread at a time; another may raise the heartbeat counter and
// the cancelled flag, which the loop reads without a lock.
class ZephVM {
public:
    // `path` is the compiled file's. The three ints are polled: they may be null for
    // a child, which then takes its parent's. `parent` is null for the root.
    ZephVM(const char* path, int length, ZephApplication* application, Dictionary* dictionary,
           VariableHash* system_variables, VariableHash* global_variables, SegmentManager* segments,
           FunctionManager* functions, ExternalCallManager* external_calls,
           CommerceLibraryManager* commerce, ExternalDatabaseLibraryManager* databases,
           LocalizedLanguages* languages, LocalizedDictionary* localized, int* heartbeat,
           int* cancelled, int* exit_flag, ZephVM* parent);
    ZephVM(const ZephVM&) = delete;
    ZephVM& operator=(const ZephVM&) = delete;

    // The order of these is binary interface.

    // Ended by Shutdown and the last child's end, not by delete.
    virtual ~ZephVM();
    // What `call` does: a function of the image gets a frame and the registers go to its
    // code, which runs when the loop goes on; one of a library is run at once.
    virtual int CallExternalFunction(Function* function);
    virtual int CallFunction(Function* function);

    // Runs until the code ends, the machine halts or the script exits. 1 when it
    // ended normally, also by `exit`; 0 when halted.
    int Go();
    // Ends the machine for its creator; the object lives on until its last child ends.
    void Shutdown();

    // Keeps what waits for a sign of life going: called when the counter has moved,
    // and by an application asleep.
    void Heartbeat();

    // ---- Script run by native code. All nest the loop on the machine's stack.

    // Calls a function of the image. `arguments` may be null for none; their number has
    // to be that of the parameters. `result`, which may be null, receives a copy of what
    // the function returned. False, without an error, for an unknown function or another
    // number of parameters; false as well when the machine halted or the script exited.
    bool RunFunction(const char* name, int length, VariableList* arguments, Variable* result);
    // Runs the image from its start segment in a frame of its own, within an instruction of
    // another machine. The result is that of Go.
    int Go_Recursive();
    // Runs a compiled expression, with null standing for the current frame's stack and
    // locals. What it leaves on that stack is its result; the other forms take it off, but
    // only when the run has succeeded. The result is that of Go.
    int Execute_Dynamic_Expression(Segment* segment, ZephVM_Stack* stack, VariableHash* locals);
    int Execute_Dynamic_Expression(Segment* segment, Variable** variable, int* owned,
                                   ZephVM_Stack* stack, VariableHash* locals);
    int Execute_Dynamic_Expression(Segment* segment, const char** text, int* length, int* capacity,
                                   int* owned, ZephVM_Stack* stack, VariableHash* locals);
    int Execute_Dynamic_Expression(Segment* segment, int* truth, ZephVM_Stack* stack,
                                   VariableHash* locals);
    // The hooks around a file upload: five texts and a number go to the script function
    // "Zeph_ProcessFileUpload", three texts to "Zeph_ValidateFileUpload", whose result is
    // an integer. True when there is no such function or it has run; `*result` is then -1
    // or what it returned.
    bool ProcessFileUpload(const char* text1, int length1, const char* text2, int length2,
                           const char* text3, int length3, const char* text4, int length4,
                           const char* text5, int length5, int number);
    bool ValidateFileUpload(const char* text1, int length1, const char* text2, int length2,
                            const char* text3, int length3, int* result);

    // ---- Names

    // Resolves a name with an optional scope and with element selectors. The variable may
    // be null. False, with the text in `error`, for a bad selector; the second form makes
    // that a fatal error and gives null.
    bool Lookup_Variable(Variable** out, const char* name, int length, String* error);
    Variable* Lookup_Variable(const char* name, int length);
    // The global of a name, made if it has a slot.
    Variable* Lookup_Global(const char* name, int length);

    // ---- Errors. All return 0, so that a handler may return them.

    // Composes the text with prefix, path, position and source line, halts the
    // machine and shows the text.
    int FatalError(const String& message);
    // An error in a tag, by its row in the error settings: they decide whether the machine
    // halts and whether the text is shown. An error that does not halt clears a halt that
    // was there. The bare message goes to the tag's error variable.
    int RuntimeError(int tag, const String& message);
    // The same for text from outside the script, which may end in a page: entities are
    // encoded first.
    int EncodedRuntimeError(int tag, const String& message);
    // Makes the error variable of a tag NULL, as a tag does that starts well.
    void ClearErrorVariable(int tag);
    const String& error() const { return m_error; }

    // ---- Tags that stay open over several instructions

    void Push_Feature(Feature* feature);
    // The topmost of a number, or null.
    Feature* Lookup_Feature(int number);
    // Takes a feature and all above it off; only the one that was named is deleted. Those
    // above it stay as they are, open, until the process ends: on purpose.
    void Pop_Feature(Feature* feature);
    // Closes what a frame left open: the lowest feature of an unbroken run of its own, so
    // that of several just the outermost ends.
    void Cleanup_Function_Features(ZephVM_Frame* frame);

    bool halted() const { return m_halted; }
    const String& path() const { return m_path; }
    ZephApplication* application() const { return m_application; }
    FunctionManager* functions() const { return m_functions; }
    ZephVM_Frame* frame() const { return m_frame; }
    // What a run-time error of a tag does in this machine; `row` is below kTagErrorRows.
    const TagErrorSetting& error_setting(int row) const { return m_error_settings[row]; }
    // The tick that the machine noticed last.
    int last_heartbeat() const { return m_last_heartbeat; }
    int line() const { return m_line; }
    // Name of the source file, counted; null and 0 when it is not known.
    const char* source_name(int* length);

private:
    // Gives one count back.
    void Release();
    friend class ZephVMCallbackVariableCallback;
    friend class MachineInnards;  // of the tests

    // The loop.
    int Execute(unsigned int word);
    DecodedCode* Decoded();
    // Whether the loop has to look up. The counter and the flag belong to the application,
    // and its heartbeat thread writes them under a mutex that the loop does not take.
    bool IsInterrupted() const
    {
        return Polled(m_cancelled) || m_last_heartbeat != Polled(m_heartbeat);
    }
    static int Polled(const int* flag) { return __atomic_load_n(flag, __ATOMIC_RELAXED); }
    void RunOnce();
    int Set_Segment();
    int TimedOut();
    int EndOfSegment();

    // Calls. Frames of functions are made and ended by the first two alone, which keep those
    // of ended calls for the next ones.
    ZephVM_FunctionFrame* NewFunctionFrame(Function* function);
    void DropFrame();
    ZephVM_FunctionFrame* SpareFrame(Function* function);
    ZephVM_FunctionFrame** SpareFrames(Function* function);
    bool KeepFrame(ZephVM_FunctionFrame* frame);
    void DeleteSpareFrames();
    void PassPlainParameters(int count, VariableHash* locals);
    ZephVM_FunctionFrame* FrameForPlainCall(int index, long long entries);
    bool EnterPlainFunction(ZephVM_FunctionFrame* frame, DecodedStep* call, int* output_flags);
    bool CanLeavePlainFunction(const Stack_Entry& value);
    DecodedStep* LeavePlainFunction(const Stack_Entry& value, int* output_flags);
    void SetOutputFlags(int flags, int* known);
    void EnterFrame(ZephVM_Frame* frame, int segment, int offset);
    bool PassParameters(Function* function, VariableHash* locals);
    bool PassParameter(Function* function, FunctionParameter* parameter, VariableHash* locals,
                       unsigned int event);
    bool PassExternalParameters(Function* function, ExternalCall* call, VariableHash* locals);
    int CallBound(Function* function, ExternalCall* call, VariableHash* locals);
    int Return(bool with_value);
    void LogReturnValue(Function* function, Stack_Entry* entry);

    // Runs nested in an instruction.
    struct Registers {
        int segment;
        unsigned int pc, instruction_offset, a, b;
        double double_a, double_b;
    };
    Registers SaveRegisters() const;
    void RestoreRegisters(const Registers& saved);
    bool RunCalled(Function* function);
    int RunFrame(ZephVM_Frame* frame, Segment* segment);
    int RunForValue(Segment* segment, ZephVM_Stack** stack, VariableHash* locals);

    // Whether an event is logged here: its bit is in the mask and the application lets the
    // source position pass. LogEvent puts script, source file and line in front of what is
    // given.
    void ReadTraceMask();
    bool Logs(unsigned int event);
    void LogEvent(unsigned int event, std::initializer_list<LogParameter> parameters);

    // Over all open tags, from the innermost out.
    void HeartbeatFeatures();
    void DeleteFeatures();

    // Handlers, each named after its instruction.
    int noop();
    int pushc();
    int pushi();
    int pushf();
    int pushs();
    int pushg();
    int pushl();
    int pushd();
    int pushdc();
    int pushn();
    int pushnc();
    int pops();
    int popg();
    int popl();
    int popd();
    int popdc();
    int popn();
    int popnc();
    int pop();
    int store();
    int dup();
    int swap();
    int swapn();
    int spush();
    int spop();
    int poprn();
    int poprnc();
    int poprg();
    int poprl();
    int refer();
    int elem();
    int elem_readonly();
    int memb();
    int memb_readonly();
    int out();
    int out_comp();
    int stdoutput();
    int erroutput();
    int op_errmsg();
    int jmp();
    int jmp_eq();
    int jmp_lt();
    int jmp_gt();
    int jmp_le();
    int jmp_ge();
    int jmp_ne();
    int call();
    int ret();
    int retn();
    int exit();
    int lineno();
    int sourcefile();
    int tagerror();
    int add();
    int sub();
    int mul();
    int div();
    int mod();
    int pow();
    int bitand_op();
    int bitor_op();
    int bitxor_op();
    int bitoc();
    int bitsl();
    int bitsr();
    int and_op();
    int or_op();
    int not_op();
    int isnull();
    int cmp();
    int eq();
    int ne();
    int ge();
    int le();
    int lt();
    int gt();
    int in();
    int cin();
    int ein();
    int ecin();
    int cat();
    int rounds();
    int roundf();
    int crypt();
    int cmpgg();
    int cmpgi();
    int incg();
    int modgg();
    int storegi();

    // What handlers share.
    static int Compare(Variable* left, Variable* right);
    static int Compare(Variable* left, int right);
    int PushVariable(Variable* variable);
    int PushNamed(Variable* variable);
    int PopNamed(Variable* variable);
    int PopField(Variable* field);
    Variable* NamedByEntry(unsigned int entry);
    Variable* Lookup_Field(const char* view, int view_length, const char* field, int field_length);
    Variable* FieldByEntries(unsigned int view, unsigned int field);
    bool SearchScopes(Variable** out, const char* name, int length, String* error);
    int PopReference(VariableHash* variables);
    static int Refer(Variable* variable, Variable* target);
    int PushElement(int create);
    int PushMember(int create);
    int PushFound(Variable* variable, int create);
    Variable* Global(unsigned int slot);
    void Jump(bool taken);
    String Position(const char* kind);

    int m_refcount = 1;
    String m_error;
    int m_line = 0;
    int m_traced_line = 0;
    int m_source_index = -1;
    const char* m_source_name = nullptr;  // in the dictionary; null until it is asked for
    int m_source_length = 0;
    String m_path;
    String m_error_prefix;
    TagErrorSetting m_error_settings[kTagErrorRows];

    // The first and the second operand of the instruction.
    unsigned int m_a = 0;
    unsigned int m_b = 0;
    double m_double_a = 0;
    double m_double_b = 0;

    Segment* m_loaded = nullptr;  // whose code runs; borrowed
    bool m_has_run = false;       // the loop has had its first look at some code
    DecodedCode::Eagerness m_eagerness = DecodedCode::kWhenRepeated;
    unsigned int m_code_size = 0;
    ZephVM_Frame* m_frame = nullptr;  // owned, with the chain below it
    ZephVM_Stack* m_stack = nullptr;  // the frame's
    // Frames of ended calls, by function; owned, with the chains that they start.
    ZephVM_FunctionFrame** m_spare_frames = nullptr;
    int m_spare_count = 0;
    // The one whose instruction called a function by RunFunction and waits for it.
    ZephVM_Frame* m_calling_frame = nullptr;
    int m_segment = 0;
    unsigned int m_pc = 0;
    int m_loaded_segment = -1;
    unsigned int m_instruction_offset = 0;
    bool m_halted = false;
    unsigned int m_trace_mask = 0;  // the events that are logged

    int* m_heartbeat;
    int* m_cancelled;
    int m_last_heartbeat = 0;
    int* m_exit;

    ZephApplication* m_application;
    Dictionary* m_dictionary;
    VariableHash* m_system_variables;
    VariableHash* m_global_variables;
    SegmentManager* m_segments;
    FunctionManager* m_functions;
    ExternalCallManager* m_external_calls;
    Stack<Feature> m_features;  // not an owner
    NULLVariable* m_null;       // holds one count; what a read finds where nothing is
    ZephVM* m_parent;           // holds one count; null for the root
};

#endif
