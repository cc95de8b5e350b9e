#include <orn/matlab/CxMatlabMetadataLoader.h>

#include "CriticalLog.h"
#include "MatlabMetadataTags.h"

#include <orn/matlab/CxMatlabImageMetadata.h>

#include <QDomElement>

namespace orn {
namespace matlab {

namespace {

/**
 * Calls @p assign with the text of the first element @p tag below @p element. An element without content states
 * nothing: it counts as found, and nothing is assigned.
 */
template <typename Assign>
bool readElement(const QDomElement& element, const QString& tag, Assign assign)
{
    const QDomNodeList found = element.elementsByTagName(tag);
    if (found.isEmpty()) {
        logCritical(QStringLiteral("Missing '%1' tag.").arg(tag));
        return false;
    }
    const QDomNode content = found.at(0).toElement().firstChild();
    if (!content.isNull())
        assign(content.toText().nodeValue());
    return true;
}

}  // namespace

CxMatlabMetadataLoader::CxMatlabMetadataLoader() = default;

CxMatlabMetadataLoader::~CxMatlabMetadataLoader() = default;

bool CxMatlabMetadataLoader::load(const QDomElement& element, ep::IxMetadataItem* item)
{
    auto* metadata = qobject_cast<CxMatlabImageMetadata*>(item);
    if (!metadata)
        return false;

    // Each element is read, whatever became of the ones before it.
    const bool hasReverseRows = readElement(element, tags::reverseRows(), [metadata](const QString& text) {
        metadata->reverseRows = text.trimmed().toLower() == QLatin1String("true");
    });
    const bool hasOrigChannels = readElement(element, tags::origChannels(), [metadata](const QString& text) {
        metadata->origChannels = text.toInt(nullptr, 10);
    });
    const bool hasSavedChannels = readElement(element, tags::savedChannels(), [metadata](const QString& text) {
        metadata->savedChannels = text.toInt(nullptr, 10);
    });
    return hasReverseRows && hasOrigChannels && hasSavedChannels;
}

QStringList CxMatlabMetadataLoader::supportedClasses() const
{
    return {QString::fromLatin1(CxMatlabImageMetadata::staticMetaObject.className())};
}

}  // namespace matlab
}  // namespace orn
