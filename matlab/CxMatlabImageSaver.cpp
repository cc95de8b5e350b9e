#include <orn/matlab/CxMatlabImageSaver.h>

#include "CriticalLog.h"
#include "MatFormat.h"

#include <orn/matlab/AddImage.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/MatFile.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>

#include <QFileInfo>

#include <memory>

namespace orn {
namespace matlab {

namespace {

struct MatCloser {
    void operator()(void* mat) const { MatClose(mat); }
};
using MatHandle = std::unique_ptr<void, MatCloser>;

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

}  // namespace

CxMatlabImageSaver::CxMatlabImageSaver() = default;

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
{
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

    MatHandle mat(MatOpenWrite(m_fileName));
    if (!mat) {
        setError(ep::ExFileError::Unwritable, QStringLiteral("the file cannot be created"));
        return false;
    }
    ep::SxImageInfo written = ep::emptyImage();
    if (!AddImage(mat.get(), image, name, reverseRows, written, false)) {
        setError(ep::ExFileError::Refused, QStringLiteral("MAT files cannot hold such an image"));
        return false;
    }

    ep::CxMetadata metadata = source->metadata();
    describeLayout(metadata, image, written, reverseRows);
    const QString xml = metadata.saveToXml(-1);
    if (!AddVar(mat.get(), xml, QStringLiteral("ep_image_metadata"))) {
        logCritical(QStringLiteral("Failed to save the image metadata."));
        setError(ep::ExFileError::Unwritable, QStringLiteral("the metadata could not be written"));
    }
    mat.reset();
    return true;
}

QMap<QString, QVariant> CxMatlabImageSaver::defaultOptions() const
{
    return {};
}

}  // namespace matlab
}  // namespace orn
