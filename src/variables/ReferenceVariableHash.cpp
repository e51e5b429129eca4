#include "variables/ReferenceVariableHash.h"

ReferenceVariableHash::ReferenceVariableHash(NamePool* names, VariableHash* target, int bucket_bits,
                                             int block)
    : VariableHashView(names, bucket_bits, block, target->RealIdentity())
{
}

bool ReferenceVariableHash::Read(TaggedFile* file, int tag)
{
    return VariableHash::Read(file, tag);
}

bool ReferenceVariableHash::Read(TaggedFile* file)
{
    if (!VariableHash::Read(file))
        return false;
    ForgetSlots();
    return true;
}
