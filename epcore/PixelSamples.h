/**
 * @file
 * A row of pixels of several samples, taken apart into one row for each of them, and put together again.
 *
 * @verbatim
 *                 separateSamples          r0 r1 r2 r3 ...
 *   r0 g0 b0 r1 g1 b1 r2 g2 b2 ...  <-->   g0 g1 g2 g3 ...
 *                 interleaveSamples        b0 b1 b2 b3 ...
 * @endverbatim
 * Both work on a deck of registers (RiffleSamples.h). In the order of the pixels, sample k of pixel p has place
 * p * samples + k of the N places of the deck; in the order of the rows it has place k * N / samples + p. Multiplying
 * by N / samples, or by samples, modulo N - 1, makes the one from the other.
 */
#pragma once

#include "RiffleSamples.h"

#include <ep/internal/SampleVisitor.h>

#include <cstddef>

namespace ep {
namespace internal {

#if defined(__SSE2__)

inline __m128i loadRegister(const unsigned char* from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

inline void storeRegister(unsigned char* to, __m128i value)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

/** Bits of every second sample of @p bytes bytes, the first one among them. */
template <std::size_t bytes>
inline __m128i everySecond()
{
    if constexpr (bytes == 1)
        return _mm_set1_epi16(0x00ff);
    else if constexpr (bytes == 2)
        return _mm_set1_epi32(0x0000ffff);
    else if constexpr (bytes == 4)
        return _mm_set1_epi64x(0xffffffff);
    else
        return _mm_set_epi64x(0, -1);
}

/** Moves every second sample, from the first one on, to the place after it; the places before them get zero. */
template <std::size_t bytes>
inline __m128i toNextPlace(__m128i samples)
{
    if constexpr (bytes == 1)
        return _mm_slli_epi16(samples, 8);
    else if constexpr (bytes == 2)
        return _mm_slli_epi32(samples, 16);
    else if constexpr (bytes == 4)
        return _mm_slli_epi64(samples, 32);
    else
        return _mm_slli_si128(samples, 8);
}

/** The way back of toNextPlace(), for the other samples. */
template <std::size_t bytes>
inline __m128i toPlaceBefore(__m128i samples)
{
    if constexpr (bytes == 1)
        return _mm_srli_epi16(samples, 8);
    else if constexpr (bytes == 2)
        return _mm_srli_epi32(samples, 16);
    else if constexpr (bytes == 4)
        return _mm_srli_epi64(samples, 32);
    else
        return _mm_srli_si128(samples, 8);
}

/**
 * Makes pixels of three samples from three registers, one for each sample. Two pixels are also one of three samples
 * of twice the size, and so on, until a sample fills a register:
 *
 * @verbatim
 *   r0 r1 r2 r3        (r0 g0) (r2 g2)        (r0 g0 b0 r1)
 *   g0 g1 g2 g3   ->   (b0 r1) (b2 r3)   ->   (g1 b1 r2 g2)
 *   b0 b1 b2 b3        (g1 b1) (g3 b3)        (b2 r3 g3 b3)
 * @endverbatim
 */
template <std::size_t bytes>
inline void interleaveThree(__m128i (&deck)[3])
{
    if constexpr (bytes < sizeof(__m128i)) {
        const __m128i second = everySecond<bytes>();
        const __m128i red = deck[0];
        const __m128i green = deck[1];
        const __m128i blue = deck[2];
        deck[0] = _mm_or_si128(_mm_and_si128(second, red), toNextPlace<bytes>(green));
        deck[1] = _mm_or_si128(_mm_and_si128(second, blue), _mm_andnot_si128(second, red));
        deck[2] = _mm_or_si128(toPlaceBefore<bytes>(green), _mm_andnot_si128(second, blue));
        interleaveThree<2 * bytes>(deck);
    }
}

#endif

/** Takes @p pixels pixels apart: sample k of each goes to the row at @p to + k * @p toRow. */
template <typename T, std::ptrdiff_t samples>
inline void separateSamples(const unsigned char* from, unsigned char* to, std::ptrdiff_t toRow, std::ptrdiff_t pixels)
{
    constexpr auto bytes = static_cast<std::ptrdiff_t>(sizeof(T));
    std::ptrdiff_t x = 0;
#if defined(__SSE2__)
    if constexpr (bytes < 16) {
        constexpr std::ptrdiff_t registers = samples % 2 == 0 ? samples : 2 * samples;
        constexpr std::ptrdiff_t rowBytes = registers * 16 / samples;
        constexpr std::ptrdiff_t block = rowBytes / bytes;
        for (; x + block <= pixels; x += block) {
            __m128i deck[registers];
            for (std::ptrdiff_t i = 0; i < registers; ++i)
                deck[i] = loadRegister(from + x * samples * bytes + i * 16);
            riffle<T, rifflesFor(block)>(deck);
            for (std::ptrdiff_t i = 0; i < registers; ++i)
                storeRegister(to + i * 16 / rowBytes * toRow + x * bytes + i * 16 % rowBytes, deck[i]);
        }
    }
#endif
    for (; x < pixels; ++x)
        for (std::ptrdiff_t k = 0; k < samples; ++k)
            storeSample(to + k * toRow + x * bytes, loadSample<T>(from + (x * samples + k) * bytes));
}

/** Puts @p pixels pixels together at @p to, of samples from the rows @p from. */
template <typename T, std::ptrdiff_t samples>
inline void interleaveSamples(const unsigned char* const (&from)[samples], unsigned char* to, std::ptrdiff_t pixels)
{
    constexpr auto bytes = static_cast<std::ptrdiff_t>(sizeof(T));
    std::ptrdiff_t x = 0;
#if defined(__SSE2__)
    if constexpr (bytes < 16) {
        constexpr std::ptrdiff_t block = 16 / bytes;
        for (; x + block <= pixels; x += block) {
            __m128i deck[samples];
            for (std::ptrdiff_t k = 0; k < samples; ++k)
                deck[k] = loadRegister(from[k] + x * bytes);
            if constexpr (samples == 3)
                interleaveThree<bytes>(deck);
            else
                riffle<T, rifflesFor(samples)>(deck);
            for (std::ptrdiff_t k = 0; k < samples; ++k)
                storeRegister(to + x * samples * bytes + k * 16, deck[k]);
        }
    }
#endif
    for (; x < pixels; ++x)
        for (std::ptrdiff_t k = 0; k < samples; ++k)
            storeSample(to + (x * samples + k) * bytes, loadSample<T>(from[k] + x * bytes));
}

}  // namespace internal
}  // namespace ep
