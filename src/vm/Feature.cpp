#include "vm/Feature.h"

#include "vm/ZephVM.h"

Feature::Feature(ZephVM* vm, int number)
    : m_application(vm->application()), m_vm(vm), m_frame(vm->frame()), m_number(number)
{
}

void Feature::Error(const String& text)
{
    if (text.capacity() > 0)
        m_error = text;
}
