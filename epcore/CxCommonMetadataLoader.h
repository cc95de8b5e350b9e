/**
 * @file
 * The common image metadata from XML.
 */
#pragma once

#include <ep/IxMetadataLoader.h>

namespace ep {

/**
 * Reads CxCommonImageMetadata. A missing element is no error and a value that cannot be read leaves its member alone,
 * so that members can be added and files of either age read.
 */
class CxCommonMetadataLoader : public IxMetadataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Common Image Metadata Loader")
public:
    Q_INVOKABLE CxCommonMetadataLoader();

    bool load(const QDomElement& element, IxMetadataItem* item) override;
    QStringList supportedClasses() const override;
};

}  // namespace ep
