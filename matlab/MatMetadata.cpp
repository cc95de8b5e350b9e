#include "MatMetadata.h"

#include "MatNames.h"

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
    QString xml;
    return directory.readText(entry, limit, xml) && metadata.loadFromXml(xml);
}

}  // namespace matlab
}  // namespace orn
