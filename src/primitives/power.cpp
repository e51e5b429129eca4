#include "primitives/power.h"

#include <dlfcn.h>

namespace {

const char kLibrary[] = "libm.so.6";

typedef double (*PowerFunction)(double base, double exponent);

PowerFunction Loaded()
{
    void* library = dlopen(kLibrary, RTLD_LAZY);
    return library ? reinterpret_cast<PowerFunction>(dlsym(library, "pow")) : nullptr;
}

}  // namespace

bool Power(double base, double exponent, double* result)
{
    static PowerFunction power;
    if (!power)
        power = Loaded();
    if (power)
        *result = power(base, exponent);
    return power;
}
