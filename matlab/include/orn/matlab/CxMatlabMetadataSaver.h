/**
 * @file
 * CxMatlabImageMetadata to XML.
 */
#pragma once

#include <orn/Export.h>

#include <ep/IxMetadataSaver.h>

namespace orn {
namespace matlab {

/** Writes the elements "reverse_rows", "orig_channels" and "saved_channels" of a CxMatlabImageMetadata. Stateless. */
class ORN_EXPORT CxMatlabMetadataSaver : public ep::IxMetadataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "MATLAB Image Metadata Saver")
public:
    Q_INVOKABLE CxMatlabMetadataSaver();
    ~CxMatlabMetadataSaver() override;

    /** False, with nothing written, for a null item. */
    bool save(QDomDocument& doc, QDomElement& element, ep::IxMetadataItem* item) override;
    QStringList supportedClasses() const override;
};

}  // namespace matlab
}  // namespace orn
