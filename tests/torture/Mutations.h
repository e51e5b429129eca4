#ifndef ZEPH_TESTS_TORTURE_MUTATIONS_H
#define ZEPH_TESTS_TORTURE_MUTATIONS_H

#include <string>

#include "Image.h"

// Who takes the damaged images. Most are only counted, so that their bytes are made
// on demand.
class MutationVisitor {
public:
    virtual ~MutationVisitor() {}
    // Whether the next one is to be made; called once for each, in order.
    virtual bool Wants() = 0;
    // `name` tells what was done.
    virtual void Take(const std::string& name, const std::string& bytes) = 0;
};

// Shows the visitor every damaged form of an image, always in the same order. The
// first one is the image itself.
void VisitMutations(const Image& image, MutationVisitor* visitor);

#endif
