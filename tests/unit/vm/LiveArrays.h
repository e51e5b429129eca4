#ifndef ZEPH_TESTS_UNIT_VM_LIVEARRAYS_H
#define ZEPH_TESTS_UNIT_VM_LIVEARRAYS_H

// The number of arrays that came from new[] in this program and were not deleted: how
// a test sees that an owned text was freed, once.
long LiveArrays();

// Whether the array of that address is still live.
bool IsLiveArray(const void* array);

#endif
