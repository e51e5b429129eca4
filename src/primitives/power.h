#ifndef ZEPH_PRIMITIVES_POWER_H
#define ZEPH_PRIMITIVES_POWER_H

// The C library's pow, loaded at the first call. The mathematical part of that library is
// a file of its own; linked in the usual way, every start would map and relocate it, for
// the few scripts that ask for a power. False, with `result` untouched and the reason in
// dlerror(), where it cannot be loaded. For one thread at a time.
bool Power(double base, double exponent, double* result);

#endif
