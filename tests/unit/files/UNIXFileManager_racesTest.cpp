#include <sys/wait.h>

#include "ContainedFiles.h"
#include "Interruption.h"

namespace {

struct RacedFiles : ContainedFiles {
    // Exchanges what two names stand for.
    void Swap(const std::string& one, const std::string& other) const
    {
        ASSERT_EQ(renameat2(AT_FDCWD, tree.Path(one).c_str(), AT_FDCWD, tree.Path(other).c_str(),
                            RENAME_EXCHANGE),
                  0);
    }

    void Give(const std::string& name) const
    {
        const unsigned int other = TemporaryTree::kOtherUser;
        ASSERT_EQ(lchown(tree.Path(name).c_str(), other, other), 0);
    }

    // In steps, so that the names are missing at times.
    void SwapFileAndLink()
    {
        const std::string file = tree.Path("data/file"), link = tree.Path("data/link"),
                          middle = tree.Path("data/middle");
        rename(file.c_str(), middle.c_str());
        rename(link.c_str(), file.c_str());
        rename(file.c_str(), link.c_str());
        rename(middle.c_str(), file.c_str());
    }

    // Checks many times, with another process disturbing all the while.
    template <class Disturb, class Check>
    void WhileAnother(Disturb disturb, Check check)
    {
        int pipe_ends[2];
        ASSERT_EQ(pipe(pipe_ends), 0);
        pid_t child = fork();
        if (child == 0) {
            close(pipe_ends[1]);
            if (fcntl(pipe_ends[0], F_SETFL, O_NONBLOCK) != 0)
                _exit(1);
            char byte;
            // The end of the pipe is the order to stop.
            while (read(pipe_ends[0], &byte, 1) < 0)
                disturb();
            _exit(0);
        }
        close(pipe_ends[0]);
        for (int round = 0; round < 5000; ++round) {
            if (!check()) {
                ADD_FAILURE() << "round " << round << ": " << manager.error().data();
                break;
            }
        }
        close(pipe_ends[1]);
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
};

}  // namespace

// Another process keeps replacing the file by a link and back: at no time may what the
// link leads to be read.
TEST_F(RacedFiles, ASwappedNameNeverOpensALink)
{
    tree.Link("../outside/file", "data/link");
    WhileAnother([&] { SwapFileAndLink(); },
                 [&] {
                     const std::string text = Open("file", 0);
                     return text == "file" || text == kLinkText || text == kNoFileText;
                 });
}

TEST_F(RacedFiles, ASwappedNameNeverOpensAFileOfAnotherOwner)
{
    tree.ForeignLink("/etc/passwd", "data/link");
    WhileAnother([&] { SwapFileAndLink(); },
                 [&] { return Open("file", kFollow).substr(0, 5) != "root:"; });
}

TEST_F(RacedFiles, ASwappedTargetOfALinkNeverOpensAFileOfAnotherOwner)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    tree.Write("data/link", "theirs");
    const unsigned int other = TemporaryTree::kOtherUser;
    ASSERT_EQ(chown(tree.Path("data/link").c_str(), other, other), 0);
    tree.Link("file", "data/ours");
    WhileAnother([&] { SwapFileAndLink(); }, [&] { return Open("ours", kFollow) != "theirs"; });
}

TEST_F(RacedFiles, AFileThatSomebodyElseCreatesMeanwhileIsOpened)
{
    const std::string path = tree.Path("data/contested");
    WhileAnother([&] { close(open(path.c_str(), O_RDWR | O_CREAT, 0600)); },
                 [&] {
                     unlink(path.c_str());
                     return Open("contested", kFollow, O_RDWR | O_CREAT).empty();
                 });
}

TEST_F(RacedFiles, AFileOfAnotherOwnerThanTheOneLookedAtIsRefused)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    tree.Write("data/theirs", "theirs");
    Give("data/theirs");
    {
        Interruption swap(Interruption::kOpen, "file", 1,
                          [&] { Swap("data/file", "data/theirs"); });
        EXPECT_EQ(Open("file", kFollow), kFileOwnerText);
    }
    Interruption swap(Interruption::kOpen, "file", 1, [&] { Swap("data/file", "data/theirs"); });
    EXPECT_EQ(Open("file", kFollowAny), "file");
}

// The file belongs to the same user, so only its identity tells that it is another one.
TEST_F(RacedFiles, OnlyTheTargetThatWasCheckedIsOpened)
{
    tree.Write("data/swap", "swapped");
    tree.Link("file", "data/near");
    tree.Link("sub/file", "data/far");
    static const struct {
        const char *link, *target, *text;
        Interruption::Call call;
        int turn;
    } rows[] = {
        {"near", "data/file", "file", Interruption::kOpen, 1},
        {"far", "data/sub/file", "sub", Interruption::kLstat, 2},
        {"far", "data/sub/file", "sub", Interruption::kOpen, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.link);
        ASSERT_EQ(Open(row.link, kFollow), row.text);
        {
            Interruption swap(row.call, "file", row.turn, [&] { Swap(row.target, "data/swap"); });
            EXPECT_EQ(Open(row.link, kFollow), kFileOwnerText);
        }
        Swap(row.target, "data/swap");
    }
    // Where no owner is compared, a file is as good as the other.
    Interruption swap(Interruption::kOpen, "file", 1, [&] { Swap("data/file", "data/swap"); });
    EXPECT_EQ(Open("near", kFollowAny), "swapped");
}

TEST_F(RacedFiles, AnotherFileThanTheCheckedTargetIsNotTruncated)
{
    tree.Write("data/swap", "swapped");
    tree.Link("sub/file", "data/far");
    Interruption swap(Interruption::kLstat, "file", 2, [&] { Swap("data/sub/file", "data/swap"); });
    EXPECT_EQ(Open("far", kFollow, O_RDWR | O_TRUNC), kFileOwnerText);
    EXPECT_EQ(tree.Text("data/sub/file"), "swapped");
    EXPECT_EQ(tree.Text("data/swap"), "sub");
}

TEST_F(RacedFiles, OnlyTheTargetThatWasCheckedExists)
{
    tree.Write("data/swap", "swapped");
    tree.Link("file", "data/near");
    tree.Link("sub/file", "data/far");
    for (const char* link : {"near", "far"}) {
        SCOPED_TRACE(link);
        const char* target = link[0] == 'n' ? "data/file" : "data/sub/file";
        EXPECT_EQ(Exists(link, kFollow), "yes");
        Interruption swap(Interruption::kLstat, "file", 2, [&] { Swap(target, "data/swap"); });
        EXPECT_EQ(Exists(link, kFollow), kFileOwnerText);
    }
    Interruption swap(Interruption::kLstat, "file", 2, [&] { Swap("data/file", "data/swap"); });
    EXPECT_EQ(Exists("near", kFollowAny), "yes");
}

TEST_F(RacedFiles, OnlyTheLinkThatWasCheckedIsFollowedOn)
{
    tree.Link("second", "data/first");
    tree.Link("file", "data/second");
    tree.Link("../outside/file", "data/other");
    ASSERT_EQ(Open("first", kFollow), "file");
    {
        // Met by the first call, held by the second.
        Interruption swap(Interruption::kOpen, "second", 2,
                          [&] { Swap("data/second", "data/other"); });
        EXPECT_EQ(Open("first", kFollow), kFileOwnerText);
    }
    Swap("data/second", "data/other");
    Interruption swap(Interruption::kOpen, "second", 1, [&] { Swap("data/second", "data/other"); });
    EXPECT_EQ(Exists("first", kFollow), kFileOwnerText);
}

TEST_F(RacedFiles, ATargetThatVanishesIsNotCreatedAnew)
{
    tree.Link("file", "data/near");
    tree.Link("sub/file", "data/far");
    static const struct {
        const char *link, *target;
        int options;
        Interruption::Call call;
        int turn;
    } rows[] = {
        {"near", "data/file", kFollow, Interruption::kOpen, 1},
        {"near", "data/file", kFollowAny, Interruption::kOpen, 1},
        {"far", "data/sub/file", kFollow, Interruption::kLstat, 2},
        {"far", "data/sub/file", kFollow, Interruption::kOpen, 1},
        {"far", "data/sub/file", kFollowAny, Interruption::kOpen, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.target);
        SCOPED_TRACE(row.options);
        tree.Write(row.target, "here");
        ASSERT_EQ(Open(row.link, row.options, O_RDWR | O_CREAT), "here");
        Interruption vanish(row.call, "file", row.turn,
                            [&] { EXPECT_EQ(unlink(tree.Path(row.target).c_str()), 0); });
        EXPECT_EQ(Open(row.link, row.options, O_RDWR | O_CREAT), kNoFileText);
        EXPECT_FALSE(tree.Has(row.target));
    }
}

TEST_F(RacedFiles, ATargetThatVanishesExistsNoMore)
{
    tree.Link("sub/file", "data/far");
    Interruption vanish(Interruption::kLstat, "file", 2,
                        [&] { EXPECT_EQ(unlink(tree.Path("data/sub/file").c_str()), 0); });
    EXPECT_EQ(Exists("far", kFollow), "no");
}

// A missing file is created by this call or looked at anew, never opened unseen.
TEST_F(RacedFiles, AFileThatAppearsInsteadOfBeingCreatedIsLookedAt)
{
    Interruption appear(Interruption::kOpen, "new", 1,
                        [&] { tree.Write("data/new", "not looked at"); });
    Interruption look(Interruption::kLstat, "new", 2, [&] { tree.Write("data/new", "looked at"); });
    EXPECT_EQ(Open("new", kFollow, O_RDWR | O_CREAT), "looked at");
}

TEST_F(RacedFiles, AFileThatAppearsMustKeepItsOwner)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    tree.Write("data/theirs", "theirs");
    Give("data/theirs");
    Interruption appear(Interruption::kOpen, "new", 1, [&] { tree.Write("data/new", "ours"); });
    Interruption swap(Interruption::kOpen, "new", 2, [&] { Swap("data/new", "data/theirs"); });
    EXPECT_EQ(Open("new", kFollow, O_RDWR | O_CREAT), kFileOwnerText);
}

TEST_F(RacedFiles, AFileThatAppearsAndIsWantedAloneIsRefused)
{
    Interruption appear(Interruption::kOpen, "new", 1, [&] { tree.Write("data/new", "theirs"); });
    EXPECT_EQ(Open("new", kFollow, O_RDWR | O_CREAT | O_EXCL), "File exists");
}

// The link in the way is an honest one when it is looked at.
TEST_F(RacedFiles, ADirectorySwappedInTheWayIsNotEntered)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    tree.Directory("data/inner/way");
    tree.Write("data/inner/way/file", "inner");
    tree.Link("inner/way", "data/way");
    tree.ForeignLink("../outside", "data/evil");
    EXPECT_EQ(Open("way/file", kFollow), "inner");
    EXPECT_EQ(Open("evil/file", kFollow), kDirectoryOwnerText);
    Interruption swap(Interruption::kChdir, "way", 2, [&] { Swap("data/way", "data/evil"); });
    EXPECT_EQ(Open("way/file", kFollow), "inner");
}

TEST_F(RacedFiles, ALinkSwappedInTheWayIsHeldToItsOwner)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    tree.Link("sub", "data/way");
    tree.ForeignLink("../outside", "data/evil");
    Interruption swap(Interruption::kOpen, "way", 1, [&] { Swap("data/way", "data/evil"); });
    EXPECT_EQ(Open("way/file", kFollow), kDirectoryOwnerText);
}
