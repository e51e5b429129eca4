#ifndef ZEPH_APP_VMAPPLICATION_H
#define ZEPH_APP_VMAPPLICATION_H

#include "app/ZephApplication.h"

// An application that runs machines: the layer between the abstract application and
// the operating system.
class VMApplication : public ZephApplication {};

#endif
