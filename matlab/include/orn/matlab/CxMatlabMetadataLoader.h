/**
 * @file
 * CxMatlabImageMetadata from XML.
 */
#pragma once

#include <orn/Export.h>

#include <ep/IxMetadataLoader.h>

namespace orn {
namespace matlab {

/** Reads what CxMatlabMetadataSaver writes. Stateless. */
class ORN_EXPORT CxMatlabMetadataLoader : public ep::IxMetadataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Matlab Image Metadata Loader")
public:
    Q_INVOKABLE CxMatlabMetadataLoader();
    ~CxMatlabMetadataLoader() override;

    /**
     * Sets the members whose elements are found anywhere below @p element; the first in document order counts. Says
     * each missing element in the critical log and then returns false. False for a null item.
     */
    bool load(const QDomElement& element, ep::IxMetadataItem* item) override;
    QStringList supportedClasses() const override;
};

}  // namespace matlab
}  // namespace orn
