#ifndef ZEPH_EXTENSIONS_CONFIG_SCRIPTPATH_H
#define ZEPH_EXTENSIONS_CONFIG_SCRIPTPATH_H

// The path of a script as patterns see it: below the script root, without leading
// slashes and without empty, "." and ".." parts. A request may spell one script in
// many ways, and none of them must escape the settings that are meant for it.
class ScriptPath {
public:
    // `root` is the script root if scripts may be named by absolute paths, else null.
    ScriptPath(const char* script, const char* root);
    ScriptPath(const ScriptPath&) = delete;
    ScriptPath& operator=(const ScriptPath&) = delete;
    ~ScriptPath();

    // Null if there was no memory for it.
    const char* path() const { return m_path; }
    // Shell pattern; '*' and '?' stand for slashes as well. Leading slashes of the
    // pattern count for nothing.
    bool Matches(const char* pattern) const;

private:
    char* m_text;        // owned
    const char* m_path;  // within m_text
};

#endif
