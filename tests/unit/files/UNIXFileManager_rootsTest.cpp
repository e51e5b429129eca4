#include <gtest/gtest.h>

#include <unistd.h>

#include <memory>
#include <string>

#include "TemporaryTree.h"
#include "files/UNIXFileManager.h"

namespace {

enum class Root {
    kData,
    kTemporary,
    kScript,
    kUserScript
};

const struct {
    Root root;
    const char* subject;
    Zeph_PathType type;
    int follow, ignore_owner;
} kRoots[] = {
    {Root::kData, "The configured data directory", kDataPath, 0x004, 0x008},
    {Root::kTemporary, "The configured temporary directory", kTemporaryPath, 0x100, 0x200},
    {Root::kScript, "The configured script directory", kScriptPath, 0x001, 0x002},
    {Root::kUserScript, "The configured script directory for 'ann'", kScriptPath, 0x001, 0x002},
};

struct FileRoots : testing::Test {
    FileRoots()
    {
        tree.Directory("data/sub/deep");
        tree.Directory("other");
        tree.Link(tree.Path("data"), "link");
        tree.ForeignLink("/etc", "foreign");
    }

    static bool Initialize(UNIXFileManager& files, Root root, const char* path)
    {
        switch (root) {
            case Root::kData:
                return files.InitializeDataDirectory(path);
            case Root::kTemporary:
                return files.InitializeTempDirectory(path);
            case Root::kScript:
                return files.InitializeScriptDirectory(path, nullptr);
            case Root::kUserScript:
                break;
        }
        return files.InitializeScriptDirectory(path, "ann");
    }

    // Realizes a directory and gives its path, or the error.
    std::string Realize(Zeph_PathType type, const char* path)
    {
        HeldPath real;
        if (!manager.RealizeContainedPath(type, path, real.out()))
            return manager.error().data();
        EXPECT_EQ(Here(), real->path());
        return real->path();
    }

    static std::string Here()
    {
        char text[1024];
        return getcwd(text, sizeof text) ? text : "";
    }

    TemporaryTree tree;
    UNIXFileManager manager{nullptr};
};

}  // namespace

TEST_F(FileRoots, EachRefusalHasItsText)
{
    for (const auto& root : kRoots) {
        SCOPED_TRACE(root.subject);
        const struct {
            std::string path;
            int options;
            const char* what;
        } rows[] = {
            {"relative/data", ~0, " is not an absolute path"},
            {"", ~0, " is not an absolute path"},
            {tree.Path("none"), ~0, " does not exist"},
            {tree.Path("none"), 0, " does not exist"},
            {tree.Path("link"), ~root.follow, " references a symbolic link"},
            {tree.Path("link/sub"), 0, " references a symbolic link"},
            {tree.Path("foreign"), ~root.ignore_owner,
             " references a symbolic link to a directory owned by a different user"},
        };
        for (const auto& row : rows) {
            SCOPED_TRACE(row.path);
            UNIXFileManager files(nullptr);
            files.SecurityOptions(row.options);
            EXPECT_FALSE(Initialize(files, root.root, row.path.c_str()));
            EXPECT_EQ(files.error().data(), std::string(root.subject) + row.what);
            _UNIXContainedPathSettings settings;
            EXPECT_FALSE(files.ContainedPathSettings(root.type, &settings));
        }
        UNIXFileManager files(nullptr);
        EXPECT_FALSE(Initialize(files, root.root, nullptr));
        EXPECT_EQ(files.error().data(), std::string(root.subject) + " is not an absolute path");
    }
}

TEST_F(FileRoots, LinksAreFollowedByTheRootsOwnFlags)
{
    for (const auto& root : kRoots) {
        SCOPED_TRACE(root.subject);
        _UNIXContainedPathSettings settings;
        UNIXFileManager same_owner(nullptr);
        same_owner.SecurityOptions(root.follow);
        ASSERT_TRUE(Initialize(same_owner, root.root, tree.Path("link/sub").c_str()));
        ASSERT_TRUE(same_owner.ContainedPathSettings(root.type, &settings));
        EXPECT_EQ(settings.root->path(), tree.Path("data/sub"));

        UNIXFileManager any_owner(nullptr);
        any_owner.SecurityOptions(root.follow | root.ignore_owner);
        ASSERT_TRUE(Initialize(any_owner, root.root, tree.Path("foreign").c_str()));
        ASSERT_TRUE(any_owner.ContainedPathSettings(root.type, &settings));
        EXPECT_STREQ(settings.root->path(), "/etc");
    }
}

TEST_F(FileRoots, AnEmptyUserNameIsNone)
{
    EXPECT_FALSE(manager.InitializeScriptDirectory("x", ""));
    EXPECT_STREQ(manager.error().data(), "The configured script directory is not an absolute path");
}

TEST_F(FileRoots, APathNeedNotBeTidy)
{
    ASSERT_TRUE(manager.InitializeDataDirectory((tree.path() + "//data/./sub/../").c_str()));
    _UNIXContainedPathSettings settings;
    ASSERT_TRUE(manager.ContainedPathSettings(kDataPath, &settings));
    EXPECT_EQ(settings.root->path(), tree.Path("data"));
    EXPECT_EQ(Here(), tree.Path("data"));
}

TEST_F(FileRoots, AFailedChangeForgetsTheOldRoot)
{
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
    EXPECT_FALSE(manager.InitializeDataDirectory(tree.Path("none").c_str()));
    EXPECT_EQ(Realize(kDataPath, ""), "There is no configured data directory");
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("other").c_str()));
    EXPECT_EQ(Realize(kDataPath, ""), tree.Path("other"));
}

TEST_F(FileRoots, AnUnreadableDirectoryHasTheSystemsText)
{
    if (TemporaryTree::IsRoot())
        GTEST_SKIP() << "root reads every directory";
    ASSERT_EQ(chmod(tree.Path("other").c_str(), 0111), 0);
    EXPECT_FALSE(manager.InitializeDataDirectory(tree.Path("other").c_str()));
    EXPECT_STREQ(manager.error().data(), "Permission denied");
    // Reported before the missing directory, as the process still stands there.
    EXPECT_FALSE(manager.InitializeDataDirectory(tree.Path("none").c_str()));
    EXPECT_STREQ(manager.error().data(), "Permission denied");
    ASSERT_EQ(chmod(tree.Path("other").c_str(), 0700), 0);
}

TEST_F(FileRoots, SettingsHaveTheFlagsOfTheRoot)
{
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
    ASSERT_TRUE(manager.InitializeTempDirectory(tree.Path("other").c_str()));
    ASSERT_TRUE(manager.InitializeScriptDirectory(tree.path().c_str(), nullptr));
    static const struct {
        int bit;
        Zeph_PathType type;
        int flag;  // 1 follow links, 2 ignore owner, 4 allow absolute
    } rows[] = {
        {0x001, kScriptPath, 1},    {0x002, kScriptPath, 2},    {0x020, kScriptPath, 4},
        {0x004, kDataPath, 1},      {0x008, kDataPath, 2},      {0x010, kDataPath, 4},
        {0x100, kTemporaryPath, 1}, {0x200, kTemporaryPath, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bit);
        manager.SecurityOptions(row.bit);
        for (Zeph_PathType type : {kDataPath, kScriptPath, kTemporaryPath}) {
            _UNIXContainedPathSettings settings;
            ASSERT_TRUE(manager.ContainedPathSettings(type, &settings));
            int flags =
                settings.follow_links + 2 * settings.ignore_owner + 4 * settings.allow_absolute;
            EXPECT_EQ(flags, type == row.type ? row.flag : 0);
        }
    }
    manager.SecurityOptions(~0);
    _UNIXContainedPathSettings settings;
    ASSERT_TRUE(manager.ContainedPathSettings(kTemporaryPath, &settings));
    EXPECT_FALSE(settings.allow_absolute);
}

TEST_F(FileRoots, AMissingRootHasItsText)
{
    _UNIXContainedPathSettings settings;
    EXPECT_FALSE(manager.ContainedPathSettings(kDataPath, &settings));
    EXPECT_STREQ(manager.error().data(), "There is no configured data directory");
    EXPECT_FALSE(manager.ContainedPathSettings(kScriptPath, &settings));
    EXPECT_STREQ(manager.error().data(), "There is no configured script directory");
    EXPECT_FALSE(manager.ContainedPathSettings(kTemporaryPath, &settings));
    EXPECT_STREQ(manager.error().data(), "There is no configured data directory");
}

TEST_F(FileRoots, TemporaryFilesFallBackToTheDataDirectory)
{
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
    manager.SecurityOptions(kDataFollowLinks | kDataIgnoreOwner);
    _UNIXContainedPathSettings settings;
    ASSERT_TRUE(manager.ContainedPathSettings(kTemporaryPath, &settings));
    EXPECT_EQ(settings.root->path(), tree.Path("data"));
    EXPECT_TRUE(settings.follow_links);
    EXPECT_TRUE(settings.ignore_owner);
    EXPECT_EQ(Realize(kTemporaryPath, "sub"), tree.Path("data/sub"));
    EXPECT_EQ(Realize(kTemporaryPath, ".."),
              "The specified path references a path outside the configured temporary directory");
}

TEST_F(FileRoots, RealizePathTellsHowItEnded)
{
    const struct {
        std::string path;
        bool follow, ignore_owner;
        RealizeResult result;
        std::string real;
    } rows[] = {
        {tree.Path("data"), false, false, kRealized, tree.Path("data")},
        {tree.Path("none"), true, true, kRealizeMissing, ""},
        {tree.Path("link"), false, true, kRealizeLink, ""},
        {tree.Path("link/sub"), true, false, kRealized, tree.Path("data/sub")},
        {tree.Path("foreign"), true, true, kRealized, "/etc"},
        {tree.Path("foreign"), true, false, kRealizeOwnerMismatch, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        HeldPath real;
        EXPECT_EQ(manager.RealizePath(row.path.c_str(), real.out(), row.follow, row.ignore_owner),
                  row.result);
        if (row.result == kRealized) {
            EXPECT_EQ(real->path(), row.real);
            EXPECT_EQ(Here(), row.real);
        } else {
            EXPECT_FALSE(real.get());
        }
    }
}

TEST_F(FileRoots, AContainedDirectoryIsRelativeToItsRoot)
{
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
    const std::string outside =
        "The specified path references a path outside the configured data directory";
    const struct {
        const char* path;
        std::string plain, absolute_allowed;
    } rows[] = {
        {nullptr, tree.Path("data"), tree.Path("data")},
        {"", tree.Path("data"), tree.Path("data")},
        {".", tree.Path("data"), tree.Path("data")},
        {"/", tree.Path("data"), outside},
        {"///", tree.Path("data"), outside},
        {"sub", tree.Path("data/sub"), tree.Path("data/sub")},
        {"sub//deep/", tree.Path("data/sub/deep"), tree.Path("data/sub/deep")},
        {"/sub", tree.Path("data/sub"), outside},
        {"..", outside, outside},
        {"../other", outside, outside},
        {"sub/../..", outside, outside},
        {"../data", tree.Path("data"), tree.Path("data")},
        {"../data2", outside, outside},
        {"none", "The specified path references a directory that does not exist",
         "The specified path references a directory that does not exist"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path ? row.path : "null");
        manager.SecurityOptions(0);
        EXPECT_EQ(Realize(kDataPath, row.path), row.plain);
        manager.SecurityOptions(kDataAllowAbsolute);
        EXPECT_EQ(Realize(kDataPath, row.path), row.absolute_allowed);
    }
    EXPECT_EQ(Realize(kDataPath, tree.Path("data/sub").c_str()), tree.Path("data/sub"));
    EXPECT_EQ(Realize(kDataPath, tree.Path("other").c_str()), outside);
}

TEST_F(FileRoots, EachRootNamesItselfWhenAPathLeavesIt)
{
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
    ASSERT_TRUE(manager.InitializeScriptDirectory(tree.Path("data/sub").c_str(), "ann"));
    ASSERT_TRUE(manager.InitializeTempDirectory(tree.Path("other").c_str()));
    EXPECT_EQ(Realize(kDataPath, ".."),
              "The specified path references a path outside the configured data directory");
    EXPECT_EQ(Realize(kScriptPath, ".."),
              "The specified path references a path outside the configured script directory");
    EXPECT_EQ(Realize(kTemporaryPath, ".."),
              "The specified path references a path outside the configured temporary directory");
}

TEST_F(FileRoots, RealizingADirectoryMakesRoomInThePool)
{
    tree.Write("data/file", "text");
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
    for (const char* path : {"", "sub"}) {
        SCOPED_TRACE(path);
        manager.MaxFiles(1);
        std::unique_ptr<File> pooled(manager.Open(kDataPath, "file", kOpenRead));
        ASSERT_TRUE(pooled);
        EXPECT_NE(Realize(kDataPath, path), "");
        ASSERT_EQ(unlink(tree.Path("data/file").c_str()), 0);
        EXPECT_EQ(pooled->Length(), -1);
        tree.Write("data/file", "text");
        manager.MaxFiles(-1);
        EXPECT_EQ(Realize(kDataPath, path),
                  "Simultaneous request for -1 file handles exceeds the maximum number of "
                  "simultaneous file handles.");
    }
}

TEST_F(FileRoots, ARealPathHasLessThan1024Bytes)
{
    std::string path = tree.path();
    while (path.size() < 1023) {
        std::size_t rest = 1023 - path.size() - 1;
        // One byte alone would leave no room for a separator and a name.
        path += '/' + std::string(rest > 200 ? 198 : rest, 'd');
        ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    }
    ASSERT_EQ(path.size(), 1023u);
    const std::string longer = path + "d";
    ASSERT_EQ(mkdir(longer.c_str(), 0700), 0);
    EXPECT_TRUE(manager.InitializeDataDirectory(path.c_str()));
    EXPECT_EQ(Realize(kDataPath, ""), path);
    EXPECT_FALSE(manager.InitializeDataDirectory(longer.c_str()));
    EXPECT_STREQ(manager.error().data(), "The configured data directory does not exist");
    ASSERT_TRUE(manager.InitializeDataDirectory(tree.path().c_str()));
    EXPECT_EQ(Realize(kDataPath, path.c_str() + tree.path().size()), path);
    EXPECT_EQ(Realize(kDataPath, longer.c_str() + tree.path().size()),
              "The specified path references a directory that does not exist");
}
