#ifndef ZEPH_EXTENSIONS_CONFIG_SETTINGTABLE_H
#define ZEPH_EXTENSIONS_CONFIG_SETTINGTABLE_H

// How the text behind the '=' of a setting is understood.
enum SettingKind : unsigned char {
    kNumber,
    kText,          // may be empty
    kFilledText,    // may not
    kFileName,      // ends in a name, not in a folder
    kPath,          // made absolute, below the folder of the settings file
    kSharedLibrary  // a path likewise, but a bare name is left for the loader to find
};

// One setting by name. The names stand in the rows themselves: pointers would have to
// be relocated whenever the library is loaded.
struct Setting {
    int key;  // of zpConfig_Key
    SettingKind kind;
    bool early;   // used before the script is known, so the same for all scripts
    int minimum;  // of a number
    int maximum;
    char name[27];
};

const int kSettings = 46;
extern const Setting setting_table[kSettings];

// The setting of that exact name, or null.
const Setting* FindSetting(const char* name);

#endif
