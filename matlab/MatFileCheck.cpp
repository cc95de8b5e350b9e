#include "MatFileCheck.h"

#include <QFile>

namespace orn {
namespace matlab {

ep::SxFileError checkMatFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {ep::ExFileError::Unreadable, file.errorString()};
    return {};
}

}  // namespace matlab
}  // namespace orn
