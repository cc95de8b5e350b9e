#include "CxPnmImageLoader.h"

#include "PnmHeader.h"
#include "PnmMetadata.h"
#include "PnmPlugin.h"
#include "PnmScanner.h"
#include "ReadPnmRaster.h"

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

#include <utility>

namespace ep {
namespace pnm {
namespace {

SxImageInfo describe(const PnmHeader& header)
{
    SxImageInfo info = emptyImage();
    info.width = header.width;
    info.height = header.height;
    info.channels = header.channels;
    info.bitDepth = header.bitDepth();
    info.dataType = header.sampleBytes() == 1   ? DataTypeUInt8
                    : header.sampleBytes() == 2 ? DataTypeUInt16
                                                : DataTypeFloat;
    return info;
}

}  // namespace

CxPnmImageLoader::CxPnmImageLoader() = default;

CxPnmImageLoader::~CxPnmImageLoader() = default;

bool CxPnmImageLoader::open()
{
    close();
    setError(ExFileError::None);
    m_ready = read();
    m_isOpen = m_ready != nullptr;
    return m_isOpen;
}

bool CxPnmImageLoader::isOpen() const
{
    return m_isOpen;
}

void CxPnmImageLoader::close()
{
    m_ready.reset();
    m_isOpen = false;
}

int CxPnmImageLoader::frameCount() const
{
    return m_isOpen ? 1 : 0;
}

QString CxPnmImageLoader::fileName() const
{
    return m_fileName;
}

void CxPnmImageLoader::setFileName(const QString& name)
{
    m_fileName = name;
    m_content.clear();
    m_readsContent = false;
}

bool CxPnmImageLoader::setBuffer(const QByteArray& content, const QString& name)
{
    m_fileName = name;
    m_content = content;
    m_readsContent = true;
    return true;
}

bool CxPnmImageLoader::supportsLoadFromBuffer() const
{
    return true;
}

QList<QPair<QString, int>> CxPnmImageLoader::formats() const
{
    return pnmFormats();
}

// The image that open() read is handed out as it is; whoever asks again gets a new one from the file, so that a large
// image is neither held nor copied for somebody who may never ask.
CxImageData* CxPnmImageLoader::imageData(int frame)
{
    if (!m_isOpen || frame != 0)
        return nullptr;
    return m_ready ? m_ready.release() : read().release();
}

std::unique_ptr<CxImageData> CxPnmImageLoader::read()
{
    if (m_readsContent) {
        QBuffer buffer(&m_content);
        buffer.open(QIODevice::ReadOnly);
        return readFrom(buffer);
    }
    const QFileInfo info(m_fileName);
    QFile file(m_fileName);
    if (!info.exists())
        setError(ExFileError::Unreadable, QStringLiteral("the file does not exist"));
    else if (!info.isFile())
        setError(ExFileError::Unreadable, QStringLiteral("it is not a regular file"));
    else if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        setError(ExFileError::Unreadable, file.errorString());
    else
        return readFrom(file);
    return nullptr;
}

std::unique_ptr<CxImageData> CxPnmImageLoader::readFrom(QIODevice& device)
{
    PnmScanner scanner(device);
    PnmHeader header;
    SxFileError error;
    if (!readHeader(scanner, header, error) || !checkRasterSize(scanner, header, memoryLimit(), error)) {
        setError(error.kind, error.reason);
        return nullptr;
    }
    CxScopedBuffer image(describe(header));
    if (failed(image.allocate())) {
        setError(ExFileError::TooLarge, QStringLiteral("there is not enough memory for its image"));
        return nullptr;
    }
    if (!readRaster(scanner, header, image.image(), error)) {
        setError(error.kind, error.reason);
        return nullptr;
    }
    auto data = std::make_unique<CxImageData>();
    CxMetadata metadata = metadataOf(header, image.image());
    data->setMetadata(std::move(metadata));
    data->setImageShallow(image.take(), 0, 0, QDateTime::currentDateTime());
    return data;
}

}  // namespace pnm
}  // namespace ep
