/**
 * @file
 * Exchange of rows and columns of a small square of samples, in the registers of the processor.
 */
#pragma once

#include "RiffleSamples.h"

#include <ep/internal/SampleVisitor.h>

#include <cstddef>
#include <cstring>

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

/**
 * Bytes that are moved for one sample. A pixel of 3, 6 or 12 bytes takes along what follows it, for a whole word moves
 * in one instruction; the next pixel of the row is written after it and puts that right.
 */
template <typename T>
constexpr std::size_t movedBytes = sizeof(T) == 3 || sizeof(T) == 6 || sizeof(T) == 12 ? sizeof(T) / 3 * 4 : sizeof(T);

/**
 * Transposes a square of squareEdge<T> rows, each of them one register: riffled as often as it takes to bring the
 * second sample of the first row to the place of the first sample of the second.
 * Other pixels go one by one. Up to 4 bytes behind the last sample of a row are read and written with it (movedBytes).
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
        riffle<T, rifflesFor(edge)>(rows);
        for (std::ptrdiff_t i = 0; i < edge; ++i)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i * toRow), rows[i]);
        return;
    }
#endif
    constexpr auto step = static_cast<std::ptrdiff_t>(sizeof(T));
    for (std::ptrdiff_t x = 0; x < edge; ++x)
        for (std::ptrdiff_t y = 0; y < edge; ++y)
            std::memcpy(to + x * toRow + y * step, from + y * fromRow + x * step, movedBytes<T>);
}

}  // namespace internal
}  // namespace ep
