#include "FileHeader.h"

#include "HeifHeader.h"
#include "JpegHeader.h"
#include "OiioFormat.h"

#include <ep/internal/CheckedSize.h>

#include <QFile>
#include <QtEndian>

namespace ep {
namespace oiio {
namespace {

QByteArray beginning(QFile& file, int bytes)
{
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.read(bytes) : QByteArray();
    return content.size() == bytes ? content : QByteArray();
}

/** The reader does not miss the end of a picture's mask, so that a file cut short would seem whole. */
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
    }
    return QString();
}

/** Samples per pixel by the descriptor of an element; the fewest where that is not told. */
qint64 dpxSamplesPerPixel(uchar descriptor)
{
    switch (descriptor) {
    case 50:
    case 101:
    case 102: return 3;
    case 51:
    case 52:
    case 103: return 4;
    case 100: return 2;
    default: return descriptor >= 150 && descriptor <= 156 ? descriptor - 148 : 1;
    }
}

/** The reader takes what a file lacks from memory that nobody wrote, and believes in any size of user data. */
QString dpxFlaw(const QString& path)
{
    constexpr int userDataAt = 32, widthAt = 772, heightAt = 776, descriptorAt = 800, bitsAt = 803, encodingAt = 806;
    constexpr int headerBytes = 808;
    constexpr quint32 notStated = 0xffffffff;
    QFile file(path);
    const QByteArray header = beginning(file, headerBytes);
    if (header.isEmpty())
        return QStringLiteral("the file ends inside its header");
    const bool isLittle = header.startsWith("XPDS");
    const auto number = [&](int at) {
        const char* bytes = header.constData() + at;
        return isLittle ? qFromLittleEndian<quint32>(bytes) : qFromBigEndian<quint32>(bytes);
    };
    if (number(userDataAt) != notStated && number(userDataAt) > file.size())
        return QStringLiteral("its header announces more user data than the file has bytes");
    const auto byte = [&](int at) { return static_cast<uchar>(header.at(at)); };
    // Of any other number, the reader makes samples of 64 bits that the file does not have.
    if (!QByteArray("\1\10\12\14\20\40\100").contains(header.at(bitsAt)))
        return QStringLiteral("its header states samples of %1 bits").arg(byte(bitsAt));
    const bool isPlain = byte(encodingAt) == 0 && byte(encodingAt + 1) == 0;
    const internal::CheckedSize bits = internal::CheckedSize(number(widthAt)) * number(heightAt) * byte(bitsAt)
                                       * dpxSamplesPerPixel(byte(descriptorAt));
    return isPlain && !bits.fits(8 * file.size()) ? QStringLiteral("the file is too short for its samples") : QString();
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

}  // namespace

QString headerFlaw(const OiioFormat& format, const QString& path)
{
    if (format.is("heif"))
        return heifFlaw(path);
    if (format.is("ico"))
        return iconFlaw(path);
    if (format.is("jpeg"))
        return jpegFlaw(path);
    if (format.is("png"))
        return pngFlaw(path);
    return format.is("dpx") ? dpxFlaw(path) : QString();
}

qint64 gifScreenBytes(const QString& path)
{
    constexpr int widthAt = 6, heightAt = 8, headerBytes = 10, bytesPerPixel = 4;
    QFile file(path);
    const QByteArray header = beginning(file, headerBytes);
    if (header.isEmpty())
        return 0;
    return qint64(qFromLittleEndian<quint16>(header.constData() + widthAt))
           * qFromLittleEndian<quint16>(header.constData() + heightAt) * bytesPerPixel;
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
