#include <orn/DefectList.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxSafeFile.h>
#include <ep/internal/OutOfMemory.h>

#include <QFile>

#include <algorithm>
#include <charconv>
#include <limits>
#include <new>

namespace orn {

namespace {

constexpr qint64 mostBytes = qint64(1) << 28;
constexpr int mostDefects = 1 << 23;
constexpr qint64 longestLine = 4096;
// Small enough for two of them to be added.
constexpr qint64 largestPlace = qint64(1) << 30;
constexpr qint64 latestTime = 1000000000000000;

const char coordinatesLabel[] = "coordinates:";
const char originLabel[] = "image origin on the sensor:";

bool fail(ep::SxFileError& error, ep::ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

/** Reads numbers off the front of a line, which it keeps. */
class Numbers {
public:
    explicit Numbers(const QByteArray& line) : m_line(line), m_next(m_line.constBegin()), m_end(m_line.constEnd())
    {
        skipBlanks();
    }

    bool isAtEnd() const { return m_next == m_end; }
    /** False when no whole number from @p least to @p most comes next. */
    bool read(qint64 least, qint64 most, qint64& number)
    {
        const auto result = std::from_chars(m_next, m_end, number);
        if (result.ec != std::errc() || number < least || number > most)
            return false;
        m_next = result.ptr;
        const char* const behind = m_next;
        skipBlanks();
        return behind != m_next || isAtEnd();
    }

private:
    void skipBlanks()
    {
        while (m_next != m_end && (*m_next == ' ' || (*m_next >= '\t' && *m_next <= '\r')))
            ++m_next;
    }

    const QByteArray m_line;
    const char* m_next;
    const char* m_end;
};

qint32 kindFromName(const QByteArray& name)
{
    for (qint32 kind : {DefectHot, DefectDead, DefectStuck})
        if (name == defectKindName(kind).toLatin1())
            return kind;
    return DefectUntold;
}

/** Collects what the lines of a list say. */
class ListReader {
public:
    /** False, with the reason in reason(), for a line that belongs into no list. */
    bool take(const QByteArray& line)
    {
        const int mark = line.indexOf('#');
        const QByteArray numbers = mark < 0 ? line : line.left(mark);
        const QByteArray comment = mark < 0 ? QByteArray() : line.mid(mark + 1).trimmed();
        if (Numbers(numbers).isAtEnd())
            return !m_list.defects.isEmpty() || takeStatement(comment);
        return takeDefect(Numbers(numbers), comment);
    }
    const QString& reason() const { return m_reason; }

    SxDefectList finish()
    {
        if (m_areOfSensor) {
            m_list.origin.isKnown = true;
            for (SxDefect& defect : m_list.defects) {
                defect.x -= m_list.origin.x;
                defect.y -= m_list.origin.y;
            }
        }
        return m_list;
    }

private:
    bool refuse(const QString& reason)
    {
        m_reason = reason;
        return false;
    }

    bool takeStatement(const QByteArray& comment)
    {
        if (comment.startsWith(coordinatesLabel)) {
            const QByteArray word = comment.mid(static_cast<int>(qstrlen(coordinatesLabel))).trimmed();
            m_areOfSensor = word == "sensor";
            return m_areOfSensor || word == "image"
                   || refuse(QStringLiteral("its coordinates are neither those of the sensor nor of the image"));
        }
        if (!comment.startsWith(originLabel))
            return true;
        Numbers numbers(comment.mid(static_cast<int>(qstrlen(originLabel))));
        return takeOrigin(numbers) || refuse(QStringLiteral("the origin of the image is not two numbers"));
    }

    bool takeOrigin(Numbers& numbers)
    {
        qint64 x = 0;
        qint64 y = 0;
        if (!numbers.read(0, largestPlace, x) || !numbers.read(0, largestPlace, y) || !numbers.isAtEnd())
            return false;
        m_list.origin = {true, static_cast<qint32>(x), static_cast<qint32>(y)};
        return true;
    }

    bool takeDefect(Numbers numbers, const QByteArray& comment)
    {
        qint64 x = 0;
        qint64 y = 0;
        qint64 since = 0;
        if (!numbers.read(-largestPlace, largestPlace, x) || !numbers.read(-largestPlace, largestPlace, y))
            return refuse(QStringLiteral("it does not begin with a column and a row"));
        if (!numbers.isAtEnd() && !numbers.read(0, latestTime, since))
            return refuse(QStringLiteral("what follows the column and the row is not a time"));
        if (!numbers.isAtEnd())
            return refuse(QStringLiteral("it has more than a column, a row and a time"));
        if (m_list.defects.size() == mostDefects)
            return refuse(QStringLiteral("there are more than %1 defects").arg(mostDefects));
        m_list.defects.append({static_cast<qint32>(x), static_cast<qint32>(y), kindFromName(comment), since});
        return true;
    }

    SxDefectList m_list;
    bool m_areOfSensor = false;
    QString m_reason;
};

QString tooLong()
{
    return QStringLiteral("it is longer than a list of bad pixels can be (%1 MiB)").arg(mostBytes >> 20);
}

bool readLines(QFile& file, ListReader& reader, ep::SxFileError& error)
{
    qint64 bytes = 0;
    for (qint64 number = 1;; ++number) {
        QByteArray line = file.readLine(longestLine);
        if (line.isEmpty())
            break;
        bytes += line.size();
        if (bytes > mostBytes)
            return fail(error, ep::ExFileError::TooLarge, tooLong());
        if (number == 1 && line.startsWith("\xEF\xBB\xBF"))
            line.remove(0, 3);
        const bool isWhole = line.endsWith('\n') || line.size() < longestLine - 1;
        if (!isWhole || !reader.take(line)) {
            const QString reason = isWhole ? reader.reason() : QStringLiteral("it is too long");
            return fail(error, ep::ExFileError::Unreadable, QStringLiteral("line %1: %2").arg(number).arg(reason));
        }
    }
    return file.error() == QFileDevice::NoError || fail(error, ep::ExFileError::Unreadable, file.errorString());
}

QByteArray headOf(const SxSensorOrigin& origin, ExDefectCoordinates coordinates)
{
    QByteArray head("# bad pixels: column, row, UNIX time since when the pixel is bad (0: always)\n# ");
    head += coordinatesLabel;
    head += coordinates == DefectCoordinatesSensor ? " sensor\n" : " image\n";
    if (origin.isKnown)
        head += "# " + QByteArray(originLabel) + ' ' + QByteArray::number(origin.x) + ' ' + QByteArray::number(origin.y)
                + '\n';
    return head;
}

QByteArray lineOf(const SxDefect& defect, qint64 left, qint64 top)
{
    QByteArray line = QByteArray::number(defect.x + left) + ' ' + QByteArray::number(defect.y + top) + ' '
                      + QByteArray::number(defect.since);
    const QString kind = defectKindName(defect.kind);
    return kind.isEmpty() ? line + '\n' : line + "  # " + kind.toLatin1() + '\n';
}

bool writeLines(QFile& file, const SxDefectList& list, ExDefectCoordinates coordinates)
{
    const bool ofSensor = coordinates == DefectCoordinatesSensor;
    const QByteArray head = headOf(list.origin, coordinates);
    if (file.write(head) != head.size())
        return false;
    for (const SxDefect& defect : list.defects) {
        const QByteArray line = lineOf(defect, ofSensor ? list.origin.x : 0, ofSensor ? list.origin.y : 0);
        if (file.write(line) != line.size())
            return false;
    }
    return file.flush();
}

/** @p place moved by @p by; a place that no number holds stays outside of any image. */
qint32 moved(qint32 place, qint64 by)
{
    return static_cast<qint32>(qBound<qint64>(std::numeric_limits<qint32>::min(), place + by, largestPlace));
}

}  // namespace

bool readDefectList(const QString& fileName, SxDefectList& list, ep::SxFileError& error)
try {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, ep::ExFileError::Unreadable, file.errorString());
    if (file.size() > mostBytes)
        return fail(error, ep::ExFileError::TooLarge, tooLong());
    ListReader reader;
    if (!readLines(file, reader, error))
        return false;
    list = reader.finish();
    return true;
} catch (const std::bad_alloc&) {
    error = ep::internal::outOfMemory();
    return false;
}

bool writeDefectList(const QString& fileName, const SxDefectList& list, ExDefectCoordinates coordinates,
                     bool refuseReplace, ep::SxFileError& error)
try {
    if (coordinates == DefectCoordinatesSensor && !list.origin.isKnown)
        return fail(error, ep::ExFileError::Refused, QStringLiteral("where the image lies on the sensor is not known"));
    ep::CxSafeFile safe(fileName);
    if (!safe.create(error))
        return false;
    QFile file(safe.temporaryName());
    if (!file.open(QIODevice::WriteOnly) || !writeLines(file, list, coordinates))
        return fail(error, ep::ExFileError::Unwritable, file.errorString());
    file.close();
    return safe.commit(refuseReplace, error);
} catch (const std::bad_alloc&) {
    error = ep::internal::outOfMemory();
    return false;
}

QVector<SxDefect> defectsSeenFrom(const SxSensorOrigin& image, const SxDefectList& list)
{
    QVector<SxDefect> defects = list.defects;
    if (!image.isKnown || !list.origin.isKnown)
        return defects;
    for (SxDefect& defect : defects) {
        defect.x = moved(defect.x, qint64(list.origin.x) - image.x);
        defect.y = moved(defect.y, qint64(list.origin.y) - image.y);
    }
    return defects;
}

QVector<SxDefect> uniteDefects(const QVector<SxDefect>& older, const QVector<SxDefect>& newer)
{
    QVector<SxDefect> all = older + newer;
    // Stable: of one place, the older ones stay first.
    std::stable_sort(all.begin(), all.end(),
                     [](const SxDefect& a, const SxDefect& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    QVector<SxDefect> united;
    for (const SxDefect& defect : qAsConst(all)) {
        if (united.isEmpty() || united.last().x != defect.x || united.last().y != defect.y)
            united.append(defect);
        else if (defect.kind != DefectUntold)
            united.last().kind = defect.kind;
    }
    return united;
}

SxSensorOrigin sensorOrigin(const ep::CxMetadata& metadata)
{
    const auto* common =
        qobject_cast<const ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    if (!common || common->sensorWidth <= 0 || common->sensorHeight <= 0)
        return {};
    return {true, common->leftMargin, common->topMargin};
}

QString defectKindName(qint32 kind)
{
    switch (kind) {
    case DefectHot: return QStringLiteral("hot");
    case DefectDead: return QStringLiteral("dead");
    case DefectStuck: return QStringLiteral("stuck");
    default: return {};
    }
}

}  // namespace orn
