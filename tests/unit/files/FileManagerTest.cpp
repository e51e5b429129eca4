#include "files/FileManager.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/UNIXFileManager.h"

namespace {

// A file that only notes what the pool does to it.
class PooledFile : public File {
public:
    PooledFile(FileManager* manager, char name, std::string* events)
        : File(manager, "pooled"), m_name(name), m_events(events)
    {
    }
    ~PooledFile() override { m_manager->FileClosed(this); }

    bool OwnerID(int*) override { return false; }
    bool GroupID(int*) override { return false; }
    int Read(char*, int) override { return -1; }
    int Write(const char*, int) override { return -1; }
    long Seek(long) override { return -1; }
    long Tell() override { return -1; }
    long Length() override { return -1; }
    bool IsDirectory(bool*) override { return false; }
    bool Lock(FileLockType, long, long) override { return false; }
    bool Release(long, long) override { return false; }
    const char* Map(long, long) override { return nullptr; }
    bool Release() override { return false; }
    bool Activate(String& error) override
    {
        Note('+');
        if (takes_from)
            m_manager->DeactivateFile(takes_from);
        if (refuse)
            error = "No more today";
        return !refuse;
    }
    void Deactivate() override { Note('-'); }

    bool refuse = false;
    File* takes_from = nullptr;  // a file that goes while this one comes

private:
    void Note(char what)
    {
        *m_events += what;
        *m_events += m_name;
    }

    char m_name;
    std::string* m_events;
};

struct FilePool : testing::Test {
    // What has happened since the last call: "-a" took a's descriptor, "+a" gave it.
    std::string Events()
    {
        std::string seen = events;
        events.clear();
        return seen;
    }

    std::string events;
    UNIXFileManager manager{nullptr};
    PooledFile a{&manager, 'a', &events};
    PooledFile b{&manager, 'b', &events};
    PooledFile c{&manager, 'c', &events};
};

}  // namespace

TEST_F(FilePool, TakesTheOldestFirst)
{
    manager.MaxFiles(3);
    EXPECT_EQ(manager.FileOpened(&a), &a);
    manager.FileOpened(&b);
    manager.FileOpened(&c);
    EXPECT_TRUE(manager.FreeFileSpace(0));
    EXPECT_EQ(Events(), "");
    EXPECT_TRUE(manager.FreeFileSpace(1));
    EXPECT_EQ(Events(), "-a");
    EXPECT_TRUE(manager.FreeFileSpace(3));
    EXPECT_EQ(Events(), "-b-c");
}

TEST_F(FilePool, NoLimitTakesNothing)
{
    manager.MaxFiles(0);
    manager.FileOpened(&a);
    manager.FileOpened(&b);
    EXPECT_TRUE(manager.FreeFileSpace(1000));
    EXPECT_EQ(Events(), "");
}

TEST_F(FilePool, ARequestAboveTheLimitNamesTheLimit)
{
    manager.MaxFiles(2);
    manager.FileOpened(&a);
    EXPECT_TRUE(manager.FreeFileSpace(2));
    EXPECT_EQ(Events(), "-a");
    EXPECT_FALSE(manager.FreeFileSpace(3));
    EXPECT_STREQ(manager.error().data(),
                 "Simultaneous request for 2 file handles exceeds the maximum number of "
                 "simultaneous file handles.");
    EXPECT_EQ(Events(), "");
}

TEST_F(FilePool, AnActivatedFileIsTheNewest)
{
    manager.MaxFiles(2);
    manager.FileOpened(&a);
    manager.FileOpened(&b);
    // Already active: moves to the front, so b is the oldest.
    EXPECT_TRUE(manager.ActivateFile(&a));
    EXPECT_EQ(Events(), "");
    EXPECT_TRUE(manager.FreeFileSpace(1));
    EXPECT_EQ(Events(), "-b");
    manager.FileOpened(&c);
    EXPECT_TRUE(manager.ActivateFile(&b));
    EXPECT_EQ(Events(), "-a+b");
    EXPECT_TRUE(manager.FreeFileSpace(2));
    EXPECT_EQ(Events(), "-c-b");
}

TEST_F(FilePool, DeactivatesOnDemandAndOnce)
{
    manager.FileOpened(&a);
    manager.DeactivateFile(&a);
    EXPECT_EQ(Events(), "-a");
    manager.DeactivateFile(&a);
    manager.DeactivateFile(&b);
    EXPECT_EQ(Events(), "");
    EXPECT_TRUE(manager.ActivateFile(&a));
    EXPECT_EQ(Events(), "+a");
}

TEST_F(FilePool, AnUnknownFileIsNotActivated)
{
    EXPECT_FALSE(manager.ActivateFile(&a));
    EXPECT_STREQ(manager.error().data(), "Activation request for invalid or non-active file");
    manager.FileOpened(&a);
    manager.FileClosed(&a);
    EXPECT_FALSE(manager.ActivateFile(&a));
    EXPECT_EQ(Events(), "");
}

TEST_F(FilePool, ActivatingAnUnknownFileMakesRoomFirst)
{
    manager.MaxFiles(1);
    manager.FileOpened(&a);
    EXPECT_FALSE(manager.ActivateFile(&b));
    EXPECT_EQ(Events(), "-a");
    manager.MaxFiles(-1);
    EXPECT_FALSE(manager.ActivateFile(&b));
    EXPECT_STREQ(manager.error().data(),
                 "Simultaneous request for -1 file handles exceeds the maximum number of "
                 "simultaneous file handles.");
}

TEST_F(FilePool, AFailedActivationLeavesTheFileInactive)
{
    manager.FileOpened(&a);
    manager.DeactivateFile(&a);
    a.refuse = true;
    EXPECT_FALSE(manager.ActivateFile(&a));
    EXPECT_STREQ(manager.error().data(), "No more today");
    manager.MaxFiles(1);
    manager.FileOpened(&b);
    a.refuse = false;
    Events();
    EXPECT_TRUE(manager.ActivateFile(&a));
    EXPECT_EQ(Events(), "-b+a");
}

TEST_F(FilePool, AFileMayGoWhileAnotherComes)
{
    manager.FileOpened(&a);
    manager.FileOpened(&b);
    manager.FileOpened(&c);
    manager.DeactivateFile(&a);
    a.takes_from = &c;
    Events();
    EXPECT_TRUE(manager.ActivateFile(&a));
    EXPECT_EQ(Events(), "+a-c");
    // Each is where it belongs: c waits for its turn, a and b have theirs.
    EXPECT_TRUE(manager.ActivateFile(&c));
    EXPECT_EQ(Events(), "+c");
    manager.MaxFiles(3);
    EXPECT_TRUE(manager.FreeFileSpace(3));
    EXPECT_EQ(Events(), "-b-a-c");
}

TEST_F(FilePool, AClosedFileTakesNoRoom)
{
    manager.MaxFiles(2);
    manager.FileOpened(&a);
    manager.FileOpened(&b);
    manager.FileClosed(&a);
    EXPECT_TRUE(manager.FreeFileSpace(1));
    EXPECT_EQ(Events(), "");
    manager.DeactivateFile(&b);
    manager.FileClosed(&b);
    EXPECT_FALSE(manager.ActivateFile(&b));
}

TEST_F(FilePool, ErrorKeepsTheLastText)
{
    manager.Error("first");
    manager.Error("second");
    EXPECT_STREQ(manager.error().data(), "second");
}
