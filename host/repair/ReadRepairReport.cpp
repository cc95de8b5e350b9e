#include "RepairReport.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <charconv>
#include <cmath>
#include <limits>

namespace {

// Past what repairs of images are, and still no burden; a JSON text is read as a whole.
constexpr qint64 mostCsvBytes = qint64(1) << 32;
constexpr qint64 mostJsonBytes = qint64(1) << 29;
constexpr qint64 longestLine = 1 << 16;

bool fail(ep::SxFileError& error, const QString& reason)
{
    error = {ep::ExFileError::Unreadable, reason};
    return false;
}

/** The indexes of planes by their names. */
QHash<QString, qint32> indexesOf(const QStringList& planes)
{
    QHash<QString, qint32> indexes;
    for (int i = 0; i < planes.size(); ++i)
        indexes[planes[i]] = i;
    return indexes;
}

/** Collects a report from the lines of a CSV file. */
class CsvReader {
public:
    /** Takes a line without its end; false, with the reason in reason(), when it does not belong there. */
    bool take(const QByteArray& line)
    {
        if (m_isHead)
            return takeHead(line);
        return line.isEmpty() || takeSample(line.split(','))
               || refuse(QStringLiteral("it is not a column, a row, a plane, an old and a new value"));
    }
    /** False when lines are missing. */
    bool finish(RepairReport& report)
    {
        if (m_isHead || m_expected != m_report.samples.size())
            return refuse(m_isHead ? QStringLiteral("it ends before the samples")
                                   : QStringLiteral("it holds %1 samples and announces %2")
                                         .arg(m_report.samples.size())
                                         .arg(m_expected));
        report = m_report;
        return true;
    }
    const QString& reason() const { return m_reason; }

private:
    bool refuse(const QString& reason)
    {
        m_reason = reason;
        return false;
    }

    static bool readNumber(const QByteArray& text, qint32& number)
    {
        const char* const end = text.constData() + text.size();
        const auto result = std::from_chars(text.constData(), end, number);
        return result.ec == std::errc() && result.ptr == end;
    }

    bool takeHead(const QByteArray& line)
    {
        if (line == "x,y,plane,old,new") {
            m_isHead = false;
            m_planes = indexesOf(m_report.planes);
            return m_version == 1 || refuse(QStringLiteral("it is no report of a repair, or one of a later version"));
        }
        const int colon = line.indexOf(": ");
        if (!line.startsWith("# ") || colon < 0)
            return refuse(QStringLiteral("it is no report of a repair"));
        return takeFact(line.mid(2, colon - 2), line.mid(colon + 2)) || refuse(QStringLiteral("it is no number"));
    }

    bool takeFact(const QByteArray& key, const QByteArray& value)
    {
        const QHash<QByteArray, qint32*> numbers{{"orn repair report", &m_version},
                                                 {"width", &m_report.width},
                                                 {"height", &m_report.height},
                                                 {"channels", &m_report.channels},
                                                 {"repaired", &m_expected}};
        if (numbers.contains(key))
            return readNumber(value, *numbers[key]);
        if (key == "type")
            m_report.type = QString::fromUtf8(value);
        if (key == "grid")
            m_report.grid = QString::fromUtf8(value);
        if (key == "planes")
            m_report.planes = QString::fromUtf8(value).split(QLatin1Char(','));
        return true;
    }

    bool takeSample(const QList<QByteArray>& fields)
    {
        orn::SxRepairedSample sample{};
        if (fields.size() != 5 || !readNumber(fields[0], sample.x) || !readNumber(fields[1], sample.y)
            || !readNumber(fields[3], sample.oldValue) || !readNumber(fields[4], sample.newValue))
            return false;
        sample.plane = m_planes.value(QString::fromUtf8(fields[2]), -1);
        m_report.samples << sample;
        return sample.plane >= 0 && m_report.samples.size() <= m_expected;
    }

    RepairReport m_report;
    QHash<QString, qint32> m_planes;
    qint32 m_version = 0;
    qint32 m_expected = 0;
    bool m_isHead = true;
    QString m_reason;
};

/** A line without its end, whichever kind of program wrote it; a byte order mark goes too. */
QByteArray trimmedLine(QByteArray line, bool isFirst)
{
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return isFirst && line.startsWith("\xEF\xBB\xBF") ? line.mid(3) : line;
}

bool readCsv(QFile& file, RepairReport& report, ep::SxFileError& error)
{
    CsvReader reader;
    for (qint64 number = 1; !file.atEnd(); ++number) {
        const QByteArray line = file.readLine(longestLine);
        if (file.error() != QFileDevice::NoError)
            return fail(error, file.errorString());
        if (!reader.take(trimmedLine(line, number == 1)))
            return fail(error, QStringLiteral("line %1: %2").arg(number).arg(reader.reason()));
    }
    return reader.finish(report) || fail(error, reader.reason());
}

/** False for what is no whole number of 32 bits. */
bool readNumber(const QJsonValue& value, qint32& number)
{
    const double real = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!(std::fabs(real) <= std::numeric_limits<qint32>::max()) || real != std::floor(real))
        return false;
    number = static_cast<qint32>(real);
    return true;
}

bool readJsonHead(const QJsonObject& root, RepairReport& report)
{
    const QJsonObject image = root[QStringLiteral("image")].toObject();
    qint32 version = 0;
    report.type = image[QStringLiteral("type")].toString();
    report.grid = image[QStringLiteral("grid")].toString();
    for (const QJsonValue& plane : image[QStringLiteral("planes")].toArray())
        report.planes << plane.toString();
    return root[QStringLiteral("report")] == QLatin1String("repair")
           && readNumber(root[QStringLiteral("version")], version) && version == 1
           && readNumber(image[QStringLiteral("width")], report.width)
           && readNumber(image[QStringLiteral("height")], report.height)
           && readNumber(image[QStringLiteral("channels")], report.channels);
}

bool readJsonSample(const QJsonObject& object, const QHash<QString, qint32>& planes, orn::SxRepairedSample& sample)
{
    sample.plane = planes.value(object[QStringLiteral("plane")].toString(), -1);
    return sample.plane >= 0 && readNumber(object[QStringLiteral("x")], sample.x)
           && readNumber(object[QStringLiteral("y")], sample.y)
           && readNumber(object[QStringLiteral("old")], sample.oldValue)
           && readNumber(object[QStringLiteral("new")], sample.newValue);
}

bool readJson(QFile& file, RepairReport& report, ep::SxFileError& error)
{
    QJsonParseError parsing{};
    const QJsonObject root = QJsonDocument::fromJson(file.readAll(), &parsing).object();
    if (parsing.error != QJsonParseError::NoError)
        return fail(error, QStringLiteral("byte %1: %2").arg(parsing.offset).arg(parsing.errorString()));
    if (!readJsonHead(root, report))
        return fail(error, QStringLiteral("it is no report of a repair, or one of a later version"));
    const QJsonArray samples = root[QStringLiteral("samples")].toArray();
    qint32 expected = 0;
    if (!readNumber(root[QStringLiteral("repaired")], expected) || expected != samples.size())
        return fail(error, QStringLiteral("it holds %1 samples and announces another number").arg(samples.size()));
    const QHash<QString, qint32> planes = indexesOf(report.planes);
    for (int i = 0; i < samples.size(); ++i) {
        orn::SxRepairedSample sample{};
        if (!readJsonSample(samples[i].toObject(), planes, sample))
            return fail(
                error,
                QStringLiteral("sample %1: it is not a column, a row, a plane, an old and a new value").arg(i + 1));
        report.samples << sample;
    }
    return true;
}

}  // namespace

bool readRepairReport(const QString& file, RepairReport& report, ep::SxFileError& error)
{
    report = RepairReport();
    QFile from(file);
    if (QFileInfo(file).isDir())
        return fail(error, QStringLiteral("it is a folder, not a file"));
    if (!from.open(QIODevice::ReadOnly))
        return fail(error, from.errorString());
    const bool asJson = QFileInfo(file).suffix().toLower() == QLatin1String("json");
    if (from.size() > (asJson ? mostJsonBytes : mostCsvBytes)) {
        error = {ep::ExFileError::TooLarge, QStringLiteral("it is larger than a report can be")};
        return false;
    }
    return asJson ? readJson(from, report, error) : readCsv(from, report, error);
}
