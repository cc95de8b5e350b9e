/**
 * @file
 * Rice-coded numbers of compressed FITS tiles.
 */
#pragma once

#include <QtGlobal>

#include <vector>

namespace ep {
namespace fits {

/**
 * True when @p bytes hold the code of @p samples numbers of @p sampleBytes bytes (4 for any other than 1 and 2), in
 * blocks of @p blockLength. cfitsio's decoder looks for the next set bit without regard to the end of its bytes, so it
 * may only be given code that ends within them.
 */
bool holdsRiceCode(const std::vector<unsigned char>& bytes, qint64 samples, qint64 blockLength, int sampleBytes);

}  // namespace fits
}  // namespace ep
