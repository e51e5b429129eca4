#include "files/File.h"

File::File(FileManager* manager, const char* path)
    : m_manager(manager), m_has_type(false), m_type(kDataPath), m_path(path ? path : "", -1)
{
}

File::File(FileManager* manager, Zeph_PathType type, const char* path)
    : m_manager(manager), m_has_type(true), m_type(type), m_path(path ? path : "", -1)
{
}

File::~File() = default;

void File::Error(const String& text)
{
    m_error = text;
}

const String& File::error()
{
    return m_error;
}

int File::Read(unsigned char* target, int length)
{
    return Read(reinterpret_cast<char*>(target), length);
}

int File::Write(const unsigned char* source, int length)
{
    return Write(reinterpret_cast<const char*>(source), length);
}

int File::Write(const String& text)
{
    return Write(text.data(), text.length());
}
