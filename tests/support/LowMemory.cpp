#include "LowMemory.h"

#include "CameraImages.h"
#include "Files.h"
#include "LongTests.h"
#include "Program.h"

#include <QDir>
#include <QFileInfo>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <new>

#include <sys/wait.h>
#include <unistd.h>

namespace testing {

namespace {

int operationsTried = 0;
int requestsFailed = 0;

QByteArray bytesOf(const ep::CxScopedBuffer& image)
{
    return QByteArray(reinterpret_cast<const char*>(&image.image()), sizeof(ep::SxImageInfo))
           + (image->data ? QByteArray(static_cast<const char*>(image->data), int(storageBytes(image.image())))
                          : QByteArray());
}

/** What loses something when it gets no memory for more, or holds another number of blocks then. */
constexpr const char* losers[] = {
    "tzset",       // of the C library, which keeps the name of the time zone
    "/libQt5Xml",  // a node that is not in its tree yet
    // What their constructors have made so far:
    "QXmlStreamReader",
    "QXmlStreamWriter",
    "QDirIterator",
};

const QByteArray oldContent = "old\n";

QStringList filesBeside(const QString& path)
{
    return QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden);
}

/** One run of an operation. */
struct Run {
    bool isDone = false;
    bool hasThrown = false;
    bool isFileSound = true;
    int requests = 0;
    QByteArray callers;  // of the request that failed

    Run(const Operation& operation, Scene& scene, int failing)
    {
        const bool writes = !operation.written.isEmpty();
        if (writes)
            isFileSound = writeFile(operation.written, oldContent);
        const QStringList before = writes ? filesBeside(operation.written) : QStringList();
        call(operation, scene, failing);
        if (writes)
            isFileSound = isFileSound && filesBeside(operation.written) == before
                          && (readFile(operation.written) == oldContent) != isDone;
    }

private:
    void call(const Operation& operation, Scene& scene, int failing)
    {
        {
            const FailingAllocation allocation(operation.requests, failing);
            try {
                isDone = operation.run(scene);
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
            requests = allocation.count();
        }
        callers = FailingAllocation::callers();
    }
};

/** What operations without a failure are about. */
struct Reference {
    QByteArray inputs;
    QByteArray results;
    int requests = 0;
    QString flaw;

    explicit Reference(const Operation& operation)
    {
        // What is only made once is there the second time.
        for (int turn = 0; turn < 2 && flaw.isEmpty(); ++turn) {
            Scene scene;
            inputs = scene.inputs();
            const Run run(operation, scene, 0);
            if (!run.isDone)
                flaw = QStringLiteral("it fails with memory");
            if (scene.inputs() != inputs || !run.isFileSound)
                flaw = QStringLiteral("it spoils something");
            results = scene.results();
            requests = run.requests;
        }
    }
};

QString flawOfRun(const Operation& operation, const Run& run, const Scene& scene, const Reference& reference)
{
    if (scene.inputs() != reference.inputs || !scene.isSound)
        return QStringLiteral("what it was given is changed");
    if (!run.isFileSound)
        return QStringLiteral("the file is neither the old one nor the new one, or has company");
    if (run.hasThrown)
        return operation.fails == Fails::ByThrowing ? QString() : QStringLiteral("it throws");
    return !run.isDone || scene.results() == reference.results ? QString() : QStringLiteral("its result is another");
}

/** How many blocks there are more than @p before. What other threads still hold has @p milliseconds to be given back.
 */
qint64 blocksMoreThan(qint64 before, Requests requests, int milliseconds)
{
    qint64 more = liveBlocks(requests) - before;
    for (int waited = 0; more != 0 && waited < milliseconds; ++waited) {
        QThread::msleep(1);
        more = liveBlocks(requests) - before;
    }
    return more;
}

/** One request that fails. What is only made once, such as the data of a locale, is no leak: it is there later. */
QString flawOfRequest(const Operation& operation, const Reference& reference, int failing)
{
    constexpr int mostTurns = 4;
    constexpr int patientTurns = 2;
    qint64 leaked = 1;
    for (int turn = 0; turn < mostTurns && leaked != 0; ++turn) {
        const qint64 before = liveBlocks(operation.requests);
        {
            Scene scene;
            const Run run(operation, scene, failing);
            const QString flaw = flawOfRun(operation, run, scene, reference);
            if (!flaw.isEmpty())
                return flaw;
            if (std::any_of(std::begin(losers), std::end(losers),
                            [&](const char* loser) { return run.callers.contains(loser); }))
                return QString();
        }
        leaked = blocksMoreThan(before, operation.requests, turn < mostTurns - patientTurns ? 0 : 1000);
    }
    if (leaked == 0)
        return QString();
    return QStringLiteral("%1 blocks of memory are lost in %2")
        .arg(leaked)
        .arg(QString::fromLatin1(FailingAllocation::callers()));
}

/** What came of a first use in a process of its own. */
enum FirstUse { Survived, Reached, Spoilt };

/** Qt ends the process when it has no memory for looking at a plug-in: destructors throw then. */
[[noreturn]] void endProcess()
{
    const QByteArray callers = FailingAllocation::callers();
    if (callers.contains("QPluginLoader"))
        _exit(Reached);
    qWarning("what failed: %s", callers.constData());
    std::abort();
}

FirstUse useFirst(const Operation& operation, int failing)
{
    std::set_terminate(&endProcess);
    Scene scene;
    const Run run(operation, scene, failing);
    if (run.requests < failing)
        return run.isDone ? Survived : Spoilt;
    if (!run.isFileSound || (run.hasThrown && operation.fails != Fails::ByThrowing))
        return Spoilt;
    Scene again;
    const bool isRight = Run(operation, again, 0).isDone && (!run.isDone || scene.results() == again.results());
    if (!isRight)
        qWarning("what failed: %s", run.callers.constData());
    return isRight ? Reached : Spoilt;
}

/** The name of a function as rows have it; empty for what does not count. */
QString rowName(QString function, const QString& scope)
{
    function = function.left(function.indexOf(QLatin1Char('(')));
    if (!function.startsWith(scope))
        return QString();
    function = function.mid(scope.size()).replace(QLatin1String("::"), QLatin1String("."));
    for (const char* mark : {"~", ".metaObject", ".qt_meta"})
        if (function.contains(QLatin1String(mark)))
            return QString();
    return function;
}

bool isExcluded(const QString& name, const QStringList& excluded)
{
    return std::any_of(excluded.begin(), excluded.end(), [&](const QString& entry) {
        return entry.endsWith(QLatin1Char('.')) ? name.startsWith(entry) : name == entry;
    });
}

}  // namespace

Scene::Scene()
    : mosaic(cameraMosaic(ep::BayerGridRGGB, columns, rows, 12)),
      photo(randomImage(describe(ep::DataTypeUInt8, columns, rows, 3), 2)),
      planes(randomImage(describe(ep::DataTypeUInt16, columns, rows, 4, ep::LayoutPlanar), 3)),
      doubles(plainNumbers(describe(ep::DataTypeDouble, columns, rows))),
      mask(randomImage(describe(ep::DataTypeUInt8, columns, rows), 4)), metadata(cameraMetadata(mosaic.image())),
      changed(copyOf(mosaic.image()))
{
}

QByteArray Scene::inputs() const
{
    QByteArray all = metadata.saveToXml(-1).toLatin1();
    for (const ep::CxScopedBuffer* image : {&mosaic, &photo, &planes, &doubles, &mask})
        all += bytesOf(*image);
    return all;
}

QByteArray Scene::results() const
{
    return bytesOf(made) + bytesOf(changed) + said
           + QByteArray(reinterpret_cast<const char*>(numbers.data()), int(sizeof(numbers)));
}

void addRows(const std::vector<Operation>& operations)
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Operation& operation : operations)
        QTest::newRow(operation.name) << index++;
}

QString flawOf(const Operation& operation)
{
    constexpr qint64 usually = 80;
    const Reference reference(operation);
    if (!reference.flaw.isEmpty())
        return reference.flaw;
    if (areAllRequestsSeen && (reference.requests == 0) != (operation.fails == Fails::Never))
        return QStringLiteral("it makes %1 requests").arg(reference.requests);
    ++operationsTried;
    for (const qint64 i : sampleOf(reference.requests, usually)) {
        const int failing = int(i) + 1;
        ++requestsFailed;
        const QString flaw = flawOfRequest(operation, reference, failing);
        if (!flaw.isEmpty())
            return QStringLiteral("request %1 of %2: %3").arg(failing).arg(reference.requests).arg(flaw);
    }
    return QString();
}

QString flawOfFirstUse(const Operation& operation)
{
    const int step = areLongTestsWanted() ? 7 : 101;
    for (int failing = 1;; failing += step) {
        const pid_t process = fork();
        if (process == 0)
            _exit(useFirst(operation, failing));
        int status = 0;
        if (process < 0 || waitpid(process, &status, 0) != process)
            return QStringLiteral("no process could be made");
        if (!WIFEXITED(status) || WEXITSTATUS(status) == Spoilt)
            return QStringLiteral("request %1: %2")
                .arg(failing)
                .arg(WIFEXITED(status) ? QStringLiteral("it does not work afterwards")
                                       : QStringLiteral("signal %1").arg(WTERMSIG(status)));
        if (WEXITSTATUS(status) == Survived)
            return failing > 1 ? QString() : QStringLiteral("it makes no request");
        ++requestsFailed;
    }
}

QStringList unlisted(const QString& file, const QString& scope, const std::vector<Operation>& operations,
                     const QStringList& excluded)
{
    QStringList tried;
    for (const Operation& operation : operations)
        tried << QString::fromLatin1(operation.name).section(QLatin1String(" ("), 0, 0).split(QStringLiteral(", "));
    QStringList exported;
    const ProgramRun symbols = runProgram(QStringLiteral("nm"), {QStringLiteral("-DC"), file});
    for (const QString& line : symbols.out.split(QLatin1Char('\n'))) {
        const QString name = rowName(line.section(QLatin1String(" T "), 1), scope);
        if (!name.isEmpty() && !isExcluded(name, excluded))
            exported << name;
    }
    QStringList rest;
    for (const QString& name : qAsConst(exported))
        if (!tried.contains(name))
            rest << name;
    for (const QString& name : qAsConst(tried))
        if (!exported.contains(name))
            rest << QStringLiteral("not exported: ") + name;
    rest.removeDuplicates();
    return rest;
}

QString lowMemoryFigures()
{
    return QStringLiteral("%1 operations, %2 requests failed").arg(operationsTried).arg(requestsFailed);
}

}  // namespace testing
