#ifndef ZEPH_VM_STEPFUSION_H
#define ZEPH_VM_STEPFUSION_H

struct DecodedStep;

// Looks for a common sequence of instructions at the start of `steps`, of which there are
// `count`. Returns how many instructions it has and puts the step that does them as one
// into `fused`; 0 if there is none.
int FuseSteps(const DecodedStep* steps, int count, DecodedStep* fused);

#endif
