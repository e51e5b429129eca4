#ifndef ZEPH_VM_INSTRUCTIONWORD_H
#define ZEPH_VM_INSTRUCTIONWORD_H

// The instructions that steps are made of, by their words. All there are stand in
// Instructions.def.
enum InstructionWord : unsigned short {
    kPopWord = 0x000B,
    kAddWord = 0x0016,
    kSubWord = 0x0017,
    kCatWord = 0x0018,
    kDivWord = 0x001F,
    kMulWord = 0x0020,
    kCmpWord = 0x002C,
    kEqWord = 0x0033,
    kNeWord = 0x0034,
    kGeWord = 0x0035,
    kLeWord = 0x0036,
    kLtWord = 0x0037,
    kGtWord = 0x0038,
    kRetWord = 0x003B,
    kRetnWord = 0x003C,
    kElemWord = 0x003E,
    kElemReadonlyWord = 0x003F,
    kMembWord = 0x0040,
    kMembReadonlyWord = 0x0041,
    kStoreWord = 0x0042,
    kExitWord = 0x0043,
    kSecondExitWord = 0x0116,
    kPushcWord = 0x4001,
    kPushiWord = 0x4002,
    kPushgWord = 0x4005,
    kPushlWord = 0x4006,
    kPopgWord = 0x400D,
    kPoplWord = 0x400E,
    kJmpWord = 0x4025,
    kJmpEqWord = 0x4026,
    kJmpLtWord = 0x4027,
    kJmpGtWord = 0x4028,
    kJmpLeWord = 0x4029,
    kJmpGeWord = 0x402A,
    kJmpNeWord = 0x402B,
    kCallWord = 0x403D,
    kLinenoWord = 0x4044,
    kCmpggWord = 0x5301,
    kCmpgiWord = 0x5302,
    kIncgWord = 0x5303,
    kStoregiWord = 0x5305,
    kPushfWord = 0x8003
};

#endif
