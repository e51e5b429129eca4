// The print of a stack for a person at a debugger.
#include <stdio.h>

#include "variables/LinkBuffer.h"
#include "variables/Variable.h"
#include "vm/ZephVM_Stack.h"

namespace {

// What Dump_Stack says of the kinds in turn; the size is that of what the entry stands for.
const struct {
    char name[11];
    int size;
} kKinds[] = {{"Integer", 4}, {"Double", 8}, {"String", 0}, {"Variable", 96}, {"LinkBuffer", 8}};

const int kDumpedBytes = 50;

// The beginning of a text in characters that keep to one line.
void CopyPrintable(char* target, const char* text, int length)
{
    int count = length < kDumpedBytes ? length : kDumpedBytes;
    for (int i = 0; i < count; ++i)
        target[i] = text[i] >= ' ' && text[i] <= '~' ? text[i] : '.';
    target[count] = 0;
}

// Of a variable the name: its value might be made by this, and so change its forms.
void DescribeEntry(const Stack_Entry& entry, char* target)
{
    if (entry.kind == Stack_Entry::kInteger) {
        snprintf(target, kDumpedBytes + 1, "%d", entry.integer);
    } else if (entry.kind == Stack_Entry::kDouble) {
        snprintf(target, kDumpedBytes + 1, "%.17g", entry.real);
    } else if (entry.kind == Stack_Entry::kString) {
        CopyPrintable(target, entry.string, entry.length);
    } else if (entry.kind == Stack_Entry::kVariable) {
        int length;
        const char* name = entry.variable->NameBytes(&length);
        CopyPrintable(target, name, length);
    } else {
        snprintf(target, kDumpedBytes + 1, "%d bytes", entry.buffer->length());
    }
}

}  // namespace

void ZephVM_Stack::Dump_Stack()
{
    printf("SP = %d, SS = %d\n", Entries(), m_capacity);
    printf("#   Type       D Data                                               Size\n");
    for (int i = 0; i < Entries(); ++i) {
        const Stack_Entry& entry = m_entries[i];
        char text[kDumpedBytes + 1];
        DescribeEntry(entry, text);
        bool is_text = entry.kind == Stack_Entry::kString;
        printf("%-3d %-10s %c %-50s %d\n", i, kKinds[entry.kind].name, entry.owned ? 'Y' : 'n',
               text, is_text ? entry.length : kKinds[entry.kind].size);
    }
}
