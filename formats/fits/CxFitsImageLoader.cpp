#include "CxFitsImageLoader.h"

#include "FitsMetadata.h"
#include "FitsPlugin.h"
#include "ReadFitsSamples.h"

#include <ep/internal/CommonItem.h>

#include <QFile>
#include <QFileInfo>

namespace ep {
namespace fits {
namespace {

/** Opens @p file and tells whether it begins as FITS files do. */
bool openFits(QFile& file, SxFileError& error)
{
    const QFileInfo info(file.fileName());
    error.kind = ExFileError::Unreadable;
    if (!info.exists())
        error.reason = QStringLiteral("the file does not exist");
    else if (!info.isFile())
        error.reason = QStringLiteral("it is not a regular file");
    else if (!file.open(QIODevice::ReadOnly))
        error.reason = file.errorString();
    else if (file.size() == 0)
        error.reason = QStringLiteral("the file is empty");
    else if (!file.peek(10).startsWith("SIMPLE  ="))
        error.reason = QStringLiteral("it does not begin like a FITS file");
    else
        error = SxFileError();
    return !error;
}

std::unique_ptr<CxImageData> readFile(const QString& name, qint64 memoryLimit, SxFileError& error)
{
    QFile file(name);
    FitsImage source;
    CxScopedBuffer image;
    if (!openFits(file, error) || !findFitsImage(file, memoryLimit, source, error)
        || !readFitsSamples(file, source, image, error))
        return nullptr;
    auto data = std::make_unique<CxImageData>();
    CxMetadata metadata = readFitsMetadata(source, image.image());
    const CxCommonImageMetadata* common = internal::findCommonItem(metadata);
    const QDateTime time = common->captureTime.isValid() ? common->captureTime : QDateTime::currentDateTime();
    data->setMetadata(std::move(metadata));
    data->setImageShallow(image.take(), 0, 0, time);
    return data;
}

}  // namespace

CxFitsImageLoader::CxFitsImageLoader() = default;

CxFitsImageLoader::~CxFitsImageLoader() = default;

bool CxFitsImageLoader::open()
{
    close();
    m_ready = read();
    m_isOpen = m_ready != nullptr;
    return m_isOpen;
}

bool CxFitsImageLoader::isOpen() const
{
    return m_isOpen;
}

void CxFitsImageLoader::close()
{
    m_ready.reset();
    m_isOpen = false;
}

int CxFitsImageLoader::frameCount() const
{
    return m_isOpen ? 1 : 0;
}

QString CxFitsImageLoader::fileName() const
{
    return m_fileName;
}

void CxFitsImageLoader::setFileName(const QString& name)
{
    m_fileName = name;
}

QList<QPair<QString, int>> CxFitsImageLoader::formats() const
{
    return readFormats();
}

// The image that open() read is handed out as it is; whoever asks again gets a new one from the file, so that a large
// image is neither held nor copied for somebody who may never ask.
CxImageData* CxFitsImageLoader::imageData(int frame)
{
    if (!m_isOpen || frame != 0)
        return nullptr;
    return m_ready ? m_ready.release() : read().release();
}

std::unique_ptr<CxImageData> CxFitsImageLoader::read()
{
    SxFileError error;
    std::unique_ptr<CxImageData> data = readFile(m_fileName, memoryLimit(), error);
    setError(error.kind, error.reason);
    return data;
}

}  // namespace fits
}  // namespace ep
