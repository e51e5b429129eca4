#include "SettingTable.h"

#include <limits.h>
#include <string.h>

#include "zeph/extension.h"

namespace {

// A buffer beyond this is a slip of the keyboard.
const int kLargestBuffer = 0x40000000;

const bool kEarly = true;
const bool kAnyTime = false;

constexpr Setting Number(int key, int minimum, int maximum, bool early = kAnyTime)
{
    return {key, kNumber, early, minimum, maximum, {}};
}

constexpr Setting Text(int key, SettingKind kind, bool early = kAnyTime)
{
    return {key, kind, early, 0, 0, {}};
}

template <int size>
constexpr Setting Named(const char (&name)[size], Setting setting)
{
    static_assert(size <= sizeof setting.name);
    for (int i = 0; i < size; ++i)
        setting.name[i] = name[i];
    return setting;
}

}  // namespace

// In the order of the example file.
constexpr Setting setting_table[kSettings] = {
    Named("dir_zeph", Text(ZPCONFIG_DIR_ZEPH, kPath, kEarly)),
    Named("dir_data", Text(ZPCONFIG_DIR_DATA, kPath)),
    Named("dir_temp", Text(ZPCONFIG_DIR_TEMP, kPath, kEarly)),
    Named("dir_user", Text(ZPCONFIG_DIR_USER, kFilledText, kEarly)),
    Named("dir_commerce", Text(ZPCONFIG_DIR_COMMERCE, kPath)),
    Named("dir_builtin", Text(ZPCONFIG_DIR_BUILTIN, kPath)),
    Named("default_file", Text(ZPCONFIG_DEFAULT_FILE, kFileName, kEarly)),
    Named("info_serveradmin", Text(ZPCONFIG_INFO_SERVERADMIN, kText)),
    Named("cookies", Number(ZPCONFIG_COOKIES, 0, 1)),
    Named("flags_security", Number(ZPCONFIG_FLAGS_SECURITY, 0, INT_MAX, kEarly)),
    Named("timeout_global", Number(ZPCONFIG_TIMEOUT_GLOBAL, 0, INT_MAX)),
    Named("timeout_post", Number(ZPCONFIG_TIMEOUT_POST, 0, INT_MAX)),
    Named("timeout_call", Number(ZPCONFIG_TIMEOUT_CALL, 0, INT_MAX)),
    Named("timeout_mail", Number(ZPCONFIG_TIMEOUT_MAIL, 0, INT_MAX)),
    Named("timeout_file", Number(ZPCONFIG_TIMEOUT_FILE, 0, INT_MAX)),
    Named("timeout_async", Number(ZPCONFIG_TIMEOUT_ASYNC, 0, INT_MAX)),
    Named("timeout_async_sleep", Number(ZPCONFIG_TIMEOUT_ASYNC_SLEEP, 0, INT_MAX)),
    Named("max_files", Number(ZPCONFIG_MAX_FILES, 0, INT_MAX, kEarly)),
    Named("max_docache", Number(ZPCONFIG_MAX_DOCACHE, 0, INT_MAX)),
    Named("max_post_vars", Number(ZPCONFIG_MAX_POST_VARS, 0, INT_MAX)),
    Named("max_unknown_content_length", Number(ZPCONFIG_MAX_UNKNOWN_CONTENT_LENGTH, -1, INT_MAX)),
    Named("max_async_tasks", Number(ZPCONFIG_MAX_ASYNC_TASKS, 0, INT_MAX)),
    Named("bufsz_output", Number(ZPCONFIG_BUFSZ_OUTPUT, 1, kLargestBuffer)),
    Named("bufsz_output_flush", Number(ZPCONFIG_BUFSZ_OUTPUT_FLUSH, 0, INT_MAX)),
    Named("bufsz_import", Number(ZPCONFIG_BUFSZ_IMPORT, 1, kLargestBuffer)),
    Named("bufsz_template", Number(ZPCONFIG_BUFSZ_TEMPLATE, 1, kLargestBuffer)),
    Named("bufsz_call", Number(ZPCONFIG_BUFSZ_CALL, 1, kLargestBuffer)),
    Named("bufsz_content", Number(ZPCONFIG_BUFSZ_CONTENT, 1, kLargestBuffer)),
    Named("bufsz_smtp", Number(ZPCONFIG_BUFSZ_SMTP, 1, kLargestBuffer)),
    Named("delay_file", Number(ZPCONFIG_DELAY_FILE, 1, INT_MAX)),
    Named("lock_expiration", Number(ZPCONFIG_LOCK_EXPIRATION, 0, INT_MAX)),
    Named("lock_hostname", Text(ZPCONFIG_LOCK_HOSTNAME, kFilledText)),
    Named("log_level", Number(ZPCONFIG_LOG_LEVEL, 0, INT_MAX)),
    Named("log_file", Text(ZPCONFIG_LOG_FILE, kText)),
    Named("log_filter", Text(ZPCONFIG_LOG_FILTER, kText)),
    Named("log_cookie", Text(ZPCONFIG_LOG_COOKIE, kText)),
    Named("error_syslog", Text(ZPCONFIG_ERROR_SYSLOG, kText)),
    Named("error_syslog_ident", Text(ZPCONFIG_ERROR_SYSLOG_IDENT, kText)),
    Named("error_syslog_facility", Text(ZPCONFIG_ERROR_SYSLOG_FACILITY, kText)),
    Named("error_syslog_priority", Text(ZPCONFIG_ERROR_SYSLOG_PRIORITY, kText)),
    Named("ssl_openssl", Text(ZPCONFIG_SSL_OPENSSL, kSharedLibrary)),
    Named("ssl_crypto", Text(ZPCONFIG_SSL_CRYPTO, kSharedLibrary)),
    Named("ssl_config", Text(ZPCONFIG_SSL_CONFIG, kPath)),
    Named("ssl_sni", Number(ZPCONFIG_SSL_SNI, -1, 1)),
    Named("file_ca", Text(ZPCONFIG_FILE_CA, kPath)),
    Named("dir_ca", Text(ZPCONFIG_DIR_CA, kPath)),
};

const Setting* FindSetting(const char* name)
{
    for (const Setting& setting : setting_table)
        if (setting.name[0] == name[0] && strcmp(setting.name, name) == 0)
            return &setting;
    return nullptr;
}
