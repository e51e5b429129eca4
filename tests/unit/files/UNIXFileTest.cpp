#include "files/UNIXFile.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "TemporaryTree.h"
#include "files/UNIXFileManager.h"

namespace {

using HeldFile = std::unique_ptr<File>;

struct UNIXFileTest : testing::Test {
    UNIXFileTest()
    {
        tree.Write("ten", "0123456789");
        EXPECT_TRUE(manager.InitializeDataDirectory(tree.path().c_str()));
    }

    HeldFile Open(const char* name, int mode)
    {
        return HeldFile(manager.Open(kDataPath, name, mode));
    }

    static std::string ReadText(File& file, int length)
    {
        std::string text(static_cast<size_t>(length), ' ');
        int count = file.Read(text.data(), length);
        text.resize(count < 0 ? 0 : static_cast<size_t>(count));
        return text;
    }

    // Asks from another process whether a lock of that kind could be had on a byte.
    static bool OthersMayLock(const std::string& path, short kind, long start)
    {
        pid_t child = fork();
        if (child == 0) {
            int descriptor = open(path.c_str(), O_RDWR);
            struct flock range = {};
            range.l_type = kind;
            range.l_whence = SEEK_SET;
            range.l_start = start;
            range.l_len = 1;
            _exit(descriptor >= 0 && fcntl(descriptor, F_SETLK, &range) == 0 ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    TemporaryTree tree;
    UNIXFileManager manager{nullptr};
};

}  // namespace

TEST_F(UNIXFileTest, ReadsWritesAndMoves)
{
    HeldFile file = Open("new", kOpenRead | kOpenWrite | kOpenCreate);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Write("hello", 5), 5);
    EXPECT_EQ(file->Tell(), 5);
    EXPECT_EQ(file->Write(String(" world")), 6);
    EXPECT_EQ(file->Length(), 11);
    EXPECT_EQ(file->Seek(6), 6);
    EXPECT_EQ(ReadText(*file, 20), "world");
    EXPECT_EQ(ReadText(*file, 20), "");

    unsigned char bytes[] = {0, 255, 1};
    EXPECT_EQ(file->Seek(0), 0);
    EXPECT_EQ(file->Write(bytes, 3), 3);
    EXPECT_EQ(file->Seek(0), 0);
    unsigned char got[3] = {};
    EXPECT_EQ(file->Read(got, 3), 3);
    EXPECT_EQ(memcmp(got, bytes, 3), 0);
    EXPECT_EQ(tree.Text("new"), std::string("\0\377\1lo world", 11));
}

TEST_F(UNIXFileTest, WrongUseLeavesTheSystemsText)
{
    HeldFile reader = Open("ten", kOpenRead);
    HeldFile writer = Open("ten", kOpenWrite);
    char byte = 'x';
    EXPECT_EQ(reader->Write(&byte, 1), -1);
    EXPECT_STREQ(reader->error().data(), "Bad file descriptor");
    EXPECT_EQ(writer->Read(&byte, 1), -1);
    EXPECT_STREQ(writer->error().data(), "Bad file descriptor");
    reader->Error("");
    EXPECT_EQ(reader->Seek(-1), -1);
    EXPECT_STREQ(reader->error().data(), "Invalid argument");
    writer->Error("");
    EXPECT_EQ(writer->Write(&byte, -1), -1);
    EXPECT_STREQ(writer->error().data(), "Invalid argument");
    reader->Error("");
    EXPECT_EQ(reader->Read(&byte, -1), -1);
    EXPECT_STREQ(reader->error().data(), "Invalid argument");
    EXPECT_EQ(tree.Text("ten"), "0123456789");
}

TEST_F(UNIXFileTest, TellsOwnersAndKind)
{
    int id = -1;
    bool is_directory = true;
    HeldFile file = Open("ten", kOpenRead);
    ASSERT_TRUE(file->OwnerID(&id));
    EXPECT_EQ(id, static_cast<int>(geteuid()));
    EXPECT_TRUE(file->IsDirectory(&is_directory));
    EXPECT_FALSE(is_directory);

    struct stat status;
    ASSERT_EQ(stat(tree.Path("ten").c_str(), &status), 0);
    ASSERT_TRUE(file->GroupID(&id));
    EXPECT_EQ(id, static_cast<int>(status.st_gid));

    HeldFile directory = Open(".", kOpenRead);
    ASSERT_TRUE(directory->IsDirectory(&is_directory));
    EXPECT_TRUE(is_directory);
}

TEST_F(UNIXFileTest, OwnersAreThoseOfTheFile)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    ASSERT_EQ(chown(tree.Path("ten").c_str(), 12, 34), 0);
    HeldFile file = Open("ten", kOpenRead);
    int id = -1;
    EXPECT_TRUE(file->OwnerID(&id));
    EXPECT_EQ(id, 12);
    EXPECT_TRUE(file->GroupID(&id));
    EXPECT_EQ(id, 34);
}

TEST_F(UNIXFileTest, LocksKeepOtherProcessesOut)
{
    HeldFile file = Open("ten", kOpenRead | kOpenWrite);
    const std::string path = tree.Path("ten");
    ASSERT_TRUE(file->Lock(kReadLock, 2, 3));
    EXPECT_TRUE(OthersMayLock(path, F_RDLCK, 2));
    EXPECT_FALSE(OthersMayLock(path, F_WRLCK, 2));
    EXPECT_FALSE(OthersMayLock(path, F_WRLCK, 4));
    EXPECT_TRUE(OthersMayLock(path, F_WRLCK, 1));
    EXPECT_TRUE(OthersMayLock(path, F_WRLCK, 5));
    ASSERT_TRUE(file->Lock(kWriteLock, 2, 3));
    EXPECT_FALSE(OthersMayLock(path, F_RDLCK, 3));
    ASSERT_TRUE(file->Release(3, 1));
    EXPECT_TRUE(OthersMayLock(path, F_WRLCK, 3));
    EXPECT_FALSE(OthersMayLock(path, F_RDLCK, 4));
    ASSERT_TRUE(file->Release(0, 0));
    EXPECT_TRUE(OthersMayLock(path, F_WRLCK, 2));
}

// The child holds the lock until its pipe is closed; the answer can only come after.
TEST_F(UNIXFileTest, LockWaitsForTheHolder)
{
    int ready[2], go[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(go), 0);
    pid_t child = fork();
    if (child == 0) {
        close(go[1]);
        char byte = 0;
        HeldFile file = Open("ten", kOpenRead | kOpenWrite);
        bool held = file && file->Lock(kWriteLock, 0, 1) && write(ready[1], "x", 1) == 1;
        bool told = held && read(go[0], &byte, 1) == 1;
        // Written under the lock: the waiter must find it.
        bool done = told && file->Write("W", 1) == 1;
        _exit(done ? 0 : 1);
    }
    close(ready[1]);
    close(go[0]);
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    HeldFile file = Open("ten", kOpenRead | kOpenWrite);
    ASSERT_EQ(write(go[1], "x", 1), 1);
    EXPECT_TRUE(file->Lock(kWriteLock, 0, 1));
    EXPECT_EQ(ReadText(*file, 1), "W");
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(ready[0]);
    close(go[1]);
}

TEST_F(UNIXFileTest, AReaderGetsNoWriteLock)
{
    HeldFile file = Open("ten", kOpenRead);
    EXPECT_FALSE(file->Lock(kWriteLock, 0, 1));
    EXPECT_STREQ(file->error().data(), "Bad file descriptor");
}

TEST_F(UNIXFileTest, MapsAPartOrTheWhole)
{
    HeldFile file = Open("ten", kOpenRead);
    const char* text = file->Map(0, 4);
    ASSERT_TRUE(text);
    EXPECT_EQ(std::string(text, 4), "0123");
    text = file->Map(0, -1);
    ASSERT_TRUE(text);
    EXPECT_EQ(std::string(text, 10), "0123456789");
    // What is written later shows in it.
    HeldFile writer = Open("ten", kOpenWrite);
    EXPECT_EQ(writer->Write("X", 1), 1);
    EXPECT_EQ(text[0], 'X');
    EXPECT_TRUE(file->Release());
    EXPECT_TRUE(file->Release());
}

TEST_F(UNIXFileTest, MappingNothingIsRefusedAndKeepsTheOldMapping)
{
    tree.Write("empty", "");
    HeldFile empty = Open("empty", kOpenRead);
    EXPECT_FALSE(empty->Map(0, -1));
    EXPECT_STREQ(empty->error().data(), "Invalid argument");

    HeldFile file = Open("ten", kOpenRead);
    const char* text = file->Map(0, -1);
    for (long length : {0L, -2L}) {
        SCOPED_TRACE(length);
        file->Error("");
        EXPECT_FALSE(file->Map(0, length));
        EXPECT_STREQ(file->error().data(), "Invalid argument");
    }
    EXPECT_FALSE(file->Map(1, 2));  // not at the start of a page
    EXPECT_EQ(text[9], '9');
}

TEST_F(UNIXFileTest, AMappingOutlivesTheDescriptor)
{
    HeldFile file = Open("ten", kOpenRead);
    const char* text = file->Map(0, -1);
    ASSERT_TRUE(text);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(text[3], '3');
}

TEST_F(UNIXFileTest, TwoFilesShareOneDescriptorAndKeepTheirPlaces)
{
    tree.Write("letters", "abcdefghij");
    manager.MaxFiles(1);
    HeldFile digits = Open("ten", kOpenRead | kOpenWrite);
    HeldFile letters = Open("letters", kOpenRead | kOpenWrite);
    ASSERT_TRUE(digits);
    ASSERT_TRUE(letters);
    EXPECT_EQ(ReadText(*digits, 3), "012");
    EXPECT_EQ(ReadText(*letters, 2), "ab");
    EXPECT_EQ(ReadText(*digits, 3), "345");
    EXPECT_EQ(letters->Write("XY", 2), 2);
    EXPECT_EQ(digits->Tell(), 6);
    EXPECT_EQ(letters->Tell(), 4);
    EXPECT_EQ(letters->Length(), 10);
    EXPECT_EQ(tree.Text("letters"), "abXYefghij");
}

TEST_F(UNIXFileTest, EveryOperationTakesTheDescriptorBack)
{
    HeldFile file = Open("ten", kOpenRead | kOpenWrite);
    int id = -1;
    bool is_directory = true;
    char byte = 0;
    const auto gone = [&] { manager.DeactivateFile(file.get()); };
    gone();
    EXPECT_TRUE(file->OwnerID(&id));
    gone();
    EXPECT_TRUE(file->GroupID(&id));
    gone();
    EXPECT_TRUE(file->IsDirectory(&is_directory));
    gone();
    EXPECT_EQ(file->Length(), 10);
    gone();
    EXPECT_EQ(file->Tell(), 0);
    gone();
    EXPECT_EQ(file->Seek(4), 4);
    gone();
    EXPECT_EQ(file->Read(&byte, 1), 1);
    EXPECT_EQ(byte, '4');
    gone();
    EXPECT_EQ(file->Write("x", 1), 1);
    gone();
    EXPECT_TRUE(file->Lock(kWriteLock, 0, 1));
    gone();
    EXPECT_TRUE(file->Release(0, 1));
    gone();
    EXPECT_TRUE(file->Map(0, 1));
    EXPECT_EQ(tree.Text("ten"), "01234x6789");
}

TEST_F(UNIXFileTest, TakingTheDescriptorClosesIt)
{
    HeldFile file = Open("ten", kOpenRead);
    int probe = dup(0);
    close(probe);  // the next number to be given out
    manager.DeactivateFile(file.get());
    int after = dup(0);
    EXPECT_LT(after, probe);
    close(after);
}

TEST_F(UNIXFileTest, OpeningAgainNeitherTruncatesNorCreates)
{
    HeldFile file = Open("ten", kOpenRead | kOpenWrite | kOpenCreate | kOpenTruncate);
    EXPECT_EQ(file->Write("kept", 4), 4);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(file->Length(), 4);
    EXPECT_EQ(file->Tell(), 4);

    manager.DeactivateFile(file.get());
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    EXPECT_EQ(file->Length(), -1);
    EXPECT_STREQ(file->error().data(), "No such file or directory");
    EXPECT_STREQ(manager.error().data(), "No such file or directory");
    EXPECT_FALSE(tree.Has("ten"));
    // It stays known to the pool and comes back with its file.
    tree.Write("ten", "again");
    EXPECT_EQ(file->Length(), 5);
}

TEST_F(UNIXFileTest, AnExclusiveFileComesBack)
{
    HeldFile file = Open("mine", kOpenWrite | kOpenCreate | kOpenExclusive);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Write("1", 1), 1);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(file->Write("2", 1), 1);
    EXPECT_EQ(tree.Text("mine"), "12");
}

TEST_F(UNIXFileTest, AnAppendingFileStillAppendsWhenItComesBack)
{
    HeldFile file = Open("ten", kOpenWrite | kOpenAppend);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(file->Write("x", 1), 1);
    EXPECT_EQ(tree.Text("ten"), "0123456789x");
}

TEST_F(UNIXFileTest, APlainFileComesBackByItsPlainPath)
{
    HeldFile file(manager.Open(tree.Path("ten").c_str(), kOpenRead));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Seek(7), 7);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(ReadText(*file, 9), "789");
    manager.DeactivateFile(file.get());
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    EXPECT_EQ(file->Tell(), -1);
    EXPECT_STREQ(file->error().data(), "No such file or directory");
}

TEST_F(UNIXFileTest, APlaceThatCannotBeRestoredFailsTheActivation)
{
    HeldFile file(manager.Open(tree.Path("ten").c_str(), kOpenRead | kOpenWrite));
    EXPECT_EQ(file->Seek(4), 4);
    manager.DeactivateFile(file.get());
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    ASSERT_EQ(mkfifo(tree.Path("ten").c_str(), 0600), 0);
    EXPECT_EQ(file->Tell(), -1);
    EXPECT_STREQ(file->error().data(), "Unable to restore file position during activation");
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    tree.Write("ten", "0123456789");
    EXPECT_EQ(file->Tell(), 4);
}

TEST_F(UNIXFileTest, AFileThatBecameALinkIsRefusedWhenItComesBack)
{
    HeldFile file = Open("ten", kOpenRead);
    manager.DeactivateFile(file.get());
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    tree.Link("/etc/passwd", "ten");
    EXPECT_EQ(file->Length(), -1);
    EXPECT_STREQ(file->error().data(), "The specified path references a symbolic link");
}

TEST_F(UNIXFileTest, AFileOutsideThePoolIsLeftAlone)
{
    manager.MaxFiles(1);
    HeldFile outside = Open("ten", kOpenRead | kOpenOutsidePool);
    HeldFile inside = Open("ten", kOpenRead);
    ASSERT_TRUE(outside);
    ASSERT_TRUE(inside);
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    // Neither had to be opened again, which would fail by now.
    EXPECT_EQ(inside->Length(), 10);
    EXPECT_EQ(outside->Length(), 10);
    manager.DeactivateFile(outside.get());
    EXPECT_EQ(outside->Length(), 10);
    EXPECT_TRUE(manager.FreeFileSpace(1));
    EXPECT_EQ(outside->Length(), 10);
    EXPECT_EQ(inside->Length(), -1);

    HeldFile plain(manager.Open("/etc/passwd", kOpenRead | kOpenOutsidePool));
    EXPECT_FALSE(manager.ActivateFile(plain.get()));
}

TEST_F(UNIXFileTest, DeletingAFileClosesItAndMakesRoom)
{
    manager.MaxFiles(1);
    int before = dup(0);
    close(before);
    HeldFile file = Open("ten", kOpenRead);
    file.reset();
    int after = dup(0);
    close(after);
    EXPECT_EQ(before, after);
    EXPECT_TRUE(manager.FreeFileSpace(1));
}

TEST_F(UNIXFileTest, DescriptorsAreNotInherited)
{
    int descriptor = dup(0);
    close(descriptor);
    HeldFile file = Open("ten", kOpenRead);
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(file->Tell(), 0);
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    HeldFile plain(manager.Open("/etc/passwd", kOpenRead));
    const int next = descriptor + 1;
    EXPECT_EQ(fcntl(next, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    manager.DeactivateFile(plain.get());
    EXPECT_EQ(fcntl(next, F_GETFD), -1);
    EXPECT_EQ(plain->Tell(), 0);
    EXPECT_EQ(fcntl(next, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}
