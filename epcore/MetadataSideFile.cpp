#include "MetadataSideFile.h"

#include <QDir>
#include <QFileInfo>

namespace ep {

QString metadataSideFile(const QString& fileName, const QString& subdir)
{
    const QFileInfo file(fileName);
    const QDir folder(QDir(file.path()).filePath(subdir));
    return folder.filePath(file.fileName() + QLatin1String(".xml"));
}

}  // namespace ep
