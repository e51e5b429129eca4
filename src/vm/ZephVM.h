#ifndef ZEPH_VM_ZEPHVM_H
#define ZEPH_VM_ZEPHVM_H

#include "variables/StringClass.h"
#include "vm/TagErrorSettings.h"

class CommerceLibraryManager;
class Dictionary;
class ExternalCallManager;
class ExternalDatabaseLibraryManager;
class FunctionManager;
class LocalizedDictionary;
class LocalizedLanguages;
class NULLVariable;
class Segment;
class SegmentManager;
class Variable;
class VariableHash;
class ZephApplication;
class ZephVM_Frame;
class ZephVM_Stack;

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
    // Ended by Shutdown and the last child's end, not by delete.
    virtual ~ZephVM();

    // Runs until the code ends, the machine halts or the script exits. 1 when it
    // ended normally, also by `exit`; 0 when halted.
    int Go();
    // Ends the machine for its creator; the object lives on until its last child ends.
    void Shutdown();

    // Keeps what waits for a sign of life going: called when the counter has moved,
    // and by an application asleep.
    void Heartbeat();

    // Composes the text with prefix, path, position and source line, halts the
    // machine and shows the text. Returns 0, so that a handler may return it.
    int FatalError(const String& message);
    const String& error() const { return m_error; }

    bool halted() const { return m_halted; }
    const String& path() const { return m_path; }
    ZephApplication* application() const { return m_application; }
    ZephVM_Frame* frame() const { return m_frame; }
    // What a run-time error of a tag does in this machine; `row` is below kTagErrorRows.
    const TagErrorSetting& error_setting(int row) const { return m_error_settings[row]; }
    // The tick that the machine noticed last.
    int last_heartbeat() const { return m_last_heartbeat; }

private:
    // Gives one count back.
    void Release();

    // The loop.
    int Dispatch();
    static void Fetch(unsigned int form, const unsigned char** bytes, unsigned int* integer,
                      double* real);
    int Set_Segment();
    int TimedOut();

    // Handlers, each named after its instruction.
    int noop();
    int pushc();
    int pushi();
    int pushs();
    int pushg();
    int pushl();
    int pops();
    int popg();
    int popl();
    int pop();
    int store();
    int dup();
    int swap();
    int swapn();
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
    int exit();
    int lineno();
    int sourcefile();
    int tagerror();
    int incg();
    int modgg();
    int storegi();

    int PushVariable(Variable* variable);
    int PopInto(Variable* variable);
    Variable* Global(unsigned int slot);
    void Jump(bool taken);
    String Position(const char* kind);

    int m_refcount = 1;
    String m_error;
    int m_line = 0;
    int m_source_index = -1;
    String m_path;
    String m_error_prefix;
    TagErrorSetting m_error_settings[kTagErrorRows];

    // What Dispatch took from behind the word: the first and the second operand.
    unsigned int m_a = 0;
    unsigned int m_b = 0;
    double m_double_a = 0;
    double m_double_b = 0;

    const unsigned char* m_code = nullptr;  // the loaded segment's, borrowed
    unsigned int m_code_size = 0;
    ZephVM_Frame* m_frame = nullptr;  // owned, with the chain below it
    ZephVM_Stack* m_stack = nullptr;  // the frame's
    int m_segment = 0;
    unsigned int m_pc = 0;
    int m_loaded_segment = -1;
    unsigned int m_instruction_offset = 0;
    bool m_halted = false;

    int* m_heartbeat;
    int* m_cancelled;
    int m_last_heartbeat = 0;
    int* m_exit;

    ZephApplication* m_application;
    Dictionary* m_dictionary;
    VariableHash* m_system_variables;
    VariableHash* m_global_variables;
    SegmentManager* m_segments;
    NULLVariable* m_null;  // holds one count; what a read finds where nothing is
    ZephVM* m_parent;      // holds one count; null for the root
};

#endif
