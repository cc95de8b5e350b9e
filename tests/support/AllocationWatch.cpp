#include "AllocationWatch.h"

#include <atomic>
#include <cerrno>

namespace {

std::atomic<size_t> totalBytes{0};
std::atomic<size_t> largestBytes{0};

void count(size_t bytes)
{
    totalBytes += bytes;
    size_t before = largestBytes;
    while (before < bytes && !largestBytes.compare_exchange_weak(before, bytes)) {
    }
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, size_t),
                                                         void (*)(const volatile void*));

namespace {

const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, size_t bytes) { count(bytes); }, [](const volatile void*) {});

}  // namespace

#else

// These take the place of the C library's own for every library in the process.
#define ORN_ALLOCATOR extern "C" __attribute__((visibility("default")))

extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);
extern "C" void* __libc_memalign(size_t, size_t);

ORN_ALLOCATOR void* malloc(size_t bytes)
{
    count(bytes);
    return __libc_malloc(bytes);
}

ORN_ALLOCATOR void* calloc(size_t number, size_t bytes)
{
    count(number * bytes);
    return __libc_calloc(number, bytes);
}

ORN_ALLOCATOR void* realloc(void* before, size_t bytes)
{
    count(bytes);
    return __libc_realloc(before, bytes);
}

ORN_ALLOCATOR int posix_memalign(void** storage, size_t alignment, size_t bytes)
{
    count(bytes);
    *storage = __libc_memalign(alignment, bytes);
    return *storage ? 0 : ENOMEM;
}

#endif

namespace testing {

AllocationWatch::AllocationWatch()
{
    totalBytes = 0;
    largestBytes = 0;
}

size_t AllocationWatch::total()
{
    return totalBytes;
}

size_t AllocationWatch::largest()
{
    return largestBytes;
}

}  // namespace testing
