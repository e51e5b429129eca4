#ifndef ZEPH_APP_VMAPPLICATION_H
#define ZEPH_APP_VMAPPLICATION_H

#include "app/ZephApplication.h"

class UFCrypt;

// An application that runs machines: the layer between the abstract application and
// the operating system.
class VMApplication : public ZephApplication {
public:
    VMApplication() {}
    ~VMApplication() override;

    char* Crypt(const char* text, int text_length, const char* salt, int* length,
                int* capacity) override;

private:
    UFCrypt* m_crypt = nullptr;  // owned; made when a script first asks for a hash
};

#endif
