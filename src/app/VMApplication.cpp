#include "app/VMApplication.h"

#include "primitives/UFCrypt.h"

namespace {

const int kHashLength = 13;

}  // namespace

VMApplication::~VMApplication()
{
    delete m_crypt;
}

char* VMApplication::Crypt(const char* text, int text_length, const char* salt, int* length,
                           int* capacity)
{
    if (!m_crypt)
        m_crypt = new UFCrypt;
    char* hash = new char[kHashLength + 1];
    m_crypt->crypt(text, text_length, salt, hash);
    *length = kHashLength;
    *capacity = kHashLength + 1;
    return hash;
}
