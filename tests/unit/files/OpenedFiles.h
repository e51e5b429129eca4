#ifndef ZEPH_TESTS_OPENEDFILES_H
#define ZEPH_TESTS_OPENEDFILES_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "TemporaryTree.h"
#include "files/UNIXFileManager.h"

using HeldFile = std::unique_ptr<File>;

// A data directory with a file of ten digits.
struct OpenedFiles : testing::Test {
    OpenedFiles()
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

    static std::size_t OpenDescriptors()
    {
        std::filesystem::directory_iterator all("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

    TemporaryTree tree;
    UNIXFileManager manager{nullptr};
};

#endif
