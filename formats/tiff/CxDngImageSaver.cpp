#include "CxDngImageSaver.h"

#include "DngMosaic.h"
#include "TiffFile.h"
#include "WriteDngSamples.h"
#include "WriteDngTags.h"

#include <ep/CxImageData.h>

namespace ep {
namespace tiff {
namespace {

const auto compressionKey = QStringLiteral("compression");
const auto noCompression = QStringLiteral("none");
const auto deflateCompression = QStringLiteral("deflate");

/** Writes the file; false when libtiff could not. */
bool write(TiffFile& file, const DngMosaic& mosaic)
{
    return writeDngTags(file, mosaic) && writeDngSamples(file, mosaic) && TIFFWriteDirectory(file.handle()) == 1
           && TIFFFlush(file.handle()) == 1;
}

}  // namespace

CxDngImageSaver::CxDngImageSaver() = default;

QList<QPair<QString, int>> CxDngImageSaver::formats() const
{
    return {{QStringLiteral("Digital negative (*.dng)"), 10}};
}

void CxDngImageSaver::setFileName(const QString& name)
{
    m_fileName = name;
}

QString CxDngImageSaver::fileName() const
{
    return m_fileName;
}

void CxDngImageSaver::setOptions(const QMap<QString, QVariant>& options)
{
    m_options = options;
}

bool CxDngImageSaver::acceptsInterleavedChannels() const
{
    return true;
}

bool CxDngImageSaver::saveImage(const IxData* data)
{
    setError(ExFileError::None);
    const auto* imageData = qobject_cast<const CxImageData*>(data);
    if (!imageData) {
        setError(ExFileError::Refused, QStringLiteral("there is no image"));
        return false;
    }
    const QString compression = m_options.value(compressionKey, noCompression).toString();
    DngMosaic mosaic;
    SxFileError error;
    if (compression != noCompression && compression != deflateCompression)
        error = {ExFileError::Refused, QStringLiteral("compression is none or deflate, not %1").arg(compression)};
    mosaic.isDeflated = compression == deflateCompression;
    if (error || !describeDngMosaic(*imageData, mosaic, error)) {
        setError(error.kind, error.reason);
        return false;
    }
    TiffFile file = TiffFile::openForWriting(m_fileName, TiffFile::Variant::Classic);
    if (!file || !write(file, mosaic)) {
        setError(ExFileError::Unwritable, file.problemOr(QStringLiteral("the file could not be written")));
        return false;
    }
    return true;
}

QMap<QString, QVariant> CxDngImageSaver::defaultOptions() const
{
    QMap<QString, QVariant> options;
    options.insert(compressionKey, noCompression);
    return options;
}

}  // namespace tiff
}  // namespace ep
