#include "CxOpaqueMetadataItem.h"

namespace ep {

CxOpaqueMetadataItem::CxOpaqueMetadataItem(const QString& xml) : m_xml(xml) {}

IxMetadataItem* CxOpaqueMetadataItem::clone() const
{
    return new CxOpaqueMetadataItem(m_xml);
}

}  // namespace ep
