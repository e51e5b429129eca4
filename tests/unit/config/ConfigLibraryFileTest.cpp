// Where the settings library finds its file, and what it needs of the system.

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "SettingsFileFixture.h"

namespace {

const char kSystemFile[] = "/etc/zeph/zeph.conf";

class ConfigLibraryFile : public SettingsFileFixture {
protected:
    // The library in a folder of its own, so that nobody's file is beside it.
    std::string CopyLibrary() const
    {
        tree.Directory("lib");
        std::filesystem::copy_file(ZEPH_ConfigLibrary, tree.Path("lib/libzephconfig.so"));
        return tree.Path("lib/libzephconfig.so");
    }
    // What the library says of a file that the environment names.
    std::string ErrorWith(const std::string& path) const
    {
        Name(path);
        ConfigRig rig;
        return rig.Load(ZEPH_ConfigLibrary) ? "(accepted)" : rig.Error();
    }
};

TEST_F(ConfigLibraryFile, IsNotReplacedWhenTheOneThatIsNamedIsMissing)
{
    const std::string library = CopyLibrary();
    tree.Write("lib/zeph.conf", "max_files = 5\n");
    Name(tree.Path("other.conf"));
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(library.c_str()));
    EXPECT_EQ(rig.Error(), tree.Path("other.conf") +
                               ": the settings file cannot be read: No such file or directory");
}

TEST_F(ConfigLibraryFile, WinsOverTheOneBesideTheLibraryWhenNamed)
{
    const std::string library = CopyLibrary();
    tree.Write("lib/zeph.conf", "max_files = 5\n");
    tree.Write("zeph.conf", "max_files = 6\n");
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(library.c_str())) << rig.Error();
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_MAX_FILES), 6);
}

TEST_F(ConfigLibraryFile, StandsBesideTheLibrary)
{
    for (const bool named_empty : {false, true}) {
        SCOPED_TRACE(named_empty);
        if (named_empty)
            Name("");
        else
            unsetenv("ZpCONFIG_FILE");
        TemporaryTree place;
        place.Write("zeph.conf", "max_files = 5\ndir_data = data\n");
        std::filesystem::copy_file(ZEPH_ConfigLibrary, place.Path("lib.so"));
        ConfigRig rig;
        ASSERT_TRUE(rig.Load(place.Path("lib.so").c_str())) << rig.Error();
        EXPECT_EQ(rig.config.value_integer(ZPCONFIG_MAX_FILES), 5);
        EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), place.Path("data"));
    }
}

TEST_F(ConfigLibraryFile, StandsBesideALibraryOfTheCurrentFolder)
{
    unsetenv("ZpCONFIG_FILE");
    CopyLibrary();
    tree.Write("lib/zeph.conf", "dir_data = data\nlog_filter = a\n");
    ASSERT_EQ(chdir(tree.Path("lib").c_str()), 0);
    ConfigRig rig;
    ASSERT_TRUE(rig.Load("./libzephconfig.so")) << rig.Error();
    EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), tree.Path("lib/data"));
}

TEST_F(ConfigLibraryFile, MayBeNamedFromTheCurrentFolder)
{
    tree.Write("zeph.conf", "dir_data = data\n");
    ASSERT_EQ(chdir(tree.path().c_str()), 0);
    for (const char* name : {"zeph.conf", "./zeph.conf"}) {
        SCOPED_TRACE(name);
        Name(name);
        ConfigRig rig;
        ASSERT_TRUE(rig.Load(ZEPH_ConfigLibrary)) << rig.Error();
        EXPECT_EQ(rig.Text(ZPCONFIG_DIR_DATA), tree.Path("data"));
    }
    EXPECT_EQ(
        ErrorWith("lib/no.conf"),
        tree.Path("lib/no.conf") + ": the settings file cannot be read: No such file or directory");
}

TEST_F(ConfigLibraryFile, IsMissedWithThePlacesLookedAt)
{
    if (std::filesystem::exists(kSystemFile))
        GTEST_SKIP() << "this system has settings";
    unsetenv("ZpCONFIG_FILE");
    const std::string library = CopyLibrary();
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(library.c_str()));
    EXPECT_EQ(rig.Error(), "No settings file: ZpCONFIG_FILE is not set, and there is neither " +
                               tree.Path("lib/zeph.conf") + " nor " + kSystemFile);
}

// Puts an empty folder over the system's own, for this process and its children alone.
bool HideSystemFolder()
{
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, "") == 0 &&
           mount("none", "/etc", "tmpfs", 0, "") == 0;
}

// What a child process finds, whose system has a settings file: "" where it can be
// given none, otherwise a text that the child wrote.
template <class Look>
std::string WithSystemFile(const char* settings, Look look)
{
    int ends[2];
    if (pipe(ends) != 0)
        return "";
    const pid_t child = fork();
    if (child == 0) {
        std::string seen;
        if (HideSystemFolder() && mkdir("/etc/zeph", 0755) == 0) {
            std::ofstream(kSystemFile) << settings;
            seen = look();
        }
        const bool is_told = write(ends[1], seen.data(), seen.size()) == ssize_t(seen.size());
        _exit(is_told ? 0 : 1);
    }
    close(ends[1]);
    std::string seen;
    char block[4096];
    for (ssize_t got; (got = read(ends[0], block, sizeof block)) > 0;)
        seen.append(block, size_t(got));
    close(ends[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    return seen;
}

TEST_F(ConfigLibraryFile, IsTheSystemsWhenThereIsNoOther)
{
    unsetenv("ZpCONFIG_FILE");
    const std::string library = CopyLibrary();
    const std::string seen = WithSystemFile("dir_data = data\n", [&] {
        ConfigRig rig;
        return rig.Load(library.c_str()) ? rig.Text(ZPCONFIG_DIR_DATA) : rig.Error();
    });
    if (seen.empty())
        GTEST_SKIP() << "needs a file system of its own";
    EXPECT_EQ(seen, "/etc/zeph/data");
}

TEST_F(ConfigLibraryFile, BesideTheLibraryWinsOverTheSystems)
{
    unsetenv("ZpCONFIG_FILE");
    const std::string library = CopyLibrary();
    tree.Write("lib/zeph.conf", "dir_data = data\n");
    const std::string seen = WithSystemFile("dir_data = /other\n", [&] {
        ConfigRig rig;
        return rig.Load(library.c_str()) ? rig.Text(ZPCONFIG_DIR_DATA) : rig.Error();
    });
    if (seen.empty())
        GTEST_SKIP() << "needs a file system of its own";
    EXPECT_EQ(seen, tree.Path("lib/data"));
}

TEST_F(ConfigLibraryFile, BesideTheLibraryThatCannotBeReadIsNotPassedOver)
{
    unsetenv("ZpCONFIG_FILE");
    const std::string library = CopyLibrary();
    tree.Link("zeph.conf", "lib/zeph.conf");
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(library.c_str()));
    EXPECT_EQ(rig.Error(), tree.Path("lib/zeph.conf") +
                               ": the settings file cannot be read: Too many levels of symbolic "
                               "links");
}

TEST_F(ConfigLibraryFile, MustBeARegularFile)
{
    EXPECT_EQ(ErrorWith(tree.path()), tree.path() + ": expected a regular file");
    const std::string pipe = tree.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(ErrorWith(pipe), pipe + ": expected a regular file");
}

TEST_F(ConfigLibraryFile, MustNotBeTooLarge)
{
    tree.Write("zeph.conf", std::string(256 * 1024 + 1, '#'));
    EXPECT_EQ(ErrorWith(tree.Path("zeph.conf")),
              tree.Path("zeph.conf") + ": the file is too large; at most 262144 bytes are read");
}

TEST_F(ConfigLibraryFile, MayHaveAnyPathThatTheSystemTakes)
{
    EXPECT_EQ(ErrorWith(std::string(5000, 'x')), "The path in ZpCONFIG_FILE is too long");
    EXPECT_EQ(ErrorWith("/" + std::string(5000, 'x')), "The path in ZpCONFIG_FILE is too long");
    EXPECT_EQ(ErrorWith(std::string(4095, 'x')), "The path in ZpCONFIG_FILE is too long");
    EXPECT_EQ(ErrorWith("/<&>"),
              "/&lt;&amp;&gt;: the settings file cannot be read: No such file or "
              "directory");
}

TEST_F(ConfigLibraryFile, IsClosedAfterwards)
{
    tree.Write("zeph.conf", "max_files = 5\n");
    const int before = dup(0);
    close(before);
    ConfigRig rig;
    ASSERT_TRUE(rig.Load(ZEPH_ConfigLibrary));
    EXPECT_EQ(ErrorWith(tree.path()), tree.path() + ": expected a regular file");
    const int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
}

// Everything that the loader must find, run or look up is paid for by each request.
class LoadedLibrary {
public:
    LoadedLibrary() : m_handle(dlopen(ZEPH_ConfigLibrary, RTLD_LAZY))
    {
        if (!m_handle || dlinfo(m_handle, RTLD_DI_LINKMAP, &m_map) != 0)
            abort();
    }
    ~LoadedLibrary() { dlclose(m_handle); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    const ElfW(Dyn) * Entry(ElfW(Sxword) tag) const
    {
        for (const ElfW(Dyn)* entry = m_map->l_ld; entry->d_tag != DT_NULL; ++entry)
            if (entry->d_tag == tag)
                return entry;
        return nullptr;
    }
    std::string Needed() const
    {
        std::string names;
        for (const ElfW(Dyn)* entry = m_map->l_ld; entry->d_tag != DT_NULL; ++entry)
            if (entry->d_tag == DT_NEEDED)
                names += std::string(Text(entry->d_un.d_val)) + " ";
        return names;
    }
    // Names of the functions and data that others can use, from the hash table of
    // symbols: each bucket leads to a chain, whose last hash is odd.
    std::string Exported() const
    {
        const uint32_t* table = reinterpret_cast<const uint32_t*>(Entry(DT_GNU_HASH)->d_un.d_ptr);
        const uint32_t buckets = table[0], first = table[1], bloom_words = table[2];
        const uint32_t* bucket = table + 4 + bloom_words * sizeof(ElfW(Addr)) / sizeof *table;
        const uint32_t* hashes = bucket + buckets;
        std::string names;
        for (uint32_t i = 0; i < buckets; ++i)
            for (uint32_t symbol = bucket[i]; symbol; ++symbol) {
                names += std::string(Name(symbol)) + " ";
                if (hashes[symbol - first] & 1)
                    break;
            }
        return names;
    }

private:
    const char* Text(ElfW(Xword) offset) const
    {
        return reinterpret_cast<const char*>(Entry(DT_STRTAB)->d_un.d_ptr) + offset;
    }
    const char* Name(uint32_t symbol) const
    {
        return Text(
            reinterpret_cast<const ElfW(Sym)*>(Entry(DT_SYMTAB)->d_un.d_ptr)[symbol].st_name);
    }

    void* m_handle;
    link_map* m_map = nullptr;
};

TEST(ConfigLibraryObject, ExportsItsEntryAlone)
{
    EXPECT_EQ(LoadedLibrary().Exported(), "zeph_config_library ");
}

TEST(ConfigLibraryObject, NeedsTheCLibraryAloneAndHasNothingToConstruct)
{
#ifdef ZEPH_SANITIZED
    GTEST_SKIP() << "the sanitizers add theirs";
#endif
    LoadedLibrary library;
    EXPECT_EQ(library.Needed(), "libc.so.6 ");
    EXPECT_EQ(library.Entry(DT_INIT), nullptr);
    EXPECT_EQ(library.Entry(DT_INIT_ARRAY), nullptr);
    EXPECT_EQ(library.Entry(DT_FINI), nullptr);
    EXPECT_EQ(library.Entry(DT_FINI_ARRAY), nullptr);
}

TEST(ConfigLibraryObject, OffersTheSecondVersionOfTheInterface)
{
    void* handle = dlopen(ZEPH_ConfigLibrary, RTLD_LAZY);
    ASSERT_NE(handle, nullptr);
    auto entry =
        reinterpret_cast<const zpConfig_Library* (*)()>(dlsym(handle, "zeph_config_library"));
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry()->version, 2);
    EXPECT_EQ(entry()->script_config_version_1, nullptr);
    dlclose(handle);
}

}  // namespace
