#include <orn/matlab/CxMatlabMetadataSaver.h>

#include "MatlabMetadataTags.h"

#include <orn/matlab/CxMatlabImageMetadata.h>

#include <QDomDocument>

namespace orn {
namespace matlab {

namespace {

template <typename Value>
void appendElement(QDomDocument& doc, QDomElement& parent, const QString& tag, const Value& value)
{
    QDomElement element = doc.createElement(tag);
    element.appendChild(doc.createTextNode(QStringLiteral("%1").arg(value)));
    parent.appendChild(element);
}

}  // namespace

CxMatlabMetadataSaver::CxMatlabMetadataSaver() = default;

CxMatlabMetadataSaver::~CxMatlabMetadataSaver() = default;

bool CxMatlabMetadataSaver::save(QDomDocument& doc, QDomElement& element, ep::IxMetadataItem* item)
{
    const auto* metadata = qobject_cast<const CxMatlabImageMetadata*>(item);
    if (!metadata)
        return false;

    appendElement(doc, element, tags::reverseRows(),
                  metadata->reverseRows ? QStringLiteral("true") : QStringLiteral("false"));
    appendElement(doc, element, tags::origChannels(), metadata->origChannels);
    appendElement(doc, element, tags::savedChannels(), metadata->savedChannels);
    return true;
}

QStringList CxMatlabMetadataSaver::supportedClasses() const
{
    return {QString::fromLatin1(CxMatlabImageMetadata::staticMetaObject.className())};
}

}  // namespace matlab
}  // namespace orn
