/**
 * @file
 * What one page of a TIFF file holds.
 */
#pragma once

#include "TiffFile.h"

#include <ep/SxImageBuf.h>

namespace ep {
namespace tiff {

/** How the samples of a page stand in the file, and the image they become. A plain value. */
struct TiffPage {
    SxImageInfo image;      ///< the image record without storage; bitDepth is the depth of the samples in the file
    quint16 bits;           ///< bits of one sample in the file
    quint16 sampleFormat;   ///< SAMPLEFORMAT_UINT, SAMPLEFORMAT_INT or SAMPLEFORMAT_IEEEFP
    quint16 compression;    ///< TIFF's code of the compression
    quint16 photometric;    ///< TIFF's code of what the samples mean
    bool hasDeclaredDepth;  ///< the depth comes from a tag that other programs use for the largest sample of the image
    qint64 rowBytes;        ///< bytes of one decoded row: of all channels, or of one plane of a planar page
};

/**
 * Describes the current directory of @p file in @p page. False, with the reason in @p error, when the directory is
 * damaged or holds something that is not served.
 */
bool describePage(const TiffFile& file, TiffPage& page, SxFileError& error);

/**
 * True when the image of @p page takes at most @p memoryLimit bytes and a file of @p fileBytes bytes can hold it; else
 * false with the reason in @p error. Nothing large is allocated before this was asked.
 */
bool checkPageSize(const TiffPage& page, qint64 fileBytes, qint64 memoryLimit, SxFileError& error);

}  // namespace tiff
}  // namespace ep
