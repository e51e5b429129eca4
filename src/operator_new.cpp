// The program's own operator new.
//
// Nothing here throws, but the C++ library's operator could, and brings its exception
// machinery into the program: 70 KiB of memory set aside at every start, with the
// symbols and pages that go with it. A request pays for each of them. Exhausted
// memory ends the process, as it would by an exception that nobody catches.

#include <stdlib.h>
#include <unistd.h>

#include <new>

namespace {

void* Allocate(size_t size)
{
    if (void* memory = malloc(size ? size : 1))
        return memory;
    static const char message[] = "zeph: memory is exhausted\n";
    if (write(STDERR_FILENO, message, sizeof message - 1) < 0)
        _exit(1);
    abort();
}

}  // namespace

void* operator new(size_t size)
{
    return Allocate(size);
}

void* operator new[](size_t size)
{
    return Allocate(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return malloc(size ? size : 1);
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return malloc(size ? size : 1);
}

void operator delete(void* memory) noexcept
{
    free(memory);
}

void operator delete[](void* memory) noexcept
{
    free(memory);
}

void operator delete(void* memory, size_t) noexcept
{
    free(memory);
}

void operator delete[](void* memory, size_t) noexcept
{
    free(memory);
}
