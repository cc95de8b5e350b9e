/**
 * @file
 * The commands of `orn` as its own help tells them.
 */
#pragma once

#include "Program.h"

#include <QRegularExpression>
#include <QVector>

namespace testing {

/** What the help of a command names. */
struct HelpedCommand {
    QStringList command;      ///< its words after "orn"
    QStringList options;      ///< "-h", "--help", ...
    QStringList subcommands;  ///< their names
    QStringList choices;      ///< values of options that are one of a few
};

/** The help of "orn COMMAND". */
inline HelpedCommand helpOf(const QStringList& command)
{
    HelpedCommand helped{command, {}, {}, {}};
    QString section;
    const QStringList lines = runOrn(command + QStringList{QStringLiteral("--help")}).out.split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        static const QRegularExpression entry(QStringLiteral("^  (\\S+)"));
        static const QRegularExpression choices(QStringLiteral(":\\{(\\S+)\\}"));
        if (!line.startsWith(QLatin1Char(' ')))
            section = line;
        const QString word = entry.match(line).captured(1);
        if (section == QLatin1String("Options:") && word.startsWith(QLatin1Char('-'))) {
            helped.options += word.split(QLatin1Char(','));
            helped.choices += choices.match(line).captured(1).split(QLatin1Char(','), Qt::SkipEmptyParts);
        }
        if (section == QLatin1String("Subcommands:") && !word.isEmpty())
            helped.subcommands << word;
    }
    return helped;
}

/** All commands of the program, itself first. */
inline QVector<HelpedCommand> helpedCommands(const QStringList& command = {})
{
    QVector<HelpedCommand> all{helpOf(command)};
    for (const QString& subcommand : all.first().subcommands)
        all += helpedCommands(command + QStringList{subcommand});
    return all;
}

}  // namespace testing
