#include "TiffDirectories.h"

#include <QFile>
#include <QSet>
#include <QtEndian>

#include <tiffio.h>

#include <algorithm>
#include <limits>

namespace ep {
namespace tiff {
namespace {

constexpr int mostPages = 65535;

/** The file as numbers in its own byte order. Numbers past its end are 0. */
class Numbers {
public:
    explicit Numbers(const QString& path) : m_file(path)
    {
        // Directories lie far apart, so a buffer would only be filled in vain.
        if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
            return;
        load(0, 16);
        m_isBigEndian = m_bytes.startsWith("MM");
        const auto version = at<quint16>(2);
        m_isBig = version == TIFF_VERSION_BIG;
        m_isTiff = (m_isBigEndian || m_bytes.startsWith("II")) && (m_isBig || version == TIFF_VERSION_CLASSIC);
    }

    bool isTiff() const { return m_isTiff; }
    bool isBig() const { return m_isBig; }
    quint64 fileSize() const { return static_cast<quint64>(m_file.size()); }

    /** Loads up to @p count bytes at @p offset. */
    void load(quint64 offset, qint64 count)
    {
        const bool fits = offset < quint64(std::numeric_limits<qint64>::max());
        m_bytes = fits && m_file.seek(static_cast<qint64>(offset)) ? m_file.read(count) : QByteArray();
    }
    /** The number at byte @p place of what was loaded. */
    template <typename T>
    T at(int place) const
    {
        if (place + int(sizeof(T)) > m_bytes.size())
            return 0;
        return m_isBigEndian ? qFromBigEndian<T>(m_bytes.constData() + place)
                             : qFromLittleEndian<T>(m_bytes.constData() + place);
    }
    /** An offset or a count, which has the width of an offset. */
    quint64 offsetAt(int place) const { return m_isBig ? at<quint64>(place) : at<quint32>(place); }

private:
    QFile m_file;
    QByteArray m_bytes;
    bool m_isTiff = false;
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
    const int headBytes = numbers.isBig() ? 8 : 2;
    const int entryBytes = numbers.isBig() ? 20 : 12;
    const int offsetBytes = numbers.isBig() ? 8 : 4;
    numbers.load(offset, headBytes + 4 * entryBytes);
    const quint64 entries = numbers.isBig() ? numbers.at<quint64>(0) : numbers.at<quint16>(0);
    Directory directory{0, true};
    if (entries > 0xffff)
        return directory;
    for (int i = 0; i < qMin(static_cast<int>(entries), 4); ++i) {
        const int entry = headBytes + i * entryBytes;
        if (numbers.at<quint16>(entry) != TIFFTAG_SUBFILETYPE)
            continue;
        const int value = entry + 4 + offsetBytes;
        const bool isShort = numbers.at<quint16>(entry + 2) == TIFF_SHORT;
        const quint32 kind = isShort ? numbers.at<quint16>(value) : numbers.at<quint32>(value);
        directory.isPage = !(kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK));
    }
    numbers.load(offset + static_cast<quint64>(headBytes) + entries * static_cast<quint64>(entryBytes), offsetBytes);
    directory.next = numbers.offsetAt(0);
    return directory;
}

/** Where the value of the entry at byte @p entry of what was loaded ends. */
quint64 endOfValue(const Numbers& numbers, int entry)
{
    const int countBytes = numbers.isBig() ? 8 : 4;
    const auto type = numbers.at<quint16>(entry + 2);
    if (type > TIFF_IFD8)
        return 0;  // of no type that is known
    const auto width = static_cast<quint64>(std::max(0, TIFFDataWidth(static_cast<TIFFDataType>(type))));
    const quint64 count = numbers.offsetAt(entry + 4);
    if (width == 0 || count <= static_cast<quint64>(countBytes) / width)
        return 0;  // it stands in the entry itself, or is of no type
    const quint64 offset = numbers.offsetAt(entry + 4 + countBytes);
    const quint64 most = std::numeric_limits<quint64>::max();
    return count > (most - offset) / width ? most : offset + count * width;
}

}  // namespace

bool endsBeforeItsTags(const QString& path, quint64 offset)
{
    Numbers numbers(path);
    const int headBytes = numbers.isBig() ? 8 : 2;
    const int entryBytes = numbers.isBig() ? 20 : 12;
    numbers.load(offset, headBytes);
    const quint64 entries = numbers.isBig() ? numbers.at<quint64>(0) : numbers.at<quint16>(0);
    if (entries > 0xffff)
        return true;
    numbers.load(offset, headBytes + static_cast<qint64>(entries) * entryBytes);
    for (int i = 0; i < static_cast<int>(entries); ++i)
        if (endOfValue(numbers, headBytes + i * entryBytes) > numbers.fileSize())
            return true;
    return false;
}

QVector<quint64> tiffPageOffsets(const QString& path)
{
    QVector<quint64> all;
    QVector<quint64> pages;
    QSet<quint64> seen;
    Numbers numbers(path);
    quint64 offset = numbers.isTiff() ? numbers.offsetAt(numbers.isBig() ? 8 : 4) : 0;
    while (offset != 0 && !seen.contains(offset) && all.size() < mostPages) {
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
