#include "ScriptPath.h"

#include <fnmatch.h>
#include <stdlib.h>
#include <string.h>

namespace {

// Takes the last part off a path of `length` bytes, which has no slash at its end.
size_t WithoutLastPart(const char* path, size_t length)
{
    while (length > 0 && path[length - 1] != '/')
        --length;
    return length > 0 ? length - 1 : 0;
}

bool IsDots(const char* part, size_t length, size_t dots)
{
    return length == dots && strncmp(part, "..", dots) == 0;
}

// A new text (malloc) without slashes at either end, or null.
char* Collapsed(const char* path)
{
    char* result = static_cast<char*>(malloc(strlen(path) + 1));
    if (!result)
        return nullptr;
    size_t length = 0;
    while (*path) {
        size_t part = strcspn(path, "/");
        if (IsDots(path, part, 2)) {
            length = WithoutLastPart(result, length);
        } else if (part > 0 && !IsDots(path, part, 1)) {
            if (length > 0)
                result[length++] = '/';
            memcpy(result + length, path, part);
            length += part;
        }
        path += part;
        path += strspn(path, "/");
    }
    result[length] = 0;
    return result;
}

// What stands below `root` if the path leads there, else the whole path.
const char* BelowRoot(const char* path, const char* root)
{
    char* collapsed_root = Collapsed(root);
    if (!collapsed_root)
        return nullptr;
    size_t length = strlen(collapsed_root);
    bool below = length > 0 && strncmp(path, collapsed_root, length) == 0 && path[length] == '/';
    free(collapsed_root);
    return below ? path + length + 1 : path;
}

}  // namespace

ScriptPath::ScriptPath(const char* script, const char* root)
    : m_text(Collapsed(script)), m_path(m_text)
{
    if (m_path && root && *script == '/')
        m_path = BelowRoot(m_path, root);
}

ScriptPath::~ScriptPath()
{
    free(m_text);
}

bool ScriptPath::Matches(const char* pattern) const
{
    const int kNoFlags = 0;
    return fnmatch(pattern + strspn(pattern, "/"), m_path, kNoFlags) == 0;
}
