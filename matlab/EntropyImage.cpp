#include <orn/matlab/EntropyImage.h>

#include "EntropyPlanes.h"

#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include <ep/CxImageFormatManager.h>

namespace orn {
namespace matlab {

bool LoadEntropyImageFromMat(QString const& prefix, QString const& path, ep::SxImageBuf& image)
{
    MatDirectory directory;
    ep::SxFileError error;
    const qint64 limit = ep::CxImageFormatManager::instance()->memoryLimit();
    return directory.open(path, entropyVariables(prefix), limit, error)
           && readEntropyPlanes(directory, prefix, limit, image, error);
}

bool SaveEntropyImageToMat(ep::SxImageBuf const& image, QString const& name, QString const& path, bool reverseRows)
{
    void* const mat = MatOpenWrite(path);
    if (!mat)
        return false;
    ep::SxImageInfo written{};
    const bool isWritten = AddImage(mat, image, name, reverseRows, written, false);
    MatClose(mat);
    return isWritten;
}

}  // namespace matlab
}  // namespace orn
