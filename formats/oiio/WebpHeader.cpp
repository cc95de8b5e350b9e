#include "WebpHeader.h"

#include <QFile>
#include <QSize>
#include <QtEndian>

namespace ep {
namespace oiio {
namespace {

/** A number of three bytes. */
int number(const QByteArray& bytes, int at)
{
    constexpr int lowBytes = 2;
    return qFromLittleEndian<quint16>(bytes.constData() + at) | static_cast<uchar>(bytes.at(at + lowBytes)) << 16;
}

/** Two sides, each less one. */
QSize sides(const QByteArray& bytes, int at)
{
    return {number(bytes, at) + 1, number(bytes, at + 3) + 1};
}

/** The size that a lossy or a lossless picture states itself. */
QSize codedSize(const QByteArray& content, bool isLossless)
{
    constexpr int sidesAt = 6, sideBits = 14, mask = (1 << sideBits) - 1;
    if (isLossless) {
        const auto bits = qFromLittleEndian<quint32>(content.constData() + 1);
        return QSize(bits & mask, bits >> sideBits & mask) + QSize(1, 1);
    }
    const auto side = [&](int at) { return qFromLittleEndian<quint16>(content.constData() + at) & mask; };
    return {side(sidesAt), side(sidesAt + 2)};
}

}  // namespace

QString webpFlaw(const QString& path)
{
    constexpr int formBytes = 12, headBytes = 8, frameHeadBytes = 16, canvasAt = 4, frameSizeAt = 6, neededBytes = 12;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(formBytes))
        return QStringLiteral("the file ends inside its header");
    const QString flaw = QStringLiteral("its first frame is smaller than its header states");
    QSize canvas;
    for (;;) {
        const QByteArray head = file.read(headBytes);
        const QByteArray content = file.peek(neededBytes);
        if (head.size() < headBytes || content.size() < neededBytes)
            return QString();
        qint64 bytes = qFromLittleEndian<quint32>(head.constData() + 4);
        if (head.startsWith("VP8X"))
            canvas = sides(content, canvasAt);
        else if (head.startsWith("ANMF")) {
            if (number(content, 0) != 0 || number(content, 3) != 0 || sides(content, frameSizeAt) != canvas)
                return flaw;
            bytes = frameHeadBytes;  // the picture is within
        } else if (head.startsWith("VP8 ") || head.startsWith("VP8L"))
            return canvas.isEmpty() || codedSize(content, head.startsWith("VP8L")) == canvas ? QString() : flaw;
        if (!file.seek(file.pos() + bytes + bytes % 2))
            return QString();
    }
}

}  // namespace oiio
}  // namespace ep
