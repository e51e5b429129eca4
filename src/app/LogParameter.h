#ifndef ZEPH_APP_LOGPARAMETER_H
#define ZEPH_APP_LOGPARAMETER_H

#include "variables/StringClass.h"

class Variable;

// The events that a log can record, as bits of the setting log_level.
enum LogEventBit : unsigned int {
    kLogFunctionCall = 16,
    kLogFunctionParameter = 32,
    kLogFunctionReturnValue = 64,
    kLogFunctionReturn = 128,
    kLogExternalCall = 256,
    kLogExternalParameter = 512,
    kLogExternalReturnValue = 1024,
    kLogExternalReturn = 2048,
    kLogDoEnter = 4096,
    kLogDoExit = 8192,
    kLogCall = 0x100000,
    kLogSMTP = 0x200000,
    kLogTimedOut = 0x8000000,
    kLogRuntimeError = 0x10000000,
    kLogFatalError = 0x20000000,
    kLogTrace = 0x40000000
};

// One value of a log line. A line is an array of them, closed by one of type kEnd. Texts
// and variables are borrowed for the call.
struct LogParameter {
    enum Type {
        kText = 0,
        kInteger = 1,
        kDouble = 2,
        kVariable = 3,
        kEnd = 4
    };

    LogParameter() : type(kEnd), text(nullptr) {}
    // A length of -1 means that the text ends at its NUL.
    LogParameter(const char* value, int value_length)
        : type(kText), text(value), length(value_length)
    {
    }
    LogParameter(const String& value) : LogParameter(value.data(), value.length()) {}
    LogParameter(int value) : type(kInteger), integer(value) {}
    LogParameter(double value) : type(kDouble), real(value) {}
    LogParameter(Variable* value) : type(kVariable), variable(value) {}

    int type;
    union {
        const char* text;
        int integer;
        double real;
        Variable* variable;
    };
    int length = 0;  // of a text
};

#endif
