#include "RepairLevels.h"

#include <functional>

namespace {

using orn::SxInvalidLevels;

// Far past the levels of any sample, and one more or less is still a number.
constexpr int farthestLevel = 1 << 30;

/** Sets what one entry of a list says in @p levels; false when it says nothing. */
using TakeEntry = std::function<bool(const QString& entry, SxInvalidLevels& levels)>;

/** An option that holds a list. */
struct LevelList {
    const char* option;
    const QString& given;
    const char* expected;
    TakeEntry take;
};

bool readLevel(const QString& entry, qint32& level)
{
    bool isNumber = false;
    level = entry.toInt(&isNumber);
    return isNumber && qAbs(static_cast<qint64>(level)) <= farthestLevel;
}

bool readBand(const QString& entry, qint32& level)
{
    if (entry != QLatin1String("off"))
        return readLevel(entry, level);
    level = SxInvalidLevels::off;
    return true;
}

bool readPercent(const QString& entry, double& percent)
{
    bool isNumber = false;
    percent = entry.toDouble(&isNumber);
    return isNumber && percent >= 0 && percent <= 100;
}

/** A range LOW:HIGH of valid levels leaves one band below and one above. */
bool readValid(const QString& entry, SxInvalidLevels& levels)
{
    const QStringList ends = entry.split(QLatin1Char(':'));
    if (ends.size() != 2 || !readLevel(ends[0], levels.low) || !readLevel(ends[1], levels.high)
        || levels.low > levels.high)
        return false;
    --levels.low;
    ++levels.high;
    return true;
}

QVector<LevelList> listsOf(const RepairLevelOptions& options)
{
    const char* const level = "is neither a level nor 'off'";
    const char* const percent = "is no share from 0 to 100";
    return {
        {"--low", options.low, level,
         [](const QString& entry, SxInvalidLevels& to) { return readBand(entry, to.low); }},
        {"--high", options.high, level,
         [](const QString& entry, SxInvalidLevels& to) { return readBand(entry, to.high); }},
        {"--low-percent", options.lowPercent, percent,
         [](const QString& entry, SxInvalidLevels& to) { return readPercent(entry, to.lowPercent); }},
        {"--high-percent", options.highPercent, percent,
         [](const QString& entry, SxInvalidLevels& to) { return readPercent(entry, to.highPercent); }},
        {"--valid", options.valid, "is not LOW:HIGH with LOW up to HIGH", readValid},
    };
}

QStringList entriesOf(const LevelList& list)
{
    return list.given.isEmpty() ? QStringList() : list.given.split(QLatin1Char(','));
}

}  // namespace

QString refusedLevels(const RepairLevelOptions& options)
{
    for (const LevelList& list : listsOf(options))
        for (const QString& entry : entriesOf(list)) {
            SxInvalidLevels levels;
            if (!list.take(entry, levels))
                return QStringLiteral("%1: '%2' %3")
                    .arg(QLatin1String(list.option), entry, QLatin1String(list.expected));
        }
    return QString();
}

QString levelsOfPlanes(const RepairLevelOptions& options, const QStringList& planes, QVector<SxInvalidLevels>& levels)
{
    levels = QVector<SxInvalidLevels>(options.isEmpty() ? 0 : planes.size());
    for (const LevelList& list : listsOf(options)) {
        const QStringList entries = entriesOf(list);
        if (entries.isEmpty())
            continue;
        if (entries.size() != 1 && entries.size() != planes.size())
            return QStringLiteral("%1 has %2 entries; the image has %3 (%4): give one, or one for each")
                .arg(QLatin1String(list.option))
                .arg(entries.size())
                .arg(planes.size())
                .arg(planes.mid(0, 4).join(QLatin1String(", "))
                     + (planes.size() > 4 ? QStringLiteral(" ...") : QString()));
        for (int i = 0; i < levels.size(); ++i)
            list.take(entries[entries.size() == 1 ? 0 : i], levels[i]);
    }
    return QString();
}
