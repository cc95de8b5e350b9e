/**
 * @file
 * Scripts by which other programs make or judge files.
 */
#pragma once

#include "Files.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace testing {

/** How a script ended. */
struct ScriptRun {
    bool isDone = false;  ///< it ended by itself and with success
    QByteArray output;    ///< what it printed on both streams
};

/** Runs a Python script; in the tests that are built with ORN_PYTHON. */
inline ScriptRun runPython(const char* script, const QStringList& arguments)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("script.py"));
    if (!writeFile(path, script))
        return {false, "the script could not be written"};
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(ORN_PYTHON), QStringList{path} + arguments);
    if (!process.waitForFinished(240000))
        return {false, process.errorString().toUtf8()};
    return {process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, process.readAll()};
}

}  // namespace testing
