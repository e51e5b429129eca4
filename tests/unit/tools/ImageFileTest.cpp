// Where the assembler puts an image, and what becomes of what stood there.

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Outcome.h"
#include "ToolRun.h"

namespace {

// Files of this process can have no more than so many bytes.
class SizeLimit {
public:
    explicit SizeLimit(rlim_t bytes)
    {
        m_handler = signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit limit = {bytes, m_old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        signal(SIGXFSZ, m_handler);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

private:
    rlimit m_old;
    sighandler_t m_handler;
};

class ImageFile : public testing::Test {
protected:
    ImageFile() : manager(nullptr) { umask(022); }

    // The text of the failure; empty for none.
    std::string WriteTo(const std::string& name)
    {
        const std::string source = ".global a\n.segment\npushc \"text\"\nout\n";
        ImageBuilder image;
        TextBuffer messages;
        EXPECT_TRUE(
            Assembler("page", &image, &messages).Assemble(source.data(), (long long)source.size()));
        String error;
        bool is_written = image.Write(&manager, run.Path(name).data(), &error);
        EXPECT_EQ(is_written, error.length() == 0);
        return error.data();
    }
    std::string Files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(run.Path("")))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        std::string all;
        for (const std::string& name : names)
            all += name + " ";
        return all;
    }
    struct stat Status(const std::string& name) const
    {
        struct stat status = {};
        EXPECT_EQ(lstat(run.Path(name).c_str(), &status), 0);
        return status;
    }
    int Mode(const std::string& name) const { return int(Status(name).st_mode & 07777); }
    void Link(const std::string& target, const std::string& name) const
    {
        ASSERT_EQ(symlink(target.c_str(), run.Path(name).c_str()), 0);
    }
    bool IsImage(const std::string& name) const { return run.Read(name).substr(0, 4) == "Zeph"; }

    ToolRun run;
    UNIXFileManager manager;
};

}  // namespace

TEST_F(ImageFile, StaysAsItWasWhereverWritingFails)
{
    ASSERT_EQ(WriteTo("whole"), "");
    const size_t size = run.Read("whole").size();
    ASSERT_EQ(unlink(run.Path("whole").c_str()), 0);
    run.Write("page.zpc", "old");
    for (size_t limit = 0; limit < size; ++limit) {
        SCOPED_TRACE(limit);
        std::string error;
        {
            SizeLimit held(limit);
            error = WriteTo("page.zpc");
        }
        EXPECT_TRUE(error == "the file could not be written in full" || error == "File too large")
            << error;
        EXPECT_EQ(run.Read("page.zpc"), "old");
        EXPECT_EQ(Files(), "page.zpc ");
    }
    SizeLimit held(size);
    EXPECT_EQ(WriteTo("page.zpc"), "");
    EXPECT_EQ(run.Read("page.zpc").size(), size);
}

TEST_F(ImageFile, CutShortIsToldInWords)
{
    // The header is whole, and the dictionary's, of 12 bytes, is not.
    SizeLimit held(40);
    EXPECT_EQ(WriteTo("page.zpc"), "the file could not be written in full");
}

TEST_F(ImageFile, KeepsItsMode)
{
    for (const int mode : {0600, 0644, 0755, 0666, 02750, 0444, 0200}) {
        SCOPED_TRACE(mode);
        run.Write("page.zpc", "old");
        ASSERT_EQ(chmod(run.Path("page.zpc").c_str(), mode_t(mode)), 0);
        EXPECT_EQ(WriteTo("page.zpc"), "");
        EXPECT_EQ(Mode("page.zpc"), mode);
        chmod(run.Path("page.zpc").c_str(), 0600);
        EXPECT_TRUE(IsImage("page.zpc"));
    }
}

TEST_F(ImageFile, HasTheUsualModeWhenItIsNew)
{
    for (const int mask : {022, 077, 0}) {
        SCOPED_TRACE(mask);
        umask(mode_t(mask));
        unlink(run.Path("page.zpc").c_str());
        EXPECT_EQ(WriteTo("page.zpc"), "");
        EXPECT_EQ(Mode("page.zpc"), 0666 & ~mask);
    }
}

TEST_F(ImageFile, KeepsItsOwner)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs the right to give files away";
    const unsigned int kOther = 1;
    run.Write("page.zpc", "old");
    ASSERT_EQ(chown(run.Path("page.zpc").c_str(), kOther, kOther), 0);
    EXPECT_EQ(WriteTo("page.zpc"), "");
    EXPECT_EQ(Status("page.zpc").st_uid, kOther);
    EXPECT_EQ(Status("page.zpc").st_gid, kOther);
}

TEST_F(ImageFile, BehindALinkIsReplacedAndTheLinkStays)
{
    std::filesystem::create_directories(run.Path("folder"));
    run.Write("folder/page.zpc", "old");
    Link("folder/page.zpc", "relative");
    Link(run.Path("folder/page.zpc"), "absolute");
    Link("../relative", "folder/chain");
    for (const char* name : {"relative", "absolute", "folder/chain"}) {
        SCOPED_TRACE(name);
        run.Write("folder/page.zpc", "old");
        EXPECT_EQ(WriteTo(name), "");
        EXPECT_TRUE(S_ISLNK(Status(name).st_mode));
        EXPECT_TRUE(S_ISREG(Status("folder/page.zpc").st_mode));
        EXPECT_TRUE(IsImage("folder/page.zpc"));
    }
    EXPECT_EQ(Files(), "absolute folder relative ");
}

TEST_F(ImageFile, IsMadeWhereALinkLeads)
{
    Link("new.zpc", "link");
    EXPECT_EQ(WriteTo("link"), "");
    EXPECT_TRUE(S_ISLNK(Status("link").st_mode));
    EXPECT_TRUE(IsImage("new.zpc"));
}

TEST_F(ImageFile, IsNotMadeWhereNoPathLeads)
{
    Link("loop", "loop");
    EXPECT_EQ(WriteTo("loop"), "Too many levels of symbolic links");
    EXPECT_TRUE(S_ISLNK(Status("loop").st_mode));
    std::filesystem::create_directories(run.Path("folder"));
    EXPECT_EQ(WriteTo("folder"), "Is a directory");
    EXPECT_EQ(WriteTo("none/page.zpc"), "No such file or directory");
    EXPECT_EQ(Files(), "folder loop ");
}

// The name of the temporary file cannot be foreseen, and one that is there is not taken.
TEST_F(ImageFile, IsNotMadeThroughALinkThatSomebodyPutBesideIt)
{
    run.Write("victim", "old");
    Link("victim", "page.zpc." + std::to_string(getpid()) + ".new");
    EXPECT_EQ(WriteTo("page.zpc"), "");
    EXPECT_EQ(run.Read("victim"), "old");
    EXPECT_TRUE(S_ISREG(Status("page.zpc").st_mode));
}

TEST_F(ImageFile, IsWrittenIntoAPipeThatStandsThere)
{
    ASSERT_EQ(WriteTo("expected"), "");
    run.Write("page.zasm", ".global a\n.segment\npushc \"text\"\nout\n");
    ASSERT_EQ(mkfifo(run.Path("pipe").c_str(), 0600), 0);
    Outcome outcome = RunCommand("timeout 20 cat " + run.Path("pipe") + " > " + run.Path("got") +
                                 " & timeout 20 " ZEPHASM " -o " + run.Path("pipe") + " " +
                                 run.Path("page.zasm") + "; status=$?; wait; exit $status");
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(S_ISFIFO(Status("pipe").st_mode));
    EXPECT_EQ(run.Read("got"), run.Read("expected"));
}

TEST_F(ImageFile, IsWrittenIntoAnOutputThatHasNoPath)
{
    ASSERT_EQ(WriteTo("expected"), "");
    run.Write("page.zasm", ".global a\n.segment\npushc \"text\"\nout\n");
    Link("/proc/self/fd/1", "output");
    Outcome outcome = RunCommand(ZEPHASM " -o " + run.Path("output") + " " + run.Path("page.zasm") +
                                 " | cat > " + run.Path("got"));
    EXPECT_EQ(outcome.output, "");
    EXPECT_TRUE(S_ISLNK(Status("output").st_mode));
    EXPECT_EQ(run.Read("got"), run.Read("expected"));
}
