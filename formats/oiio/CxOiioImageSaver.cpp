#include "CxOiioImageSaver.h"

#include "OiioFormat.h"
#include "OiioGuard.h"
#include "OiioMetadata.h"
#include "WriteOiioImage.h"

#include <ep/CxImageData.h>
#include <ep/internal/PlaneView.h>

namespace ep {
namespace oiio {
namespace {

const QString qualityOption = QStringLiteral("quality");
constexpr int defaultQuality = 95;
constexpr int mostJpegPixels = 65500;     // per side; libjpeg ends the process over more
constexpr int fewestJpeg2000Pixels = 32;  // per side; the five halvings of the image cannot be turned off
constexpr char lossyProperty[] = "lossy";

SxFileError refusal(const QString& reason)
{
    return {ExFileError::Refused, reason};
}

SxFileError findObstacle(const SxImageBuf& image, const OiioFormat* format)
{
    if (!internal::isSound(image))
        return refusal(QStringLiteral("there is no image to write"));
    if (!format || !format->writes())
        return refusal(QStringLiteral("its suffix names no format that OpenImageIO writes"));
    if (format->holding(image) == Holding::None)
        return refusal(QStringLiteral("such a file holds %1, and the image has %2 of type %3")
                           .arg(format->contents(),
                                image.channels == 1 ? QStringLiteral("1 channel")
                                                    : QStringLiteral("%1 channels").arg(image.channels),
                                QLatin1String(sampleFacts(image.dataType).name)));
    if (format->is("jpeg") && (image.width > mostJpegPixels || image.height > mostJpegPixels))
        return refusal(QStringLiteral("JPEG has no room for more than %1 rows or columns").arg(mostJpegPixels));
    if (format->is("jpeg2000") && (image.width < fewestJpeg2000Pixels || image.height < fewestJpeg2000Pixels))
        return refusal(
            QStringLiteral("OpenImageIO writes JPEG 2000 from %1 rows and columns on").arg(fewestJpeg2000Pixels));
    return {};
}

}  // namespace

CxOiioImageSaver::CxOiioImageSaver() = default;

QList<QPair<QString, int>> CxOiioImageSaver::formats() const
{
    return writtenFormats();
}

void CxOiioImageSaver::setFileName(const QString& name)
{
    m_fileName = name;
}

QString CxOiioImageSaver::fileName() const
{
    return m_fileName;
}

void CxOiioImageSaver::setOptions(const QMap<QString, QVariant>& options)
{
    m_options = options;
}

bool CxOiioImageSaver::acceptsInterleavedChannels() const
{
    return true;
}

QMap<QString, QVariant> CxOiioImageSaver::defaultOptions() const
{
    QMap<QString, QVariant> options;
    options.insert(qualityOption, defaultQuality);
    return options;
}

bool CxOiioImageSaver::saveImage(const IxData* data)
{
    setProperty(lossyProperty, false);
    const auto* source = qobject_cast<const CxImageData*>(data);
    const OiioFormat* format = formatOfFile(m_fileName);
    SxFileError error = findObstacle(source ? source->image() : emptyImage(), format);
    if (!error) {
        const bool isLossy = format->holding(source->image()) == Holding::Lossy;
        setProperty(lossyProperty, isLossy);
        const int quality = m_options.value(qualityOption, defaultQuality).toInt();
        guarded(ExFileError::Unwritable, error, [&] {
            OIIO::ImageSpec spec;
            writeOiioMetadata(source->metadata(), source->image(), *format, spec);
            if (isLossy)
                spec.attribute("CompressionQuality", qBound(1, quality, 100));
            return writeOiioImage(m_fileName, *format, source->image(), spec);
        });
    }
    setError(error.kind, error.reason);
    return !error;
}

}  // namespace oiio
}  // namespace ep
