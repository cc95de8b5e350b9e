#include "CxDngImageLoader.h"

#include "ReadDngTags.h"
#include "ReadTiffMetadata.h"
#include "ReadTiffSamples.h"
#include "TiffDirectories.h"

#include <dng/DngPacket.h>
#include <ep/ExStatus.h>
#include <ep/internal/CommonItem.h>
#include <ep/internal/PlaneView.h>

#include <QFileInfo>

#include <cstring>
#include <utility>

namespace ep {
namespace tiff {
namespace {

/** Makes the first directory that holds a mosaic the current one; false, with the reason in @p error, when there is
 * none. */
bool selectMosaic(TiffFile& file, const QString& path, SxFileError& error)
{
    const QVector<quint64> offsets = file ? tiffPageOffsets(path) : QVector<quint64>();
    if (offsets.isEmpty())
        error = {ExFileError::Unreadable, file.problemOr(QStringLiteral("it is not a DNG file"))};
    for (const quint64 offset : offsets) {
        uint16_t photometric = 0;
        if (TIFFSetSubDirectory(file.handle(), offset) != 1) {
            error = {ExFileError::Unreadable, file.problemOr(QStringLiteral("a directory is damaged"))};
            return false;
        }
        if (!file.get(TIFFTAG_PHOTOMETRIC, &photometric) || photometric != PHOTOMETRIC_CFA)
            continue;
        // Without their tags, samples are not what they were.
        if (endsBeforeItsTags(path, offset))
            error = {ExFileError::Unreadable, QStringLiteral("it ends before its tags do")};
        return !error;
    }
    if (!error)
        error = {ExFileError::Unsupported, QStringLiteral("it holds no mosaic in a main directory")};
    return false;
}

/** Cuts @p image to @p area; false when there is not enough memory. */
bool cut(const QRect& area, CxScopedBuffer& image)
{
    if (area == QRect(0, 0, image->width, image->height))
        return true;
    SxImageInfo info = image.image();
    info.width = area.width();
    info.height = area.height();
    info.stride = 0;
    CxScopedBuffer part(info);
    if (failed(part.allocate()))
        return false;
    const internal::ConstPlaneView from = internal::planeView(std::as_const(image.image()), 0);
    const internal::PlaneView to = internal::planeView(part.image(), 0);
    const auto rowBytes = static_cast<size_t>(area.width()) * static_cast<size_t>(sampleFacts(info.dataType).bytes);
    for (int y = 0; y < area.height(); ++y)
        std::memcpy(to.row(y), from.sample(area.left(), area.top() + y), rowBytes);
    image = std::move(part);
    return true;
}

/** Reads the samples of the current directory, the active area alone. */
bool readSamples(TiffFile& file, const QString& path, qint64 memoryLimit, TiffPage& page, CxScopedBuffer& image,
                 SxFileError& error)
{
    if (!describePage(file, page, error) || !isPlainMosaic(file, page, error)
        || !checkPageSize(page, QFileInfo(path).size(), memoryLimit, error)
        || !readTiffSamples(file, page, memoryLimit, image, error))
        return false;
    if (cut(readActiveArea(file, page), image))
        return true;
    error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
    return false;
}

void settleCell(const CxCommonImageMetadata& common, SxImageInfo& image)
{
    image.bayerGrid = static_cast<ExBayerGrid>(common.bayerGrid);
    image.patternWidth = common.patternWidth;
    image.patternHeight = common.patternHeight;
}

std::unique_ptr<CxImageData> read(TiffFile& file, const QString& path, qint64 memoryLimit, SxFileError& error)
{
    TiffPage page{};
    CxScopedBuffer image;
    if (!readSamples(file, path, memoryLimit, page, image, error))
        return nullptr;
    const QByteArray xmp = readXmp(file);
    CxMetadata metadata = readDngMetadata(file, page);
    CxCommonImageMetadata* common = internal::findCommonItem(metadata);
    settleCell(*common, image.image());
    dng::DngPacket packet;
    const bool isOurs = dng::readDngPacket(xmp, packet) && dng::belongsTo(packet, image.image());
    if (isOurs && !dng::restoreSamples(packet, image)) {
        error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
        return nullptr;
    }
    common->colorBitDepth = image->bitDepth;
    if (isOurs)
        metadata = dng::restoreMetadata(packet, *common);
    auto data = std::make_unique<CxImageData>();
    data->setImageShallow(image.take(), 0, 0, QDateTime::currentDateTime());
    data->setMetadata(std::move(metadata));
    return data;
}

}  // namespace

CxDngImageLoader::CxDngImageLoader() = default;

bool CxDngImageLoader::open()
{
    close();
    setError(ExFileError::None);
    TiffFile file = TiffFile::openForReading(m_fileName, memoryLimit());
    SxFileError error;
    if (selectMosaic(file, m_fileName, error))
        m_data = read(file, m_fileName, memoryLimit(), error);
    setError(error.kind, error.reason);
    return isOpen();
}

bool CxDngImageLoader::isOpen() const
{
    return m_data != nullptr;
}

void CxDngImageLoader::close()
{
    m_data.reset();
}

int CxDngImageLoader::frameCount() const
{
    return isOpen() ? 1 : 0;
}

QString CxDngImageLoader::fileName() const
{
    return m_fileName;
}

void CxDngImageLoader::setFileName(const QString& name)
{
    m_fileName = name;
}

QList<QPair<QString, int>> CxDngImageLoader::formats() const
{
    return {{QStringLiteral("Digital negative (*.dng)"), 10}};
}

CxImageData* CxDngImageLoader::imageData(int frame)
{
    return m_data && frame == 0 ? static_cast<CxImageData*>(m_data->clone(0)) : nullptr;
}

bool CxDngImageLoader::hasRandomAccess() const
{
    return true;
}

}  // namespace tiff
}  // namespace ep
