/**
 * @file
 * Starting the programs on the other side, for tests of what lies in bridge/.
 */
#pragma once

#include "Program.h"

#include <QFile>
#include <QtTest>

namespace testing {

/** Runs an Octave script of this folder; it gets the path of bridge/ as its first argument. */
inline ProgramRun runOctave(const char* script, const QStringList& arguments)
{
    const QString file = QStringLiteral(ORN_BRIDGE_SCRIPTS "/") + QLatin1String(script);
    return runProgram(QStringLiteral(ORN_OCTAVE), QStringList{QStringLiteral("--no-gui"), QStringLiteral("--norc"),
                                                              file, QStringLiteral(ORN_BRIDGE)}
                                                      + arguments);
}

/** Runs a Python script of this folder; it gets the path of bridge/ as its first argument. */
inline ProgramRun runPython(const char* script, const QStringList& arguments)
{
    const QString file = QStringLiteral(ORN_BRIDGE_SCRIPTS "/") + QLatin1String(script);
    return runProgram(QStringLiteral(ORN_PYTHON), QStringList{file, QStringLiteral(ORN_BRIDGE)} + arguments);
}

/** The bytes of a file; null when it is not there. */
inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace testing
