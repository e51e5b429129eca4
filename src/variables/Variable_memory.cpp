#include <stdlib.h>

#include "variables/Variable.h"
#include "variables/allocation.h"

// Memory of variables: taken from the system in chunks, kept in a list when a variable ends
// and never given back. A program under a memory checker takes each variable from the
// system, so that the checker sees its end.
#if defined(__SANITIZE_ADDRESS__)

void* Variable::operator new(size_t size)
{
    return ::operator new(size);
}

void Variable::operator delete(void* memory, size_t)
{
    ::operator delete(memory);
}

#else

namespace {

// The first chunk is small: most pages have few variables.
const size_t kFirstChunk = 32;
const size_t kChunk = 512;

struct FreeVariable {
    FreeVariable* next;
};

struct Memory {
    FreeVariable* ended;  // first of those that can be used again
    char* fresh;          // rest of the last chunk
    size_t left;          // variables in it
    bool has_chunk;
};

thread_local Memory t_memory;

void* Fresh(size_t size)
{
    if (t_memory.left == 0) {
        t_memory.left = t_memory.has_chunk ? kChunk : kFirstChunk;
        t_memory.fresh = static_cast<char*>(GrownMemory(nullptr, t_memory.left, size));
        t_memory.has_chunk = true;
    }
    void* memory = t_memory.fresh;
    t_memory.fresh += size;
    --t_memory.left;
    return memory;
}

}  // namespace

void* Variable::operator new(size_t size)
{
    if (size != sizeof(Variable))
        return ::operator new(size);
    FreeVariable* free_variable = t_memory.ended;
    if (!free_variable)
        return Fresh(size);
    t_memory.ended = free_variable->next;
    return free_variable;
}

void Variable::operator delete(void* memory, size_t size)
{
    if (size != sizeof(Variable)) {
        ::operator delete(memory);
        return;
    }
    FreeVariable* free_variable = static_cast<FreeVariable*>(memory);
    free_variable->next = t_memory.ended;
    t_memory.ended = free_variable;
}

#endif
