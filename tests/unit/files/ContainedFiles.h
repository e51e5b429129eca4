#ifndef ZEPH_TESTS_CONTAINEDFILES_H
#define ZEPH_TESTS_CONTAINEDFILES_H

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "TemporaryTree.h"
#include "files/UNIXFileManager.h"

inline const char kLinkText[] = "The specified path references a symbolic link";
inline const char kRecursiveText[] = "The specified path references a recursive symbolic link";
inline const char kDirectoryOwnerText[] =
    "The specified path references a symbolic link to a directory owned by a different user";
inline const char kFileOwnerText[] =
    "The specified path references a symbolic link to a directory or file owned by a different "
    "user";
inline const char kOutsideText[] =
    "The specified path references a path outside the configured data directory";
inline const char kNoDirectoryText[] =
    "The specified path references a directory that does not exist";
inline const char kNoFileText[] = "No such file or directory";

inline const int kFollow = kDataFollowLinks;
inline const int kFollowAny = kDataFollowLinks | kDataIgnoreOwner;

// A data directory with a file, a file in a directory, and a file outside of it.
struct ContainedFiles : testing::Test {
    ContainedFiles()
    {
        tree.Directory("data/sub");
        tree.Directory("outside");
        tree.Write("data/file", "file");
        tree.Write("data/sub/file", "sub");
        tree.Write("outside/file", "outside");
        EXPECT_TRUE(manager.InitializeDataDirectory(tree.Path("data").c_str()));
    }

    // The content of a file, or the error.
    std::string Open(const std::string& path, int options, int flags = O_RDONLY)
    {
        manager.SecurityOptions(options);
        HeldDescriptor descriptor(manager.OpenContained(kDataPath, path.c_str(), flags));
        if (descriptor.get() < 0)
            return manager.error().data();
        EXPECT_EQ(fcntl(descriptor.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        char text[64];
        ssize_t length = read(descriptor.get(), text, sizeof text);
        return length < 0 ? "unreadable" : std::string(text, static_cast<size_t>(length));
    }

    // "yes", "no" or the error.
    std::string Exists(const std::string& path, int options)
    {
        manager.SecurityOptions(options);
        bool exists = true;
        if (!manager.Exists(kDataPath, path.c_str(), &exists))
            return manager.error().data();
        return exists ? "yes" : "no";
    }

    TemporaryTree tree;
    UNIXFileManager manager{nullptr};
};

#endif
