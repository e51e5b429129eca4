#ifndef ZEPH_VM_ZEPHVM_FRAME_H
#define ZEPH_VM_ZEPHVM_FRAME_H

class VariableHash;
class ZephVM_Stack;

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
    ZephVM_Frame(const ZephVM_Frame&) = delete;
    ZephVM_Frame& operator=(const ZephVM_Frame&) = delete;
    virtual ~ZephVM_Frame();

    virtual int type() { return kRoot; }
    // Install a table or a stack, deleting the one that the frame owned.
    virtual void Set_LocalVariable_Hash(VariableHash* locals, bool own);
    virtual void Set_Stack(ZephVM_Stack* stack, bool own);

    VariableHash* locals() { return m_locals; }
    ZephVM_Stack* stack() { return m_stack; }

    int return_segment = -1;  // -1 in a root frame
    int return_offset = -1;   // -1 in a root frame
    int error_output = 7;     // `erroutput`; bit 2 lets runtime errors show a message
    int standard_output = 0;  // `stdoutput`; handed to Output::SetFlags
    ZephVM_Frame* previous = nullptr;

private:
    VariableHash* m_locals = nullptr;
    bool m_owns_locals = false;
    ZephVM_Stack* m_stack = nullptr;
    bool m_owns_stack = false;
};

#endif
