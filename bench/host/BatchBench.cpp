// Forty captures of 6 megapixels through the program: two jobs against one, in whole runs. What two jobs can gain at
// most on this machine, as busy as it is, is what two programs gain that share nothing: each has one shard and one job.

#include "NoisyMosaic.h"

#include <benchmark/benchmark.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace {

using Manager = ep::CxImageFormatManager;

constexpr int captures = 40;

/** Seconds that so many programs with so many jobs each take for all captures; negative when one failed. */
double secondsOf(const QDir& folder, const QStringList& command, int programs, int jobs)
{
    QDir(folder.filePath(QStringLiteral("out"))).removeRecursively();
    QStringList arguments = command;
    arguments << QStringLiteral("--quiet") << QStringLiteral("--jobs") << QString::number(jobs)
              << QStringLiteral("--out-dir") << folder.filePath(QStringLiteral("out"));
    for (int i = 0; i < captures; ++i)
        arguments << folder.filePath(QStringLiteral("%1.dng").arg(i));
    QElapsedTimer timer;
    timer.start();
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 1; i <= programs; ++i) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(
            QStringLiteral(ORN_PROGRAM),
            arguments + QStringList{QStringLiteral("--shard"), QStringLiteral("%1/%2").arg(i).arg(programs)});
    }
    bool isDone = true;
    for (const auto& process : processes)
        isDone = process->waitForFinished(-1) && process->exitCode() == 0 && isDone;
    constexpr double millisecond = 0.001;
    return isDone ? timer.elapsed() * millisecond : -1;
}

void twoJobsAgainstOne(benchmark::State& state, const QStringList& command)
{
    const QTemporaryDir temporary;
    const QDir folder(temporary.path());
    const QString first = folder.filePath(QStringLiteral("0.dng"));
    bool isReady = Manager::saveImageToFile(first, noisyMosaic(3000, 2000).image(), nullptr, nullptr, false, QString());
    for (int i = 1; i < captures; ++i)
        isReady = isReady && QFile::copy(first, folder.filePath(QStringLiteral("%1.dng").arg(i)));
    if (!isReady)
        return state.SkipWithError("the captures could not be made");
    double oneJob = 0;
    double twoJobs = 0;
    double twoPrograms = 0;
    for (auto _ : state) {
        const double seconds[] = {secondsOf(folder, command, 1, 1), secondsOf(folder, command, 1, 2),
                                  secondsOf(folder, command, 2, 1)};
        if (seconds[0] < 0 || seconds[1] < 0 || seconds[2] < 0)
            return state.SkipWithError("the program failed");
        oneJob += seconds[0];
        twoJobs += seconds[1];
        twoPrograms += seconds[2];
    }
    const auto runs = static_cast<double>(state.iterations());
    state.counters["one_job_s"] = oneJob / runs;
    state.counters["two_jobs_s"] = twoJobs / runs;
    state.counters["gain"] = oneJob / twoJobs;
    state.counters["gain_of_two_programs"] = oneJob / twoPrograms;
}

void convert(benchmark::State& state)
{
    twoJobsAgainstOne(state, {QStringLiteral("convert"), QStringLiteral("--to"), QStringLiteral("mat")});
}
BENCHMARK(convert)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void compress(benchmark::State& state)
{
    twoJobsAgainstOne(state, {QStringLiteral("convert"), QStringLiteral("--to"), QStringLiteral("tif"),
                              QStringLiteral("--compression"), QStringLiteral("deflate")});
}
BENCHMARK(compress)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void preview(benchmark::State& state)
{
    twoJobsAgainstOne(state, {QStringLiteral("preview"), QStringLiteral("--to"), QStringLiteral("jpg")});
}
BENCHMARK(preview)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace
