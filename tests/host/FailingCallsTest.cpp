// Reading or writing that fails at any system call, or does half of it: an error that names the file, the old file as
// it was; or the new one, whole.

#include "CallTrace.h"
#include "ConvertTesting.h"
#include "LongTests.h"
#include "ShortWrite.h"

#include <orn/orn_core.h>

using namespace testing;

namespace {

struct Format {
    const char* suffix;
    ep::ExImageDataType type;
    int channels;
};

constexpr Format formats[] = {{"mat", ep::DataTypeUInt16, 3}, {"tif", ep::DataTypeUInt16, 3},
                              {"dng", ep::DataTypeUInt16, 1}, {"fits", ep::DataTypeUInt16, 1},
                              {"pam", ep::DataTypeUInt16, 3}, {"png", ep::DataTypeUInt16, 3},
                              {"exr", ep::DataTypeFloat, 3}};

constexpr int columns = 40;
constexpr int rows = 30;
const QByteArray oldContent = "old\n";

/** True for calls without which what was to be written is not there. */
bool isNeeded(const TracedCall& call)
{
    // Of a folder, which some file systems cannot flush; the file has its name by then.
    if (call.name == QLatin1String("fsync") && !call.line.contains(QLatin1String("/.out-")))
        return false;
    static const QStringList needed{QStringLiteral("write"), QStringLiteral("pwrite64"), QStringLiteral("writev"),
                                    QStringLiteral("fsync"), QStringLiteral("rename"),   QStringLiteral("renameat2")};
    return needed.contains(call.name);
}

/** Of @p calls, about @p usually; in long tests all. */
QVector<TracedCall> someOf(const QVector<TracedCall>& calls, qint64 usually)
{
    QVector<TracedCall> some;
    for (const qint64 i : sampleOf(calls.size(), usually))
        some << calls[int(i)];
    return some;
}

QString errorOf(const TracedCall& call)
{
    if (call.name == QLatin1String("openat") || call.name.startsWith(QLatin1String("rename")))
        return QStringLiteral("EACCES");
    return call.name.contains(QLatin1String("write")) ? QStringLiteral("ENOSPC") : QStringLiteral("EIO");
}

}  // namespace

class FailingCallsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void anyCallFails_data();
    void anyCallFails();
    void anyCallIsInterrupted_data();
    void anyCallIsInterrupted();
    void anyWriteIsShort_data();
    void anyWriteIsShort();

private:
    static void addFormats();
    QVector<TracedCall> prepare(const Format& format);
    QString flawOf(const ProgramRun& run, bool mayWork) const;

    QString m_in;
    QString m_out;
    std::unique_ptr<ImageFolder> m_files;
};

void FailingCallsTest::initTestCase()
{
    orn::Init();
    if (!CallTrace::isPossible())
        QSKIP("this system lets no program be traced");
}

void FailingCallsTest::addFormats()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Format& format : formats)
        QTest::newRow(format.suffix) << index++;
}

/** Makes the files of a conversion, and lists the calls on them. */
QVector<TracedCall> FailingCallsTest::prepare(const Format& format)
{
    m_files = std::make_unique<ImageFolder>();
    m_in = m_files->path("in.") + QLatin1String(format.suffix);
    m_out = m_files->path("out.") + QLatin1String(format.suffix);
    ep::CxScopedBuffer image = plainNumbers(describe(format.type, columns, rows, format.channels));
    image->bayerGrid = format.channels == 1 ? ep::BayerGridRGGB : ep::BayerGridNone;
    if (!m_files->save(QFileInfo(m_in).fileName(), image))
        return {};
    writeFile(m_out, oldContent);
    return CallTrace::callsOn(m_files->path(""), {QStringLiteral("convert"), m_in, m_out});
}

/** What is wrong with the end of a conversion; empty when nothing is. */
QString FailingCallsTest::flawOf(const ProgramRun& run, bool mayWork) const
{
    if (m_files->names() != QStringList{QFileInfo(m_in).fileName(), QFileInfo(m_out).fileName()})
        return QStringLiteral("left behind: ") + m_files->names().join(QLatin1Char(' '));
    if (run.code == 0) {
        const bool isWhole = ep::SameSamples(m_files->load(QFileInfo(m_in).fileName()).image.image(),
                                             m_files->load(QFileInfo(m_out).fileName()).image.image());
        return isWhole && mayWork ? QString() : QStringLiteral("it seemed to work");
    }
    if (run.code < 3 || run.code > 5)
        return QStringLiteral("not the exit code of a file");
    if (readFile(m_out) != oldContent)
        return QStringLiteral("the old file is lost");
    return saysOf(run, m_in, "") || saysOf(run, m_out, "") ? QString() : QStringLiteral("no file is named");
}

void FailingCallsTest::anyCallFails()
{
    QFETCH(int, index);
    const QVector<TracedCall> calls = prepare(formats[index]);
    QVERIFY(calls.size() > 8);
    for (const TracedCall& call : someOf(calls, 10)) {
        QVERIFY(writeFile(m_out, oldContent));
        const ProgramRun run = CallTrace::runFailing(call, errorOf(call), {QStringLiteral("convert"), m_in, m_out});
        const QString flaw = flawOf(run, !isNeeded(call));
        QVERIFY2(flaw.isEmpty(), (flaw + QLatin1Char('\n') + call.line).toUtf8() + '\n' + run.all());
    }
}

void FailingCallsTest::anyCallFails_data()
{
    addFormats();
}

void FailingCallsTest::anyCallIsInterrupted_data()
{
    addFormats();
}

void FailingCallsTest::anyCallIsInterrupted()
{
    QFETCH(int, index);
    if (index > 1 && !areLongTestsWanted())
        QSKIP("only in long tests");
    for (const TracedCall& call : someOf(prepare(formats[index]), 10)) {
        QVERIFY(writeFile(m_out, oldContent));
        const ProgramRun run =
            CallTrace::runFailing(call, QStringLiteral("EINTR"), {QStringLiteral("convert"), m_in, m_out});
        const QString flaw = flawOf(run, true);
        QVERIFY2(flaw.isEmpty(), (flaw + QLatin1Char('\n') + call.line).toUtf8() + '\n' + run.all());
    }
}

void FailingCallsTest::anyWriteIsShort_data()
{
    addFormats();
}

void FailingCallsTest::anyWriteIsShort()
{
    QFETCH(int, index);
    if (!ShortWrite::isPossible)
        QSKIP("calls are shortened on x86-64 alone");
    QVector<TracedCall> writes;
    for (const TracedCall& call : prepare(formats[index]))
        if (ShortWrite::isWrite(call))
            writes << call;
    QVERIFY(!writes.isEmpty());
    for (const TracedCall& call : someOf(writes, 4)) {
        QVERIFY(writeFile(m_out, oldContent));
        bool isShort = false;
        const ProgramRun run = ShortWrite::run(call, {QStringLiteral("convert"), m_in, m_out}, isShort);
        QVERIFY2(isShort, call.line.toUtf8());
        const QString flaw = flawOf(run, true);
        QVERIFY2(flaw.isEmpty(), (flaw + QLatin1Char('\n') + call.line).toUtf8() + '\n' + run.all());
    }
}

QTEST_GUILESS_MAIN(FailingCallsTest)
#include "FailingCallsTest.moc"
