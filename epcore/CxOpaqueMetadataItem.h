/**
 * @file
 * Metadata of a class that nobody serves.
 */
#pragma once

#include <ep/IxMetadataItem.h>

#include <QString>

namespace ep {

/** An item kept as the XML that it came in, so that metadata passes through programs that do not know it. */
class CxOpaqueMetadataItem : public IxMetadataItem {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Unknown Metadata")
public:
    /** @param xml the whole element; empty when it cannot be written again */
    explicit CxOpaqueMetadataItem(const QString& xml);

    IxMetadataItem* clone() const override;
    const QString& xml() const { return m_xml; }

private:
    QString m_xml;
};

}  // namespace ep
