#ifndef ZEPH_TESTS_FUZZ_FUZZTARGET_H
#define ZEPH_TESTS_FUZZ_FUZZTARGET_H

#include <stddef.h>
#include <stdint.h>

// What each target defines: one run over one input. Called by libFuzzer, and over the
// kept corpora by ReplayMain.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

#endif
