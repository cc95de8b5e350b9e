#include "FailingAllocation.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <iterator>

#include <dlfcn.h>

namespace {

thread_local bool isWatching = false;
thread_local bool areAllWatched = false;
thread_local int requestCount = 0;
thread_local int failingRequest = 0;
std::atomic<qint64> blockCount{0};

/** The storage of images that is in use. */
class ImageBlocks {
public:
    void add(void* block)
    {
        for (std::atomic<void*>& place : m_places)
            if (void* free = nullptr; place.compare_exchange_strong(free, block))
                return;
    }
    void remove(void* block)
    {
        for (std::atomic<void*>& place : m_places)
            if (void* found = block; place.load(std::memory_order_relaxed) == block)
                place.compare_exchange_strong(found, nullptr);
    }
    qint64 count() const
    {
        return std::count_if(std::begin(m_places), std::end(m_places),
                             [](const std::atomic<void*>& place) { return place.load() != nullptr; });
    }

private:
    std::atomic<void*> m_places[64] = {};
};

ImageBlocks imageBlocks;

/** Counts a request; true when it is the one that fails. */
bool isRefused(bool isImage)
{
    return isWatching && (isImage || areAllWatched) && ++requestCount == failingRequest;
}

}  // namespace

// These take the place of the C library's own for every library in the process.
#define ORN_ALLOCATOR extern "C" __attribute__((visibility("default")))

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

ORN_ALLOCATOR int posix_memalign(void** storage, size_t alignment, size_t bytes)
{
    static const auto next = reinterpret_cast<decltype(&posix_memalign)>(dlsym(RTLD_NEXT, "posix_memalign"));
    return isRefused(true) ? ENOMEM : next(storage, alignment, bytes);
}

#else

extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);
extern "C" void* __libc_memalign(size_t, size_t);
extern "C" void __libc_free(void*);

namespace {

void* counted(void* block)
{
    blockCount += block != nullptr;
    return block;
}

void* refused()
{
    errno = ENOMEM;
    return nullptr;
}

}  // namespace

ORN_ALLOCATOR void* malloc(size_t bytes)
{
    return isRefused(false) ? refused() : counted(__libc_malloc(bytes));
}

ORN_ALLOCATOR void* calloc(size_t number, size_t bytes)
{
    return isRefused(false) ? refused() : counted(__libc_calloc(number, bytes));
}

ORN_ALLOCATOR void* realloc(void* before, size_t bytes)
{
    if (isRefused(false))
        return refused();
    void* const block = __libc_realloc(before, bytes);
    blockCount += (block != nullptr) - (before != nullptr && (block || bytes == 0));
    return block;
}

ORN_ALLOCATOR int posix_memalign(void** storage, size_t alignment, size_t bytes)
{
    *storage = isRefused(true) ? nullptr : counted(__libc_memalign(alignment, bytes));
    if (isWatching && *storage)
        imageBlocks.add(*storage);
    return *storage ? 0 : ENOMEM;
}

ORN_ALLOCATOR void* memalign(size_t alignment, size_t bytes)
{
    return isRefused(false) ? refused() : counted(__libc_memalign(alignment, bytes));
}

ORN_ALLOCATOR void* aligned_alloc(size_t alignment, size_t bytes)
{
    return isRefused(false) ? refused() : counted(__libc_memalign(alignment, bytes));
}

ORN_ALLOCATOR void free(void* block)
{
    blockCount -= block != nullptr;
    if (block)
        imageBlocks.remove(block);
    __libc_free(block);
}

#endif

namespace testing {

FailingAllocation::FailingAllocation(Requests requests, int failing)
{
    requestCount = 0;
    failingRequest = failing;
    areAllWatched = requests == Requests::Everything;
    isWatching = true;
}

FailingAllocation::~FailingAllocation()
{
    isWatching = false;
}

int FailingAllocation::count() const
{
    return requestCount;
}

qint64 liveBlocks(Requests requests)
{
    return requests == Requests::Images ? imageBlocks.count() : qint64(blockCount);
}

}  // namespace testing
