#include "CxFitsImageSaver.h"

#include "FitsPlugin.h"
#include "WriteFitsImage.h"

#include <ep/CxImageData.h>

namespace ep {
namespace fits {

CxFitsImageSaver::CxFitsImageSaver() = default;

QList<QPair<QString, int>> CxFitsImageSaver::formats() const
{
    return writtenFormats();
}

void CxFitsImageSaver::setFileName(const QString& name)
{
    m_fileName = name;
}

QString CxFitsImageSaver::fileName() const
{
    return m_fileName;
}

void CxFitsImageSaver::setOptions(const QMap<QString, QVariant>&) {}

bool CxFitsImageSaver::acceptsInterleavedChannels() const
{
    return true;
}

bool CxFitsImageSaver::saveImage(const IxData* data)
{
    setExpectedFileSize(0);
    setError(ExFileError::None);
    const auto* source = qobject_cast<const CxImageData*>(data);
    const QString reason = source ? obstacle(source->image()) : QStringLiteral("there is no image to write");
    if (!reason.isEmpty()) {
        setError(ExFileError::Refused, reason);
        return false;
    }
    qint64 fileBytes = 0;
    SxFileError error;
    const bool isDone = writeFitsImage(m_fileName, source->image(), source->metadata(), fileBytes, error);
    setError(error.kind, error.reason);
    setExpectedFileSize(fileBytes);
    return isDone;
}

}  // namespace fits
}  // namespace ep
