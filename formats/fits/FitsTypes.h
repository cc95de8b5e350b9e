/**
 * @file
 * How samples stand in a FITS file.
 */
#pragma once

#include <ep/ExImageDataType.h>

namespace ep {
namespace fits {

/**
 * A sample type and its form in a file. FITS has unsigned bytes and signed integers; the other kinds are shifted by
 * half of their range.
 */
struct FitsType {
    ExImageDataType dataType;
    qint32 bitpix;     ///< FITS's code of the stored samples
    double zero;       ///< the shift
    const char* text;  ///< the shift as a header says it; null: none
    int code;          ///< cfitsio's code of the samples in memory
};

/** The form of samples of type @p dataType; null for complex and unknown ones. */
const FitsType* typeOfSamples(qint32 dataType);

/** The type whose form these values are, to the last bit; null when the samples have to be computed. */
const FitsType* typeOfFile(qint32 bitpix, double scale, double zero);

}  // namespace fits
}  // namespace ep
