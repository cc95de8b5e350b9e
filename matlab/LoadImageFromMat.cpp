#include <orn/matlab/LoadImageFromMat.h>

#include "ReadMatImage.h"

namespace orn {
namespace matlab {

bool LoadImageFromMat(QString const& path, ep::SxImageBuf& image, bool& isEntropy, ep::CxMetadata* metadata)
{
    ep::SxFileError error;
    return readMatImage(path, ReadMatOptions(), image, isEntropy, metadata, error);
}

}  // namespace matlab
}  // namespace orn
