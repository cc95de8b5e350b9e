#include "FileHeader.h"

#include "DpxHeader.h"
#include "GifHeader.h"
#include "HeifHeader.h"
#include "Jpeg2000Header.h"
#include "JpegHeader.h"
#include "OiioFormat.h"
#include "WebpHeader.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <iterator>

namespace ep {
namespace oiio {
namespace {

QByteArray beginning(QFile& file, int bytes)
{
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.read(bytes) : QByteArray();
    return content.size() == bytes ? content : QByteArray();
}

/** The reader does not miss the end of a picture's mask, so that a file cut short would seem whole. Of a PNG file in an
 * icon it goes on to read when there is an error in it. */
QString iconFlaw(const QString& path)
{
    constexpr int directoryAt = 6;
    constexpr int entryBytes = 16;
    constexpr int lengthAt = 8;
    constexpr int offsetAt = 12;
    QFile file(path);
    const QByteArray header = beginning(file, directoryAt);
    const int pictures = header.isEmpty() ? 0 : qFromLittleEndian<quint16>(header.constData() + 4);
    const QByteArray directory = file.read(pictures * entryBytes);
    if (directory.isEmpty() || directory.size() < pictures * entryBytes)
        return QStringLiteral("the file ends inside its header");
    for (int i = 0; i < pictures; ++i) {
        const char* entry = directory.constData() + i * entryBytes;
        const qint64 end =
            qint64(qFromLittleEndian<quint32>(entry + offsetAt)) + qFromLittleEndian<quint32>(entry + lengthAt);
        if (end > file.size())
            return QStringLiteral("the file is too short for its picture");
        if (!file.seek(qFromLittleEndian<quint32>(entry + offsetAt)) || file.read(4) == "\x89PNG")
            return QStringLiteral("a picture in it is a PNG file, which OpenImageIO does not read safely from there");
    }
    return QString();
}

/** The reader takes memory for what a chunk announces before it looks how much of it is there. */
QString pngFlaw(const QString& path)
{
    constexpr int signatureBytes = 8, lengthBytes = 4, nameBytes = 4, sumBytes = 4;
    QFile file(path);
    if (beginning(file, signatureBytes).isEmpty())
        return QStringLiteral("the file ends inside its header");
    for (;;) {
        const QByteArray head = file.read(lengthBytes + nameBytes);
        if (head.size() < lengthBytes + nameBytes || head.endsWith("IEND"))
            return QString();
        const qint64 end = file.pos() + qFromBigEndian<quint32>(head.constData()) + sumBytes;
        if (end > file.size() || !file.seek(end))
            return QStringLiteral("one of its chunks announces more than the file has");
    }
}

/** The reader takes what a header of another length says from memory that nobody wrote. */
QString bmpFlaw(const QString& path)
{
    constexpr int lengthAt = 14, lengthBytes = 4;
    constexpr quint32 lengths[] = {12, 40, 52, 56, 108, 124};
    QFile file(path);
    const QByteArray header = beginning(file, lengthAt + lengthBytes);
    if (header.isEmpty())
        return QStringLiteral("the file ends inside its header");
    const auto length = qFromLittleEndian<quint32>(header.constData() + lengthAt);
    const bool isKnown = std::find(std::begin(lengths), std::end(lengths), length) != std::end(lengths);
    return isKnown ? QString() : QStringLiteral("its header states a length of %1 bytes").arg(length);
}

/** The reader looks for the end of the texts in the metadata of a Targa file, and takes what the file lacks of them
 * from memory that nobody wrote. */
QString targaFlaw(const QString& path)
{
    constexpr int footerBytes = 26, signatureAt = 8, metadataBytes = 495;
    constexpr int textEnds[] = {42, 123, 204, 285, 366, 419, 466};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(std::max<qint64>(0, file.size() - footerBytes)))
        return QString();
    const QByteArray footer = file.read(footerBytes);
    const qint64 place = footer.size() < footerBytes ? 0 : qFromLittleEndian<quint32>(footer.constData());
    if (place == 0 || footer.mid(signatureAt, 16) != "TRUEVISION-XFILE")
        return QString();
    const QByteArray metadata = file.seek(place) ? file.read(metadataBytes) : QByteArray();
    if (metadata.size() < metadataBytes)
        return QStringLiteral("its header announces more metadata than it has");
    const bool haveEnds =
        std::all_of(std::begin(textEnds), std::end(textEnds), [&](int end) { return metadata.at(end) == 0; });
    return haveEnds ? QString() : QStringLiteral("a text in its metadata has no end");
}

constexpr struct {
    const char* format;
    QString (*flawOf)(const QString& path);
} checks[] = {
    {"bmp", bmpFlaw},   {"dpx", dpxFlaw},           {"gif", gifFlaw}, {"heif", heifFlaw},   {"ico", iconFlaw},
    {"jpeg", jpegFlaw}, {"jpeg2000", jpeg2000Flaw}, {"png", pngFlaw}, {"targa", targaFlaw}, {"webp", webpFlaw},
};

}  // namespace

QString headerFlaw(const OiioFormat& format, const QString& path)
{
    for (const auto& check : checks)
        if (format.is(check.format))
            return check.flawOf(path);
    return QString();
}

int pngGrayBits(const QString& path)
{
    constexpr int depthAt = 24;
    constexpr int colorTypeAt = 25;
    QFile file(path);
    const QByteArray header = beginning(file, colorTypeAt + 1);
    return !header.isEmpty() && header.at(colorTypeAt) == 0 ? header.at(depthAt) : 0;
}

}  // namespace oiio
}  // namespace ep
