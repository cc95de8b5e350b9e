/**
 * @file
 * Exchange of rows and columns of a small square of samples, in the registers of the processor.
 */
#pragma once

#include <ep/internal/SampleVisitor.h>

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ep {
namespace internal {

/** A pixel of several samples, moved as one. */
template <std::size_t count>
struct PixelBytes {
    unsigned char bytes[count];
};

/** Samples on the edge of a square: as many as a register of 16 bytes holds, or some that are moved one by one. */
template <typename T>
constexpr std::ptrdiff_t squareEdge = 16 % sizeof(T) == 0 ? 16 / sizeof(T) : 8;

#if defined(__SSE2__)

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

#endif

/**
 * Transposes a square of squareEdge<T> rows, each of them one register. Interleaving every row with the one half a
 * square below it, log2(edge) times, brings each sample to its place; for an edge of 4:
 *
 * @verbatim
 *   a0 a1 a2 a3        a0 c0 a1 c1        a0 b0 c0 d0
 *   b0 b1 b2 b3   ->   a2 c2 a3 c3   ->   a1 b1 c1 d1
 *   c0 c1 c2 c3        b0 d0 b1 d1        a2 b2 c2 d2
 *   d0 d1 d2 d3        b2 d2 b3 d3        a3 b3 c3 d3
 * @endverbatim
 */
template <typename T>
inline void transposeSquare(const unsigned char* from, std::ptrdiff_t fromRow, unsigned char* to, std::ptrdiff_t toRow)
{
    constexpr std::ptrdiff_t edge = squareEdge<T>;
#if defined(__SSE2__)
    if constexpr (16 % sizeof(T) == 0) {
        __m128i rows[edge];
        for (std::ptrdiff_t i = 0; i < edge; ++i)
            rows[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i * fromRow));
        for (std::ptrdiff_t stage = 1; stage < edge; stage *= 2) {
            __m128i mixed[edge];
            for (std::ptrdiff_t i = 0; i < edge / 2; ++i) {
                mixed[2 * i] = interleaveLow<T>(rows[i], rows[i + edge / 2]);
                mixed[2 * i + 1] = interleaveHigh<T>(rows[i], rows[i + edge / 2]);
            }
            for (std::ptrdiff_t i = 0; i < edge; ++i)
                rows[i] = mixed[i];
        }
        for (std::ptrdiff_t i = 0; i < edge; ++i)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i * toRow), rows[i]);
        return;
    }
#endif
    constexpr auto step = static_cast<std::ptrdiff_t>(sizeof(T));
    for (std::ptrdiff_t y = 0; y < edge; ++y)
        for (std::ptrdiff_t x = 0; x < edge; ++x)
            storeSample(to + x * toRow + y * step, loadSample<T>(from + y * fromRow + x * step));
}

}  // namespace internal
}  // namespace ep
