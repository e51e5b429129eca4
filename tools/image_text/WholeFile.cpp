#include "image_text/WholeFile.h"

#include "files/FileManager.h"

namespace {

const int kBlock = 65536;
const int kLargest = INT_MAX - kBlock;

}  // namespace

bool ReadWholeFile(FileManager* manager, const char* path, Array<char>* bytes, String* error)
{
    File* file = manager->Open(path, kOpenRead);
    if (!file) {
        *error = manager->error();
        return false;
    }
    int got = 0;
    do {
        bytes->Reserve((long long)bytes->count() + kBlock);
        got = file->Read(bytes->items() + bytes->count(), kBlock);
        if (got > 0)
            bytes->Extend(got);
    } while (got > 0 && bytes->count() < kLargest);
    if (got < 0)
        *error = file->error();
    else if (got > 0)
        *error = "The file is too large";
    delete file;
    return got == 0;
}
