#include "MatMetadata.h"

#include "MatNames.h"

#include <algorithm>

namespace orn {
namespace matlab {

MatEntry* findMetadata(MatDirectory& directory)
{
    MatEntry* const entry = directory.find(metadataName());
    const bool isText = entry && entry->matClass == MAT_C_CHAR && entry->isMatrix() && entry->elements() > 0;
    return isText ? entry : nullptr;
}

bool readMetadata(MatDirectory& directory, MatEntry& entry, qint64 limit, ep::CxMetadata& metadata)
{
    // The limit is meant for images. Without its metadata one would come with its rows reversed and its mosaic split.
    constexpr qint64 alwaysGranted = 16 * 1024 * 1024;
    QString xml;
    return directory.readText(entry, std::max(limit, alwaysGranted), xml) && metadata.loadFromXml(xml);
}

}  // namespace matlab
}  // namespace orn
