#include <orn/matlab/EntropyImage.h>

#include "EntropyPlanes.h"
#include "MatHandles.h"

#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include <ep/CxImageFormatManager.h>

#include <new>

namespace orn {
namespace matlab {

bool LoadEntropyImageFromMat(QString const& prefix, QString const& path, ep::SxImageBuf& image)
try {
    MatDirectory directory;
    ep::SxFileError error;
    const qint64 limit = ep::CxImageFormatManager::instance()->memoryLimit();
    return directory.open(path, entropyVariables(prefix), limit, error)
           && readEntropyPlanes(directory, prefix, limit, image, error);
} catch (const std::bad_alloc&) {
    return false;
}

bool SaveEntropyImageToMat(ep::SxImageBuf const& image, QString const& name, QString const& path, bool reverseRows)
try {
    const MatHandle mat(static_cast<mat_t*>(MatOpenWrite(path)));
    ep::SxImageInfo written{};
    return mat && AddImage(mat.get(), image, name, reverseRows, written, false);
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace matlab
}  // namespace orn
