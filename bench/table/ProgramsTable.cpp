// Whole programs: what it costs to start one that is linked to orn_core, and what a second job gains.

#include "Folder.h"
#include "Table.h"

#include <ep/CxImageFormatManager.h>

#include <QFile>
#include <QProcess>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

using namespace benching;

namespace {

/** Runs @p program, whose output goes nowhere, to its end. */
void run(const char* program)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    char* arguments[] = {const_cast<char*>(program), nullptr};
    pid_t child = 0;
    int status = 1;
    require(posix_spawn(&child, program, &actions, nullptr, arguments, environ) == 0
                && waitpid(child, &status, 0) == child && status == 0,
            program);
    posix_spawn_file_actions_destroy(&actions);
}

/** How many shared objects @p program names, which are all that it has loaded. */
double sharedObjects(const char* program)
{
    QProcess process;
    process.start(QString::fromLocal8Bit(program), QStringList());
    require(process.waitForFinished() && process.exitCode() == 0, program);
    return process.readAllStandardOutput().count('\n');
}

constexpr int captures = 200;

void makeCaptures(const Folder& folder)
{
    auto mosaic = makeImage(ep::DataTypeUInt16, 1500, 1000);
    mosaic->bayerGrid = ep::BayerGridRGGB;
    mosaic->patternWidth = mosaic->patternHeight = 2;
    const QString first = folder.file(QStringLiteral("0.dng"));
    bool isReady = ep::CxImageFormatManager::saveImageToFile(first, mosaic.image(), nullptr, nullptr, false, QString());
    for (int i = 1; i < captures; ++i)
        isReady = isReady && QFile::copy(first, folder.file(QStringLiteral("%1.dng").arg(i)));
    require(isReady, "making the captures");
}

/** Seconds of converting all captures by so many programs of so many jobs. */
double secondsOfConverting(const Folder& folder, int programs, int jobs)
{
    const QString out = folder.file(QStringLiteral("out"));
    QDir(out).removeRecursively();
    QStringList arguments = {
        QStringLiteral("convert"), QStringLiteral("--quiet"), QStringLiteral("--to"),      QStringLiteral("mat"),
        QStringLiteral("--jobs"),  QString::number(jobs),     QStringLiteral("--out-dir"), out};
    for (int i = 0; i < captures; ++i)
        arguments << folder.file(QStringLiteral("%1.dng").arg(i));
    return secondsOf([&] {
        std::vector<std::unique_ptr<QProcess>> processes;
        for (int i = 1; i <= programs; ++i) {
            const QString shard = QStringLiteral("%1/%2").arg(i).arg(programs);
            processes.push_back(std::make_unique<QProcess>());
            processes.back()->start(QStringLiteral(ORN_PROGRAM),
                                    arguments + QStringList{QStringLiteral("--shard"), shard});
        }
        for (const auto& process : processes)
            require(process->waitForFinished(-1) && process->exitCode() == 0, "orn convert");
    });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    table.row(QStringLiteral("start"), [&table] {
        table.inTurns({{"ours", timed([] { run(ORN_STARTUP_ORN); })}, {"qt", timed([] { run(ORN_STARTUP_CORE); })}});
    });
    table.row(QStringLiteral("shared-objects"), [&table] {
        table.inTurns({{"ours", [] { return sharedObjects(ORN_STARTUP_ORN); }},
                       {"qt", [] { return sharedObjects(ORN_STARTUP_CORE); }}});
    });
    table.row(QStringLiteral("jobs"), [&table] {
        const Folder folder;
        makeCaptures(folder);
        table.inTurns({{"ours", [&] { return secondsOfConverting(folder, 1, 2); }},
                       {"one", [&] { return secondsOfConverting(folder, 1, 1); }},
                       {"programs", [&] { return secondsOfConverting(folder, 2, 1); }}});
    });
}
