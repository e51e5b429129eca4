#include "files/UNIXFile.h"

#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "OpenedFiles.h"

namespace {

struct UNIXFileTest : OpenedFiles {
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

    // Whether the system has the process in the line for a lock; such rows read
    // "1: -> POSIX ADVISORY WRITE 4711 ...".
    static bool WaitsForALock(pid_t process)
    {
        std::ifstream locks("/proc/locks");
        EXPECT_TRUE(locks.is_open());
        for (std::string line; std::getline(locks, line);) {
            std::istringstream words(line);
            std::string number, arrow, kind, force, access, id;
            words >> number >> arrow >> kind >> force >> access >> id;
            if (arrow == "->" && id == std::to_string(process))
                return true;
        }
        return false;
    }

    // How often a file is mapped into this process.
    int Mappings(const std::string& name) const
    {
        std::ifstream maps("/proc/self/maps");
        EXPECT_TRUE(maps.is_open());
        int count = 0;
        for (std::string line; std::getline(maps, line);)
            count += line.ends_with(" " + tree.Path(name));
        return count;
    }
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

// The lock is given up only once the waiter is known to stand in line for it.
TEST_F(UNIXFileTest, LockWaitsForTheHolder)
{
    int answer[2];
    ASSERT_EQ(pipe(answer), 0);
    HeldFile file = Open("ten", kOpenRead | kOpenWrite);
    ASSERT_TRUE(file->Lock(kWriteLock, 0, 1));
    pid_t child = fork();
    if (child == 0) {
        close(answer[0]);
        HeldFile waiter = Open("ten", kOpenRead | kOpenWrite);
        char byte = '-';
        if (waiter && waiter->Lock(kWriteLock, 0, 1))
            waiter->Read(&byte, 1);
        _exit(write(answer[1], &byte, 1) == 1 ? 0 : 1);
    }
    close(answer[1]);
    // An answer, or the end of the waiter, would make the pipe readable.
    struct pollfd early = {answer[0], POLLIN, 0};
    bool waits = false;
    while (!waits && poll(&early, 1, 1) == 0)
        waits = WaitsForALock(child);
    EXPECT_TRUE(waits) << "answered while the lock was held";
    EXPECT_EQ(file->Write("W", 1), 1);
    EXPECT_TRUE(file->Release(0, 1));
    char byte = 0;
    EXPECT_EQ(read(answer[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'W');
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(answer[0]);
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

TEST_F(UNIXFileTest, OneMappingAtATimeAndNoneInTheEnd)
{
    HeldFile file = Open("ten", kOpenRead);
    EXPECT_EQ(Mappings("ten"), 0);
    ASSERT_TRUE(file->Map(0, 4));
    EXPECT_EQ(Mappings("ten"), 1);
    ASSERT_TRUE(file->Map(0, -1));
    EXPECT_EQ(Mappings("ten"), 1);
    EXPECT_TRUE(file->Release());
    EXPECT_EQ(Mappings("ten"), 0);
    ASSERT_TRUE(file->Map(0, -1));
    file.reset();
    EXPECT_EQ(Mappings("ten"), 0);
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
