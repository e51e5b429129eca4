#include "Settings.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "ScriptPath.h"

namespace {

const int kBorrowed = 0;
const int kToTheEnd = -1;

// Bit of flags_security: scripts may be named by absolute paths.
const int kAbsoluteScripts = 0x20;

bool IsLibrary(const Statement& statement)
{
    return statement.what >= kBuiltinLibrary && statement.what <= kCommerceLibrary;
}

}  // namespace

// What is registered first is found first, so a section's libraries must come before
// the common ones: where there are sections, all of them wait for the script.
bool Settings::Load(ExternalConfig* config)
{
    if (!m_file.Read(&m_error) || !m_parser.Parse())
        return false;
    for (const Statement* at = m_parser.begin(); at < m_parser.first_heading(); ++at)
        if (at->what < ZPCONFIG_INTEGER && !IsLibrary(*at) && !Apply(config, *at))
            return false;
    return HasSections() || RegisterLibraries(config, m_parser.begin());
}

bool Settings::LoadScript(ExternalConfig* config, const char* script)
{
    if (!HasSections())
        return true;
    ScriptPath path(script, AbsoluteRoot());
    if (!path.path()) {
        m_error.Add("Out of memory");
        return false;
    }
    bool matches = false;
    for (const Statement* at = m_parser.first_heading(); at < m_parser.end(); ++at)
        if (at->what == kScriptHeading)
            matches = path.Matches(at->text);
        else if (matches && !IsLibrary(*at) && !Apply(config, *at))
            return false;
    for (const Statement* at = m_parser.end(); at-- > m_parser.first_heading();)
        if (at->what == kScriptHeading && path.Matches(at->text) &&
            !RegisterLibraries(config, at + 1))
            return false;
    return RegisterLibraries(config, m_parser.begin());
}

// Those from a statement up to the next heading, in the order of their lines.
bool Settings::RegisterLibraries(ExternalConfig* config, const Statement* at)
{
    for (; at < m_parser.end() && at->what != kScriptHeading; ++at)
        if (IsLibrary(*at) && !Apply(config, *at))
            return false;
    return true;
}

const Statement* Settings::Find(int key) const
{
    for (const Statement* at = m_parser.begin(); at < m_parser.first_heading(); ++at)
        if (at->what == key)
            return at;
    return nullptr;
}

// The script root, if scripts may be named by paths from the root of the system.
const char* Settings::AbsoluteRoot() const
{
    const Statement* flags = Find(ZPCONFIG_FLAGS_SECURITY);
    const Statement* root = Find(ZPCONFIG_DIR_ZEPH);
    return flags && flags->number & kAbsoluteScripts && root ? root->text : nullptr;
}

bool Settings::Apply(ExternalConfig* config, const Statement& statement)
{
    switch (statement.what) {
        case kBuiltinLibrary:
            return ApplyBuiltin(config, statement);
        case kSystemLibrary:
            zpConfig_Register_Library_System(config, statement.name, statement.text);
            break;
        case kDatabaseLibrary:
            zpConfig_Register_Library_Database(config, statement.name, statement.text);
            break;
        case kCommerceLibrary:
            zpConfig_Register_Library_Commerce(config, statement.name, statement.text);
            break;
        case kTagError:
            zpConfig_Set_DefaultErrorSetting(config, statement.name, kToTheEnd, statement.number);
            break;
        case kSystemVariable:
            zpConfig_SetVariable_System(config, statement.name, kToTheEnd, statement.text,
                                        statement.length);
            break;
        case kGlobalVariable:
            zpConfig_SetVariable_Global(config, statement.name, kToTheEnd, statement.text,
                                        statement.length);
            break;
        default:
            if (statement.what & ZPCONFIG_INTEGER)
                zpConfig_SetValue_Integer(config, statement.what, statement.number);
            else
                zpConfig_SetValue(config, statement.what, statement.text, statement.length,
                                  kBorrowed);
    }
    return true;
}

// The runtime opens these libraries at once but does not tell of a failure; scripts
// would then miss their functions one by one. The file is opened by the rights of the
// effective user, and so it is these that are asked for.
bool Settings::ApplyBuiltin(ExternalConfig* config, const Statement& statement)
{
    if (faccessat(AT_FDCWD, statement.text, R_OK, AT_EACCESS) != 0) {
        const char* reason = strerror(errno);
        m_parser.ErrorAt(statement.line).Add("expected a library that can be read, not ");
        m_error.Quote(statement.text).Add(": ").Add(reason);
        return false;
    }
    zpConfig_Register_Library_Builtin(config, statement.text);
    return true;
}
