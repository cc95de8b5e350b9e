#include <ep/IxDataSaver.h>

#include <ep/CxSafeFile.h>
#include <ep/internal/OutOfMemory.h>

#include "MetadataSideFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <new>

namespace ep {

IxDataSaver::IxDataSaver(QObject* parent) : QObject(parent) {}

IxDataSaver::~IxDataSaver() = default;

bool IxDataSaver::open()
{
    return true;
}

bool IxDataSaver::close()
{
    return true;
}

bool IxDataSaver::remove()
{
    return QFile::remove(fileName());
}

bool IxDataSaver::isSequenceSaver() const
{
    return false;
}

bool IxDataSaver::supportsSaveToBuffer() const
{
    return false;
}

bool IxDataSaver::saveToBuffer(const IxData*, QByteArray&)
{
    return false;
}

void IxDataSaver::setSequenceSize(int) {}

bool IxDataSaver::acceptsInterleavedChannels() const
{
    return true;
}

QMap<QString, QVariant> IxDataSaver::optionsFromSaveDlg(const QMap<QString, QVariant>& options)
{
    return options;
}

QString IxDataSaver::metadataSubdir() const
{
    return m_metadataSubdir;
}

void IxDataSaver::setMetadataSubdir(const QString& subdir)
{
    m_metadataSubdir = subdir;
}

bool IxDataSaver::exportMetadata(const CxMetadata& metadata)
try {
    setError(ExFileError::None);
    const QString name = metadataSideFile(fileName(), metadataSubdir());
    const QByteArray xml = metadata.saveToXml(2).toLatin1();
    QDir().mkpath(QFileInfo(name).path());
    CxSafeFile target(name);
    SxFileError error;
    if (!target.create(error)) {
        setError(error.kind, error.reason);
        return false;
    }
    QFile file(target.temporaryName());
    if (!file.open(QIODevice::WriteOnly) || file.write(xml) != xml.size() || !file.flush()) {
        setError(ExFileError::Unwritable, file.errorString());
        return false;
    }
    file.close();
    if (target.commit(false, error))
        return true;
    setError(error.kind, error.reason);
    return false;
} catch (const std::bad_alloc&) {
    setError(ExFileError::TooLarge, internal::outOfMemory().reason);
    return false;
}

}  // namespace ep
