/**
 * @file
 * Batches of `orn` in a folder of their own.
 */
#pragma once

#include "ConvertTesting.h"

#include <QMap>

namespace testing {

/** A temporary folder in which batches run, so that files go by their bare names. */
class BatchFolder : public ImageFolder {
public:
    /** Makes captures NAME1.tif to NAMEn.tif, all different. */
    bool makeCaptures(const QString& name, int count, int width = 40, int height = 30) const
    {
        for (int i = 1; i <= count; ++i)
            if (!save(QStringLiteral("%1%2.tif").arg(name).arg(i),
                      cameraMosaic(ep::BayerGridRGGB, width, height, 14, quint32(i))))
                return false;
        return true;
    }
    /** Runs a line of the shell in the folder, in which orn is the program. */
    ProgramRun run(const QString& line, const QMap<QString, QString>& environment = {}) const
    {
        return runShell(QStringLiteral("orn() { \"$ORN\" \"$@\"; }; cd \"$1\" && ") + line, {path("")}, environment);
    }
    ProgramRun run(const char* line) const { return run(QString::fromUtf8(line)); }
    using ImageFolder::names;
    /** The names of the files in @p folder, hidden ones too. */
    QStringList names(const char* folder) const
    {
        return QDir(path(folder)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    /** The bytes of every file in @p folder, without the time at which it was written, where the format has that. */
    QMap<QString, QByteArray> contents(const char* folder) const
    {
        constexpr int matHeaderText = 116;
        constexpr int dateLength = 19;
        QMap<QString, QByteArray> contents;
        for (const QString& name : names(folder)) {
            QByteArray all = bytes(qPrintable(QLatin1String(folder) + QLatin1Char('/') + name));
            const QByteArray exrDate = QByteArrayLiteral("capDate\0string\0");
            const int date = all.indexOf(exrDate);
            if (name.endsWith(QStringLiteral(".mat")))
                all.remove(0, matHeaderText);
            else if (name.endsWith(QStringLiteral(".exr")) && date >= 0)
                all.remove(date + exrDate.size() + int(sizeof(qint32)), dateLength);
            contents[name] = all;
        }
        return contents;
    }
    /** The lines of a log of a run; an empty object for a line that is no JSON. */
    QVector<QJsonObject> log(const char* name) const
    {
        QVector<QJsonObject> lines;
        for (const QByteArray& line : bytes(name).split('\n'))
            if (!line.isEmpty())
                lines << QJsonDocument::fromJson(line).object();
        return lines;
    }
};

}  // namespace testing
