#include <dlfcn.h>
#include <stdlib.h>

#include <string>

#include "zeph/extension.h"

// A library of no functions, which puts the name of its file behind those that are in
// the environment already: so a test sees in which order several were asked.
const _ZP_EL_Table* zeph_function_table(void)
{
    static const _ZP_EL_Function functions[1] = {};
    static const _ZP_EL_Table table = {nullptr, functions};
    Dl_info library;
    if (!dladdr(reinterpret_cast<void*>(&zeph_function_table), &library))
        return nullptr;
    const std::string path = library.dli_fname;
    const char* before = getenv("ZEPH_RECORDED");
    const std::string recorded = (before ? before : "") + path.substr(path.rfind('/') + 1) + " ";
    setenv("ZEPH_RECORDED", recorded.c_str(), 1);
    return &table;
}
