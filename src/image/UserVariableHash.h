#ifndef ZEPH_IMAGE_USERVARIABLEHASH_H
#define ZEPH_IMAGE_USERVARIABLEHASH_H

#include "variables/VariableHash.h"

class Dictionary;

// A table that a library makes for itself, with a dictionary of its own.
class UserVariableHash : public VariableHash {
public:
    UserVariableHash();
    ~UserVariableHash() override;

private:
    explicit UserVariableHash(Dictionary* dictionary);

    Dictionary* m_dictionary;  // owned
};

#endif
