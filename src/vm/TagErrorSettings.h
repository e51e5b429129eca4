#ifndef ZEPH_VM_TAGERRORSETTINGS_H
#define ZEPH_VM_TAGERRORSETTINGS_H

// What a runtime error in a tag does.
struct TagErrorSetting {
    enum Bits {
        kDisplay = 1,
        kFatal = 2
    };

    int id;                      // equal to the row's position
    const char* tag_name;        // printed in messages
    const char* error_variable;  // global variable that receives the message
    int setting;                 // Bits
};

// 76 tags and a closing row of zeros, which a script may write to as well.
const int kTagErrorRows = 77;

// The row of a fault in an expression, which belongs to no tag.
const int kExpressionTag = 62;

// The defaults of the process. The configuration changes them before the first
// machine is made; each machine works on its own copy.
extern TagErrorSetting tag_default_errorsettings[kTagErrorRows];

#endif
