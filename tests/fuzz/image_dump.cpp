// Any bytes as a compiled file for the tools: looked through for faults and written as
// assembly text. The text of a file without faults must be what the assembler takes.
#include <stdlib.h>

#include "FuzzFile.h"
#include "FuzzTarget.h"
#include "files/UNIXFileManager.h"
#include "image_text/TextBuffer.h"
#include "zephasm/Assembler.h"
#include "zephasm/ImageBuilder.h"
#include "zephdump/ImageCheck.h"
#include "zephdump/ImageDump.h"
#include "zephdump/LoadedImage.h"

namespace {

void ExpectToAssemble(const TextBuffer& text)
{
    ImageBuilder image;
    TextBuffer messages;
    if (Assembler("dump", &image, &messages).Assemble(text.text(), text.length()))
        return;
    fwrite(messages.text(), 1, size_t(messages.length()), stderr);
    abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzFile input(bytes, size);
    UNIXFileManager manager(nullptr);
    LoadedImage image;
    if (!image.Load(&manager, input.path()))
        return 0;
    TextBuffer faults;
    int count = ImageCheck("input", &image, &faults).Run();
    TextBuffer text;
    ImageDump(&image, &text).Write();
    if (count == 0)
        ExpectToAssemble(text);
    return 0;
}
