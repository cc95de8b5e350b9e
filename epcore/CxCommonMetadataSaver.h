/**
 * @file
 * The common image metadata as XML.
 */
#pragma once

#include <ep/IxMetadataSaver.h>

namespace ep {

/**
 * Writes CxCommonImageMetadata: one element per member, see CommonMetadataFields.h.
 */
class CxCommonMetadataSaver : public IxMetadataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Common Image Metadata Saver")
public:
    Q_INVOKABLE CxCommonMetadataSaver();

    bool save(QDomDocument& doc, QDomElement& element, IxMetadataItem* item) override;
    QStringList supportedClasses() const override;
};

}  // namespace ep
