/**
 * @file
 * Images of one channel, which lie in memory the same way packed and planar.
 */
#pragma once

#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Calls @p image packed when it is planar with one channel; true when that changed it. Savers split a mosaic into its
 * colours only when it is packed, and loaders put it together again only when it was.
 */
inline bool relabelSinglePlane(SxImageInfo& image)
{
    if (image.layout != LayoutPlanar || image.channels != 1)
        return false;
    image.layout = LayoutPacked;
    return true;
}

}  // namespace ep
