#include "primitives/power.h"

#include <dlfcn.h>
#include <stdio.h>
#include <unistd.h>

namespace {

const char kLibrary[] = "libm.so.6";
const int kNotStarted = 127;  // the loader's own exit status

typedef double (*PowerFunction)(double base, double exponent);

PowerFunction Loaded()
{
    void* library = dlopen(kLibrary, RTLD_LAZY);
    void* function = library ? dlsym(library, "pow") : nullptr;
    if (function)
        return reinterpret_cast<PowerFunction>(function);
    char message[512];
    int length = snprintf(message, sizeof message, "zeph: %.480s\n", dlerror());
    _exit(write(STDERR_FILENO, message, size_t(length)) == length ? kNotStarted : 1);
}

}  // namespace

double Power(double base, double exponent)
{
    static const PowerFunction power = Loaded();
    return power(base, exponent);
}
