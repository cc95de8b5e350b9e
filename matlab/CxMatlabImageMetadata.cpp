#include <orn/matlab/CxMatlabImageMetadata.h>

namespace orn {
namespace matlab {

CxMatlabImageMetadata::CxMatlabImageMetadata() = default;

CxMatlabImageMetadata::~CxMatlabImageMetadata() = default;

ep::IxMetadataItem* CxMatlabImageMetadata::clone() const
{
    auto* copy = new CxMatlabImageMetadata;
    copy->reverseRows = reverseRows;
    copy->origChannels = origChannels;
    copy->savedChannels = savedChannels;
    return copy;
}

}  // namespace matlab
}  // namespace orn
