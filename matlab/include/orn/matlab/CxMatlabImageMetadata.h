/**
 * @file
 * How an image was laid out when it was written into a MAT file.
 */
#pragma once

#include <orn/Export.h>

#include <ep/IxMetadataItem.h>

namespace orn {
namespace matlab {

/** Travels with an image that came from, or goes into, a MAT file, so that a reader can undo the layout. */
class ORN_EXPORT CxMatlabImageMetadata : public ep::IxMetadataItem {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Matlab Image Metadata")
public:
    Q_INVOKABLE CxMatlabImageMetadata();
    ~CxMatlabImageMetadata() override;

    bool reverseRows = false;  ///< the rows were stored bottom to top
    qint32 origChannels = 0;   ///< channels of the image before it was written
    qint32 savedChannels = 0;  ///< channel variables in the file

    ep::IxMetadataItem* clone() const override;
};

}  // namespace matlab
}  // namespace orn
