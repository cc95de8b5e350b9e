#include "CommonMetadataItem.h"

#include <ep/internal/CommonItem.h>

namespace ep {

CxCommonImageMetadata& commonItem(CxMetadata& metadata, const SxImageInfo& image)
{
    const bool isNew = internal::findCommonItem(metadata) == nullptr;
    CxCommonImageMetadata& item = internal::commonItem(metadata);
    if (isNew)
        internal::tellArrangement(image, item);
    return item;
}

}  // namespace ep
