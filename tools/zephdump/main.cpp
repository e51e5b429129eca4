#include <stdio.h>
#include <string.h>

#include "files/UNIXFileManager.h"
#include "zephdump/ImageCheck.h"
#include "zephdump/ImageDump.h"

namespace {

const char kUsage[] =
    "Usage: zephdump FILE\n"
    "       zephdump --check FILE...\n"
    "Writes a compiled script as assembly text, or looks for faults in compiled\n"
    "scripts and writes a line for each.\n"
    "\n"
    "  --check    look for faults\n"
    "  --help     print this and end\n"
    "  --version  print the version and end\n"
    "\n"
    "Exit status: 0 when all is well, 1 for a FILE with faults or one that cannot be\n"
    "read, 2 for wrong use.\n";

int WrongUse(const char* text, const char* word)
{
    fprintf(stderr, "zephdump: %s%s\nzephdump --help tells more.\n", text, word);
    return 2;
}

bool Print(const TextBuffer& text)
{
    size_t length = size_t(text.length());
    return fwrite(text.text(), 1, length, stdout) == length && fflush(stdout) == 0;
}

bool DumpFile(FileManager* manager, const char* path)
{
    LoadedImage image;
    if (!image.Load(manager, path)) {
        fprintf(stderr, "%s: %s\n", path, image.error().data());
        return false;
    }
    TextBuffer text;
    ImageDump(&image, &text).Write();
    return Print(text);
}

bool CheckFile(FileManager* manager, const char* path)
{
    LoadedImage image;
    TextBuffer faults;
    if (!image.Load(manager, path)) {
        printf("%s: %s\n", path, image.error().data());
        return false;
    }
    bool is_sound = ImageCheck(path, &image, &faults).Run() == 0;
    return Print(faults) && is_sound;
}

}  // namespace

int main(int argc, char** argv)
{
    bool is_check = false;
    int next = 1;
    for (; next < argc && argv[next][0] == '-' && argv[next][1]; ++next) {
        if (strcmp(argv[next], "--help") == 0)
            return fputs(kUsage, stdout) < 0;
        if (strcmp(argv[next], "--version") == 0)
            return puts("zephdump " ZEPH_VERSION) < 0;
        if (strcmp(argv[next], "--check") != 0)
            return WrongUse("unknown option ", argv[next]);
        is_check = true;
    }
    if (next == argc)
        return WrongUse("no file to read", "");
    if (!is_check && next + 1 < argc)
        return WrongUse("a single file can be written as text", "");
    UNIXFileManager manager(nullptr);
    bool is_sound = true;
    for (; next < argc; ++next)
        is_sound &= is_check ? CheckFile(&manager, argv[next]) : DumpFile(&manager, argv[next]);
    return is_sound ? 0 : 1;
}
