/**
 * @file
 * The program `orn`, run from outside as a person runs it.
 */
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <unistd.h>

namespace testing {

/** Path of the program under test. */
inline QString ornProgram()
{
    return qEnvironmentVariable("ORN_PROGRAM");
}

/** How a program ended and what it said. */
struct ProgramRun {
    int code = -1;  ///< exit code; -1 after a crash, a signal or no start
    QString out;    ///< standard output
    QString err;    ///< standard error

    /** Standard output as JSON; empty when it is none. */
    QJsonObject json() const { return QJsonDocument::fromJson(out.toUtf8()).object(); }
    /** Everything, for the message of a failed check. */
    QByteArray all() const { return QStringLiteral("code %1\n%2\n%3").arg(code).arg(out, err).toUtf8(); }
};

/** Runs @p program to its end, with @p environment on top of this process's. */
inline ProgramRun runProgram(const QString& program, const QStringList& arguments,
                             const QMap<QString, QString>& environment = {})
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (auto it = environment.begin(); it != environment.end(); ++it)
        variables.insert(it.key(), it.value());
    QProcess process;
    process.setProcessEnvironment(variables);
    process.start(program, arguments);
    ProgramRun run;
    if (process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit)
        run.code = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

/** Runs `orn` with @p arguments. */
inline ProgramRun runOrn(const QStringList& arguments, const QMap<QString, QString>& environment = {})
{
    return runProgram(ornProgram(), arguments, environment);
}

/** Runs `orn` bound by the permissions of files, also where the tests run as the superuser. */
inline ProgramRun runOrnWithoutPrivileges(const QStringList& arguments)
{
    if (::geteuid() != 0)
        return runOrn(arguments);
    const QStringList without{QStringLiteral("--bounding-set=-all"), QStringLiteral("--inh-caps=-all"), ornProgram()};
    return runProgram(QStringLiteral("setpriv"), without + arguments);
}

/** Runs a shell @p script, in which "$ORN" is the program and "$1" and so on are @p arguments. */
inline ProgramRun runShell(const QString& script, const QStringList& arguments = {},
                           QMap<QString, QString> environment = {})
{
    environment.insert(QStringLiteral("ORN"), ornProgram());
    return runProgram(QStringLiteral("/bin/sh"),
                      QStringList{QStringLiteral("-c"), script, QStringLiteral("sh")} + arguments, environment);
}

}  // namespace testing
