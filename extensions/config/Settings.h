#ifndef ZEPH_EXTENSIONS_CONFIG_SETTINGS_H
#define ZEPH_EXTENSIONS_CONFIG_SETTINGS_H

#include "ErrorText.h"
#include "SettingsFile.h"
#include "SettingsParser.h"
#include "zeph/extension.h"

// What one request knows of the settings: the file as it was read at the start.
//
// A failure leaves its text in error(); what the file said above the faulty line stays
// in force, so that the page with the error can name the administrator.
class Settings {
public:
    Settings() : m_parser(&m_file, &m_error) {}

    // Reads the file and hands over the libraries, tags and variables for all scripts;
    // the libraries only if the file has no headings.
    bool Load(ExternalConfig* config);
    // Hands over what stands below the headings that match a script, and then the
    // libraries for all scripts: of two under one name the first is found.
    bool LoadScript(ExternalConfig* config, const char* script);

    // A setting for all scripts, or null.
    const Statement* Find(int key) const;

    char* error() { return m_error.text(); }

private:
    bool HasSections() const { return m_parser.first_heading() < m_parser.end(); }
    bool RegisterLibraries(ExternalConfig* config, const Statement* at);
    const char* AbsoluteRoot() const;
    bool Apply(ExternalConfig* config, const Statement& statement);
    bool ApplyBuiltin(ExternalConfig* config, const Statement& statement);

    // Those with large buffers, of which little is used, stand last.
    SettingsParser m_parser;
    SettingsFile m_file;
    ErrorText m_error;
};

#endif
