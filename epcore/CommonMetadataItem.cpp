#include "CommonMetadataItem.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>

namespace ep {

CxCommonImageMetadata& commonItem(CxMetadata& metadata, const SxImageInfo& image)
{
    if (IxMetadataItem* found = metadata.findItem(CxCommonImageMetadata::staticMetaObject))
        return *static_cast<CxCommonImageMetadata*>(found);
    auto* item = new CxCommonImageMetadata;
    metadata.addMetadata(item);
    item->bayerGrid = image.bayerGrid;
    item->layout = image.layout;
    item->patternWidth = image.patternWidth;
    item->patternHeight = image.patternHeight;
    return *item;
}

}  // namespace ep
