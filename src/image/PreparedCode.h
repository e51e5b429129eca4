#ifndef ZEPH_IMAGE_PREPAREDCODE_H
#define ZEPH_IMAGE_PREPAREDCODE_H

// What a machine has made of a segment's code for itself. The segment keeps it, and ends it
// when the code changes.
class PreparedCode {
public:
    PreparedCode() {}
    PreparedCode(const PreparedCode&) = delete;
    PreparedCode& operator=(const PreparedCode&) = delete;
    virtual ~PreparedCode() {}
};

#endif
