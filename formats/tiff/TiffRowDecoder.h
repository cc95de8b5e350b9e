/**
 * @file
 * From samples as TIFF stores them to samples of the image record.
 */
#pragma once

#include "TiffPage.h"

namespace ep {
namespace tiff {

/**
 * Turns decompressed rows into rows of the image. Samples of 8, 16, 32 and 64 bits stand as they are; other integers
 * are packed bit to bit, the most significant first, except 24-bit ones, which are three bytes in this machine's order;
 * half and 24-bit floats become floats of the same value. Thread-safe.
 */
class TiffRowDecoder {
public:
    explicit TiffRowDecoder(const TiffPage& page);

    /** True when the rows need no work, so that they can be decompressed right into the image. */
    bool isPlain() const { return m_convert == nullptr; }
    /** Writes the first @p samples samples of @p row to @p image. */
    void decode(const unsigned char* row, unsigned char* image, qint64 samples) const;

private:
    using Convert = void (*)(const unsigned char* row, unsigned char* image, qint64 samples, int bits);

    Convert m_convert = nullptr;
    int m_bits;
    int m_imageBytes;  // of one sample
};

}  // namespace tiff
}  // namespace ep
