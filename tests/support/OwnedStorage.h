/**
 * @file
 * Storage whose release is seen.
 */
#pragma once

#include "TestImages.h"

#include <cstdlib>

namespace testing {

/** How many storages of ownedImage() there are. */
inline int& ownedStorages()
{
    static int count = 0;
    return count;
}

/** A small image with storage that counts itself in ownedStorages(). */
inline ep::SxImageBuf ownedImage()
{
    ep::SxImageBuf image = ep::emptyImage();
    const auto allocate = [](size_t bytes) {
        ++ownedStorages();
        return std::malloc(bytes);
    };
    const auto release = [](void* storage) {
        --ownedStorages();
        std::free(storage);
    };
    if (ep::failed(ep::AllocBuffer(describe(ep::DataTypeUInt8, 3, 2), image, true, allocate, release, nullptr)))
        qFatal("no memory for a test image");
    return image;
}

}  // namespace testing
