#ifndef ZEPH_VM_ZEPHVM_STACK_H
#define ZEPH_VM_ZEPHVM_STACK_H

#include "variables/DirectValue.h"

class LinkBuffer;
class Variable;
class ZephVM;

// One value in flight. An owned string is a new[] array with a NUL, an owned variable is
// one reference count, an owned link buffer is deleted; what is not owned is borrowed
// from the dictionary, a variable or another entry, and need not be NUL-terminated.
struct Stack_Entry {
    enum Kind {
        kInteger = 0,
        kDouble = 1,
        kString = 2,
        kVariable = 3,
        kLinkBuffer = 4
    };

    int kind;
    unsigned char owned;
    union {
        int integer;
        double real;
        const char* string;
        Variable* variable;
        LinkBuffer* buffer;
    };
    int length;    // of a string, in bytes
    int capacity;  // of a string's array, in bytes
};

// The operand stack of one frame: values of several kinds, converted only when they
// are popped, to the form that the popping instruction asks for. A constant that is
// pushed and written is therefore never copied.
//
// The capacity is fixed; memory is taken as the stack deepens. A fault is a fatal error
// of the machine that owns the stack; the operation then gives a zero value and the
// caller goes on to its end.
class ZephVM_Stack {
public:
    // What a frame's stack holds; scripts can rely on it, and run into it.
    static const int kFrameCapacity = 512;

    ZephVM_Stack(ZephVM* vm, int capacity);
    ZephVM_Stack(const ZephVM_Stack&) = delete;
    ZephVM_Stack& operator=(const ZephVM_Stack&) = delete;
    // Releases what is left, from the top down.
    virtual ~ZephVM_Stack();

    int Entries() const { return int(m_top - m_entries); }

    // "Stack overflow" leaves the stack as it was; what was to be pushed as owned
    // is released.
    void PushI(int value);
    void PushD(double value);
    void PushS(const char* text, int length, int capacity, int owned);
    void PushLinkBuffer(LinkBuffer* buffer, int owned);
    // With `addref` a count is taken first; a null variable is the fatal "Invalid
    // variable reference".
    void PushV(Variable* variable, int addref, int owned);
    // Moves entries from the top of another stack one by one, so that their order turns
    // around. A borrowed variable becomes owned. Whether there is room is asked once, by
    // an equality that a count above 1 can pass over, on purpose; what then finds no room
    // is a "Stack overflow" all the same.
    void Push(ZephVM_Stack* source, int count);

    // On an empty stack: "Stack underflow", a zero value, and `owned` set to 0.
    int PopI();
    double PopD();
    // With `owned` set the array is the caller's. `capacity` may be null.
    const char* PopS(int* length, int* capacity, int* owned);
    // For names that go to the operating system: always a new array, without NUL bytes.
    char* PopS_NS(int* length, int* capacity, int* owned);
    // The variable itself; 1 on success. Any other kind is released and fatal:
    // "Expected variable, found constant".
    int PopV(Variable** out, int* owned);
    // Stores the value in `target`; a null target is the fatal "Invalid variable
    // reference" and pops nothing. 1 on success.
    int PopV(Variable* target);
    // Truth as Variable::IsTrue has it.
    bool PopBool();
    // Whether it is the empty text or a variable that is NULL.
    bool PopNull();
    // A record number; -1 and -2 for the words "top" and "bottom" in any letter case.
    int PopDBPosition();
    void Pop();

    // The usual cases, without a call: store a number that is on top, or the number of a
    // variable there, in a plain variable; and move what is on top of another stack, but for a
    // borrowed variable. False, with nothing done, for any other.
    bool PopNumber(Variable* target)
    {
        bool is_set = m_top > m_entries && TakeNumber(target, m_top[-1]);
        m_top -= is_set;
        return is_set;
    }
    bool TakeTop(ZephVM_Stack* source)
    {
        if (source->m_top == source->m_entries || !HasRoom())
            return false;
        const Stack_Entry& entry = source->m_top[-1];
        if (entry.kind == Stack_Entry::kVariable && !entry.owned)
            return false;
        *m_top++ = entry;
        --source->m_top;
        return true;
    }
    // Takes memory for more entries before it is needed. False when there is no more to take.
    bool GrowAhead() { return m_limit - m_entries < m_capacity && Grow(); }
    // Whether an entry can be put on top without taking memory.
    bool HasRoom() const { return m_top < m_limit; }
    // Releases all entries, from the top down.
    void Clear()
    {
        while (m_top > m_entries) {
            Stack_Entry entry = *--m_top;
            Release(entry);
        }
    }

    // The top entry, or null. Valid until the next push.
    Stack_Entry* Peek() { return m_top > m_entries ? m_top - 1 : nullptr; }
    // Exchanges the entries at two depths, 0 being the top.
    void Swap(int a, int b);
    // Pushes a copy of the top that owns nothing: valid while the original lives.
    void Dupe();
    // Lets the top outlive the entries below it: a copy of one of them takes over what that
    // one owns.
    void DetachTop();
    // Takes both operands of an instruction off. One that is missing is a fatal error and
    // becomes an empty text.
    void TakeOperands(Stack_Entry* left, Stack_Entry* right)
    {
        if (Entries() < 2)
            return TakeMissing(left, right);
        *right = *Peek();
        *left = Peek()[-1];
        m_top -= 2;
    }
    // Puts an integer in the place of both, of which the caller has copies.
    void ReplaceOperands(int result)
    {
        --m_top;
        Stack_Entry* top = Peek();
        top->kind = Stack_Entry::kInteger;
        top->owned = 0;
        top->integer = result;
    }
    // Stores the number of an entry in a plain variable; the entry is used up. False, with
    // nothing done, for any other entry or variable.
    static bool TakeNumber(Variable* target, const Stack_Entry& entry)
    {
        if (entry.kind == Stack_Entry::kDouble)
            return DirectValue::SetDouble(target, entry.real);
        if (entry.kind == Stack_Entry::kInteger)
            return DirectValue::SetInteger(target, entry.integer);
        if (entry.kind != Stack_Entry::kVariable ||
            !DirectValue::CopyNumber(target, entry.variable))
            return false;
        if (entry.owned)
            DirectValue::DropCount(entry.variable);
        return true;
    }
    // Gives back what an entry that was taken off owns.
    static void Release(const Stack_Entry& entry);
    // Whether it has taken much more memory than most calls need.
    bool HasGrown() const { return m_limit - m_entries > kUsualEntries; }
    // Take two entries off, the lower one being the left one. Compare gives -1, 0 or 1:
    // as numbers if both are, NaN being greater than anything on either side; else as
    // bytes. Concatenate pushes one text: flat while both are borrowed, else a link
    // buffer that was built upon a temporary.
    int Compare();
    void Concatenate();

    // The text of an entry, which is used up. With `owned` set the array is the caller's.
    // `capacity` may be null. Null for an unknown kind.
    static const char* ConvertEntryToString(Stack_Entry* entry, int* length, int* capacity,
                                            int* owned);
    // The same as a link buffer that the caller owns.
    static LinkBuffer* ConvertEntryToDeletableLinkBuffer(Stack_Entry* entry);

    // Prints the entries to standard output, for a person at a debugger.
    void Dump_Stack();

private:
    friend class ZephVM;  // the loop pushes and pops without calls

    static const int kUsualEntries = 64;

    void TakeMissing(Stack_Entry* left, Stack_Entry* right);
    Stack_Entry* Room();
    bool Grow();
    bool Take(Stack_Entry* entry);

    ZephVM* m_vm;                      // borrowed
    Stack_Entry* m_entries = nullptr;  // owned; null until the first push
    Stack_Entry* m_top = nullptr;      // behind the last entry
    Stack_Entry* m_limit = nullptr;    // behind the memory
    int m_capacity;
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
