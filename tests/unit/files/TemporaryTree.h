#ifndef ZEPH_TESTS_TEMPORARYTREE_H
#define ZEPH_TESTS_TEMPORARYTREE_H

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A directory of its own for one test, removed at the end, and the current directory
// of the start put back: contained operations leave the process anywhere.
class TemporaryTree {
public:
    TemporaryTree() : m_start(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        std::string pattern = std::filesystem::temp_directory_path().string() + "/treeXXXXXX";
        char* made = mkdtemp(pattern.data());
        if (!made || m_start < 0)
            abort();
        // The path as the system reports it, free of links.
        m_path = std::filesystem::canonical(made).string();
    }
    ~TemporaryTree()
    {
        if (fchdir(m_start) != 0)
            abort();
        close(m_start);
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::string& path() const { return m_path; }
    std::string Path(const std::string& name) const { return m_path + "/" + name; }

    void Directory(const std::string& name) const
    {
        std::filesystem::create_directories(Path(name));
    }
    void Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(Path(name), std::ios::binary) << text;
    }
    std::string Text(const std::string& name) const
    {
        std::ifstream in(Path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    bool Has(const std::string& name) const
    {
        struct stat status;
        return lstat(Path(name).c_str(), &status) == 0;
    }
    void Link(const std::string& target, const std::string& name) const
    {
        if (symlink(target.c_str(), Path(name).c_str()) != 0)
            abort();
    }
    // A link of another owner than root: to what root owns, one that leads astray.
    void ForeignLink(const std::string& target, const std::string& name) const
    {
        Link(target, name);
        if (IsRoot() && lchown(Path(name).c_str(), kOtherUser, kOtherUser) != 0)
            abort();
    }

    static bool IsRoot() { return geteuid() == 0; }

    static constexpr unsigned int kOtherUser = 1;

private:
    int m_start;
    std::string m_path;
};

#endif
