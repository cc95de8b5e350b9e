#include "FailingAllocation.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

namespace {

using testing::Requests;

constexpr int mostCallers = 60;

thread_local bool isWatching = false;
thread_local Requests watched = Requests::Images;
thread_local int requestCount = 0;
thread_local int failingRequest = 0;
thread_local std::array<void*, mostCallers> failingCallers;
thread_local int failingDepth = 0;
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

/** The file of the module that @p code belongs to; empty for the program. */
const char* moduleOf(void* code)
{
    dl_find_object found;
    return _dl_find_object(code, &found) == 0 ? found.dlfo_link_map->l_name : "";
}

/** True for what a library below this system, other than Qt's, asks for itself. */
bool isForeign(void* caller)
{
    static const char* const own[] = {"/libQt5", "/libepcore", "/liborn_core", "/epformat_", "/orn-charts"};
    const char* const module = moduleOf(caller);
    return *module != '\0' && std::none_of(std::begin(own), std::end(own), [module](const char* name) {
        return std::strstr(module, name) != nullptr;
    });
}

/** Counts a request of @p caller; true when it is the one that fails. */
bool isRefused(void* caller, bool isImage = false)
{
    if (!isWatching || (!isImage && (watched == Requests::Images || (watched == Requests::Ours && isForeign(caller)))))
        return false;
    if (++requestCount != failingRequest)
        return false;
    isWatching = false;
    failingDepth = backtrace(failingCallers.data(), mostCallers);
    isWatching = true;
    return true;
}

}  // namespace

// These take the place of the C library's own for every library in the process.
#define ORN_ALLOCATOR extern "C" __attribute__((visibility("default")))

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

ORN_ALLOCATOR int posix_memalign(void** storage, size_t alignment, size_t bytes)
{
    static const auto next = reinterpret_cast<decltype(&posix_memalign)>(dlsym(RTLD_NEXT, "posix_memalign"));
    return isRefused(nullptr, true) ? ENOMEM : next(storage, alignment, bytes);
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
    return isRefused(__builtin_return_address(0)) ? refused() : counted(__libc_malloc(bytes));
}

ORN_ALLOCATOR void* calloc(size_t number, size_t bytes)
{
    return isRefused(__builtin_return_address(0)) ? refused() : counted(__libc_calloc(number, bytes));
}

ORN_ALLOCATOR void* realloc(void* before, size_t bytes)
{
    if (isRefused(__builtin_return_address(0)))
        return refused();
    void* const block = __libc_realloc(before, bytes);
    blockCount += (block != nullptr) - (before != nullptr && (block || bytes == 0));
    return block;
}

ORN_ALLOCATOR int posix_memalign(void** storage, size_t alignment, size_t bytes)
{
    *storage = isRefused(nullptr, true) ? nullptr : counted(__libc_memalign(alignment, bytes));
    if (isWatching && *storage)
        imageBlocks.add(*storage);
    return *storage ? 0 : ENOMEM;
}

ORN_ALLOCATOR void* memalign(size_t alignment, size_t bytes)
{
    return isRefused(__builtin_return_address(0)) ? refused() : counted(__libc_memalign(alignment, bytes));
}

ORN_ALLOCATOR void* aligned_alloc(size_t alignment, size_t bytes)
{
    return isRefused(__builtin_return_address(0)) ? refused() : counted(__libc_memalign(alignment, bytes));
}

ORN_ALLOCATOR void free(void* block)
{
    blockCount -= block != nullptr;
    if (block)
        imageBlocks.remove(block);
    __libc_free(block);
}

// Not left to the C++ library, in whose name requests would come then.
void* operator new(size_t bytes)
{
    void* const block = isRefused(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(bytes));
    if (!block)
        throw std::bad_alloc();
    return block;
}

void* operator new[](size_t bytes)
{
    void* const block = isRefused(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(bytes));
    if (!block)
        throw std::bad_alloc();
    return block;
}

void* operator new(size_t bytes, const std::nothrow_t&) noexcept
{
    return isRefused(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(bytes));
}

void* operator new[](size_t bytes, const std::nothrow_t&) noexcept
{
    return isRefused(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(bytes));
}

void operator delete(void* block) noexcept
{
    free(block);
}

void operator delete[](void* block) noexcept
{
    free(block);
}

void operator delete(void* block, size_t) noexcept
{
    free(block);
}

void operator delete[](void* block, size_t) noexcept
{
    free(block);
}

#endif

namespace testing {

FailingAllocation::FailingAllocation(Requests requests, int failing)
{
    // The first time it loads a library, for which it asks for memory.
    failingDepth = backtrace(failingCallers.data(), 1);
    failingDepth = 0;
    requestCount = 0;
    failingRequest = failing;
    watched = requests;
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

QByteArray FailingAllocation::callers()
{
    QByteArray all;
    for (int i = 0; i < failingDepth; ++i) {
        Dl_info caller{};
        if (dladdr(failingCallers[size_t(i)], &caller) != 0)
            all += QByteArray(caller.dli_fname) + '(' + caller.dli_sname + ") ";
    }
    return all;
}

qint64 liveBlocks(Requests requests)
{
    return requests == Requests::Images ? imageBlocks.count() : qint64(blockCount);
}

}  // namespace testing
