// Any bytes as the table of variables in a compiled file, read as a table, as a view of
// one, and with a clone of it.
#include <fcntl.h>

#include <string>

#include "FuzzFile.h"
#include "FuzzTarget.h"
#include "files/UNIXFile.h"
#include "files/UNIXFileManager.h"
#include "image/Dictionary.h"
#include "image/TaggedFile.h"
#include "variables/ClonedVariableHash.h"
#include "variables/ReferenceVariableHash.h"
#include "variables/SystemVariableHash.h"

namespace {

const int kTag = SectionTag('g', 'l', 'b', 'l');
const int kHeaderSize = 32;
const char* const kNames[] = {"a", "B", "cc", "dd", "Cc", "", "longer name"};

std::string Dword(size_t value)
{
    return {char(value), char(value >> 8), char(value >> 16), char(value >> 24)};
}

// A file whose only section is the input.
std::string ImageAround(const uint8_t* bytes, size_t size)
{
    std::string image = "Zeph" + Dword(0x1000B) + std::string(16, '\0');
    image += Dword(kHeaderSize + size) + Dword(1);
    image.append(reinterpret_cast<const char*>(bytes), size);
    return image + "glbl" + Dword(kHeaderSize) + Dword(size);
}

// Through every slot and every name, also those that are not there.
void Use(VariableHash* table, int slots)
{
    Variable* found;
    for (int slot = -1; slot <= slots; ++slot)
        if (Variable* variable = table->Index(slot, slot & 1))
            variable->SetValue_Integer(slot);
    for (const char* name : kNames) {
        table->Seek(-1, name, -1, nullptr);
        table->Find(&found, name, -1, 1);
        table->SetVariable_Fancy(name, -1, "value", 5, 1);
    }
    if (Variable* last = table->Index(slots - 1, 1))
        table->SetVariable_Reference(0, last);
    table->SetVariable(new Variable("added", 5, "x", 1));
    VariableList list;
    table->AllocatedVars(&list);
}

bool Read(VariableHash* table, TaggedFile* file)
{
    return table->Read(file, kTag);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    std::string image = ImageAround(bytes, size);
    FuzzFile input(reinterpret_cast<const uint8_t*>(image.data()), image.size());
    UNIXFileManager manager(nullptr);
    TaggedFile file(&manager);
    File* opened = new UNIXFile(&manager, input.path(), input.release(), O_RDONLY);
    if (!file.Open("input", opened)) {
        delete opened;
        return 0;
    }
    Dictionary dictionary;
    for (const char* name : kNames)
        dictionary.Entry_Add(name, -1);
    SystemVariableHash systems(&dictionary, 12, 512);
    VariableHash globals(&dictionary, 12, 512);
    ReferenceVariableHash view(&dictionary, &globals, 12, 512);
    if (!Read(&systems, &file))
        return 0;
    int slots = systems.Entries();
    systems.Push();
    Use(&systems, slots);
    Dictionary* copied = dictionary.Clone();
    {
        ClonedVariableHash clone(nullptr, copied, systems);
        Use(&clone, slots);
    }
    delete copied;
    systems.Pop();
    if (Read(&view, &file))
        Use(&view, slots);
    if (Read(&globals, &file))
        Use(&globals, slots);
    return 0;
}
