#include "package/AllocationProbe.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<std::size_t> largestAllocation = 0;

void note(std::size_t size)
{
    if (size > largestAllocation.load(std::memory_order_relaxed))
        largestAllocation.store(size, std::memory_order_relaxed);
}

} // namespace

AllocationProbe::AllocationProbe()
{
    largestAllocation = 0;
}

std::size_t AllocationProbe::largest() const
{
    return largestAllocation;
}

#ifdef __SANITIZE_ADDRESS__

// The sanitizer owns the heap and has hooks of its own.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*,
                                                                           std::size_t),
                                                         void (*freed)(const volatile void*));

namespace {

[[maybe_unused]] const int hooksInstalled = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t size) { note(size); }, [](const volatile void*) {});

} // namespace

#else

#ifdef _WIN32
// Everything is linked statically, and the linker's --wrap sends all calls here.
#define HEAP(function) __real_##function
#define PROBE(function) __wrap_##function
#else
// glibc's own names for its heap; what the program defines here is what all libraries call.
#define HEAP(function) __libc_##function
#define PROBE(function) function
#endif

extern "C" {
void* HEAP(malloc)(std::size_t size);
void* HEAP(calloc)(std::size_t count, std::size_t size);
void* HEAP(realloc)(void* memory, std::size_t size);

void* PROBE(malloc)(std::size_t size)
{
    note(size);
    return HEAP(malloc)(size);
}

void* PROBE(calloc)(std::size_t count, std::size_t size)
{
    note(count * size);
    return HEAP(calloc)(count, size);
}

void* PROBE(realloc)(void* memory, std::size_t size)
{
    note(size);
    return HEAP(realloc)(memory, size);
}
}

#endif
