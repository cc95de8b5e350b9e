/**
 * @file
 * Writing past the cache.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ep {
namespace internal {

/** Bytes that go to and from memory at once. */
constexpr std::size_t cacheLine = 64;

/**
 * Copies @p bytes bytes. Whole cache lines go to memory without being read from there first, which is what a plain
 * store to memory that is not in the cache does. For large images that are not read soon; end with finishStreaming().
 */
inline void streamBytes(unsigned char* to, const unsigned char* from, std::size_t bytes)
{
#if defined(__SSE2__)
    const std::size_t head =
        std::min(bytes, (cacheLine - reinterpret_cast<std::uintptr_t>(to) % cacheLine) % cacheLine);
    if (head > 0)
        std::memcpy(to, from, head);
    std::size_t done = head;
    for (; done + cacheLine <= bytes; done += cacheLine)
        for (std::size_t i = 0; i < cacheLine; i += sizeof(__m128i))
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + done + i),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done + i)));
    if (done < bytes)
        std::memcpy(to + done, from + done, bytes - done);
#else
    std::memcpy(to, from, bytes);
#endif
}

/** Makes streamed bytes visible to other threads before anything that is written later. */
inline void finishStreaming()
{
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

}  // namespace internal
}  // namespace ep
