#ifndef ZEPH_TESTS_TOOLRUN_H
#define ZEPH_TESTS_TOOLRUN_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "files/UNIXFileManager.h"
#include "zephasm/Assembler.h"
#include "zephdump/ImageCheck.h"
#include "zephdump/ImageDump.h"

// A directory of its own for one test, removed at the end, in which both tools work.
class ToolRun {
public:
    ToolRun() : m_manager(nullptr)
    {
        std::string pattern = std::filesystem::temp_directory_path().string() + "/toolsXXXXXX";
        if (!mkdtemp(pattern.data()))
            abort();
        m_path = pattern;
    }
    ~ToolRun()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string Path(const std::string& name) const { return m_path + "/" + name; }
    std::string Read(const std::string& name) const { return ReadFile(Path(name)); }
    void Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(Path(name), std::ios::binary) << bytes;
    }
    static std::string ReadFile(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // The messages about a source that is called "page".
    std::string Messages(const std::string& source)
    {
        ImageBuilder image;
        TextBuffer messages;
        bool is_sound =
            Assembler("page", &image, &messages).Assemble(source.data(), (long long)source.size());
        EXPECT_EQ(is_sound, messages.length() == 0);
        return {messages.text(), size_t(messages.length())};
    }

    // The image of a sound source.
    std::string Assemble(const std::string& source)
    {
        ImageBuilder image;
        TextBuffer messages;
        EXPECT_TRUE(
            Assembler("page", &image, &messages).Assemble(source.data(), (long long)source.size()))
            << std::string(messages.text(), size_t(messages.length()));
        String error;
        EXPECT_TRUE(image.Write(&m_manager, Path("image").data(), &error)) << error.data();
        return Read("image");
    }

    // The text of an image; a text that begins with '!' when it does not load.
    std::string Dump(const std::string& bytes)
    {
        Write("image", bytes);
        LoadedImage image;
        if (!image.Load(&m_manager, Path("image").data()))
            return std::string("!") + image.error().data();
        TextBuffer text;
        ImageDump(&image, &text).Write();
        return {text.text(), size_t(text.length())};
    }

    // The faults of an image that is called "image", or the reason why it does not load.
    std::string Check(const std::string& bytes)
    {
        Write("image", bytes);
        LoadedImage image;
        if (!image.Load(&m_manager, Path("image").data()))
            return image.error().data();
        TextBuffer faults;
        int count = ImageCheck("image", &image, &faults).Run();
        std::string text(faults.text(), size_t(faults.length()));
        EXPECT_EQ(count, int(std::count(text.begin(), text.end(), '\n')));
        return text;
    }

    // The body of a section.
    static std::string Section(const std::string& image, const std::string& tag)
    {
        size_t entry = DirectoryEntry(image, tag);
        return image.substr(Dword(image, entry + 4), Dword(image, entry + 8));
    }
    // Where the body of a section stands in the image.
    static size_t SectionAt(const std::string& image, const std::string& tag)
    {
        return Dword(image, DirectoryEntry(image, tag) + 4);
    }
    static unsigned int Dword(const std::string& bytes, size_t at)
    {
        unsigned int value = 0;
        for (int i = 3; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>(bytes.at(at + size_t(i)));
        return value;
    }

private:
    static size_t DirectoryEntry(const std::string& image, const std::string& tag)
    {
        size_t entry = Dword(image, 24);
        for (unsigned int i = 0; i < Dword(image, 28); ++i, entry += 12)
            if (image.compare(entry, 4, tag) == 0)
                return entry;
        ADD_FAILURE() << "no section " << tag;
        return Dword(image, 24);
    }

    std::string m_path;
    UNIXFileManager m_manager;
};

// Bytes from their hexadecimal digits, blanks between them being ignored.
inline std::string Hex(const std::string& digits)
{
    std::string bytes, pair;
    for (char c : digits) {
        if (c == ' ' || c == '\n')
            continue;
        pair += c;
        if (pair.size() == 2) {
            bytes += static_cast<char>(strtoul(pair.c_str(), nullptr, 16));
            pair.clear();
        }
    }
    return bytes;
}

inline std::string ToHex(const std::string& bytes)
{
    std::string text;
    char pair[4];
    for (char c : bytes) {
        snprintf(pair, sizeof pair, "%02X ", unsigned(static_cast<unsigned char>(c)));
        text += pair;
    }
    return text;
}

#define EXPECT_BYTES(actual, digits) EXPECT_EQ(ToHex(actual), ToHex(Hex(digits)))

#endif
