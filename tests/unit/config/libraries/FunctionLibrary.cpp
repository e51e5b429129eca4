#include "zeph/extension.h"

// A library of no functions: the array has its closing entry alone.
extern "C" ZEPH_EXPORT void** zeph_function_table(void)
{
    static void* functions[4];
    static void* table[2] = {nullptr, functions};
    return table;
}
