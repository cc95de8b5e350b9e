#include "CxOiioImageLoader.h"

#include "ExrHeader.h"
#include "FileHeader.h"
#include "GifHeader.h"
#include "HeifInput.h"
#include "HevcDecoder.h"
#include "OiioFormat.h"
#include "OiioGuard.h"
#include "OiioMetadata.h"
#include "ReadOiioSamples.h"

#include <ep/CxImageData.h>
#include <ep/CxScopedBuffer.h>
#include <ep/internal/MemoryLimit.h>

#include <QFile>
#include <QFileInfo>

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <mutex>

namespace ep {
namespace oiio {
namespace {

constexpr int mostFrames = 100000;

/** Has the libraries refuse what is past the limit by themselves. It is their only one, of all their users. */
void limitMemory(qint64 bytes)
{
    constexpr qint64 mebibyte = 1 << 20;
    constexpr qint64 most = 1 << 30;
    limitHevcPictures(bytes);
    OIIO::attribute("limits:imagesize_MB", static_cast<int>(std::min(most, std::max<qint64>(1, bytes / mebibyte + 1))));
}

/** What keeps the library from changing samples. */
OIIO::ImageSpec untouched()
{
    OIIO::ImageSpec wish;
    wish.attribute("oiio:UnassociatedAlpha", 1);
    wish.attribute("oiio:RawColor", 1);
    wish.attribute("oiio:reorient", 0);
    return wish;
}

/** Why there is no use in opening @p path. */
SxFileError findObstacle(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return {ExFileError::Unreadable, QStringLiteral("the file does not exist")};
    if (!info.isFile())
        return {ExFileError::Unreadable, QStringLiteral("it is not a regular file")};
    if (info.size() == 0)
        return {ExFileError::Unreadable, QStringLiteral("the file is empty")};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {ExFileError::Unreadable, file.errorString()};
    return {};
}

/**
 * A reader of OpenEXR files. Of the two that the library has, the younger refuses blocks of lines that lack samples,
 * and the older takes these from memory that nobody wrote. B44, which the younger cannot decompress, is left to the
 * older.
 */
std::unique_ptr<OIIO::ImageInput> exrReaderFor(int compression)
{
    constexpr int pxr24 = 5;
    // Which of them it makes, the library is told by a number for the whole process.
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    OIIO::attribute("openexr:core", compression <= pxr24 ? 1 : 0);
    return OIIO::ImageInput::create("openexr");
}

SxFileError createExrInput(const QString& path, qint64 memoryLimit, std::unique_ptr<OIIO::ImageInput>& input)
{
    constexpr int dwaa = 8;
    const ExrHeader header = readExrHeader(path);
    if (!header.flaw.isEmpty())
        return {ExFileError::Unreadable, header.flaw};
    if (header.largestBlock > memoryLimit)
        return internal::pastMemoryLimit(header.largestBlock, memoryLimit);
    if (header.compression >= dwaa)
        return {ExFileError::Unsupported,
                QStringLiteral("DWA compression is not read: its decoder is not safe with damaged data")};
    input = exrReaderFor(header.compression);
    return {};
}

/** Makes the reader of @p path, unless the library must not see that file. Null when it has none. */
SxFileError createInput(const OiioFormat& format, const QString& path, qint64 memoryLimit,
                        std::unique_ptr<OIIO::ImageInput>& input)
{
    if (format.is("openexr"))
        return createExrInput(path, memoryLimit, input);
    const qint64 screenBytes = format.is("gif") ? gifScreenBytes(path) : 0;
    if (screenBytes > memoryLimit)
        return internal::pastMemoryLimit(screenBytes, memoryLimit);
    const QString flaw = headerFlaw(format, path);
    if (!flaw.isEmpty())
        return {ExFileError::Unreadable, flaw};
    if (format.is("heif"))
        input = std::make_unique<HeifInput>();
    else
        input = OIIO::ImageInput::create(format.name);
    return {};
}

}  // namespace

/** An open file and the first frame until somebody asks for it. */
struct CxOiioImageLoader::Source {
    QString path;
    const OiioFormat* format = nullptr;
    std::unique_ptr<OIIO::ImageInput> input;
    std::unique_ptr<CxImageData> firstFrame;
    int frames = 0;  // 0: not counted yet

    SxFileError open(qint64 memoryLimit);
    SxFileError read(int frame, qint64 memoryLimit, std::unique_ptr<CxImageData>& data);
    void countFrames();
};

SxFileError CxOiioImageLoader::Source::open(qint64 memoryLimit)
{
    const SxFileError obstacle = createInput(*format, path, memoryLimit, input);
    if (obstacle)
        return obstacle;
    if (!input)
        return {ExFileError::Unsupported, QStringLiteral("OpenImageIO does not read this format here")};
    OIIO::ImageSpec spec;
    if (input->open(QFile::encodeName(path).toStdString(), spec, untouched()))
        return {};
    const QString reason = clause(input->geterror(), path);
    // The library has no code for it; the text names both sizes.
    const bool isPastLimit = reason.contains(QLatin1String("MB limit"));
    return {isPastLimit ? ExFileError::TooLarge : ExFileError::Unreadable,
            reason.isEmpty() ? QStringLiteral("it is damaged or not a file of its format") : reason};
}

SxFileError CxOiioImageLoader::Source::read(int frame, qint64 memoryLimit, std::unique_ptr<CxImageData>& data)
{
    if (!input->seek_subimage(frame, 0))
        return {ExFileError::Unreadable, clause(input->geterror(), path)};
    CxScopedBuffer image;
    SxFileError error = readOiioSamples(*input, *format, path, memoryLimit, image);
    if (error)
        return error;
    CxMetadata metadata = readOiioMetadata(input->spec(), image.image());
    data = std::make_unique<CxImageData>();
    data->setImageShallow(image.take(), frame, 0, QDateTime::currentDateTime());
    data->setMetadata(std::move(metadata));
    return {};
}

void CxOiioImageLoader::Source::countFrames()
{
    frames = std::min(mostFrames, input->spec().get_int_attribute("oiio:subimages", 0));
    if (frames > 0)
        return;
    while (frames < mostFrames && input->seek_subimage(frames, 0))
        ++frames;
    input->geterror();  // there being no further frame is no failure
}

CxOiioImageLoader::CxOiioImageLoader() = default;
CxOiioImageLoader::~CxOiioImageLoader() = default;

bool CxOiioImageLoader::open()
{
    close();
    auto source = std::make_unique<Source>();
    source->path = m_fileName;
    source->format = formatOfFile(m_fileName);
    SxFileError error = findObstacle(m_fileName);
    if (!error && (!source->format || !source->format->reads))
        error = {ExFileError::Unsupported, QStringLiteral("its suffix names no format that OpenImageIO reads")};
    if (!error)
        guarded(ExFileError::Unreadable, error, [&] {
            limitMemory(memoryLimit());
            const SxFileError failure = source->open(memoryLimit());
            return failure ? failure : source->read(0, memoryLimit(), source->firstFrame);
        });
    setError(error.kind, error.reason);
    if (!error)
        m_source = std::move(source);
    return !error;
}

bool CxOiioImageLoader::isOpen() const
{
    return m_source != nullptr;
}

void CxOiioImageLoader::close()
{
    m_source.reset();
}

int CxOiioImageLoader::frameCount() const
{
    if (!m_source)
        return 0;
    SxFileError error;
    if (m_source->frames == 0 && !guarded(ExFileError::Unreadable, error, [&] {
            m_source->countFrames();
            return SxFileError();
        }))
        m_source->frames = 1;
    return m_source->frames;
}

QString CxOiioImageLoader::frameName(int frame)
{
    const QString name = QFileInfo(m_fileName).fileName();
    return frameCount() > 1 ? QStringLiteral("%1 [%2]").arg(name).arg(frame + 1) : name;
}

QString CxOiioImageLoader::fileName() const
{
    return m_fileName;
}

void CxOiioImageLoader::setFileName(const QString& name)
{
    m_fileName = name;
}

QList<QPair<QString, int>> CxOiioImageLoader::formats() const
{
    return readFormats();
}

CxImageData* CxOiioImageLoader::imageData(int frame)
{
    if (!m_source || frame < 0)
        return nullptr;
    // The first frame is given away once instead of copied; it is in the file for whoever asks again.
    if (frame == 0 && m_source->firstFrame)
        return m_source->firstFrame.release();
    if (frame >= frameCount())
        return nullptr;
    std::unique_ptr<CxImageData> data;
    SxFileError error;
    guarded(ExFileError::Unreadable, error, [&] { return m_source->read(frame, memoryLimit(), data); });
    setError(error.kind, error.reason);
    return data.release();
}

}  // namespace oiio
}  // namespace ep
