#ifndef ZEPH_VM_ZEPHVM_FRAME_H
#define ZEPH_VM_ZEPHVM_FRAME_H

#include "variables/VariableHash.h"
#include "vm/ZephVM_Stack.h"

class Function;
struct DecodedStep;
class ZephVM;

// The record of one running call: where it returns to, whose variables are its
// locals, which operand stack it uses and how its output and errors are treated.
// Frames chain through `previous`, which a frame does not own.
class ZephVM_Frame {
public:
    // What the end of a segment means in the frame: see ZephVM::Go.
    enum Type {
        kRoot = 0,
        kFunction = 1,
        kFilter = 2,
        kAsync = 3
    };

    ZephVM_Frame() {}
    explicit ZephVM_Frame(Type type) : m_type(type) {}
    ZephVM_Frame(const ZephVM_Frame&) = delete;
    ZephVM_Frame& operator=(const ZephVM_Frame&) = delete;
    virtual ~ZephVM_Frame();

    virtual int type() { return m_type; }
    // Install a table or a stack, deleting the one that the frame owned.
    virtual void Set_LocalVariable_Hash(VariableHash* locals, bool own);
    virtual void Set_Stack(ZephVM_Stack* stack, bool own);

    bool Is(Type type) const { return m_type == type; }
    VariableHash* locals() { return m_locals; }
    ZephVM_Stack* stack() { return m_stack; }

    int return_segment = -1;  // -1 in a root frame
    int return_offset = -1;   // -1 in a root frame
    int error_output = 7;     // `erroutput`; bit 2 lets runtime errors show a message
    int standard_output = 0;  // `stdoutput`; handed to Output::SetFlags
    ZephVM_Frame* previous = nullptr;

private:
    Type m_type = kRoot;
    VariableHash* m_locals = nullptr;
    bool m_owns_locals = false;
    ZephVM_Stack* m_stack = nullptr;
    bool m_owns_stack = false;
};

// A running function of the image.
class ZephVM_FunctionFrame : public ZephVM_Frame {
public:
    explicit ZephVM_FunctionFrame(Function* function);

    Function* function() { return m_function; }
    // Of a function that has no flags and only parameters by value, in the first slots: how
    // many there are. -1 of any other.
    int plain_parameters() const { return m_plain_parameters; }
    bool is_plain() const { return m_plain_parameters >= 0; }
    // Whether the call has not added names to its locals.
    bool HasItsLocals() { return locals()->slots() == m_slots; }

    // Puts the frame, whose call has ended, in front of those that wait for the next calls of
    // the function; `*first` is the first of them. False, with nothing done, when it is to be
    // deleted: recursion has left enough, or the stack has grown beyond what most calls need.
    bool JoinSpares(ZephVM_FunctionFrame** first)
    {
        int count = *first ? (*first)->m_spares + 1 : 1;
        if (count > kMostSpares || stack()->HasGrown())
            return false;
        m_spares = count;
        previous = *first;
        *first = this;
        return true;
    }

    // Behind the call; null when it has not been made by the loop itself.
    DecodedStep* next_step = nullptr;

    static const int kMostSpares = 256;

private:
    Function* m_function;  // borrowed
    int m_plain_parameters;
    int m_slots;
    int m_spares = 0;  // how many wait from this one on
};

// A filter that a tag runs over a record. It shares the stack and the locals of the frame
// below it. At the end of its segment the machine pops a boolean and gives it to `resume`,
// which sets the registers: back to the return position, which is the start of the filter,
// or on to the second position when the filtered sequence has ended.
class ZephVM_FilterFrame : public ZephVM_Frame {
public:
    using Resume = int (ZephVM::*)(int passed);

    explicit ZephVM_FilterFrame(Resume resume_member) : ZephVM_Frame(kFilter), resume(resume_member)
    {
    }

    Resume resume;
    int end_segment = -1;
    int end_offset = -1;
};

// The outermost frame of an asynchronous task: a return in it ends the task.
class ZephVM_AsyncFrame : public ZephVM_Frame {
public:
    ZephVM_AsyncFrame() : ZephVM_Frame(kAsync) {}
};

#endif
