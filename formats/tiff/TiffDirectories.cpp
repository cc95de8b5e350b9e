#include "TiffDirectories.h"

#include <QFile>
#include <QSet>
#include <QtEndian>

#include <tiff.h>

namespace ep {
namespace tiff {
namespace {

constexpr int mostPages = 65535;

/** Numbers of the file in its own byte order. A number past the end is 0 and ends the reading. */
class Numbers {
public:
    explicit Numbers(const QString& path) : m_file(path)
    {
        m_isSound = m_file.open(QIODevice::ReadOnly);
        const QByteArray order = m_file.read(2);
        m_isBigEndian = order == "MM";
        const quint16 version = next<quint16>();
        m_isBig = version == TIFF_VERSION_BIG;
        m_isSound = m_isSound && (m_isBigEndian || order == "II") && (m_isBig || version == TIFF_VERSION_CLASSIC);
        if (m_isBig)
            next<quint32>();  // the size of offsets, and a zero
    }

    bool isSound() const { return m_isSound; }
    bool isBig() const { return m_isBig; }
    void seek(quint64 offset)
    {
        m_isSound =
            m_isSound && offset < static_cast<quint64>(m_file.size()) && m_file.seek(static_cast<qint64>(offset));
    }
    quint64 nextOffset() { return m_isBig ? next<quint64>() : next<quint32>(); }
    quint64 nextCount() { return m_isBig ? next<quint64>() : next<quint16>(); }

    template <typename T>
    T next()
    {
        char bytes[sizeof(T)] = {};
        m_isSound = m_isSound && m_file.read(bytes, sizeof bytes) == qint64(sizeof bytes);
        if (!m_isSound)
            return 0;
        return m_isBigEndian ? qFromBigEndian<T>(bytes) : qFromLittleEndian<T>(bytes);
    }

private:
    QFile m_file;
    bool m_isSound = false;
    bool m_isBigEndian = false;
    bool m_isBig = false;
};

struct Directory {
    quint64 next;
    bool isPage;
};

/** Reads the directory at @p offset. Its kind stands in its lowest tag, so one of the first few entries has it. */
Directory readDirectory(Numbers& numbers, quint64 offset)
{
    numbers.seek(offset);
    const quint64 entries = numbers.nextCount();
    const quint64 entryBytes = numbers.isBig() ? 20 : 12;
    const quint64 headBytes = numbers.isBig() ? 8 : 2;
    Directory directory{0, true};
    if (entries > 0xffff)
        return directory;
    for (quint64 i = 0; i < qMin<quint64>(entries, 4); ++i) {
        numbers.seek(offset + headBytes + i * entryBytes);
        if (numbers.next<quint16>() != TIFFTAG_SUBFILETYPE)
            continue;
        const quint16 type = numbers.next<quint16>();
        numbers.nextOffset();  // the count has the width of an offset
        const quint32 kind = type == TIFF_SHORT ? numbers.next<quint16>() : numbers.next<quint32>();
        directory.isPage = !(kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK));
    }
    numbers.seek(offset + headBytes + entries * entryBytes);
    directory.next = numbers.nextOffset();
    return directory;
}

}  // namespace

QVector<quint64> tiffPageOffsets(const QString& path)
{
    QVector<quint64> all;
    QVector<quint64> pages;
    QSet<quint64> seen;
    Numbers numbers(path);
    quint64 offset = numbers.nextOffset();
    while (numbers.isSound() && offset != 0 && !seen.contains(offset) && all.size() < mostPages) {
        const Directory directory = readDirectory(numbers, offset);
        seen.insert(offset);
        all.append(offset);
        if (directory.isPage)
            pages.append(offset);
        offset = directory.next;
    }
    return pages.isEmpty() ? all : pages;
}

}  // namespace tiff
}  // namespace ep
