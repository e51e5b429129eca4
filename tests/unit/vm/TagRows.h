#ifndef ZEPH_TESTS_UNIT_VM_TAGROWS_H
#define ZEPH_TESTS_UNIT_VM_TAGROWS_H

// The tags by hand, by what an error in them does where nothing is set otherwise. The
// variable of row 62 is "ZpEXPRESSION_Error"; all others have the name of the tag in front.

struct TagRow {
    int id;
    const char* name;
};

// Faults in program logic: fatal, shown.
const TagRow fatal_rows[] = {
    {0, "ZpIF"},
    {1, "ZpELSE"},
    {3, "ZpIMPORTSTOP"},
    {5, "ZpASSIGN"},
    {6, "ZpEVAL"},
    {7, "ZpHIDE"},
    {9, "ZpPOPSTOP"},
    {12, "ZpWHILE"},
    {13, "ZpWHILESTOP"},
    {14, "ZpCALL"},
    {15, "ZpCALLSTOP"},
    {16, "ZpFUNCTION"},
    {17, "ZpFUNCTIONRETURN"},
    {18, "ZpELSEIF"},
    {19, "ZpCOMMERCE"},
    {20, "ZpCOMMERCESTOP"},
    {21, "ZpCOMMENT"},
    {22, "ZpDO"},
    {23, "ZpLOCKFILE"},
    {24, "ZpLOCALIZED"},
    {25, "ZpLOCALIZED-TOKEN"},
    {26, "ZpLOCALIZED-TEXT"},
    {27, "ZpEXIT"},
    {32, "ZpPRIMARY"},
    {39, "ZpMAKEINDEX"},
    {48, "ZEPH"},
    {49, "ZpASSIGNARRAY"},
    {50, "ZpDIMENSION"},
    {51, "ZpMEMBER"},
    {62, "(in expression)"},
    {63, "ZpIMPORTCONTINUE"},
    {64, "ZpPOPCONTINUE"},
    {65, "ZpWHILECONTINUE"},
    {66, "ZpCALLCONTINUE"},
    {67, "ZpCOMMERCECONTINUE"},
    {68, "ZpFOREACH"},
    {69, "ZpFOREACHSTOP"},
    {70, "ZpFOREACHCONTINUE"},
    {71, "ZpFOR"},
    {72, "ZpFORSTOP"},
    {73, "ZpFORCONTINUE"},
};

// Tags that touch the outside world: shown, not fatal.
const TagRow shown_rows[] = {
    {2, "ZpIMPORT"},
    {4, "ZpEXPORT"},
    {8, "ZpPOP"},
    {10, "ZpPOPDELETE"},
    {11, "ZpSMTP"},
    {28, "ZpOPEN"},
    {29, "ZpCLOSE"},
    {30, "ZpSKIP"},
    {31, "ZpGO"},
    {33, "ZpFIND"},
    {34, "ZpSETINDEX"},
    {35, "ZpUPDATE"},
    {36, "ZpDELETE"},
    {37, "ZpUNDELETE"},
    {38, "ZpADD"},
    {40, "ZpPACK"},
    {41, "ZpREINDEX"},
    {42, "ZpCREATE"},
    {43, "ZpREVEALSTRUCTURE"},
    {44, "ZpOPENVIEW"},
    {45, "ZpCLOSEVIEW"},
    {46, "ZpQUERY"},
    {47, "ZpFILTER"},
    {52, "ZpCOMMIT"},
    {53, "ZpROLLBACK"},
    {55, "ZpTRANSACT"},
    {56, "ZpREFERENCE"},
    {57, "ZpREFERENCEARRAY"},
    {58, "ZpDBCOMMAND"},
    {59, "ZpCAPTURE"},
    {75, "ZpASYNCHRONOUS"},
};

const TagRow silent_rows[] = {
    {54, "ZpINCLUDE"},
    {60, "ZpIFDEF"},
    {61, "ZpIFNDEF"},
    {74, "ZpASSEMBLY"},
};

#endif
