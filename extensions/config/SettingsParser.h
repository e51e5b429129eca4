#ifndef ZEPH_EXTENSIONS_CONFIG_SETTINGSPARSER_H
#define ZEPH_EXTENSIONS_CONFIG_SETTINGSPARSER_H

class ErrorText;
class SettingsFile;
struct LineForm;
struct Setting;

// What a line of the settings file says, beside the settings, whose keys are far above.
enum StatementKind {
    kScriptHeading = 1,
    kBuiltinLibrary,
    kSystemLibrary,
    kDatabaseLibrary,
    kCommerceLibrary,
    kTagError,
    kSystemVariable,
    kGlobalVariable
};

// One line with a meaning. All texts end at a NUL, and stand in the file's buffer
// unless `owned` is set.
struct Statement {
    int what;          // a key of zpConfig_Key, or a StatementKind
    int line;          // 1-based
    int number;        // of a setting or a tag
    int tag;           // the tag of kTagError, by its number
    int length;        // of the text
    const char* name;  // of a library, a tag or a variable
    const char* text;  // value, absolute path, or pattern of the heading
    bool owned;        // the text comes from malloc
};

// Turns the bytes of the settings file into statements, in the order of the lines.
// Those above the first heading hold for all scripts, those below one for the scripts
// that it names.
//
// Borrows the file, whose bytes it changes, and owns the statements. A failure is told
// to the ErrorText given, with path and line; the lines above it stand.
class SettingsParser {
public:
    SettingsParser(SettingsFile* file, ErrorText* error) : m_file(file), m_error(error) {}
    SettingsParser(const SettingsParser&) = delete;
    SettingsParser& operator=(const SettingsParser&) = delete;
    ~SettingsParser();

    bool Parse();

    const Statement* begin() const { return m_statements; }
    const Statement* end() const { return m_statements + m_count; }
    // Where the first heading stands, or the end.
    const Statement* first_heading() const { return m_statements + m_common; }

    // Starts an error text with the place; gives the text to go on with.
    ErrorText& ErrorAt(int line);

private:
    enum {
        kMostWords = 4,  // one more than any form has before its '='
        kFirstCapacity = 32
    };

    bool ParseLine(char* line, char* end);
    bool ParseHeading(char* line, char* end);
    bool ParseAssignment(char* line, char* end);
    bool ParseSetting(const Setting& setting, char* value, char* end);
    bool IsFileName(const char* name);
    bool ParseForm(const LineForm& form, char** words, char* value, char* end);
    bool ParseValue(const char* name, char* value, char* end);
    bool ParseQuoted(char* value, char* end);
    bool ParseNumber(const char* name, int minimum, int maximum);
    bool AddPath(const char* name);
    bool Add();
    bool Grow();
    bool SameThing(const Statement& other) const;
    bool IsNew(const char* name);
    bool NotEmpty(const char* name);
    bool Expected(const char* usage, const char* more);
    bool Unknown(const char* what, const char* name);
    bool Misread(const char* complaint);

    SettingsFile* m_file;
    ErrorText* m_error;
    Statement* m_statements = nullptr;  // owned
    int m_count = 0;
    int m_capacity = 0;
    int m_common = 0;         // statements above the first heading
    int m_section = 0;        // position of the present section's first statement
    bool m_headed = false;    // a heading has been seen
    Statement m_statement{};  // in the making
};

#endif
