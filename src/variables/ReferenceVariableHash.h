#ifndef ZEPH_VARIABLES_REFERENCEVARIABLEHASH_H
#define ZEPH_VARIABLES_REFERENCEVARIABLEHASH_H

#include "variables/VariableHashView.h"

// The view that a further compiled file has of the variables of the page that runs it:
// the slots are those of the file, the variables those of the page. The pool of names
// is the file's; it and the target are borrowed.
class ReferenceVariableHash : public VariableHashView {
public:
    ReferenceVariableHash(NamePool* names, VariableHash* target, int bucket_bits, int block);

    // The file's own table. A failure leaves the text here, as with any table.
    bool Read(TaggedFile* file, int tag) override;
    bool Read(TaggedFile* file) override;
};

#endif
