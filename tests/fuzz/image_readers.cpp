// Any bytes as a compiled file: through all readers, in the order of a request, and
// then the look-ups that a script can cause.
#include <fcntl.h>

#include "../unit/vm/TestApplication.h"
#include "FuzzFile.h"
#include "FuzzTarget.h"
#include "files/UNIXFile.h"
#include "files/UNIXFileManager.h"
#include "image/Dictionary.h"
#include "image/Function.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedIndex.h"
#include "image/LocalizedLanguages.h"
#include "image/Segment.h"
#include "image/SegmentManager.h"
#include "image/TaggedFile.h"
#include "variables/SystemVariableHash.h"

namespace {

const int kMostPieces = 1000;

volatile unsigned int sum;

// Reads every byte, for the sanitizer.
void Touch(const char* text, int length)
{
    for (int i = 0; i < length; ++i)
        sum = sum + static_cast<unsigned char>(text[i]);
}

struct Image {
    explicit Image(TaggedFile* image)
        : file(image), languages(&application, &dictionary, image, 12, 8)
    {
    }

    bool Read()
    {
        return dictionary.Read(file) && systems.Read(file, SectionTag('s', 'y', 's', 't')) &&
               globals.Read(file, SectionTag('g', 'l', 'b', 'l')) && languages.Read() &&
               localized.Read(file) && segments.Read(file) && functions.Read(file);
    }
    void LookUpNames();
    void LookUpSlots(VariableHash* table);
    void LookUpFunctions();
    void LookUpTexts(int identifier);
    void LookUpSegments();

    TestApplication application;
    TaggedFile* file;
    Dictionary dictionary;
    SystemVariableHash systems{&dictionary, 12, 512};
    VariableHash globals{&dictionary, 12, 512};
    LocalizedLanguages languages;
    LocalizedDictionary localized;
    SegmentManager segments;
    FunctionManager functions{&dictionary, 8};
};

void Image::LookUpNames()
{
    for (int entry = -1; entry <= dictionary.Entries(); ++entry) {
        int length;
        const char* text = dictionary.Entry(entry, &length);
        Touch(text, length);
        LookUpTexts(entry);
        if (!text)
            continue;
        systems.Seek(entry, nullptr, 0, nullptr);
        globals.Seek(-1, text, length, nullptr);
        functions.Function_Get(text, length);
        languages.Get_Language_Entry(text, length);
        application.SetLanguage(text, length);
    }
}

void Image::LookUpTexts(int identifier)
{
    LocalizedIndexEntry* found = languages.Get_Entry(identifier);
    int next = found ? found->first : -1;
    for (int i = 0; i < kMostPieces && next >= 0; ++i) {
        LocalizedDictionaryEntry* piece = localized.Entry(next);
        if (!piece)
            break;
        int length;
        const char* text = dictionary.Entry(piece->identifier, &length);
        Touch(text, length);
        next = piece->next;
    }
}

void Image::LookUpSlots(VariableHash* table)
{
    for (int slot = -1; slot <= table->Entries(); ++slot)
        if (Variable* variable = table->Index(slot, 1))
            variable->SetValue_Integer(slot);
    table->Insert("added", -1);
    VariableHash copy(*table);
    for (int slot = 0; slot < copy.Entries(); ++slot) {
        int length;
        const char* name = copy.Name(slot, &length);
        Touch(name, length);
        if (name)
            copy.SetVariable(name, length, "value", 5);
    }
}

void Image::LookUpFunctions()
{
    for (int i = -1; i <= functions.count(); ++i) {
        Function* function = functions.Index(i);
        if (!function)
            continue;
        Touch(function->name().data(), function->name().length());
        for (FunctionParameter* parameter = function->parameters()->First(); parameter;
             parameter = function->parameters()->Next()) {
            Touch(parameter->name().data(), parameter->name().length());
            function->locals()->Index(parameter->slot(), 1);
        }
        LookUpSlots(function->locals());
    }
}

void Image::LookUpSegments()
{
    for (int number = -1; number <= segments.count(); ++number) {
        Segment* segment = segments.Get(number);
        if (!segment)
            continue;
        Touch(segment->code(), segment->size() + Segment::kSpareBytes);
        double value;
        segment->Read_Double(segment->size() - 8, &value);
    }
    segments.Start();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzFile input(bytes, size);
    UNIXFileManager manager(nullptr);
    TaggedFile file(&manager);
    File* opened = new UNIXFile(&manager, input.path(), input.release(), O_RDONLY);
    if (!file.Open("input", opened)) {
        delete opened;
        return 0;
    }
    Image image(&file);
    if (!image.Read())
        return 0;
    image.LookUpNames();
    image.LookUpSlots(&image.systems);
    image.LookUpSlots(&image.globals);
    image.LookUpFunctions();
    image.LookUpSegments();
    return 0;
}
