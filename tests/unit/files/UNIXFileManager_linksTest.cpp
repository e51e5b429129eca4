#include "ContainedFiles.h"

TEST_F(ContainedFiles, WithoutFollowingNoLinkIsCrossed)
{
    tree.Link("file", "data/link");
    tree.Link("sub", "data/way");
    tree.Link("none", "data/dangling");
    tree.Link("../outside/file", "data/out");
    for (int options : {0, static_cast<int>(kDataIgnoreOwner)}) {
        EXPECT_EQ(Open("link", options), kLinkText);
        EXPECT_EQ(Open("way/file", options), kLinkText);
        EXPECT_EQ(Open("way", options), kLinkText);
        EXPECT_EQ(Open("dangling", options), kLinkText);
        EXPECT_EQ(Open("out", options), kLinkText);
        EXPECT_EQ(Open("dangling", options, O_WRONLY | O_CREAT), kLinkText);
    }
    EXPECT_FALSE(tree.Has("data/none"));
}

TEST_F(ContainedFiles, LinksOfTheSameOwnerAreFollowed)
{
    tree.Link("file", "data/link");
    tree.Link("link", "data/second");
    tree.Link("sub/file", "data/down");
    tree.Link("../file", "data/sub/up");
    tree.Link("sub/up", "data/zigzag");
    tree.Link("sub", "data/way");
    tree.Link(tree.Path("data/sub/file"), "data/whole");
    tree.Link("./file", "data/dotted");
    tree.Link("way/file", "data/through");
    static const struct {
        const char *path, *text;
    } rows[] = {
        {"link", "file"},   {"second", "file"},  {"down", "sub"},    {"sub/up", "file"},
        {"zigzag", "file"}, {"way/file", "sub"}, {"way/up", "file"}, {"whole", "sub"},
        {"dotted", "file"}, {"through", "sub"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(Open(row.path, kFollow), row.text);
        EXPECT_EQ(Open(row.path, kFollowAny), row.text);
        EXPECT_EQ(Open(row.path, 0), kLinkText);
    }
}

TEST_F(ContainedFiles, AFollowedLinkMayLeadOutOfTheRoot)
{
    tree.Link("../outside/file", "data/out");
    tree.Link(tree.Path("outside/file"), "data/whole");
    tree.Link("../outside", "data/way");
    for (const char* path : {"out", "whole", "way/file"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(Open(path, kFollow), "outside");
        EXPECT_EQ(Open(path, kFollowAny), "outside");
    }
}

TEST_F(ContainedFiles, LinksToFilesOfAnotherOwnerAreRefused)
{
    tree.ForeignLink("/etc/passwd", "data/foreign");
    EXPECT_EQ(Open("foreign", kFollow), kFileOwnerText);
    EXPECT_EQ(Open("foreign", kFollowAny).substr(0, 5), "root:");
    EXPECT_EQ(Open("foreign", 0), kLinkText);
    EXPECT_EQ(Exists("foreign", kFollow), kFileOwnerText);
    EXPECT_EQ(Exists("foreign", kFollowAny), "yes");
    EXPECT_EQ(Exists("foreign", 0), kLinkText);
}

TEST_F(ContainedFiles, LinksToDirectoriesOfAnotherOwnerAreRefused)
{
    tree.ForeignLink("/etc", "data/foreign");
    EXPECT_EQ(Open("foreign/passwd", kFollow), kDirectoryOwnerText);
    EXPECT_EQ(Open("foreign/passwd", kFollowAny).substr(0, 5), "root:");
    EXPECT_EQ(Exists("foreign/passwd", kFollow), kDirectoryOwnerText);
}

TEST_F(ContainedFiles, TheWayToALinksTargetIsHeldToItsOwnersToo)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    // The link and the file agree; the link in the way does not agree with its target.
    tree.ForeignLink("sub", "data/way");
    tree.Link("way/file", "data/link");
    EXPECT_EQ(Open("link", kFollow), kDirectoryOwnerText);
    EXPECT_EQ(Exists("link", kFollow), kDirectoryOwnerText);
    EXPECT_EQ(Open("link", kFollowAny), "sub");
}

TEST_F(ContainedFiles, OwnersOfALinkAndItsTargetDecideAlone)
{
    if (!TemporaryTree::IsRoot())
        GTEST_SKIP() << "only root can give files away";
    const unsigned int other = TemporaryTree::kOtherUser;
    tree.Link("file", "data/theirs");
    ASSERT_EQ(lchown(tree.Path("data/theirs").c_str(), other, other), 0);
    EXPECT_EQ(Open("theirs", kFollow), kFileOwnerText);
    ASSERT_EQ(chown(tree.Path("data/file").c_str(), other, other), 0);
    EXPECT_EQ(Open("theirs", kFollow), "file");
    tree.Link("theirs", "data/ours");
    EXPECT_EQ(Open("ours", kFollow), kFileOwnerText);
    EXPECT_EQ(Open("ours", kFollowAny), "file");
}

TEST_F(ContainedFiles, ALinkThatComesBackIsRecursive)
{
    tree.Link("self", "data/self");
    tree.Link("pong", "data/ping");
    tree.Link("ping", "data/pong");
    tree.Link("sub/loop", "data/loop");
    tree.Link("../loop", "data/sub/loop");
    for (const char* path : {"self", "ping", "pong", "loop", "sub/loop"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(Open(path, kFollow), kRecursiveText);
        EXPECT_EQ(Open(path, kFollowAny), kRecursiveText);
        EXPECT_EQ(Open(path, kFollow, O_WRONLY | O_CREAT), kRecursiveText);
        EXPECT_EQ(Open(path, 0), kLinkText);
        EXPECT_EQ(Exists(path, kFollow), kRecursiveText);
        EXPECT_EQ(Exists(path, 0), kLinkText);
    }
}

TEST_F(ContainedFiles, ALongChainOfLinksIsNoRecursion)
{
    tree.Link("file", "data/l0");
    for (int n = 1; n < 600; ++n)
        tree.Link("l" + std::to_string(n - 1), "data/l" + std::to_string(n));
    EXPECT_EQ(Open("l599", kFollow), "file");
    EXPECT_EQ(Exists("l599", kFollow), "yes");
}

TEST_F(ContainedFiles, ADanglingLinkCreatesNothing)
{
    tree.Link("none", "data/dangling");
    tree.Link("sub/none", "data/deep");
    tree.Link("gone/none", "data/lost");
    for (const char* path : {"dangling", "deep", "lost"}) {
        SCOPED_TRACE(path);
        for (int options : {kFollow, kFollowAny}) {
            EXPECT_EQ(Open(path, options), kNoFileText);
            EXPECT_EQ(Open(path, options, O_WRONLY | O_CREAT), kNoFileText);
            EXPECT_EQ(Exists(path, options), "no");
        }
    }
    EXPECT_FALSE(tree.Has("data/none"));
    EXPECT_FALSE(tree.Has("data/sub/none"));
}

TEST_F(ContainedFiles, TheTextOfALinkIsNeverCut)
{
    // 1022 bytes of slashes and one of a name still fit; the file of the cut text
    // exists, so following one would show.
    std::string dots;
    while (dots.size() < 1023 - 4)
        dots += "./";
    dots.resize(1018);
    ASSERT_EQ(dots.back(), '/');
    const std::string fits = dots + "/file";
    ASSERT_EQ(fits.size(), 1023u);
    tree.Write("data/file2", "cut off");
    tree.Link(fits, "data/fits");
    tree.Link(fits + "2", "data/long");
    EXPECT_EQ(Open("fits", kFollow), "file");
    for (int options : {kFollow, kFollowAny}) {
        EXPECT_EQ(Open("long", options), "File name too long");
        EXPECT_EQ(Exists("long", options), "File name too long");
    }
}

TEST_F(ContainedFiles, CreatesThroughALinkToAFileOnly)
{
    tree.Link("file", "data/link");
    tree.Link("sub", "data/way");
    EXPECT_EQ(Open("link", kFollow, O_RDWR | O_CREAT), "file");
    EXPECT_EQ(Open("link", kFollow, O_RDWR | O_CREAT | O_TRUNC), "");
    EXPECT_EQ(tree.Text("data/file"), "");
    EXPECT_EQ(Open("way/made", kFollow, O_RDWR | O_CREAT), "");
    EXPECT_TRUE(tree.Has("data/sub/made"));
    EXPECT_EQ(Open("link", kFollow, O_RDWR | O_CREAT | O_EXCL), "File exists");
}

// A ".." behind a link is the directory above the one that the link leads to, for the
// check and for the use.
TEST_F(ContainedFiles, ParentsBehindALinkAreThoseOfItsTarget)
{
    tree.Directory("data/deep/er");
    tree.Write("data/f", "by text");
    tree.Write("data/deep/f", "by links");
    tree.Write("data/deep/er/f9", "deeper");
    tree.Link("deep/er", "data/s");
    tree.Link("s/../f", "data/honest");
    tree.Link("s/../er/f9", "data/gone");
    tree.Link("s/..", "data/above");
    tree.Link("s/../none", "data/dangling");
    tree.Write("data/none", "by text");
    for (int options : {kFollow, kFollowAny}) {
        SCOPED_TRACE(options);
        EXPECT_EQ(Open("honest", options), "by links");
        EXPECT_EQ(Open("gone", options), "deeper");
        EXPECT_EQ(Open("above/f", options), "by links");
        EXPECT_EQ(Open("above", options), "unreadable");
        EXPECT_EQ(Open("dangling", options), kNoFileText);
        EXPECT_EQ(Exists("honest", options), "yes");
        EXPECT_EQ(Exists("gone", options), "yes");
        EXPECT_EQ(Exists("above", options), "yes");
        EXPECT_EQ(Exists("dangling", options), "no");
    }
    EXPECT_EQ(Open("honest", kFollow, O_WRONLY | O_CREAT | O_TRUNC), "unreadable");
    EXPECT_EQ(tree.Text("data/deep/f"), "");
    EXPECT_EQ(tree.Text("data/f"), "by text");
}

// Somebody who may only follow his own links makes the checked name and the opened one
// two files: his own, and one of the victim.
TEST_F(ContainedFiles, ALinkBeforeAParentDoesNotLeadAstray)
{
    tree.Directory("m/x/y");
    tree.Directory("m/victim");
    tree.Directory("victim");
    tree.Write("m/victim/secret", "decoy");
    tree.Write("m/victim/new", "decoy");
    tree.Write("victim/secret", "secret");
    tree.ForeignLink("x/y", "m/a");
    tree.ForeignLink(tree.Path("m/a/../../victim/secret"), "data/evil");
    tree.ForeignLink("../m/a/../../victim/secret", "data/evilrelative");
    tree.ForeignLink(tree.Path("m/a/../../victim/new"), "data/evilnew");
    for (const char* name : {"m", "m/x", "m/x/y", "m/victim", "m/victim/secret", "m/victim/new"}) {
        if (TemporaryTree::IsRoot()) {
            ASSERT_EQ(chown(tree.Path(name).c_str(), TemporaryTree::kOtherUser, 0), 0);
        }
    }
    for (int options : {kFollow, kFollowAny}) {
        SCOPED_TRACE(options);
        EXPECT_EQ(Open("evil", options), "decoy");
        EXPECT_EQ(Open("evilrelative", options), "decoy");
        EXPECT_EQ(Open("evilnew", options, O_RDWR | O_CREAT), "decoy");
        EXPECT_FALSE(tree.Has("victim/new"));
    }
    // Without the decoy there is nothing, however much the victim has.
    ASSERT_EQ(unlink(tree.Path("m/victim/secret").c_str()), 0);
    EXPECT_EQ(Exists("evil", kFollow), "no");
    EXPECT_EQ(Open("evil", kFollow), kNoFileText);
}

TEST_F(ContainedFiles, ATargetThatEndsInASlashIsADirectory)
{
    tree.Directory("data/deep");
    tree.Link("sub", "data/way");
    tree.Link("way/", "data/slash");
    tree.Link(".//way//", "data/slashes");
    tree.Link("sub/.", "data/dot");
    tree.Link("sub/../deep/..", "data/dots");
    tree.Link("file/", "data/nodirectory");
    tree.Link("/", "data/top");
    for (const char* path : {"slash", "slashes", "dot", "dots"}) {
        SCOPED_TRACE(path);
        for (int options : {kFollow, kFollowAny}) {
            EXPECT_EQ(Open(path, options), "unreadable");
            EXPECT_EQ(Exists(path, options), "yes");
        }
    }
    EXPECT_EQ(Open("top", kFollowAny), "unreadable");
    EXPECT_EQ(Exists("top", kFollowAny), "yes");
    EXPECT_EQ(Open("nodirectory", kFollow), "Not a directory");
    EXPECT_EQ(Exists("nodirectory", kFollow), "Not a directory");
}

TEST_F(ContainedFiles, ALinkBehindATargetsSlashIsHeldToItsOwnerToo)
{
    tree.ForeignLink("/etc", "data/way");
    tree.ForeignLink("way/", "data/slash");
    EXPECT_EQ(Open("slash", kFollow), kFileOwnerText);
    tree.Link("way/", "data/agreeing");
    if (TemporaryTree::IsRoot()) {
        EXPECT_EQ(Open("agreeing", kFollow), kDirectoryOwnerText);
    }
    EXPECT_EQ(Open("agreeing", kFollowAny), "unreadable");
}

TEST_F(ContainedFiles, ADirectoryIsNotCreatedThroughALinkEither)
{
    tree.Link("sub", "data/way");
    tree.Link("way", "data/chain");
    for (const char* path : {"sub", "way", "chain"}) {
        SCOPED_TRACE(path);
        for (int options : {kFollow, kFollowAny}) {
            EXPECT_EQ(Open(path, options, O_RDONLY), "unreadable");
            EXPECT_EQ(Open(path, options, O_RDONLY | O_CREAT), "Is a directory");
        }
    }
}
