#ifndef ZEPH_VM_FEATURE_H
#define ZEPH_VM_FEATURE_H

#include "variables/StringClass.h"

class ZephApplication;
class ZephVM;
class ZephVM_Frame;

// A tag that stays open while the instructions of its body run. Made by the instruction
// that opens the tag, found by its number and deleted by the ones that close it; it belongs
// to the call in whose frame it was made. The text of its last failure is in error().
class Feature {
public:
    // Kinds of tags. The numbers are known outside.
    enum Number {
        kImport = 1,
        kSMTP = 3,
        kCommerce = 4,
        kPOP3 = 5,
        kLockfile = 6,
        kCall = 7,
        kCapture = 8
    };

    // In the machine's current frame.
    Feature(ZephVM* vm, int number);
    Feature(const Feature&) = delete;
    Feature& operator=(const Feature&) = delete;

    // The order of these is binary interface.

    virtual ~Feature() {}
    // A sign that the script lives, about every five seconds.
    virtual void Heartbeat() {}
    // Keeps a text; one that was never set is passed over.
    virtual void Error(const String& text);

    const String& error() const { return m_error; }
    int number() const { return m_number; }
    ZephVM_Frame* frame() const { return m_frame; }
    ZephVM* vm() const { return m_vm; }
    ZephApplication* application() const { return m_application; }

private:
    ZephApplication* m_application;  // borrowed, as all of these
    ZephVM* m_vm;
    ZephVM_Frame* m_frame;
    int m_number;
    String m_error;
};

#endif
