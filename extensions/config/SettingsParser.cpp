// A line of the settings file:
//
//     line    = blank [ heading | words '=' value ] [ comment ] newline
//     heading = '[script' pattern ']'
//     value   = bare text | '"' text '"', where "" stands for one quote
//     comment = '#' ..., at the start or after white space

#include "SettingsParser.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include "ErrorText.h"
#include "NearestName.h"
#include "SettingTable.h"
#include "SettingsFile.h"
#include "TagNames.h"
#include "zeph/extension.h"

// The lines that do not begin with the name of a setting. The last word of a form is
// free, and so is its value.
struct LineForm {
    char keyword[9];
    char scope[7];  // second word of three, or empty
    int words;
    int what;
    char usage[40];
};

namespace {

const LineForm line_forms[] = {
    {"builtin", "", 1, kBuiltinLibrary, "builtin = path"},
    {"system", "", 2, kSystemLibrary, "system NAME = path"},
    {"database", "", 2, kDatabaseLibrary, "database NAME = path"},
    {"commerce", "", 2, kCommerceLibrary, "commerce NAME = path"},
    {"error", "", 2, kTagError, "error TAG = 0, 1, 2 or 3"},
    {"variable", "system", 3, kSystemVariable, "variable system|global NAME = value"},
    {"variable", "global", 3, kGlobalVariable, "variable system|global NAME = value"},
};

// What is expected at the start of a line and behind `error`.
const char kNameExpected[] =
    "the name of a setting, or builtin, system, database, commerce, error or variable";
const char kTagExpected[] = "the name of a tag, such as ZpEVAL, or expression";

const char kHeading[] = "[script";
const int kHighestErrorSetting = 3;

bool IsBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\r';
}

char* SkipBlanks(char* text, char* end)
{
    while (text < end && IsBlank(*text))
        ++text;
    return text;
}

char* TrimEnd(char* text, char* end)
{
    while (end > text && IsBlank(end[-1]))
        --end;
    return end;
}

// Where a comment begins behind the first byte, or the end.
char* FindComment(char* text, char* end)
{
    for (char* at = text + 1; at < end; ++at)
        if (*at == '#' && IsBlank(at[-1]))
            return at;
    return end;
}

// Puts a NUL behind each word. Gives the number of words, at most `most`; there is one
// at least, as the text begins with one.
int SplitWords(char* text, char* end, char** words, int most)
{
    int count = 0;
    while (text < end && count < most) {
        words[count++] = text;
        while (text < end && !IsBlank(*text))
            ++text;
        *text++ = 0;
        text = SkipBlanks(text, end);
    }
    return count;
}

int DigitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    digit |= 0x20;
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : 99;
}

// Decimal or 0x hexadecimal, and nothing else. False also beyond the range of int.
bool ReadNumber(const char* text, int* number)
{
    bool negative = *text == '-';
    text += negative;
    int base = text[0] == '0' && (text[1] == 'x' || text[1] == 'X') ? 16 : 10;
    if (base == 16)
        text += 2;
    if (!*text)
        return false;
    long long value = 0;
    for (; *text; ++text) {
        int digit = DigitValue(*text);
        if (digit >= base)
            return false;
        value = value * base + digit;
        if (value > INT_MAX)
            return false;
    }
    *number = int(negative ? -value : value);
    return true;
}

bool IsForm(const LineForm& form, char* const* words, int count)
{
    return strcmp(form.keyword, words[0]) == 0 && count == form.words &&
           (!*form.scope || strcmp(form.scope, words[1]) == 0);
}

}  // namespace

SettingsParser::~SettingsParser()
{
    for (int i = 0; i < m_count; ++i)
        if (m_statements[i].owned)
            free(const_cast<char*>(m_statements[i].text));
    free(m_statements);
}

ErrorText& SettingsParser::ErrorAt(int line)
{
    return m_error->Path(m_file->path()).Add(":").Add(line).Add(": ");
}

bool SettingsParser::Parse()
{
    char* end = m_file->text() + m_file->length();
    const char* first_nul = m_file->text() + strlen(m_file->text());
    int number = 0;
    for (char* line = m_file->text(); line < end;) {
        char* line_end = static_cast<char*>(memchr(line, '\n', size_t(end - line)));
        if (!line_end)
            line_end = end;
        m_statement = {};
        m_statement.line = ++number;
        if (first_nul < line_end)
            return Misread("expected text, but the line has a NUL byte");
        if (!ParseLine(line, line_end))
            return false;
        line = line_end + 1;
    }
    return true;
}

bool SettingsParser::ParseLine(char* line, char* end)
{
    line = SkipBlanks(line, end);
    if (line == end || *line == '#')
        return true;
    return *line == '[' ? ParseHeading(line, end) : ParseAssignment(line, end);
}

bool SettingsParser::ParseHeading(char* line, char* end)
{
    end = TrimEnd(line, FindComment(line, end));
    const int length = int(sizeof kHeading - 1);
    char* pattern = line + length;
    bool valid = end - line > length && end[-1] == ']' && strncmp(line, kHeading, length) == 0 &&
                 IsBlank(*pattern);
    if (valid) {
        pattern = SkipBlanks(pattern, end);
        char* pattern_end = TrimEnd(pattern, end - 1);
        valid = pattern < pattern_end;
        m_statement.length = int(pattern_end - pattern);
    }
    if (!valid) {
        ErrorAt(m_statement.line).Add("expected '[script PATTERN]', not ");
        m_error->Quote(line, int(end - line));
        return false;
    }
    pattern[m_statement.length] = 0;
    m_statement.what = kScriptHeading;
    m_statement.text = pattern;
    m_headed = true;
    m_section = m_count + 1;
    return Add();
}

bool SettingsParser::ParseAssignment(char* line, char* end)
{
    char* names_end = FindComment(line, end);
    char* equals = static_cast<char*>(memchr(line, '=', size_t(names_end - line)));
    if (!equals || equals == line) {
        ErrorAt(m_statement.line).Add("expected 'name = value', not ");
        m_error->Quote(line, int(TrimEnd(line, names_end) - line));
        return false;
    }
    char* words[kMostWords] = {};
    int count = SplitWords(line, equals, words, kMostWords);
    if (const Setting* setting = FindSetting(words[0]))
        return count == 1 ? ParseSetting(*setting, equals + 1, end)
                          : Expected(setting->name, " = value");
    for (const LineForm& form : line_forms)
        if (IsForm(form, words, count))
            return ParseForm(form, words, equals + 1, end);
    for (const LineForm& form : line_forms)
        if (strcmp(form.keyword, words[0]) == 0)
            return Expected(form.usage, "");
    return Unknown("setting", words[0]);
}

bool SettingsParser::Expected(const char* usage, const char* more)
{
    ErrorAt(m_statement.line).Add("expected '").Add(usage).Add(more).Add("'");
    return false;
}

bool SettingsParser::Unknown(const char* what, const char* name)
{
    NearestName nearest(name);
    if (m_statement.what == kTagError) {
        for (int i = 0; const char* tag = TagName(i); ++i)
            nearest.Offer(tag);
    } else {
        for (const Setting& setting : setting_table)
            nearest.Offer(setting.name);
        for (const LineForm& form : line_forms)
            nearest.Offer(form.keyword);
    }
    ErrorAt(m_statement.line).Add("unknown ").Add(what).Add(" ").Quote(name);
    if (nearest.nearest())
        m_error->Add("; did you mean ").Quote(nearest.nearest()).Add("?");
    else
        m_error->Add("; expected ")
            .Add(m_statement.what == kTagError ? kTagExpected : kNameExpected);
    return false;
}

bool SettingsParser::ParseSetting(const Setting& setting, char* value, char* end)
{
    m_statement.what = setting.key;
    if (setting.early && m_headed) {
        ErrorAt(m_statement.line).Quote(setting.name);
        m_error->Add(" is used before the script is known; expected it above the first heading");
        return false;
    }
    if (!IsNew(setting.name) || !ParseValue(setting.name, value, end))
        return false;
    bool bare = setting.kind == kSharedLibrary && !strchr(m_statement.text, '/');
    if (setting.kind == kNumber && !ParseNumber(setting.name, setting.minimum, setting.maximum))
        return false;
    bool filled = setting.kind != kNumber && setting.kind != kText && setting.kind != kPath;
    if (filled && !NotEmpty(setting.name))
        return false;
    if (setting.kind == kFileName && !IsFileName(setting.name))
        return false;
    if ((setting.kind == kPath || setting.kind == kSharedLibrary) && !bare)
        return AddPath(setting.name);
    return Add();
}

// The runtime adds a default file to a folder until it meets a file: one that names
// the folder itself would never end.
bool SettingsParser::IsFileName(const char* name)
{
    const char* slash = strrchr(m_statement.text, '/');
    const char* last = slash ? slash + 1 : m_statement.text;
    if (*last && strcmp(last, ".") != 0 && strcmp(last, "..") != 0)
        return true;
    ErrorAt(m_statement.line).Quote(name).Add(" must name a file, not a folder");
    return false;
}

bool SettingsParser::ParseForm(const LineForm& form, char** words, char* value, char* end)
{
    m_statement.what = form.what;
    m_statement.name = form.words > 1 ? words[form.words - 1] : nullptr;
    if (form.what == kTagError) {
        m_statement.tag = FindTag(m_statement.name);
        if (m_statement.tag < 0)
            return Unknown("tag", m_statement.name);
    }
    if (!IsNew(m_statement.name) || !ParseValue(form.keyword, value, end))
        return false;
    if (form.what == kTagError)
        return ParseNumber(form.keyword, 0, kHighestErrorSetting) && Add();
    if (form.what == kSystemVariable || form.what == kGlobalVariable)
        return Add();
    return AddPath(form.keyword);
}

bool SettingsParser::ParseValue(const char* name, char* value, char* end)
{
    char* comment = FindComment(value - 1, end);
    value = SkipBlanks(value, end);
    if (value < end && *value == '"')
        return ParseQuoted(value, end);
    char* value_end = TrimEnd(value, comment);
    if (value >= value_end) {
        ErrorAt(m_statement.line).Add("expected a value for ").Quote(name);
        return false;
    }
    *value_end = 0;
    m_statement.text = value;
    m_statement.length = int(value_end - value);
    return true;
}

bool SettingsParser::ParseQuoted(char* value, char* end)
{
    char* to = value;
    char* from = value + 1;
    for (; from < end; ++from) {
        if (*from == '"') {
            if (from + 1 >= end || from[1] != '"')
                break;
            ++from;
        }
        *to++ = *from;
    }
    if (from >= end)
        return Misread("the closing quote is missing");
    char* rest = SkipBlanks(from + 1, end);
    if (rest < end && (*rest != '#' || rest == from + 1))
        return Misread("expected nothing behind the closing quote");
    *to = 0;
    m_statement.text = value;
    m_statement.length = int(to - value);
    return true;
}

bool SettingsParser::Misread(const char* complaint)
{
    ErrorAt(m_statement.line).Add(complaint);
    return false;
}

bool SettingsParser::ParseNumber(const char* name, int minimum, int maximum)
{
    int* number = &m_statement.number;
    if (ReadNumber(m_statement.text, number) && *number >= minimum && *number <= maximum)
        return true;
    ErrorAt(m_statement.line).Quote(name).Add(" must be a whole number from ").Add(minimum);
    m_error->Add(" to ").Add(maximum).Add(", not ").Quote(m_statement.text, m_statement.length);
    return false;
}

bool SettingsParser::NotEmpty(const char* name)
{
    if (m_statement.length > 0)
        return true;
    ErrorAt(m_statement.line).Quote(name).Add(" must not be empty");
    return false;
}

bool SettingsParser::AddPath(const char* name)
{
    if (!NotEmpty(name))
        return false;
    if (*m_statement.text != '/') {
        m_statement.text = m_file->Below(m_statement.text, &m_statement.length);
        m_statement.owned = true;
        if (!m_statement.text) {
            m_error->Add("Out of memory");
            return false;
        }
    }
    return Add();
}

bool SettingsParser::Add()
{
    if (m_count == m_capacity && !Grow()) {
        m_error->Add("Out of memory");
        return false;
    }
    m_statements[m_count++] = m_statement;
    if (!m_headed)
        m_common = m_count;
    return true;
}

bool SettingsParser::Grow()
{
    int capacity = m_capacity > 0 ? 2 * m_capacity : kFirstCapacity;
    void* grown = realloc(m_statements, size_t(capacity) * sizeof(Statement));
    if (!grown)
        return false;
    m_statements = static_cast<Statement*>(grown);
    m_capacity = capacity;
    return true;
}

bool SettingsParser::SameThing(const Statement& other) const
{
    if (other.what != m_statement.what || other.what == kBuiltinLibrary)
        return false;
    if (other.what == kTagError)
        return other.tag == m_statement.tag;
    return !other.name || strcasecmp(other.name, m_statement.name) == 0;
}

// Of two lines that say different things about one, nobody could tell which holds.
bool SettingsParser::IsNew(const char* name)
{
    for (int i = m_section; i < m_count; ++i)
        if (SameThing(m_statements[i])) {
            ErrorAt(m_statement.line).Quote(name).Add(" is set already on line ");
            m_error->Add(m_statements[i].line);
            return false;
        }
    return true;
}
