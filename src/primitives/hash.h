#ifndef ZEPH_PRIMITIVES_HASH_H
#define ZEPH_PRIMITIVES_HASH_H

// The published 1996 lookup2 hash of `length` bytes. Its values are stored in
// compiled files, so they are the same on every machine.
unsigned int hash(const unsigned char* key, unsigned int length, unsigned int initval);

// The same over bytes that first pass through `tolower`: the hash of names whose
// letter case does not count.
unsigned int hashi(const unsigned char* key, unsigned int length, unsigned int initval);

#endif
