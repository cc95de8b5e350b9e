// Runs mutants of a corpus through an entry, in a process that may die: the next goes on behind the one that killed it.
#include "Fuzzing.h"
#include "Mutants.h"
#include "Trial.h"

#include "Files.h"

#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <atomic>
#include <cstdio>
#include <new>

#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Options {
    QString program;
    QString corpus;
    QString findings;
    int first = 0;
    int mutants = 1000;
    double mostSeconds = 2;
    bool isAlone = false;
};

/** What a worker tells the process that watches over it. */
struct Progress {
    std::atomic<int> next{0};
    std::atomic<int> acceptedSeeds{0};
    std::atomic<int> accepted{0};
    std::atomic<int> findings{0};
    std::atomic<double> slowest{0};
    std::atomic<qint64> largestExcess{0};
};

void say(const QString& text)
{
    std::printf("%s\n", qPrintable(text));
    std::fflush(stdout);
}

void keepFinding(const Options& options, Progress& progress, int number, const QByteArray& input, const char* flaw)
{
    ++progress.findings;
    const QString name = QStringLiteral("%1-%2-%3").arg(options.program).arg(number).arg(QLatin1String(flaw));
    say(QStringLiteral("finding: %1").arg(name));
    if (!options.findings.isEmpty() && QDir().mkpath(options.findings))
        testing::writeFile(options.findings + QLatin1Char('/') + name, input);
}

/** Runs all mutants from progress.next on. */
void work(const Options& options, const QVector<QByteArray>& corpus, Progress& progress)
{
    LLVMFuzzerInitialize(nullptr, nullptr);
    fuzzing::Trial trial(options.mostSeconds);
    progress.acceptedSeeds = 0;
    for (const QByteArray& seed : corpus) {
        trial.warmUp(seed);
        progress.acceptedSeeds += fuzzing::outcome().isAccepted();
    }
    for (; progress.next < options.first + options.mutants; ++progress.next) {
        const QByteArray input = fuzzing::mutant(corpus, progress.next);
        const char* flaw = trial.run(input);
        progress.accepted += trial.isAccepted();
        progress.slowest = std::max(progress.slowest.load(), trial.seconds());
        progress.largestExcess = std::max(progress.largestExcess.load(), trial.excessBytes());
        if (flaw)
            keepFinding(options, progress, progress.next, input, flaw);
    }
}

/** Waits until @p worker ends, or ends it when it does not get on. @return what became of it; null: it is done */
const char* watch(pid_t worker, const Progress& progress)
{
    constexpr int patienceSeconds = 120;
    constexpr int pauseMicroseconds = 20000;
    QElapsedTimer sinceProgress;
    sinceProgress.start();
    for (int seen = -1, status = 0;;) {
        if (waitpid(worker, &status, WNOHANG) == worker)
            return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? nullptr : "crash";
        if (seen != progress.next)
            sinceProgress.start();
        seen = progress.next;
        if (sinceProgress.elapsed() > patienceSeconds * 1000) {
            kill(worker, SIGKILL);
            waitpid(worker, &status, 0);
            return "hang";
        }
        usleep(pauseMicroseconds);
    }
}

/** Starts workers until all mutants had their turn. */
void superviseWorkers(const Options& options, const QVector<QByteArray>& corpus, Progress& progress)
{
    while (progress.next < options.first + options.mutants) {
        std::fflush(stdout);
        const int before = progress.next;
        const pid_t worker = fork();
        if (worker == 0) {
            work(options, corpus, progress);
            std::fflush(stdout);
            _exit(0);
        }
        const char* end = worker < 0 ? "crash" : watch(worker, progress);
        if (!end)
            return;
        // A worker that dies at once may have died of a seed; the number moves on all the same.
        keepFinding(options, progress, progress.next, fuzzing::mutant(corpus, progress.next), end);
        progress.next = std::max(before, progress.next.load()) + 1;
    }
}

bool readOptions(const QStringList& arguments, Options& options)
{
    QCommandLineParser parser;
    parser.addOptions({{QStringLiteral("mutants"), QString(), QStringLiteral("N"), QStringLiteral("1000")},
                       {QStringLiteral("first"), QString(), QStringLiteral("I"), QStringLiteral("0")},
                       {QStringLiteral("seconds"), QString(), QStringLiteral("S"), QStringLiteral("2")},
                       {QStringLiteral("findings"), QString(), QStringLiteral("FOLDER")},
                       {QStringLiteral("alone"), QString()}});
    if (!parser.parse(arguments) || parser.positionalArguments().size() != 1)
        return false;
    options.program = QFileInfo(arguments.first()).fileName();
    options.corpus = parser.positionalArguments().first();
    options.findings = parser.value(QStringLiteral("findings"));
    options.first = parser.value(QStringLiteral("first")).toInt();
    options.mutants = parser.value(QStringLiteral("mutants")).toInt();
    options.mostSeconds = parser.value(QStringLiteral("seconds")).toDouble();
    options.isAlone = parser.isSet(QStringLiteral("alone"));
    return options.mutants > 0 && options.mostSeconds > 0;
}

/** Runs one file as it is. */
int runFile(const QString& path)
{
    LLVMFuzzerInitialize(nullptr, nullptr);
    const QByteArray input = testing::readFile(path);
    fuzzing::Trial trial(Options().mostSeconds);
    trial.warmUp(input);
    const char* flaw = trial.run(input);
    say(QStringLiteral("%1: %2").arg(path, QLatin1String(flaw ? flaw : "nothing found")));
    return flaw ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    Options options;
    if (!readOptions(arguments, options)) {
        say(QStringLiteral(
                "usage: %1 [--mutants N] [--first I] [--seconds S] [--findings FOLDER] [--alone] CORPUS|FILE")
                .arg(arguments.value(0)));
        return 2;
    }
    if (QFileInfo(options.corpus).isFile())
        return runFile(options.corpus);
    const QVector<QByteArray> corpus = fuzzing::readCorpus(options.corpus);
    if (corpus.isEmpty()) {
        say(QStringLiteral("there is no file in %1").arg(options.corpus));
        return 2;
    }
    // Workers that die leave their inputs here.
    const QTemporaryDir folder;
    qputenv("TMPDIR", QFile::encodeName(folder.path()));

    void* shared = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        return 2;
    auto& progress = *new (shared) Progress;
    progress.next = options.first;
    QElapsedTimer timer;
    timer.start();
    if (options.isAlone)
        work(options, corpus, progress);
    else
        superviseWorkers(options, corpus, progress);
    say(QStringLiteral(
            "%1: %2 mutants of %3 files (%4 sound), %5 accepted, %6 findings; slowest %7 s, most memory past "
            "twice the image %8 MiB; %9 s")
            .arg(options.program)
            .arg(options.mutants)
            .arg(corpus.size())
            .arg(progress.acceptedSeeds)
            .arg(progress.accepted)
            .arg(progress.findings)
            .arg(progress.slowest, 0, 'f', 2)
            .arg(double(progress.largestExcess) / (1 << 20), 0, 'f', 1)
            .arg(double(timer.elapsed()) / 1000, 0, 'f', 0));
    // A checker that runs this process alone knows by itself what nobody wrote.
    if (!options.isAlone && !fuzzing::Trial::fillsMemory())
        say(QStringLiteral("new memory was not filled: results that depend on it were not looked for"));
    return progress.findings > 0 ? 1 : 0;
}
