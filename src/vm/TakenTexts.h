#ifndef ZEPH_VM_TAKENTEXTS_H
#define ZEPH_VM_TAKENTEXTS_H

#include "variables/Variable.h"
#include "vm/ZephVM_Stack.h"

// A text that an entry has at hand: nothing has to be made or asked for it.
struct TextAtHand {
    // False, with nothing set, when the entry has none.
    bool Find(const Stack_Entry& entry)
    {
        if (entry.kind == Stack_Entry::kString) {
            text = entry.string;
            length = entry.length;
            return true;
        }
        const String* value =
            entry.kind == Stack_Entry::kVariable ? entry.variable->TextAtHand() : nullptr;
        if (!value)
            return false;
        text = value->data();
        length = value->length();
        return true;
    }

    const char* text;
    int length;
};

// The two operands of an instruction that reads both as texts: taken off the stack, and
// released only at the end of the block, since both may stand on one variable, or on one
// text, that nothing but the stack holds. What has its text at hand lends it.
//
// An operand that is missing, which is a fatal error of the machine, is empty.
class TakenTexts {
public:
    explicit TakenTexts(ZephVM_Stack* stack);
    ~TakenTexts();
    TakenTexts(const TakenTexts&) = delete;
    TakenTexts& operator=(const TakenTexts&) = delete;

    // The lower one.
    const char* left() const { return m_left.data(); }
    int left_length() const { return m_left.length(); }
    // That on top.
    const char* right() const { return m_right.data(); }
    int right_length() const { return m_right.length(); }

private:
    struct Operand {
        const char* data() const { return value ? value->data() : text; }
        int length() const { return value ? value->length() : text_length; }
        void Find();

        Stack_Entry entry;
        // Of a variable, else null. It is looked at late: both operands may be one aggregate,
        // which makes its text anew for each of them.
        const String* value = nullptr;
        const char* text = nullptr;
        int text_length = 0;
    };

    Operand m_left;
    Operand m_right;
};

#endif
