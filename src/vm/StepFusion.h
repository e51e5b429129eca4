#ifndef ZEPH_VM_STEPFUSION_H
#define ZEPH_VM_STEPFUSION_H

struct DecodedStep;

// A sequence of instructions that one step does.
struct Fusion {
    int count;  // instructions
    // The first instructions may form parts that are steps of several themselves.
    int parts;
    int lengths[3];  // of the parts, in instructions
    // Whether the third part stores into the variable that the first one reads: it is then
    // the first one, where the parts are read.
    bool stores_into_left;
};

// Looks for a common sequence of instructions at the start of `steps`, of which there are
// `count`. Puts the step that does them as one into `fused`. False if there is none.
bool FuseSteps(const DecodedStep* steps, int count, DecodedStep* fused, Fusion* fusion);

#endif
