#include <orn/matlab/CxMatlabImageSaver.h>

#include "CriticalLog.h"
#include "MatFileSize.h"
#include "MatFormat.h"
#include "MatHandles.h"
#include "MatNames.h"
#include "MatSampleTypes.h"

#include <orn/matlab/AddImage.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/MatFile.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/internal/OutOfMemory.h>

#include <QFileInfo>

#include <new>

namespace orn {
namespace matlab {

namespace {

/** The first item of class @p Item in @p metadata; a new one, added to it, when there is none. */
template <typename Item>
Item& itemOf(ep::CxMetadata& metadata)
{
    if (auto* item = qobject_cast<Item*>(metadata.findItem(Item::staticMetaObject)))
        return *item;
    auto* item = new Item;
    metadata.addMetadata(item);
    return *item;
}

/** Completes @p metadata with what a reader needs to rebuild @p image from its planes @p written. */
void describeLayout(ep::CxMetadata& metadata, const ep::SxImageInfo& image, const ep::SxImageInfo& written,
                    bool reverseRows)
{
    auto& common = itemOf<ep::CxCommonImageMetadata>(metadata);
    common.bayerGrid = image.bayerGrid;
    common.layout = image.layout;
    common.patternWidth = image.patternWidth;
    common.patternHeight = image.patternHeight;

    auto& mat = itemOf<CxMatlabImageMetadata>(metadata);
    mat.origChannels = image.channels;
    mat.savedChannels = written.channels;
    mat.reverseRows = reverseRows;
}

/** Why @p image was not added to a file. */
QString refusalOf(const ep::SxImageBuf& image)
{
    if (!matSampleType(image.dataType))
        return QStringLiteral("MAT files hold no samples of type %1")
            .arg(QLatin1String(ep::sampleFacts(image.dataType).name));
    return QStringLiteral("a MAT file cannot hold the planes of this image");
}

}  // namespace

CxMatlabImageSaver::CxMatlabImageSaver()
{
    // What MAT files keep, for lists of formats.
    setProperty("types", QStringLiteral("int8 uint8 int16 uint16 int32 uint32 float double"));
    setProperty("channels", QStringLiteral("any"));
    setProperty("mosaic", true);
    setProperty("metadata", true);
}

CxMatlabImageSaver::~CxMatlabImageSaver() = default;

QList<QPair<QString, int>> CxMatlabImageSaver::formats() const
{
    return matFormats();
}

void CxMatlabImageSaver::setFileName(const QString& name)
{
    m_fileName = name;
}

QString CxMatlabImageSaver::fileName() const
{
    return m_fileName;
}

void CxMatlabImageSaver::setOptions(const QMap<QString, QVariant>& options)
{
    m_options = options;
}

bool CxMatlabImageSaver::acceptsInterleavedChannels() const
{
    return false;
}

bool CxMatlabImageSaver::saveImage(const ep::IxData* data)
try {
    setError(ep::ExFileError::None);
    setExpectedFileSize(0);
    const auto* source = qobject_cast<const ep::CxImageData*>(data);
    if (!source) {
        setError(ep::ExFileError::Refused, QStringLiteral("there is no image to save"));
        return false;
    }
    const ep::SxImageBuf& image = source->image();
    const QString name = matName(m_options);
    const bool reverseRows = m_options.value(QStringLiteral("reverse_rows"), true).toBool();

    MatHandle mat(static_cast<mat_t*>(MatOpenWrite(m_fileName)));
    if (!mat) {
        setError(ep::ExFileError::Unwritable, QStringLiteral("the file cannot be created"));
        return false;
    }
    ep::SxImageInfo written = ep::emptyImage();
    if (!AddImage(mat.get(), image, name, reverseRows, written, false)) {
        setError(ep::ExFileError::Refused, refusalOf(image));
        return false;
    }

    ep::CxMetadata metadata = source->metadata();
    describeLayout(metadata, image, written, reverseRows);
    const QString xml = metadata.saveToXml(-1);
    const bool hasMetadata = AddVar(mat.get(), xml, metadataName());
    mat.reset();

    MatFileSize size;
    size.addImage(written, name, false);
    size.addText(xml, metadataName());
    setExpectedFileSize(size.bytes());
    if (!hasMetadata) {
        logCritical(QStringLiteral("Failed to save the image metadata."));
        setError(ep::ExFileError::Unwritable, QStringLiteral("the metadata could not be written"));
    } else if (const qint64 actual = QFileInfo(m_fileName).size(); actual != size.bytes()) {
        // The storage reports success on a full disk; the size alone tells.
        setError(ep::ExFileError::Unwritable,
                 QStringLiteral("%1 of %2 bytes were written: the disk may be full").arg(actual).arg(size.bytes()));
    }
    return true;
} catch (const std::bad_alloc&) {
    setError(ep::ExFileError::TooLarge, ep::internal::outOfMemory().reason);
    return false;
}

QMap<QString, QVariant> CxMatlabImageSaver::defaultOptions() const
{
    return {};
}

}  // namespace matlab
}  // namespace orn
