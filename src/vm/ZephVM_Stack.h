#ifndef ZEPH_VM_ZEPHVM_STACK_H
#define ZEPH_VM_ZEPHVM_STACK_H

class Variable;
class ZephVM;

// One value in flight. An owned string is a new[] array, an owned variable is one
// reference count; what is not owned is borrowed from the dictionary, a variable or
// another entry, and need not be NUL-terminated.
struct Stack_Entry {
    enum Kind {
        kInteger = 0,
        kString = 2,
        kVariable = 3
    };

    int kind;
    unsigned char owned;
    union {
        int integer;
        const char* string;
        Variable* variable;
    };
    int length;    // of a string, in bytes
    int capacity;  // of a string's array, in bytes
};

// The operand stack of one frame: values of several kinds, converted only when they
// are popped, to the form that the popping instruction asks for. A constant that is
// pushed and written is therefore never copied.
//
// The capacity is fixed. A fault is a fatal error of the machine that owns the
// stack; the operation then gives a zero value and the caller goes on to its end.
class ZephVM_Stack {
public:
    // What a frame's stack holds; scripts can rely on it, and run into it.
    static const int kFrameCapacity = 512;

    ZephVM_Stack(ZephVM* vm, int capacity);
    ZephVM_Stack(const ZephVM_Stack&) = delete;
    ZephVM_Stack& operator=(const ZephVM_Stack&) = delete;
    virtual ~ZephVM_Stack();

    int Entries() const { return m_used; }

    // "Stack overflow" leaves the stack as it was; what was to be pushed as owned
    // is released.
    void PushI(int value);
    void PushS(const char* text, int length, int capacity, int owned);
    // With `addref` a count is taken first; a null variable is the fatal "Invalid
    // variable reference".
    void PushV(Variable* variable, int addref, int owned);

    // On an empty stack: "Stack underflow", a zero value, and `owned` set to 0.
    int PopI();
    // With `owned` set the array is the caller's. `capacity` may be null.
    const char* PopS(int* length, int* capacity, int* owned);
    // The variable itself; 1 on success. Any other kind is released and fatal:
    // "Expected variable, found constant".
    int PopV(Variable** out, int* owned);
    // Stores the value in `target`; a null target is the fatal "Invalid variable
    // reference" and pops nothing. 1 on success.
    int PopV(Variable* target);
    void Pop();

    // The top entry, or null.
    Stack_Entry* Peek() { return m_used > 0 ? &m_entries[m_used - 1] : nullptr; }
    // Exchanges the entries at two depths, 0 being the top.
    void Swap(int a, int b);
    // Pushes a copy of the top that owns nothing: valid while the original lives.
    void Dupe();

private:
    Stack_Entry* Room();
    Stack_Entry* Take();
    static void Release(Stack_Entry* entry);
    static const char* VariableText(Stack_Entry* entry, int* length, int* capacity, int* owned);

    ZephVM* m_vm;            // borrowed
    Stack_Entry* m_entries;  // owned, m_capacity long
    int m_capacity;
    int m_used = 0;
};

// A text popped from a stack, freed at the end of the block if it was owned.
class PoppedText {
public:
    explicit PoppedText(ZephVM_Stack* stack) { m_text = stack->PopS(&m_length, nullptr, &m_owned); }
    ~PoppedText()
    {
        if (m_owned)
            delete[] m_text;
    }
    PoppedText(const PoppedText&) = delete;
    PoppedText& operator=(const PoppedText&) = delete;

    const char* data() const { return m_text; }
    int length() const { return m_length; }

private:
    const char* m_text;
    int m_length = 0;
    int m_owned = 0;
};

#endif
