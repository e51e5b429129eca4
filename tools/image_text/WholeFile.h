#ifndef ZEPH_TOOLS_IMAGE_TEXT_WHOLEFILE_H
#define ZEPH_TOOLS_IMAGE_TEXT_WHOLEFILE_H

#include "image_text/Array.h"
#include "variables/StringClass.h"

class FileManager;

// Appends all bytes of a file to `bytes`. On failure false, with the text in
// `error`.
bool ReadWholeFile(FileManager* manager, const char* path, Array<char>* bytes, String* error);

#endif
