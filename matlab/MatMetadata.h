/**
 * @file
 * The metadata variable of a MAT file, and what it says about the image's layout.
 */
#pragma once

#include "MatDirectory.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>

#include <orn/matlab/CxMatlabImageMetadata.h>

namespace orn {
namespace matlab {

/** The metadata variable; null when there is none or it is no text of one row and more columns than none. */
MatEntry* findMetadata(MatDirectory& directory);

/** Loads @p entry into @p metadata; false when its text is no valid metadata, of which what could be read is kept. */
bool readMetadata(MatDirectory& directory, MatEntry& entry, qint64 limit, ep::CxMetadata& metadata);

/** The first item of class Item in @p metadata; null when there is none. */
template <typename Item>
const Item* findItem(const ep::CxMetadata& metadata)
{
    return static_cast<const Item*>(metadata.findItem(Item::staticMetaObject));
}

}  // namespace matlab
}  // namespace orn
