/**
 * @file
 * What writing did to an image, and how reading undoes it.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

namespace orn {
namespace matlab {

/** What the metadata beside an image's planes tells of the image that was written. A plain value. */
struct MatRestoration {
    MatRestoration() = default;
    explicit MatRestoration(const ep::CxMetadata& metadata);

    bool reversesRows = false;  ///< the planes hold their bottom row first
    bool mergesPlanes = false;  ///< four planes were split from a mosaic
    qint32 grid = 0;            ///< of that mosaic, by its code; may be any number below 4
    qint32 colorBitDepth = 0;   ///< that the source declared

    /** True when @p planes is what remains to be made a mosaic. */
    bool isMosaic(const ep::SxImageInfo& planes) const;

    /** Undoes all of it in @p image, which holds the planes as the file does. */
    void apply(ep::SxImageBuf& image) const;
    /**
     * The rest of apply() for an image that was read upright: makes a mosaic of planes, and sets the depth.
     * @param bits the bits that are set in the samples; counts for unsigned 16-bit samples
     */
    void finish(ep::SxImageBuf& image, quint16 bits) const;

private:
    void mergeAndRaise(ep::SxImageBuf& image) const;
};

/** The record of the mosaic whose planes @p planes describes, without storage; false when it is too large for one. */
bool describeMosaic(const ep::SxImageInfo& planes, qint32 grid, ep::SxImageInfo& mosaic);

}  // namespace matlab
}  // namespace orn
