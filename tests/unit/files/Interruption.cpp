#include "Interruption.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdarg.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace {

Interruption* alive = nullptr;
bool is_acting = false;

}  // namespace

Interruption::Interruption(Call call, std::string name, int turn, std::function<void()> action)
    : m_call(call),
      m_name(std::move(name)),
      m_turns_left(turn),
      m_action(std::move(action)),
      m_next(alive)
{
    alive = this;
}

Interruption::~Interruption()
{
    alive = m_next;
    EXPECT_LE(m_turns_left, 0) << "no such call on " << m_name;
}

void Interruption::Notice(Call call, const char* path)
{
    if (!alive || is_acting)
        return;
    const std::string whole = path;
    const std::string name = whole.substr(whole.rfind('/') + 1);
    is_acting = true;
    for (Interruption* each = alive; each; each = each->m_next)
        each->Count(call, name);
    is_acting = false;
}

void Interruption::Count(Call call, const std::string& name)
{
    if (call == m_call && name == m_name && --m_turns_left == 0)
        m_action();
}

// The linker sends every call of these functions here, and __real_ names to the C
// library.
extern "C" {

int __real_open(const char* path, int flags, mode_t mode);
int __real_lstat(const char* path, struct stat* status);
int __real_chdir(const char* path);

int __wrap_open(const char* path, int flags, ...);
int __wrap_lstat(const char* path, struct stat* status);
int __wrap_chdir(const char* path);

int __wrap_open(const char* path, int flags, ...)
{
    mode_t mode = 0;
    if (flags & O_CREAT) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    Interruption::Notice(Interruption::kOpen, path);
    return __real_open(path, flags, mode);
}

int __wrap_lstat(const char* path, struct stat* status)
{
    Interruption::Notice(Interruption::kLstat, path);
    return __real_lstat(path, status);
}

int __wrap_chdir(const char* path)
{
    Interruption::Notice(Interruption::kChdir, path);
    return __real_chdir(path);
}
}
