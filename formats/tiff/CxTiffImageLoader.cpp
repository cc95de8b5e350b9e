#include "CxTiffImageLoader.h"

#include "ReadTiffMetadata.h"
#include "ReadTiffSamples.h"
#include "TiffDirectories.h"

#include <ep/CxImageData.h>
#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/internal/CommonItem.h>

#include <QFileInfo>

namespace ep {
namespace tiff {
namespace {

/** A depth that a tag declares holds only when the samples keep to it. */
void settleDepth(SxImageBuf& image)
{
    qint32 used = 0;
    if (!failed(DetectColorBitDepth(image, used)) && used > image.bitDepth)
        image.bitDepth = sampleFacts(image.dataType).bits;
}

}  // namespace

/** An open file and the first page until somebody asks for it. */
struct CxTiffImageLoader::Source {
    TiffFile file;
    QVector<quint64> pages;
    qint64 fileBytes = 0;
    std::unique_ptr<CxImageData> firstPage;

    std::unique_ptr<CxImageData> read(int frame, qint64 memoryLimit, SxFileError& error);
};

std::unique_ptr<CxImageData> CxTiffImageLoader::Source::read(int frame, qint64 memoryLimit, SxFileError& error)
{
    file.forgetProblems();
    if (TIFFSetSubDirectory(file.handle(), pages[frame]) != 1) {
        error = {ExFileError::Unreadable, file.problemOr(QStringLiteral("a page is damaged"))};
        return nullptr;
    }
    TiffPage page;
    CxScopedBuffer image;
    if (!describePage(file, page, error) || !checkPageSize(page, fileBytes, memoryLimit, error)
        || !readTiffSamples(file, page, memoryLimit, image, error))
        return nullptr;
    if (page.hasDeclaredDepth) {
        settleDepth(image.image());
        page.image.bitDepth = image->bitDepth;
    }
    CxMetadata metadata = readTiffMetadata(file, page);
    const CxCommonImageMetadata& common = internal::commonItem(metadata);
    internal::takeGrid(common, image.image());
    const QDateTime time = common.captureTime.isValid() ? common.captureTime : QDateTime::currentDateTime();
    auto data = std::make_unique<CxImageData>();
    data->setImageShallow(image.take(), frame, 0, time);
    data->setMetadata(std::move(metadata));
    return data;
}

CxTiffImageLoader::CxTiffImageLoader() = default;
CxTiffImageLoader::~CxTiffImageLoader() = default;

bool CxTiffImageLoader::open()
{
    close();
    setError(ExFileError::None);
    auto source = std::make_unique<Source>();
    source->file = TiffFile::openForReading(m_fileName, memoryLimit());
    source->fileBytes = QFileInfo(m_fileName).size();
    source->pages = tiffPageOffsets(m_fileName);
    if (!source->file || source->pages.isEmpty()) {
        setError(ExFileError::Unreadable, source->file.problemOr(QStringLiteral("it is not a TIFF file")));
        return false;
    }
    SxFileError error;
    source->firstPage = source->read(0, memoryLimit(), error);
    if (!source->firstPage) {
        setError(error.kind, error.reason);
        return false;
    }
    m_source = std::move(source);
    return true;
}

bool CxTiffImageLoader::isOpen() const
{
    return m_source != nullptr;
}

void CxTiffImageLoader::close()
{
    m_source.reset();
}

int CxTiffImageLoader::frameCount() const
{
    return m_source ? m_source->pages.size() : 0;
}

QString CxTiffImageLoader::frameName(int frame)
{
    const QString name = QFileInfo(m_fileName).fileName();
    return frameCount() > 1 ? QStringLiteral("%1 [%2]").arg(name).arg(frame + 1) : name;
}

QString CxTiffImageLoader::fileName() const
{
    return m_fileName;
}

void CxTiffImageLoader::setFileName(const QString& name)
{
    m_fileName = name;
}

QList<QPair<QString, int>> CxTiffImageLoader::formats() const
{
    return {{QStringLiteral("TIFF image (*.tif *.tiff)"), 10}};
}

CxImageData* CxTiffImageLoader::imageData(int frame)
{
    if (frame < 0 || frame >= frameCount())
        return nullptr;
    // The first page is given away once instead of copied; it is in the file for whoever asks again.
    if (frame == 0 && m_source->firstPage)
        return m_source->firstPage.release();
    SxFileError error;
    std::unique_ptr<CxImageData> data = m_source->read(frame, memoryLimit(), error);
    setError(error.kind, error.reason);
    return data.release();
}

bool CxTiffImageLoader::hasRandomAccess() const
{
    return true;
}

}  // namespace tiff
}  // namespace ep
