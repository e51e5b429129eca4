#ifndef ZEPH_FILES_FILEDESCRIPTOR_H
#define ZEPH_FILES_FILEDESCRIPTOR_H

#include <unistd.h>

// A descriptor that is closed when this goes out of scope; -1 is none.
class HeldDescriptor {
public:
    explicit HeldDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    ~HeldDescriptor() { reset(); }

    HeldDescriptor(const HeldDescriptor&) = delete;
    HeldDescriptor& operator=(const HeldDescriptor&) = delete;

    int get() const { return m_descriptor; }

    int release()
    {
        int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor;
    }

    void reset(int descriptor = -1)
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
        m_descriptor = descriptor;
    }

private:
    int m_descriptor;
};

#endif
