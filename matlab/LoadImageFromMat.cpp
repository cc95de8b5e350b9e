#include <orn/matlab/LoadImageFromMat.h>

#include <ep/AllocBuffer.h>

#include "ReadMatImage.h"

#include <new>

namespace orn {
namespace matlab {

bool LoadImageFromMat(QString const& path, ep::SxImageBuf& image, bool& isEntropy, ep::CxMetadata* metadata)
try {
    ep::SxFileError error;
    return readMatImage(path, ReadMatOptions(), image, isEntropy, metadata, error);
} catch (const std::bad_alloc&) {
    ep::FreeBuffer(image);
    return false;
}

}  // namespace matlab
}  // namespace orn
