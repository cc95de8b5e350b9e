/**
 * @file
 * The image record.
 */
#pragma once

#include <ep/ExBayerGrid.h>
#include <ep/ExImageDataType.h>

#include <QtGlobal>

#include <type_traits>

namespace ep {

/** How the samples of an image lie in memory. Other values are rejected wherever it matters. */
enum ExImageLayout : qint32 {
    LayoutPacked = 0,  ///< the samples of one pixel stand side by side
    LayoutPlanar = 1   ///< one plane per channel, planes one after another
};

/** Order of the channels of an image (SxImageInfo::formatCode). Every code but 2 keeps them in order. */
enum ExFormatCode : qint32 {
    FormatCodeInOrder = 1,        ///< logical channel c is stored at position c
    FormatCodeReversedColors = 2  ///< the first three channels are stored in reverse (blue first)
};

/**
 * Description of an image. A plain record: copied as a whole, compared field by field.
 *
 * Address of the sample at column x, row y, channel c, with b = sampleFacts(dataType).bytes:
 * @verbatim
 *   packed:  data + y * stride + (x * channels + c) * b
 *
 *            |<--------------- stride ---------------->|
 *      row 0 |R G B|R G B|R G B|R G B| ...  | padding  |
 *      row 1 |R G B|R G B| ...
 *
 *   planar:  data + c * stride * height + y * stride + x * b
 *
 *            |<------ stride ------>|
 *      row 0 |R R R R ... | padding |   } plane 0, height rows
 *      row 1 |R R R R ... | padding |   }
 *      row 0 |G G G G ... | padding |   } plane 1 follows at once
 * @endverbatim
 */
struct SxImageInfo {
    qint32 width;              ///< pixels per row
    qint32 height;             ///< rows
    qint32 stride;             ///< bytes from one row to the next; 0 lets AllocBuffer() choose tight rows
    qint32 channels;           ///< samples per pixel
    qint32 bitDepth;           ///< significant bits per sample; 2^bitDepth levels
    ExImageDataType dataType;  ///< sample type
    ExImageLayout layout;      ///< packed or planar
    qint32 formatCode;         ///< order of the channels, see ExFormatCode
    ExBayerGrid bayerGrid;     ///< colour-filter arrangement of a mosaic
    qint32 reserved;           ///< not used; zero in every description that is built here
    qint32 patternWidth;       ///< columns of the colour-filter cell of a mosaic, else 0
    qint32 patternHeight;      ///< rows of that cell, else 0
};

/**
 * An image: a description and its samples. Starts empty and zeroed by `SxImageBuf image{};`.
 *
 * The record does not own anything by itself and has no destructor. Storage is made by AllocBuffer()
 * or AllocAndCopyBuffer() and released by FreeBuffer(); CxScopedBuffer does so by scope. A record whose
 * bookkeeping words are all zero points to the caller's own memory, which FreeBuffer() never frees.
 */
struct SxImageBuf : SxImageInfo {
    void* data;              ///< first byte of the samples; null means that there is no image
    quint64 bookkeeping[5];  ///< owned by AllocBuffer() and FreeBuffer(); zero in a fresh record
};

static_assert(std::is_trivially_copyable<SxImageBuf>::value, "the record is copied byte for byte");

/** An empty record with the start values that loaders use: in-order channels and no colour-filter grid. */
inline SxImageBuf emptyImage()
{
    SxImageBuf image{};
    image.formatCode = FormatCodeInOrder;
    image.bayerGrid = BayerGridNone;
    return image;
}

}  // namespace ep
