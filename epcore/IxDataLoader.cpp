#include <ep/IxDataLoader.h>

#include <ep/CxImageFormatManager.h>

#include "MetadataSideFile.h"

#include <QFile>
#include <QFileInfo>

#include <new>

namespace ep {

IxDataLoader::IxDataLoader(QObject* parent) : QObject(parent) {}

IxDataLoader::~IxDataLoader() = default;

QString IxDataLoader::frameName(int)
{
    return QFileInfo(fileName()).fileName();
}

bool IxDataLoader::setBuffer(const QByteArray&, const QString&)
{
    return false;
}

bool IxDataLoader::supportsLoadFromBuffer() const
{
    return false;
}

int IxDataLoader::index(const QString& name)
{
    for (int frame = 0, count = frameCount(); frame < count; ++frame)
        if (frameName(frame) == name)
            return frame;
    return -1;
}

QString IxDataLoader::frameText(int)
{
    return QString();
}

QString IxDataLoader::metadataSubdir() const
{
    return m_metadataSubdir;
}

void IxDataLoader::setMetadataSubdir(const QString& subdir)
{
    m_metadataSubdir = subdir;
}

bool IxDataLoader::importMetadata(CxMetadata& metadata)
try {
    const QString name = metadataSideFile(fileName(), metadataSubdir());
    QFile file(name);
    if (!QFileInfo(name).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    return metadata.loadFromXml(QString::fromUtf8(file.readAll()));
} catch (const std::bad_alloc&) {
    return false;
}

bool IxDataLoader::isMultiFileSequence() const
{
    return false;
}

QString IxDataLoader::seqFileFrameExtension() const
{
    return QFileInfo(fileName()).suffix();
}

QStringList IxDataLoader::sequenceFiles() const
{
    return {fileName()};
}

IxDataLoader* IxDataLoader::internalLoader()
{
    return nullptr;
}

qint64 IxDataLoader::memoryLimit() const
{
    return m_memoryLimit > 0 ? m_memoryLimit : CxImageFormatManager::instance()->memoryLimit();
}

}  // namespace ep
