#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "TemporaryTree.h"
#include "files/UNIXFileManager.h"

namespace {

struct CopiedFileManager : testing::Test {
    CopiedFileManager()
    {
        tree.Directory("data/sub");
        tree.Directory("scripts");
        tree.Directory("temporary");
        tree.Write("data/sub/five", "12345");
    }

    void Configure(int options)
    {
        manager.SecurityOptions(options);
        ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
        ASSERT_TRUE(manager.InitializeScriptDirectory(tree.Path("scripts").c_str(), nullptr));
        ASSERT_TRUE(manager.InitializeTempDirectory(tree.Path("temporary").c_str()));
    }

    // Copies while the process may not have one descriptor more.
    static std::unique_ptr<UNIXFileManager> CopyWithoutDescriptors(const UNIXFileManager& other)
    {
        int next = dup(0);
        close(next);
        struct rlimit usual, full;
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
        full = usual;
        full.rlim_cur = static_cast<rlim_t>(next);
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &full), 0);
        std::unique_ptr<UNIXFileManager> copy(new UNIXFileManager(nullptr, other));
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
        return copy;
    }

    TemporaryTree tree;
    UNIXFileManager manager{nullptr};
};

}  // namespace

TEST_F(CopiedFileManager, ACopyHasDescriptorsOfItsOwn)
{
    Configure(kDataAllowAbsolute);
    manager.MaxFiles(7);
    std::unique_ptr<UNIXFileManager> copy(new UNIXFileManager(nullptr, manager));
    for (Zeph_PathType type : {kDataPath, kScriptPath, kTemporaryPath}) {
        SCOPED_TRACE(type);
        _UNIXContainedPathSettings ours, theirs;
        ASSERT_TRUE(manager.ContainedPathSettings(type, &ours));
        ASSERT_TRUE(copy->ContainedPathSettings(type, &theirs));
        EXPECT_NE(ours.descriptor, theirs.descriptor);
        EXPECT_NE(ours.root, theirs.root);
        EXPECT_STREQ(ours.root->path(), theirs.root->path());
        EXPECT_EQ(ours.allow_absolute, theirs.allow_absolute);
        EXPECT_EQ(fcntl(theirs.descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    }
    EXPECT_FALSE(copy->FreeFileSpace(8));
    copy.reset();
    bool exists = false;
    EXPECT_TRUE(manager.Exists(kDataPath, "sub/five", &exists));
    EXPECT_TRUE(exists);
}

TEST_F(CopiedFileManager, ACopyOfNothingHasNothing)
{
    UNIXFileManager copy(nullptr, manager);
    _UNIXContainedPathSettings settings;
    EXPECT_FALSE(copy.ContainedPathSettings(kDataPath, &settings));
}

TEST_F(CopiedFileManager, ARootWithoutADescriptorStaysConfiguredAndServesNothing)
{
    Configure(kDataAllowAbsolute | kScriptAllowAbsolute);
    std::unique_ptr<UNIXFileManager> copy = CopyWithoutDescriptors(manager);
    std::unique_ptr<UNIXFileManager> second(new UNIXFileManager(nullptr, *copy));
    const struct {
        Zeph_PathType type;
        std::string root;
    } rows[] = {
        {kDataPath, tree.Path("data")},
        {kScriptPath, tree.Path("scripts")},
        {kTemporaryPath, tree.Path("temporary")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.root);
        for (UNIXFileManager* files : {copy.get(), second.get()}) {
            _UNIXContainedPathSettings settings;
            ASSERT_TRUE(files->ContainedPathSettings(row.type, &settings));
            EXPECT_EQ(settings.root->path(), row.root);
            EXPECT_EQ(settings.descriptor, -1);
            for (const std::string& path : {std::string(), std::string("file"), row.root}) {
                SCOPED_TRACE(path);
                HeldPath real;
                files->Error("");
                EXPECT_FALSE(files->RealizeContainedPath(row.type, path.c_str(), real.out()));
                EXPECT_STREQ(files->error().data(), "Bad file descriptor");
                EXPECT_FALSE(real.get());
            }
            bool exists = true;
            EXPECT_FALSE(files->Exists(row.type, "none", &exists));
            EXPECT_LT(files->OpenContained(row.type, "made", O_WRONLY | O_CREAT), 0);
            EXPECT_STREQ(files->error().data(), "Bad file descriptor");
        }
    }
    EXPECT_LT(copy->OpenContained(kDataPath, tree.Path("data/sub/five").c_str(), O_RDONLY), 0);
    EXPECT_STREQ(copy->error().data(), "Bad file descriptor");
    EXPECT_FALSE(tree.Has("data/made"));
}
