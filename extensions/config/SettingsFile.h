#ifndef ZEPH_EXTENSIONS_CONFIG_SETTINGSFILE_H
#define ZEPH_EXTENSIONS_CONFIG_SETTINGSFILE_H

#include <limits.h>

class ErrorText;

// The settings file: where it is, and its bytes, read in one go.
//
// Knows nothing of what the bytes mean. A failure is told to the ErrorText given.
class SettingsFile {
public:
    SettingsFile() { m_path[0] = 0; }
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;
    ~SettingsFile();

    // Finds the file: the one that the environment names, else the one beside this
    // library, else the one of the system.
    bool Read(ErrorText* error);

    // Absolute.
    const char* path() const { return m_path; }
    // The bytes, with a NUL behind them; to be taken apart in place.
    char* text() { return m_text; }
    int length() const { return m_length; }

    // `path`, when relative, below the folder of the file: a new text (malloc), null
    // without memory. The length is that of the result.
    char* Below(const char* path, int* length) const;

private:
    enum {
        kLargest = 256 * 1024,
        kPathSize = PATH_MAX
    };

    int Open(ErrorText* error);
    int OpenSystemFile(const char* beside, ErrorText* error);
    bool SetAbsolutePath(const char* directory, int directory_length, const char* name);
    bool SetPathBesideLibrary();
    int OpenPath() const;
    bool ReadFrom(int descriptor, ErrorText* error);
    bool Fill(int descriptor, long size, ErrorText* error);
    int Unreadable(ErrorText* error) const;

    char* m_text = nullptr;  // owned
    int m_length = 0;
    char m_path[kPathSize];
};

#endif
