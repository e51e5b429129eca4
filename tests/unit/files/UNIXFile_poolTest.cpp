#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "OpenedFiles.h"

namespace {

struct UNIXFilePool : OpenedFiles {};

}  // namespace

TEST_F(UNIXFilePool, AMappingOutlivesTheDescriptor)
{
    HeldFile file = Open("ten", kOpenRead);
    const char* text = file->Map(0, -1);
    ASSERT_TRUE(text);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(text[3], '3');
}

TEST_F(UNIXFilePool, TwoFilesShareOneDescriptorAndKeepTheirPlaces)
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

TEST_F(UNIXFilePool, EveryOperationTakesTheDescriptorBack)
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

TEST_F(UNIXFilePool, TakingTheDescriptorClosesIt)
{
    HeldFile file = Open("ten", kOpenRead);
    int probe = dup(0);
    close(probe);  // the next number to be given out
    manager.DeactivateFile(file.get());
    int after = dup(0);
    EXPECT_LT(after, probe);
    close(after);
}

TEST_F(UNIXFilePool, OpeningAgainNeitherTruncatesNorCreates)
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

TEST_F(UNIXFilePool, AnExclusiveFileComesBack)
{
    HeldFile file = Open("mine", kOpenWrite | kOpenCreate | kOpenExclusive);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Write("1", 1), 1);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(file->Write("2", 1), 1);
    EXPECT_EQ(tree.Text("mine"), "12");
}

TEST_F(UNIXFilePool, AnAppendingFileStillAppendsWhenItComesBack)
{
    HeldFile file = Open("ten", kOpenWrite | kOpenAppend);
    manager.DeactivateFile(file.get());
    EXPECT_EQ(file->Write("x", 1), 1);
    EXPECT_EQ(tree.Text("ten"), "0123456789x");
}

TEST_F(UNIXFilePool, APlainFileComesBackByItsPlainPath)
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

TEST_F(UNIXFilePool, APlaceThatCannotBeRestoredFailsTheActivation)
{
    HeldFile file(manager.Open(tree.Path("ten").c_str(), kOpenRead | kOpenWrite));
    EXPECT_EQ(file->Seek(4), 4);
    manager.DeactivateFile(file.get());
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    ASSERT_EQ(mkfifo(tree.Path("ten").c_str(), 0600), 0);
    const std::size_t descriptors = OpenDescriptors();
    EXPECT_EQ(file->Tell(), -1);
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_STREQ(file->error().data(), "Unable to restore file position during activation");
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    tree.Write("ten", "0123456789");
    EXPECT_EQ(file->Tell(), 4);
}

TEST_F(UNIXFilePool, WhatHasNoPositionComesBackWithoutOne)
{
    ASSERT_EQ(mkfifo(tree.Path("fifo").c_str(), 0600), 0);
    HeldFile fifo = Open("fifo", kOpenRead | kOpenWrite);
    ASSERT_TRUE(fifo);
    manager.DeactivateFile(fifo.get());
    EXPECT_EQ(fifo->Write("x", 1), 1);
    EXPECT_EQ(ReadText(*fifo, 1), "x");
}

TEST_F(UNIXFilePool, AFileThatBecameALinkIsRefusedWhenItComesBack)
{
    HeldFile file = Open("ten", kOpenRead);
    manager.DeactivateFile(file.get());
    ASSERT_EQ(unlink(tree.Path("ten").c_str()), 0);
    tree.Link("/etc/passwd", "ten");
    EXPECT_EQ(file->Length(), -1);
    EXPECT_STREQ(file->error().data(), "The specified path references a symbolic link");
}

TEST_F(UNIXFilePool, AFileOutsideThePoolIsLeftAlone)
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

TEST_F(UNIXFilePool, DeletingAFileClosesItAndMakesRoom)
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

TEST_F(UNIXFilePool, DescriptorsAreNotInherited)
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
