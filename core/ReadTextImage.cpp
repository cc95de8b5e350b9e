#include "ReadTextImage.h"

#include <ep/AllocBuffer.h>
#include <ep/CxImageFormatManager.h>
#include <ep/ExStatus.h>
#include <ep/internal/CheckedSize.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>
#include <limits>
#include <new>

namespace orn {

namespace {

constexpr QChar separator = QLatin1Char(',');
constexpr qint64 sampleBytes = sizeof(double);

/** The lines of a text file, one at a time: a list of them takes many times the memory of the image. */
class Lines {
public:
    explicit Lines(QFile& file, qint64 memoryLimit) : m_stream(&file)
    {
        // A stride says no more samples than these, and the stream holds a line twice, in buffers that double.
        constexpr qint64 most = std::numeric_limits<qint32>::max() / sampleBytes;
        constexpr qint64 bytesPerCharacter = 2 * 2 * sizeof(QChar);
        m_longest = std::max<qint64>(1, std::min(most, memoryLimit / bytesPerCharacter));
    }

    /** Goes to the next line; false at the end, and at a line of unreasonable length. */
    bool next()
    {
        if (m_stream.atEnd())
            return false;
        m_stream.readLineInto(&m_line, m_longest);
        m_isTooLong = m_line.size() >= m_longest;
        return !m_isTooLong;
    }
    const QString& line() const { return m_line; }
    bool isTooLong() const { return m_isTooLong; }

private:
    QTextStream m_stream;
    QString m_line;
    qint64 m_longest;
    bool m_isTooLong = false;
};

/** Describes the image in @p file; false when there is no line or the image would be too large. */
bool measure(QFile& file, qint64 memoryLimit, ep::SxImageInfo& info)
{
    Lines lines(file, memoryLimit);
    qint64 width = 0;
    qint64 height = 0;
    while (lines.next()) {
        if (height++ == 0)
            width = lines.line().count(separator) + 1;
        const bool fits = (ep::internal::CheckedSize(width) * sampleBytes * height).fits(memoryLimit);
        if (!fits || width * sampleBytes > std::numeric_limits<qint32>::max()
            || height > std::numeric_limits<qint32>::max())
            return false;
    }
    if (height == 0 || lines.isTooLong())
        return false;
    info.width = static_cast<qint32>(width);
    info.height = static_cast<qint32>(height);
    info.stride = static_cast<qint32>(width * sampleBytes);
    info.channels = 1;
    info.bitDepth = ep::sampleFacts(ep::DataTypeDouble).bits;
    info.dataType = ep::DataTypeDouble;
    return true;
}

/** Writes the numbers of @p line to the @p count doubles at @p row; false when they are not as many. */
bool readRow(const QString& line, qint32 count, unsigned char* row)
{
    if (line.count(separator) != count - 1)
        return false;
    int start = 0;
    for (qint32 x = 0; x < count; ++x) {
        const int comma = line.indexOf(separator, start);
        const int end = comma < 0 ? line.size() : comma;
        const QStringRef number = line.midRef(start, end - start).trimmed();
        ep::internal::storeSample(row + x * sampleBytes, number.toDouble());
        start = end + 1;
    }
    return true;
}

/** Reads all rows of the image that measure() described. The file may have changed since. */
bool readRows(QFile& file, qint64 memoryLimit, ep::SxImageBuf& image)
{
    Lines lines(file, memoryLimit);
    auto* row = static_cast<unsigned char*>(image.data);
    for (qint32 y = 0; y < image.height; ++y, row += image.stride)
        if (!lines.next() || !readRow(lines.line(), image.width, row))
            return false;
    return true;
}

bool readFile(const QString& fileName, ep::SxImageBuf& image)
{
    // Not a pipe, which would be waited for, and could not be read twice.
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    const qint64 memoryLimit = ep::CxImageFormatManager::instance()->memoryLimit();
    if (!measure(file, memoryLimit, image) || !file.seek(0))
        return false;
    image.data = nullptr;
    return !ep::failed(ep::AllocBuffer(image, image, false, nullptr, nullptr, nullptr))
           && readRows(file, memoryLimit, image);
}

}  // namespace

bool readTextImage(const QString& fileName, ep::SxImageBuf& image)
{
    try {
        if (readFile(fileName, image))
            return true;
    } catch (const std::bad_alloc&) {
        // A line for which there is no memory is one that cannot be read.
    }
    ep::FreeBuffer(image);
    return false;
}

}  // namespace orn
