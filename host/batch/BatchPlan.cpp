#include "BatchPlan.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QPair>

#include <algorithm>

#include <sys/stat.h>

namespace {

/** What makes a file the same one under all of its names. */
using FileIdentity = QPair<quint64, quint64>;

bool look(const QString& file, struct stat& facts)
{
    return ::stat(QFile::encodeName(file), &facts) == 0;
}

FileIdentity identityOf(const struct stat& facts)
{
    return {facts.st_dev, facts.st_ino};
}

QString outputOf(const QString& input, const BatchTarget& target)
{
    const QFileInfo info(input);
    // Of a hidden file without a suffix, Qt takes the name for the suffix.
    const QString base = info.completeBaseName().isEmpty() ? info.fileName() : info.completeBaseName();
    const QString suffix = target.suffix.isEmpty() ? info.suffix() : target.suffix;
    return QDir(target.folder).filePath(suffix.isEmpty() ? base : base + QLatin1Char('.') + suffix);
}

bool isNewer(const struct timespec& a, const struct timespec& b)
{
    return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

bool isDone(const BatchItem& item, const BatchTarget& target)
{
    struct stat input = {};
    if (!look(item.input, input))
        return false;
    const QStringList besides = target.besides ? target.besides(item.output) : QStringList();
    const QStringList made = QStringList(item.output) + besides;
    return std::all_of(made.begin(), made.end(), [&input](const QString& file) {
        struct stat output = {};
        return look(file, output) && S_ISREG(output.st_mode) && isNewer(output.st_mtim, input.st_mtim);
    });
}

QString refusedCollision(const QStringList& files, const BatchTarget& target)
{
    QHash<QString, int> makers;
    makers.reserve(files.size());
    for (int i = 0; i < files.size(); ++i) {
        const QString output = outputOf(files[i], target);
        const auto other = makers.constFind(output);
        if (other == makers.constEnd())
            makers.insert(output, i);
        else if (files[*other] == files[i])
            return QStringLiteral("'%1' is given twice").arg(files[i]);
        else
            return QStringLiteral("'%1' and '%2' would both become '%3'").arg(files[*other], files[i], output);
    }
    return QString();
}

/** @p written are all files that the run makes anew. */
QString refusedReplacement(const QStringList& files, const QStringList& written)
{
    QHash<FileIdentity, QString> existing;
    struct stat facts = {};
    for (const QString& file : written)
        if (look(file, facts))
            existing.insert(identityOf(facts), file);
    for (int i = 0; i < files.size() && !existing.isEmpty(); ++i) {
        const QString file = look(files[i], facts) ? existing.value(identityOf(facts)) : QString();
        if (!file.isEmpty())
            return QStringLiteral("'%1' would replace '%2', which is one of the files to read").arg(file, files[i]);
    }
    return QString();
}

}  // namespace

QString planBatch(const QStringList& files, const InputListOptions& share, const BatchTarget& target,
                  QVector<BatchItem>& items)
{
    const QString collision = refusedCollision(files, target);
    if (!collision.isEmpty())
        return collision;
    QStringList written;
    if (!target.log.isEmpty())
        written << target.log;
    for (const QString& file : shardOf(files, share)) {
        BatchItem item{file, outputOf(file, target)};
        item.isDone = target.resume && isDone(item, target);
        items << item;
        written << item.output;
    }
    return refusedReplacement(files, written);
}
