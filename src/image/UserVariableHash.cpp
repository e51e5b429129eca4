#include "image/UserVariableHash.h"

#include "image/Dictionary.h"

namespace {

const int kBucketBits = 12;
const int kBlock = 512;

}  // namespace

UserVariableHash::UserVariableHash() : UserVariableHash(new Dictionary) {}

UserVariableHash::UserVariableHash(Dictionary* dictionary)
    : VariableHash(dictionary, kBucketBits, kBlock), m_dictionary(dictionary)
{
}

UserVariableHash::~UserVariableHash()
{
    delete m_dictionary;
}
