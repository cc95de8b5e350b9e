/**
 * @file
 * Samples in the registers of the processor, mixed like a deck of cards.
 */
#pragma once

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>

namespace ep {
namespace internal {

/** Takes the samples of the lower halves of @p a and @p b in turns: a0 b0 a1 b1 ... */
template <typename T>
inline __m128i interleaveLow(__m128i a, __m128i b)
{
    if constexpr (sizeof(T) == 1)
        return _mm_unpacklo_epi8(a, b);
    else if constexpr (sizeof(T) == 2)
        return _mm_unpacklo_epi16(a, b);
    else if constexpr (sizeof(T) == 4)
        return _mm_unpacklo_epi32(a, b);
    else
        return _mm_unpacklo_epi64(a, b);
}

/** As interleaveLow(), of the upper halves. */
template <typename T>
inline __m128i interleaveHigh(__m128i a, __m128i b)
{
    if constexpr (sizeof(T) == 1)
        return _mm_unpackhi_epi8(a, b);
    else if constexpr (sizeof(T) == 2)
        return _mm_unpackhi_epi16(a, b);
    else if constexpr (sizeof(T) == 4)
        return _mm_unpackhi_epi32(a, b);
    else
        return _mm_unpackhi_epi64(a, b);
}

/**
 * Riffles the samples of an even number of registers, as if they were one deck: its first half and its second half are
 * taken in turns, @p times times.
 *
 * @verbatim
 *   a0 a1 a2 a3        a0 c0 a1 c1        a0 b0 c0 d0
 *   b0 b1 b2 b3   ->   a2 c2 a3 c3   ->   a1 b1 c1 d1
 *   c0 c1 c2 c3        b0 d0 b1 d1        a2 b2 c2 d2
 *   d0 d1 d2 d3        b2 d2 b3 d3        a3 b3 c3 d3
 * @endverbatim
 * In a deck of N samples, 0 to N - 1, each riffle brings sample i to place 2i modulo N - 1.
 */
template <typename T, int times, std::size_t count>
inline void riffle(__m128i (&deck)[count])
{
    static_assert(count == 1 || count % 2 == 0, "two halves");
    if constexpr (times > 0) {
        __m128i mixed[count];
        for (std::size_t i = 0; i < count / 2; ++i) {
            mixed[2 * i] = interleaveLow<T>(deck[i], deck[i + count / 2]);
            mixed[2 * i + 1] = interleaveHigh<T>(deck[i], deck[i + count / 2]);
        }
        riffle<T, times - 1>(mixed);
        for (std::size_t i = 0; i < count; ++i)
            deck[i] = mixed[i];
    }
}

/** How many riffles multiply the places by @p factor, a power of two. */
constexpr int rifflesFor(std::size_t factor)
{
    return factor < 2 ? 0 : 1 + rifflesFor(factor / 2);
}

}  // namespace internal
}  // namespace ep
#endif
