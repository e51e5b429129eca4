#ifndef ZEPH_TESTS_UNIT_IMAGE_TESTIMAGE_H
#define ZEPH_TESTS_UNIT_IMAGE_TESTIMAGE_H

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "files/File.h"
#include "files/UNIXFileManager.h"
#include "image/TaggedFile.h"

inline std::string Word(int value)
{
    return {char(value), char(value >> 8)};
}

inline std::string Dword(long long value)
{
    return {char(value), char(value >> 8), char(value >> 16), char(value >> 24)};
}

inline std::string Dwords(const std::vector<long long>& values)
{
    std::string bytes;
    for (long long value : values)
        bytes += Dword(value);
    return bytes;
}

// Lays out the bytes of a compiled file by hand, for good ones and broken ones.
struct TestImage {
    std::string magic = "Zeph";
    unsigned int version = 0x1000B;
    std::string identifier = std::string(16, '\0');
    long long directory_offset = -2;  // -2 stands for the true one
    long long directory_entries = -2;
    std::string bodies;
    std::string directory;
    int sections = 0;

    TestImage& Add(const std::string& tag, const std::string& body)
    {
        AddEntry(tag, 32 + (long long)bodies.size(), (long long)body.size());
        bodies += body;
        return *this;
    }
    TestImage& AddEntry(const std::string& tag, long long offset, long long size)
    {
        directory += tag + Dword(offset) + Dword(size);
        ++sections;
        return *this;
    }
    std::string Bytes() const
    {
        long long offset =
            directory_offset == -2 ? 32 + (long long)bodies.size() : directory_offset;
        long long entries = directory_entries == -2 ? sections : directory_entries;
        return magic + Dword(version) + identifier + Dword(offset) + Dword(entries) + bodies +
               directory;
    }
};

// A "dict" body of the given strings, one behind the other.
inline std::string DictBody(const std::vector<std::string>& texts, int flags = 0)
{
    std::string places, data;
    for (const std::string& text : texts) {
        places += Dword((long long)data.size()) + Dword((long long)text.size());
        data += text;
    }
    return Dwords({(long long)texts.size(), (long long)data.size(), flags}) + places + data;
}

inline int TagOf(const char* tag)
{
    return SectionTag(tag[0], tag[1], tag[2], tag[3]);
}

// Gives each test a folder of its own and files in it.
class ImageTest : public ::testing::Test {
protected:
    ImageTest()
    {
        m_folder = ::testing::TempDir() + "zeph_image_XXXXXX";
        mkdtemp(m_folder.data());
    }
    ~ImageTest() override
    {
        m_file.Close();
        std::filesystem::remove_all(m_folder);
    }

    std::string Path(const char* name = "image.zpc") const { return m_folder + "/" + name; }
    void Save(const std::string& bytes)
    {
        std::ofstream(Path(), std::ios::binary).write(bytes.data(), long(bytes.size()));
    }
    std::string Saved(const char* name = "image.zpc") const
    {
        std::ifstream in(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    bool Open(const std::string& bytes)
    {
        Save(bytes);
        return m_file.Open(Path().c_str(), 1);
    }
    bool Open(const TestImage& image) { return Open(image.Bytes()); }
    // For the write side: the one section that `write` leaves in a new file.
    template <class Write>
    std::string Written(Write write)
    {
        TaggedFile file(&m_files);
        EXPECT_TRUE(file.Create(Path("written.zpc").c_str(), nullptr, 0));
        EXPECT_TRUE(write(&file));
        file.Section_End();
        EXPECT_TRUE(file.Section_Flush());
        file.Close();
        std::string bytes = Saved("written.zpc");
        size_t end = bytes.size() - 12;
        return bytes.substr(32, end - 32);
    }
    std::string Error() { return m_file.error().data(); }

    std::string m_folder;
    UNIXFileManager m_files{nullptr};
    TaggedFile m_file{&m_files};
};

// A file in memory that counts its reads and fails where it is told to.
class MemoryFile : public File {
public:
    MemoryFile(FileManager* manager, const std::string& bytes)
        : File(manager, "memory"), m_bytes(bytes)
    {
    }
    bool OwnerID(int*) override { return false; }
    bool GroupID(int*) override { return false; }
    int Read(char* target, int length) override
    {
        ++reads;
        if (fail_reads) {
            Error("Input/output error");
            return -1;
        }
        if (m_position >= long(m_bytes.size()))
            return 0;
        length = std::min(length, longest_read);
        size_t got = m_bytes.copy(target, size_t(length), size_t(m_position));
        m_position += long(got);
        return int(got);
    }
    int Write(const char*, int) override
    {
        Error("No space left on device");
        return -1;
    }
    long Seek(long offset) override
    {
        ++seeks;
        if (offset >= fail_seeks_from)
            return -1;
        return m_position = offset;
    }
    long Tell() override { return m_position; }
    long Length() override
    {
        ++lengths;
        return long(m_bytes.size());
    }
    bool IsDirectory(bool*) override { return false; }
    bool Lock(FileLockType, long, long) override { return false; }
    bool Release(long, long) override { return false; }
    const char* Map(long, long) override { return nullptr; }
    bool Release() override { return false; }
    bool Activate(String&) override { return true; }
    void Deactivate() override { ++deactivations; }

    using File::Read;
    using File::Write;

    int reads = 0;
    int seeks = 0;
    int lengths = 0;
    int deactivations = 0;
    int longest_read = 1 << 30;  // a read gives no more at once
    bool fail_reads = false;
    long fail_seeks_from = 1L << 40;

private:
    std::string m_bytes;
    long m_position = 0;
};

#endif
