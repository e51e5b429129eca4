#include "vm/TakenTexts.h"

#include "vm/EntryText.h"

TakenTexts::TakenTexts(ZephVM_Stack* stack)
{
    stack->TakeOperands(&m_left.entry, &m_right.entry);
    m_right.Find();
    m_left.Find();
}

TakenTexts::~TakenTexts()
{
    ZephVM_Stack::Release(m_right.entry);
    ZephVM_Stack::Release(m_left.entry);
}

// A buffer is made flat where it stands, and the entry of a number becomes that of its text.
void TakenTexts::Operand::Find()
{
    if (entry.kind == Stack_Entry::kVariable) {
        value = &entry.variable->value();
        return;
    }
    if (entry.kind == Stack_Entry::kInteger || entry.kind == Stack_Entry::kDouble) {
        int owned;
        entry.string =
            ZephVM_Stack::ConvertEntryToString(&entry, &entry.length, &entry.capacity, &owned);
        entry.kind = Stack_Entry::kString;
        entry.owned = 1;
    }
    EntryText place = TextInPlace(entry);
    text = place.data;
    text_length = place.length;
}
