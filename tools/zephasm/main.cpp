#include <stdio.h>
#include <string.h>

#include "files/UNIXFileManager.h"
#include "image_text/WholeFile.h"
#include "zephasm/Assembler.h"

namespace {

const char kUsage[] =
    "Usage: zephasm [-o OUT] FILE...\n"
    "Assembles each FILE into a compiled script beside it, of the same name with the\n"
    "ending .zpc, or a single FILE into OUT.\n"
    "\n"
    "  -o OUT     the name of the compiled script\n"
    "  --help     print this and end\n"
    "  --version  print the version and end\n"
    "\n"
    "Exit status: 0 when all is assembled, 1 for a fault in a FILE, 2 for wrong use.\n";

int WrongUse(const char* text, const char* word)
{
    fprintf(stderr, "zephasm: %s%s\nzephasm --help tells more.\n", text, word);
    return 2;
}

// FILE.zasm makes FILE.zpc; any other name gets the ending behind it.
String ImagePath(const char* path)
{
    static const char kEnding[] = ".zasm";
    const int ending = int(sizeof kEnding) - 1;
    int length = int(strlen(path));
    if (length > ending && strcmp(path + length - ending, kEnding) == 0)
        length -= ending;
    return String(path, length) + ".zpc";
}

bool Failed(const char* path, const String& text)
{
    fprintf(stderr, "%s: %s\n", path, text.data());
    return false;
}

bool AssembleFile(FileManager* manager, const char* path, const char* out)
{
    Array<char> source;
    String error;
    if (!ReadWholeFile(manager, path, &source, &error))
        return Failed(path, error);
    ImageBuilder image;
    TextBuffer messages;
    bool is_sound = Assembler(path, &image, &messages).Assemble(source.items(), source.count());
    fwrite(messages.text(), 1, size_t(messages.length()), stderr);
    if (!is_sound)
        return false;
    return image.Write(manager, out, &error) || Failed(out, error);
}

}  // namespace

// Options may stand before, between and behind the files, which are moved to the front
// of the list.
int main(int argc, char** argv)
{
    const char* out = nullptr;
    int files = 0;
    for (int next = 1; next < argc; ++next) {
        if (argv[next][0] != '-' || !argv[next][1]) {
            argv[files++] = argv[next];
            continue;
        }
        if (strcmp(argv[next], "--help") == 0)
            return fputs(kUsage, stdout) < 0;
        if (strcmp(argv[next], "--version") == 0)
            return puts("zephasm " ZEPH_VERSION) < 0;
        if (strcmp(argv[next], "-o") != 0)
            return WrongUse("unknown option ", argv[next]);
        if (++next == argc)
            return WrongUse("-o needs a file name", "");
        out = argv[next];
    }
    if (files == 0)
        return WrongUse("no file to assemble", "");
    if (out && files > 1)
        return WrongUse("-o serves for a single file", "");
    UNIXFileManager manager(nullptr);
    bool is_sound = true;
    for (int i = 0; i < files; ++i) {
        String image = out ? String(out) : ImagePath(argv[i]);
        is_sound &= AssembleFile(&manager, argv[i], image.data());
    }
    return is_sound ? 0 : 1;
}
