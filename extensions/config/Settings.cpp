#include "Settings.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "ScriptPath.h"

namespace {

const int kBorrowed = 0;
const int kToTheEnd = -1;

// Bit of flags_security: scripts may be named by absolute paths.
const int kAbsoluteScripts = 0x20;

}  // namespace

bool Settings::Load(ExternalConfig* config)
{
    if (!m_file.Read(&m_error) || !m_parser.Parse())
        return false;
    for (const Statement* at = m_parser.begin(); at < m_parser.first_heading(); ++at)
        if (at->what < ZPCONFIG_INTEGER && !Apply(config, *at))
            return false;
    return true;
}

bool Settings::LoadScript(ExternalConfig* config, const char* script)
{
    if (m_parser.first_heading() == m_parser.end())
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
        else if (matches && !Apply(config, *at))
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
// would then miss their functions one by one.
bool Settings::ApplyBuiltin(ExternalConfig* config, const Statement& statement)
{
    if (access(statement.text, R_OK) != 0) {
        const char* reason = strerror(errno);
        m_parser.ErrorAt(statement.line).Add("expected a library that can be read, not ");
        m_error.Quote(statement.text).Add(": ").Add(reason);
        return false;
    }
    zpConfig_Register_Library_Builtin(config, statement.text);
    return true;
}
