#include "DpxHeader.h"

#include <ep/internal/CheckedSize.h>

#include <QFile>
#include <QVector>
#include <QtEndian>

#include <algorithm>

namespace ep {
namespace oiio {
namespace {

constexpr quint32 notStated = 0xffffffff;

/** The header of a DPX file, in its own order of bytes. */
class DpxHeader {
public:
    explicit DpxHeader(const QByteArray& bytes) : m_bytes(bytes), m_isLittle(bytes.startsWith("XPDS")) {}

    int byte(int at) const { return static_cast<uchar>(m_bytes.at(at)); }
    quint16 half(int at) const { return read<quint16>(at); }
    quint32 number(int at) const { return read<quint32>(at); }

private:
    template <typename Number>
    Number read(int at) const
    {
        const char* bytes = m_bytes.constData() + at;
        return m_isLittle ? qFromLittleEndian<Number>(bytes) : qFromBigEndian<Number>(bytes);
    }

    const QByteArray& m_bytes;
    bool m_isLittle;
};

/** Samples per pixel by the descriptor of an element; the fewest where that is not told. */
int samplesPerPixel(int descriptor)
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

/** How the samples of one of the pictures in a file stand there. */
struct DpxElement {
    qint64 columns, lines;
    int samples;  // per pixel
    int bits;
    int packing;  // one of the constants
    bool isPlain;
    qint64 offset, linePadding;

    static constexpr int packed = 0;
    static constexpr int methodB = 2;

    bool isByThrees() const { return bits == 10 && packing != packed; }
    bool isLastWordMisread() const;
    qint64 lineBytes() const;
    QString flaw(qint64 fileBytes) const;
};

DpxElement readElement(const DpxHeader& header, int number)
{
    constexpr int columnsAt = 772, linesAt = 776, elementsAt = 780, elementBytes = 72;
    constexpr int descriptorAt = 20, bitsAt = 23, packingAt = 24, encodingAt = 26, offsetAt = 28, paddingAt = 32;
    constexpr int runLengths = 1;
    const int at = elementsAt + number * elementBytes;
    const quint32 padding = header.number(at + paddingAt);
    return {header.number(columnsAt),
            header.number(linesAt),
            samplesPerPixel(header.byte(at + descriptorAt)),
            header.byte(at + bitsAt),
            header.half(at + packingAt),
            header.half(at + encodingAt) != runLengths,
            header.number(at + offsetAt),
            padding == notStated ? 0 : padding};
}

/** The reader takes samples of the last word of a line, where it is not full, from another place. */
bool DpxElement::isLastWordMisread() const
{
    const qint64 left = columns * samples % 3;
    return isByThrees() && (samples == 1 ? left != 0 : left == 1);
}

/** Samples of 10 bits stand by threes in a word, those of 12 in 16 bits each; or they are packed without a gap, up to
 * the end of the line. */
qint64 DpxElement::lineBytes() const
{
    constexpr int wordBits = 32, wordBytes = 4, byteBits = 8;
    const qint64 lineSamples = columns * samples;
    if (isByThrees())
        return (lineSamples + 2) / 3 * wordBytes;
    if (bits == 12 && packing != packed)
        return lineSamples * 2;
    const bool isByWords = bits == 10 || bits == 12;
    return isByWords ? (lineSamples * bits + wordBits - 1) / wordBits * wordBytes
                     : (lineSamples * bits + byteBits - 1) / byteBits;
}

QString DpxElement::flaw(qint64 fileBytes) const
{
    // Of any other number, the reader makes samples of 64 bits that the file does not have.
    if (!QVector<int>{1, 8, 10, 12, 16, 32, 64}.contains(bits))
        return QStringLiteral("its header states samples of %1 bits").arg(bits);
    if ((bits == 10 || bits == 12) && packing > methodB)
        return QStringLiteral("its header states packing %1").arg(packing);
    if (offset == notStated)
        return QStringLiteral("its header does not state where its samples are");
    if (isLastWordMisread())
        return QStringLiteral("OpenImageIO misreads the last samples of its lines, three of which make a word");
    const internal::CheckedSize bytes = internal::CheckedSize(lines) * (lineBytes() + linePadding) + offset;
    return isPlain && !bytes.fits(fileBytes) ? QStringLiteral("the file is too short for its samples") : QString();
}

}  // namespace

QString dpxFlaw(const QString& path)
{
    constexpr int userDataAt = 32, elementsAt = 770, headerBytes = 2048;
    constexpr int mostElements = 8;
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.read(headerBytes) : QByteArray();
    if (bytes.size() < headerBytes)
        return QStringLiteral("the file ends inside its header");
    const DpxHeader header(bytes);
    if (header.number(userDataAt) != notStated && header.number(userDataAt) > file.size())
        return QStringLiteral("its header announces more user data than the file has bytes");
    const int elements = std::max(1, std::min<int>(mostElements, header.half(elementsAt)));
    for (int element = 0; element < elements; ++element) {
        const QString flaw = readElement(header, element).flaw(file.size());
        if (!flaw.isEmpty())
            return flaw;
    }
    return QString();
}

}  // namespace oiio
}  // namespace ep
