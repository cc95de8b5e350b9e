#include "RawFile.h"

#include <ep/internal/MemoryLimit.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <exception>

namespace ep {
namespace raw {
namespace {

using internal::CheckedSize;

constexpr qint64 mebibyte = 1 << 20;
// No camera's compression comes near; a file that claims more is a bomb or damaged.
constexpr qint64 mostExpansion = 128;
constexpr quint32 tiffUncompressed = 1;
constexpr quint32 tiffDeflate = 8;
constexpr quint32 tiffFloat = 3;

bool fail(SxFileError& error, ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

bool failByCode(SxFileError& error, int code)
{
    const QString reason = QString::fromLatin1(libraw_strerror(code));
    switch (code) {
    case LIBRAW_FILE_UNSUPPORTED: return fail(error, ExFileError::Unsupported, reason);
    case LIBRAW_TOO_BIG:
    case LIBRAW_UNSUFFICIENT_MEMORY: return fail(error, ExFileError::TooLarge, reason);
    case LIBRAW_IO_ERROR:
        return fail(error, ExFileError::Unreadable, QStringLiteral("the file is damaged or ends too early"));
    default: return fail(error, ExFileError::Unreadable, reason);
    }
}

/** Runs one of LibRaw's functions; true when it succeeded. */
template <typename Work>
bool run(Work&& work, SxFileError& error)
{
    try {
        const int code = work();
        return code == LIBRAW_SUCCESS || failByCode(error, code);
    } catch (const std::bad_alloc&) {
        return fail(error, ExFileError::TooLarge, QStringLiteral("there is not enough memory"));
    } catch (const std::exception& exception) {
        return fail(error, ExFileError::Unreadable, QString::fromLocal8Bit(exception.what()));
    }
}

/** Keeps LibRaw from printing; the decoder counts its errors. */
void ignoreDataError(void*, const char*, int) {}

}  // namespace

RawFile::RawFile() : m_decoder(std::make_unique<LibRaw>()), m_tags(m_decoder->imgdata.idata) {}

RawFile::~RawFile() = default;

bool RawFile::open(const QString& path, qint64 memoryLimit, SxFileError& error)
{
    const QFileInfo info(path);
    if (!info.exists())
        return fail(error, ExFileError::Unreadable, QStringLiteral("there is no such file"));
    if (!info.isFile())
        return fail(error, ExFileError::Unreadable, QStringLiteral("it is not a regular file"));
    if (info.size() == 0)
        return fail(error, ExFileError::Unreadable, QStringLiteral("the file is empty"));
    QFile probe(path);
    if (!probe.open(QIODevice::ReadOnly))
        return fail(error, ExFileError::Unreadable, probe.errorString());
    return identify(path, memoryLimit, error) && checkKind(error) && checkSize(info.size(), memoryLimit, error)
           && decode(error);
}

bool RawFile::identify(const QString& path, qint64 memoryLimit, SxFileError& error)
{
    libraw_output_params_t& parameters = m_decoder->imgdata.params;
    const qint64 megabytes = memoryLimit / mebibyte + 1;
    parameters.max_raw_memory_mb = static_cast<unsigned>(std::min<qint64>(megabytes, mebibyte));
    parameters.raw_processing_options &= ~unsigned(LIBRAW_PROCESSING_CONVERTFLOAT_TO_INT);
    m_decoder->set_dataerror_handler(&ignoreDataError, nullptr);
    m_decoder->set_exifparser_handler(&RawTags::note, &m_tags);
    return run([&] { return m_decoder->open_file(QFile::encodeName(path).constData()); }, error);
}

/** Refuses what holds no mosaic, or one that LibRaw does not decode or decodes to nothing. */
bool RawFile::checkKind(SxFileError& error) const
{
    const libraw_iparams_t& identity = data().idata;
    if (identity.is_foveon)
        return fail(error, ExFileError::Unsupported, QStringLiteral("its sensor has no colour-filter mosaic"));
    if (identity.filters == 0 && identity.colors != 1)
        return fail(error, ExFileError::Unsupported,
                    QStringLiteral("it holds finished colours instead of the samples of a mosaic"));
    const RawDirectory* directory = m_tags.mosaic();
    if (identity.dng_version == 0 || !directory)
        return true;
    if (directory->sampleFormat == tiffFloat)
        return fail(error, ExFileError::Unsupported, QStringLiteral("LibRaw does not read this float DNG file"));
    if (directory->compression == tiffDeflate)
        return fail(error, ExFileError::Unsupported, QStringLiteral("LibRaw does not read deflated DNG files"));
    if (directory->compression == tiffUncompressed && directory->tileWidth != 0)
        return fail(error, ExFileError::Unsupported, QStringLiteral("LibRaw does not read plain tiles of DNG files"));
    return true;
}

bool RawFile::checkSize(qint64 fileBytes, qint64 memoryLimit, SxFileError& error) const
{
    const libraw_image_sizes_t& sizes = data().sizes;
    const CheckedSize samples = CheckedSize(sizes.raw_width) * sizes.raw_height;
    const CheckedSize bytes = samples * qint64(sizeof(ushort));
    if (!bytes.fits(memoryLimit)) {
        error = internal::pastMemoryLimit(bytes, memoryLimit);
        return false;
    }
    const RawDirectory* directory = m_tags.mosaic();
    const bool isPlain = data().idata.dng_version != 0 && directory && directory->compression == tiffUncompressed;
    const qint64 fileBits = fileBytes * 8;
    const bool fits =
        isPlain ? (samples * std::max(1u, data().color.raw_bps)).fits(fileBits) : bytes.fits(fileBytes * mostExpansion);
    if (!fits || (data().idata.dng_version != 0 && m_tags.isTruncated(fileBytes)))
        return fail(error, ExFileError::Unreadable, QStringLiteral("the file is too short for its image"));
    return true;
}

bool RawFile::decode(SxFileError& error)
{
    if (!run([&] { return m_decoder->unpack(); }, error))
        return false;
    // LibRaw goes on where the data ends or makes no sense, with samples that it makes up.
    if (m_decoder->error_count() > 0)
        return fail(error, ExFileError::Unreadable, QStringLiteral("its samples are damaged or cut off"));
    if (!data().rawdata.raw_image)
        return fail(error, ExFileError::Unsupported,
                    QStringLiteral("it holds finished colours instead of the samples of a mosaic"));
    const QRect stored(0, 0, data().sizes.raw_width, data().sizes.raw_height);
    if (visibleArea().isEmpty() || !stored.contains(visibleArea()))
        return fail(error, ExFileError::Unreadable, QStringLiteral("its picture does not lie on its sensor"));
    return true;
}

QByteArray RawFile::xmp() const
{
    const libraw_iparams_t& identity = data().idata;
    return identity.xmpdata ? QByteArray(identity.xmpdata, static_cast<int>(identity.xmplen)) : QByteArray();
}

QRect RawFile::visibleArea() const
{
    const libraw_image_sizes_t& sizes = data().sizes;
    // LibRaw gives up a row or a column where the area begins at an odd place, and turns its pattern, but no levels.
    const RawDirectory* directory = data().idata.dng_version != 0 ? m_tags.mosaic() : nullptr;
    if (directory && QRect(0, 0, sizes.raw_width, sizes.raw_height).contains(directory->activeArea))
        return directory->activeArea;
    const auto* internals = m_decoder->get_internal_data_pointer();
    const int turnedWidth = internals->internal_output_params.fuji_width;
    if (turnedWidth == 0)
        return QRect(sizes.left_margin, sizes.top_margin, sizes.width, sizes.height);
    // A sensor that lies at 45 degrees: LibRaw gives the size of the upright picture, which is not that of the samples.
    return QRect(sizes.left_margin, sizes.top_margin,
                 internals->unpacker_data.fuji_layout ? turnedWidth : turnedWidth * 2,
                 sizes.raw_height - 2 * sizes.top_margin);
}

int RawFile::color(int row, int column) const
{
    // LibRaw counts from its own margins on; whole periods of any pattern keep the place positive.
    constexpr int periods = 48;
    const QPoint corner = visibleArea().topLeft();
    return m_decoder->COLOR(row + corner.y() - data().sizes.top_margin + periods,
                            column + corner.x() - data().sizes.left_margin + periods);
}

}  // namespace raw
}  // namespace ep
