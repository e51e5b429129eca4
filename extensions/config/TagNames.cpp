#include "TagNames.h"

#include <strings.h>

namespace {

const int kLongestName = 18;

// The order is that of the runtime's table of error settings.
const char tag_names[][kLongestName + 1] = {
    "ZpIF",
    "ZpELSE",
    "ZpIMPORT",
    "ZpIMPORTSTOP",
    "ZpEXPORT",
    "ZpASSIGN",
    "ZpEVAL",
    "ZpHIDE",
    "ZpPOP",
    "ZpPOPSTOP",
    "ZpPOPDELETE",
    "ZpSMTP",
    "ZpWHILE",
    "ZpWHILESTOP",
    "ZpCALL",
    "ZpCALLSTOP",
    "ZpFUNCTION",
    "ZpFUNCTIONRETURN",
    "ZpELSEIF",
    "ZpCOMMERCE",
    "ZpCOMMERCESTOP",
    "ZpCOMMENT",
    "ZpDO",
    "ZpLOCKFILE",
    "ZpLOCALIZED",
    "ZpLOCALIZED-TOKEN",
    "ZpLOCALIZED-TEXT",
    "ZpEXIT",
    "ZpOPEN",
    "ZpCLOSE",
    "ZpSKIP",
    "ZpGO",
    "ZpPRIMARY",
    "ZpFIND",
    "ZpSETINDEX",
    "ZpUPDATE",
    "ZpDELETE",
    "ZpUNDELETE",
    "ZpADD",
    "ZpMAKEINDEX",
    "ZpPACK",
    "ZpREINDEX",
    "ZpCREATE",
    "ZpREVEALSTRUCTURE",
    "ZpOPENVIEW",
    "ZpCLOSEVIEW",
    "ZpQUERY",
    "ZpFILTER",
    "ZEPH",
    "ZpASSIGNARRAY",
    "ZpDIMENSION",
    "ZpMEMBER",
    "ZpCOMMIT",
    "ZpROLLBACK",
    "ZpINCLUDE",
    "ZpTRANSACT",
    "ZpREFERENCE",
    "ZpREFERENCEARRAY",
    "ZpDBCOMMAND",
    "ZpCAPTURE",
    "ZpIFDEF",
    "ZpIFNDEF",
    "expression",
    "ZpIMPORTCONTINUE",
    "ZpPOPCONTINUE",
    "ZpWHILECONTINUE",
    "ZpCALLCONTINUE",
    "ZpCOMMERCECONTINUE",
    "ZpFOREACH",
    "ZpFOREACHSTOP",
    "ZpFOREACHCONTINUE",
    "ZpFOR",
    "ZpFORSTOP",
    "ZpFORCONTINUE",
    "ZpASSEMBLY",
    "ZpASYNCHRONOUS",
};

const int kTags = sizeof tag_names / sizeof *tag_names;

const struct {
    char name[kLongestName + 1];
    int tag;
} second_names[] = {
    {"zpfuncreturn", 17},
    {"zpasync", 75},
};

const int kSecondNames = sizeof second_names / sizeof *second_names;

}  // namespace

int FindTag(const char* name)
{
    for (int tag = 0; tag < kTags; ++tag)
        if (strcasecmp(tag_names[tag], name) == 0)
            return tag;
    for (const auto& second : second_names)
        if (strcasecmp(second.name, name) == 0)
            return second.tag;
    return -1;
}

const char* TagName(int position)
{
    if (position < kTags)
        return tag_names[position];
    position -= kTags;
    return position < kSecondNames ? second_names[position].name : nullptr;
}
