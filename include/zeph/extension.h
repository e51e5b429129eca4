/*
 * The interface between the Zeph Script runtime and the shared libraries that it
 * opens: what a library exports, and what the runtime offers it in return.
 *
 * This header is for C and C++ and includes nothing. The names and argument orders
 * below are a binary contract; classes of the runtime are opaque here.
 *
 * Texts cross as a pointer and a length in bytes; a length of -1 means that the
 * text ends at its NUL. All calls are made on the thread that runs the script.
 */
#ifndef ZEPH_EXTENSION_H
#define ZEPH_EXTENSION_H

#ifdef __cplusplus
class ExternalConfig;
class File;
class Variable;
class VariableHash;
class ZephVM;
extern "C" {
#else
typedef struct ExternalConfig ExternalConfig;
typedef struct File File;
typedef struct Variable Variable;
typedef struct VariableHash VariableHash;
typedef struct ZephVM ZephVM;
#endif

/* On each function that crosses the boundary, in either direction. */
#define ZEPH_EXPORT __attribute__((visibility("default")))

/*
 * Keys of the settings. Bit 24 marks an integer and bit 25 a text; it is part of
 * the key, so an integer and a text may share the lower digits. The names are
 * those of the settings file. Do not renumber: libraries are built against these.
 */
enum zpConfig_Key {
    ZPCONFIG_INTEGER = 0x1000000,
    ZPCONFIG_STRING = 0x2000000,

    ZPCONFIG_DIR_ZEPH = 0x2000001,
    ZPCONFIG_DIR_COMMERCE = 0x2000002,
    ZPCONFIG_DIR_TEMP = 0x2000003,
    ZPCONFIG_DIR_DATA = 0x2000004,
    ZPCONFIG_LOG_LEVEL = 0x1000005,
    ZPCONFIG_LOG_FILE = 0x2000006,
    ZPCONFIG_TIMEOUT_GLOBAL = 0x1000007,
    ZPCONFIG_TIMEOUT_MAIL = 0x1000008,
    ZPCONFIG_TIMEOUT_CALL = 0x1000009,
    ZPCONFIG_TIMEOUT_FILE = 0x100000A,
    ZPCONFIG_DELAY_FILE = 0x100000B,
    ZPCONFIG_COOKIES = 0x100000C,
    ZPCONFIG_BUFSZ_IMPORT = 0x100000D,
    ZPCONFIG_BUFSZ_TEMPLATE = 0x100000E,
    ZPCONFIG_BUFSZ_CALL = 0x100000F,
    ZPCONFIG_BUFSZ_SMTP = 0x1000010,
    ZPCONFIG_BUFSZ_CONTENT = 0x1000011,
    ZPCONFIG_BUFSZ_OUTPUT = 0x1000012,
    ZPCONFIG_MAX_FILES = 0x1000013,
    ZPCONFIG_LOCK_EXPIRATION = 0x1000014,
    ZPCONFIG_LOCK_HOSTNAME = 0x2000015,
    ZPCONFIG_DIR_CA = 0x2000016,
    ZPCONFIG_DEFAULT_FILE = 0x2000017,
    ZPCONFIG_FLAGS_SECURITY = 0x1000018,
    ZPCONFIG_DIR_USER = 0x2000019,
    ZPCONFIG_INFO_SERVERADMIN = 0x200001A,
    ZPCONFIG_SSL_OPENSSL = 0x200001B,
    ZPCONFIG_SSL_CRYPTO = 0x200001C,
    ZPCONFIG_BUFSZ_OUTPUT_FLUSH = 0x100001D,
    ZPCONFIG_SSL_CONFIG = 0x200001D,
    ZPCONFIG_DIR_BUILTIN = 0x200001E,
    ZPCONFIG_MAX_DOCACHE = 0x1000021,
    ZPCONFIG_LOG_FILTER = 0x2000025,
    ZPCONFIG_TIMEOUT_POST = 0x1000026,
    ZPCONFIG_MAX_POST_VARS = 0x1000027,
    ZPCONFIG_MAX_UNKNOWN_CONTENT_LENGTH = 0x1000028,
    ZPCONFIG_LOG_COOKIE = 0x2000028,
    ZPCONFIG_SSL_SNI = 0x1000029,
    ZPCONFIG_MAX_ASYNC_TASKS = 0x1000030,
    ZPCONFIG_TIMEOUT_ASYNC = 0x1000031,
    ZPCONFIG_TIMEOUT_ASYNC_SLEEP = 0x1000032,
    ZPCONFIG_FILE_CA = 0x2000033,
    ZPCONFIG_ERROR_SYSLOG = 0x2000034,
    ZPCONFIG_ERROR_SYSLOG_IDENT = 0x2000035,
    ZPCONFIG_ERROR_SYSLOG_FACILITY = 0x2000036,
    ZPCONFIG_ERROR_SYSLOG_PRIORITY = 0x2000037
};

/*
 * The configuration library: a shared library that exports
 *
 *     const zpConfig_Library* zeph_config_library(void);
 *
 * Any function may be null, which means that the library has no such function.
 * `data` is the address of a word for the library's own use, null at the start.
 */
typedef struct zpConfig_Library {
    /* Version of this interface: 2. Stands in an 8-byte word, like all that follows. */
    long long version;

    /* Called once, before any other function. 0 on success; otherwise `error` is
     * asked for the reason and the request ends. `arguments` is the program's
     * argument vector (char**) of `argument_count` entries, to be read only. */
    int (*init)(ExternalConfig* config, void** data, int flags, void* arguments,
                int argument_count);

    /* The script configuration function of version 1: must be null. */
    void (*script_config_version_1)(void);

    /* Ask for a setting, each key at its first use and where possible only then.
     * 0 if the library has it. `*text` stays the library's, and must last as long as
     * the library is loaded, unless `*owned` is set to 1: then it comes from the C++
     * operator new[] and the runtime frees it. */
    int (*get_integer)(ExternalConfig* config, void** data, int key, int* value);
    int (*get_string)(ExternalConfig* config, void** data, int key, char** text, int* length,
                      int* owned);

    /* Text of the last failure, the library's own. */
    char* (*error)(ExternalConfig* config, void** data);

    /* Called once, at the end of the request: also when `init` has failed, or has left
     * the word null. */
    void (*cleanup)(ExternalConfig* config, void** data);

    /* Called when the script is known and before it is read, with its path below the
     * script root, which for a script of a user (/~user/...) is the root of that user;
     * settings for this script are set by zpConfig_SetValue and its kin. 0 on
     * success. */
    int (*script_config)(ExternalConfig* config, void** data, const char* script, File* file);
} zpConfig_Library;

/* Exported by the configuration library. */
ZEPH_EXPORT const zpConfig_Library* zeph_config_library(void);

/*
 * A function library: a shared library that exports
 *
 *     const _ZP_EL_Table* zeph_function_table(void);
 *
 * Its functions are builtin functions of the script language. The table and all that it
 * points to stay the library's, and must last as long as the library is loaded. The
 * libraries are searched in the order of registration, and the first function of a name
 * is taken, whatever its letter case.
 *
 * The sizes and the order of the fields are the binary contract.
 */

/* A parameter, in the order of declaration. */
typedef struct _ZP_EL_Parameter {
    const char* name;
    int unused; /* the library's own; the runtime does not look at it */
    int flags;  /* 0 or ZP_EL_REFERENCE */
} _ZP_EL_Parameter;

/* The script's own variable is passed, and not a copy of its value. */
enum { ZP_EL_REFERENCE = 1 };

typedef struct _ZP_EL_Function {
    const char* name; /* a null name ends the array */
    int name_length;  /* in bytes */
    int parameter_count;
    /* As many entries; null when none is passed by reference. A script that was compiled
     * for another number of parameters, or passes one otherwise, ends with an error. */
    const _ZP_EL_Parameter* parameters;
    /* Called on the thread of the script. `parameters` has a variable for each parameter,
     * in the slots that the script's image gives them: 0, 1 and so on, unless it was made
     * by hand. They are gone when the function returns. `result` is empty when the
     * function is called, and what it is then is the value of the call. `*data` is a word
     * for the function's own use, null at its first call and kept for the request. What
     * the function returns is not looked at. */
    int (*function)(ZephVM* vm, VariableHash* parameters, Variable* result, void** data);
} _ZP_EL_Function;

typedef struct _ZP_EL_Table {
    void* reserved; /* the library's own */
    const _ZP_EL_Function* functions;
} _ZP_EL_Table;

/* Exported by a function library. Null when it cannot work. */
ZEPH_EXPORT const _ZP_EL_Table* zeph_function_table(void);

/*
 * Offered by the runtime to the configuration library.
 */

/* Sets a setting. 0 on success, 1 for a key of the other type. With `owned` the
 * runtime takes `text`, which then comes from the C++ operator new[]; without, the
 * text must last as long as the library. */
ZEPH_EXPORT int zpConfig_SetValue(ExternalConfig* config, int key, const char* text, int length,
                                  int owned);
ZEPH_EXPORT int zpConfig_SetValue_Integer(ExternalConfig* config, int key, int value);

/* The default error setting of a tag ("ZpEVAL" and so on, in any letter case): bit 1
 * (2) makes its runtime errors fatal, bit 0 (1) shows their messages. An unknown tag is
 * ignored. */
ZEPH_EXPORT void zpConfig_Set_DefaultErrorSetting(ExternalConfig* config, const char* tag,
                                                  int length, int setting);

/* Queue a variable that every script finds in its system or global scope. */
ZEPH_EXPORT void zpConfig_SetVariable_System(ExternalConfig* config, const char* name,
                                             int name_length, const char* value,
                                             int value_length);
ZEPH_EXPORT void zpConfig_SetVariable_Global(ExternalConfig* config, const char* name,
                                             int name_length, const char* value,
                                             int value_length);

/* Make a shared library known: builtin functions, searched in the order of these
 * calls, or a system, database or commerce library under a name. Always 0. */
ZEPH_EXPORT int zpConfig_Register_Library_System(ExternalConfig* config, const char* name,
                                                 const char* path);
ZEPH_EXPORT int zpConfig_Register_Library_Builtin(ExternalConfig* config, const char* path);
ZEPH_EXPORT int zpConfig_Register_Library_Database(ExternalConfig* config, const char* name,
                                                   const char* path);
ZEPH_EXPORT int zpConfig_Register_Library_Commerce(ExternalConfig* config, const char* name,
                                                   const char* path);

#ifdef __cplusplus
}
#endif

#endif
