#include "CxTiffImageSaver.h"

#include "WriteTiffImage.h"

#include <ep/CxImageData.h>
#include <ep/internal/CommonItem.h>
#include <ep/internal/PlaneView.h>

#include <limits>

namespace ep {
namespace tiff {
namespace {

/** Why TIFF cannot hold @p image; empty when it can. */
QString obstacle(const SxImageBuf& image)
{
    if (!internal::isSound(image))
        return QStringLiteral("there is no image");
    if (image.dataType == DataTypeComplex)
        return QStringLiteral("complex samples are not written as TIFF");
    if (image.channels > std::numeric_limits<quint16>::max())
        return QStringLiteral("TIFF has no room for %1 channels").arg(image.channels);
    return QString();
}

/** TIFF's code of the compression called @p name; 0 when there is none. */
quint16 compressionCode(const QString& name)
{
    if (name == QLatin1String("none"))
        return COMPRESSION_NONE;
    if (name == QLatin1String("deflate"))
        return COMPRESSION_ADOBE_DEFLATE;
    return name == QLatin1String("lzw") ? COMPRESSION_LZW : 0;
}

}  // namespace

CxTiffImageSaver::CxTiffImageSaver() = default;

QList<QPair<QString, int>> CxTiffImageSaver::formats() const
{
    return {{QStringLiteral("TIFF image (*.tif *.tiff)"), 10}};
}

void CxTiffImageSaver::setFileName(const QString& name)
{
    m_fileName = name;
}

QString CxTiffImageSaver::fileName() const
{
    return m_fileName;
}

void CxTiffImageSaver::setOptions(const QMap<QString, QVariant>& options)
{
    m_options = options;
}

bool CxTiffImageSaver::acceptsInterleavedChannels() const
{
    return true;
}

bool CxTiffImageSaver::saveImage(const IxData* data)
{
    setError(ExFileError::None);
    const auto* source = qobject_cast<const CxImageData*>(data);
    const QString reason = source ? obstacle(source->image()) : QStringLiteral("there is no image");
    if (!reason.isEmpty()) {
        setError(ExFileError::Refused, reason);
        return false;
    }
    QMap<QString, QVariant> chosen = defaultOptions();
    for (auto option = m_options.cbegin(); option != m_options.cend(); ++option)
        chosen[option.key()] = option.value();
    TiffWriteOptions options;
    options.isBig = chosen[QStringLiteral("bigtiff")].toBool();
    options.compression = compressionCode(chosen[QStringLiteral("compression")].toString());
    if (options.compression == 0) {
        setError(ExFileError::Refused, QStringLiteral("there is no compression \"%1\"; there are none, deflate and lzw")
                                           .arg(chosen[QStringLiteral("compression")].toString()));
        return false;
    }
    CxMetadata metadata = source->metadata();
    CxCommonImageMetadata& common = internal::commonItem(metadata);
    internal::tellArrangement(source->image(), common);
    SxFileError error;
    const bool done =
        writeTiffImage(m_fileName, source->image(), common, metadata.saveToXml(-1).toLatin1(), options, error);
    setError(error.kind, error.reason);
    return done;
}

QMap<QString, QVariant> CxTiffImageSaver::defaultOptions() const
{
    // Not by a list, of which the map that is begun is lost when there is no memory for all of it.
    QMap<QString, QVariant> options;
    options.insert(QStringLiteral("compression"), QStringLiteral("none"));
    options.insert(QStringLiteral("bigtiff"), false);
    return options;
}

}  // namespace tiff
}  // namespace ep
