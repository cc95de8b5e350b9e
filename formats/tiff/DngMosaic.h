/**
 * @file
 * A mosaic on its way into a DNG file.
 */
#pragma once

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/SxFileError.h>

#include <QByteArray>

#include <memory>

namespace ep {
namespace tiff {

/** What the tags of a DNG file say about a mosaic, settled before anything is written. A plain value. */
struct DngMosaic {
    const SxImageBuf* image = nullptr;              ///< the samples; not owned
    std::unique_ptr<CxCommonImageMetadata> common;  ///< the common item; one that knows nothing when there is none
    qint32 cellWidth = 0;                           ///< columns of the colour-filter cell
    qint32 cellHeight = 0;                          ///< rows of that cell
    QString colors;                                 ///< its colours row by row, of R, G and B
    QVector<double> blackLevels;                    ///< one level, or one per cell position; empty: not known
    double whiteLevel = 0;                          ///< level of saturation, known or not
    qint32 bitDepth = 0;                            ///< true depth of the samples
    bool isDeflated = false;                        ///< deflated; else plain
    QByteArray packet;                              ///< the metadata whole, as XMP
};

/** Settles how @p data goes into a DNG file; false, with the reason in @p error, when it does not. */
bool describeDngMosaic(const CxImageData& data, DngMosaic& mosaic, SxFileError& error);

}  // namespace tiff
}  // namespace ep
