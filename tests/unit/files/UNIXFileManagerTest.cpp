#include "files/UNIXFileManager.h"

#include <gtest/gtest.h>

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "TemporaryTree.h"
#include "files/File.h"
#include "files/HeldText.h"

namespace {

struct UNIXFileManagerTest : testing::Test {
    UNIXFileManagerTest()
    {
        tree.Directory("data/sub");
        tree.Directory("scripts");
        tree.Directory("temporary");
        tree.Write("data/sub/five", "12345");
    }

    void Configure(int options = 0)
    {
        manager.SecurityOptions(options);
        ASSERT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
        ASSERT_TRUE(manager.InitializeScriptDirectory(tree.Path("scripts").c_str(), nullptr));
        ASSERT_TRUE(manager.InitializeTempDirectory(tree.Path("temporary").c_str()));
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

TEST_F(UNIXFileManagerTest, TranslatesOpenModes)
{
    static const struct {
        int mode, flags;
    } rows[] = {
        {0, O_RDONLY},
        {1, O_RDONLY},
        {2, O_WRONLY},
        {3, O_RDWR},
        {6, O_WRONLY | O_CREAT},
        {15, O_RDWR | O_CREAT | O_TRUNC},
        {22, O_WRONLY | O_CREAT | O_APPEND},
        {38, O_WRONLY | O_CREAT | O_EXCL},
        {64 + 1, O_RDONLY},
        {4, O_RDONLY | O_CREAT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        EXPECT_EQ(UNIXFileManager::OpenMode(row.mode), row.flags);
    }
}

TEST_F(UNIXFileManagerTest, LastErrorIsTheSystemsText)
{
    errno = ENOENT;
    EXPECT_STREQ(manager.lasterror(), "No such file or directory");
    errno = EACCES;
    EXPECT_STREQ(manager.lasterror(), "Permission denied");
}

TEST_F(UNIXFileManagerTest, OpensPlainPathsWithoutContainment)
{
    std::unique_ptr<File> file(manager.Open(tree.Path("data/sub/five").c_str(), kOpenRead));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Length(), 5);
    EXPECT_FALSE(manager.Open(tree.Path("data/none").c_str(), kOpenRead));
    EXPECT_STREQ(manager.error().data(), "No such file or directory");
    mode_t mask = umask(0);
    std::unique_ptr<File> made(
        manager.Open(tree.Path("made").c_str(), kOpenWrite | kOpenCreate | kOpenExclusive));
    umask(mask);
    ASSERT_TRUE(made);
    struct stat status;
    ASSERT_EQ(stat(tree.Path("made").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666u);
}

TEST_F(UNIXFileManagerTest, PlainFilesAreInThePool)
{
    manager.MaxFiles(1);
    std::unique_ptr<File> first(manager.Open(tree.Path("data/sub/five").c_str(), kOpenRead));
    std::unique_ptr<File> second(manager.Open("/etc/passwd", kOpenRead));
    ASSERT_EQ(unlink(tree.Path("data/sub/five").c_str()), 0);
    EXPECT_EQ(first->Length(), -1);
}

TEST_F(UNIXFileManagerTest, TellsLengthKindAndTimeOfAPath)
{
    Configure();
    long length = -1;
    EXPECT_TRUE(manager.Length(kDataPath, "sub/five", &length));
    EXPECT_EQ(length, 5);

    bool is_directory = false;
    EXPECT_TRUE(manager.IsDirectory(kDataPath, "sub", &is_directory));
    EXPECT_TRUE(is_directory);
    EXPECT_TRUE(manager.IsDirectory(kDataPath, "", &is_directory));
    EXPECT_TRUE(is_directory);
    EXPECT_TRUE(manager.IsDirectory(kDataPath, "sub/five", &is_directory));
    EXPECT_FALSE(is_directory);

    const struct timeval times[2] = {{1000, 0}, {123456789, 0}};
    ASSERT_EQ(utimes(tree.Path("data/sub/five").c_str(), times), 0);
    long time = 0;
    EXPECT_TRUE(manager.ModifiedTime(kDataPath, "sub/five", &time));
    EXPECT_EQ(time, 123456789);
}

TEST_F(UNIXFileManagerTest, ALookAtAMissingFileFails)
{
    Configure();
    long number = 77;
    bool is_directory = true;
    EXPECT_FALSE(manager.Length(kDataPath, "none", &number));
    EXPECT_STREQ(manager.error().data(), "No such file or directory");
    EXPECT_FALSE(manager.ModifiedTime(kDataPath, "none", &number));
    EXPECT_FALSE(manager.IsDirectory(kDataPath, "sub/none", &is_directory));
    EXPECT_EQ(number, 77);
    EXPECT_TRUE(is_directory);
    EXPECT_FALSE(manager.Length(kDataPath, "none/five", &number));
    EXPECT_STREQ(manager.error().data(),
                 "The specified path references a directory that does not exist");
}

TEST_F(UNIXFileManagerTest, ALookNeedsRoomInThePool)
{
    Configure();
    manager.MaxFiles(1);
    std::unique_ptr<File> file(manager.Open(kDataPath, "sub/five", kOpenRead));
    long length = -1;
    ASSERT_TRUE(manager.Length(kDataPath, "sub/five", &length));
    ASSERT_EQ(unlink(tree.Path("data/sub/five").c_str()), 0);
    EXPECT_EQ(file->Length(), -1);
}

TEST_F(UNIXFileManagerTest, NormalizesPathsByTheirText)
{
    Configure();
    const std::string data = tree.Path("data");
    static const struct {
        const char *path, *plain;
        const char* under_root;  // null: the path itself, collapsed
        const char* absolute;
    } rows[] = {
        {"", ".", "", nullptr},
        {nullptr, ".", "", nullptr},
        {"x", "x", "/x", nullptr},
        {"./x//y/", "x/y", "/x/y", nullptr},
        {"a/../x", "x", "/x", nullptr},
        {"none/at/all", "none/at/all", "/none/at/all", nullptr},
        {"../x", "../x", "/../x", nullptr},
        {"/x/../y", "y", nullptr, "/y"},
        {"//", ".", nullptr, "/"},
        {"/../x", "../x", nullptr, "/x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path ? row.path : "null");
        int length = -1, capacity = -1;
        manager.SecurityOptions(0);
        HeldText plain(manager.NormalizeContainedPath(kDataPath, row.path, &length, &capacity));
        EXPECT_STREQ(plain.get(), row.plain);
        EXPECT_EQ(static_cast<size_t>(length), strlen(row.plain));
        EXPECT_GT(capacity, length);

        manager.SecurityOptions(kDataAllowAbsolute);
        HeldText whole(manager.NormalizeContainedPath(kDataPath, row.path, &length, &capacity));
        std::string expected = row.absolute ? row.absolute : data + row.under_root;
        if (expected == data + "/../x")
            expected = tree.Path("x");
        EXPECT_EQ(std::string(whole.get()), expected);
    }
}

TEST_F(UNIXFileManagerTest, NormalizesScriptPathsByTheScriptsOwnRule)
{
    Configure(kDataAllowAbsolute);
    HeldText plain(manager.NormalizeContainedPath(kScriptPath, "/a/./b", nullptr, nullptr));
    EXPECT_STREQ(plain.get(), "a/b");
    manager.SecurityOptions(kScriptAllowAbsolute);
    HeldText whole(manager.NormalizeContainedPath(kScriptPath, "b", nullptr, nullptr));
    EXPECT_EQ(std::string(whole.get()), tree.Path("scripts/b"));
    HeldText temporary(manager.NormalizeContainedPath(kTemporaryPath, "b", nullptr, nullptr));
    EXPECT_STREQ(temporary.get(), "b");
}

TEST_F(UNIXFileManagerTest, NormalizingNeedsADirectory)
{
    int length, capacity;
    EXPECT_FALSE(manager.NormalizeContainedPath(kScriptPath, "x", &length, &capacity));
    EXPECT_STREQ(manager.error().data(), "There is no configured script directory");
}

TEST_F(UNIXFileManagerTest, SavesAndRestoresTheCurrentDirectory)
{
    Configure();
    ASSERT_EQ(chdir(tree.Path("scripts").c_str()), 0);
    int saved = manager.SaveCurrentDirectory();
    ASSERT_GE(saved, 0);
    EXPECT_EQ(fcntl(saved, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    long length;
    ASSERT_TRUE(manager.Length(kDataPath, "sub/five", &length));
    EXPECT_EQ(Here(), tree.Path("data/sub"));
    EXPECT_TRUE(manager.RestoreCurrentDirectory(saved));
    EXPECT_EQ(Here(), tree.Path("scripts"));
    EXPECT_EQ(fcntl(saved, F_GETFD), -1);
    EXPECT_FALSE(manager.RestoreCurrentDirectory(-1));
    EXPECT_STREQ(manager.error().data(), "Bad file descriptor");
}

TEST_F(UNIXFileManagerTest, TheSeparatorIsASlash)
{
    EXPECT_EQ(manager.pathseparator(), '/');
}
