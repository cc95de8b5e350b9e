#include "CxPnmImageSaver.h"

#include "ChoosePnmHeader.h"
#include "PnmMetadata.h"
#include "PnmPlugin.h"
#include "WritePnmRaster.h"

#include <ep/CxImageData.h>

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

#include <limits>

namespace ep {
namespace pnm {
namespace {

const QString asciiOption = QStringLiteral("ascii");

bool chooseHeader(const IxData* data, const QString& fileName, bool ascii, PnmHeader& header, SxFileError& error)
{
    const auto* imageData = qobject_cast<const CxImageData*>(data);
    if (!imageData) {
        error = {ExFileError::Refused, QStringLiteral("there is no image to write")};
        return false;
    }
    const SxImageBuf& image = imageData->image();
    if (!choosePnmHeader(image, QFileInfo(fileName).suffix(), ascii, header, error))
        return false;
    header.comments = metadataComments(imageData->metadata(), image);
    if (header.kind == PnmKind::Arbitrary)
        header.tupleType = tupleTypeFor(imageData->metadata(), header);
    return true;
}

bool write(QIODevice& device, const PnmHeader& header, const SxImageBuf& image)
{
    const QByteArray text = headerText(header);
    return device.write(text) == text.size() && writeRaster(device, header, image);
}

}  // namespace

CxPnmImageSaver::CxPnmImageSaver() = default;

QList<QPair<QString, int>> CxPnmImageSaver::formats() const
{
    return pnmFormats();
}

void CxPnmImageSaver::setFileName(const QString& name)
{
    m_fileName = name;
}

QString CxPnmImageSaver::fileName() const
{
    return m_fileName;
}

bool CxPnmImageSaver::supportsSaveToBuffer() const
{
    return true;
}

void CxPnmImageSaver::setOptions(const QMap<QString, QVariant>& options)
{
    m_options = options;
}

bool CxPnmImageSaver::acceptsInterleavedChannels() const
{
    return true;
}

QMap<QString, QVariant> CxPnmImageSaver::defaultOptions() const
{
    return {{asciiOption, false}};
}

bool CxPnmImageSaver::saveToBuffer(const IxData* data, QByteArray& content)
{
    PnmHeader header;
    SxFileError error;
    const bool chosen = chooseHeader(data, m_fileName, m_options.value(asciiOption).toBool(), header, error);
    setError(error.kind, error.reason);
    if (!chosen)
        return false;
    content.clear();
    constexpr qint64 mostTextBytes = 6;  // of a sample: five digits and a blank
    const qint64 bytes = header.ascii ? header.rowSamples() * mostTextBytes : header.rasterRowBytes();
    if (bytes > (std::numeric_limits<int>::max() - headerText(header).size()) / header.height) {
        setError(ExFileError::TooLarge, QStringLiteral("a file in memory is held to 2 GiB"));
        return false;
    }
    QBuffer buffer(&content);
    if (buffer.open(QIODevice::WriteOnly) && write(buffer, header, static_cast<const CxImageData*>(data)->image()))
        return true;
    setError(ExFileError::Unwritable, QStringLiteral("there is not enough memory for the file"));
    return false;
}

bool CxPnmImageSaver::saveImage(const IxData* data)
{
    setExpectedFileSize(0);
    PnmHeader header;
    SxFileError error;
    const bool chosen = chooseHeader(data, m_fileName, m_options.value(asciiOption).toBool(), header, error);
    setError(error.kind, error.reason);
    if (!chosen)
        return false;
    QFile file(m_fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        setError(ExFileError::Unwritable, file.errorString());
        return false;
    }
    if (!write(file, header, static_cast<const CxImageData*>(data)->image()) || !file.flush()) {
        setError(ExFileError::Unwritable, file.errorString());
        return false;
    }
    setExpectedFileSize(file.pos());
    return true;
}

}  // namespace pnm
}  // namespace ep
