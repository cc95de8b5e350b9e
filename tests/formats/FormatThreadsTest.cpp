// Eight threads write and read files of every format at once, each its own, and report to one protocol and one
// progress.

#include "TestImages.h"
#include "Threads.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>
#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

struct Kind {
    const char* suffix;
    ep::ExImageDataType type;
    int channels;
    bool isExact = true;
};

constexpr Kind kinds[] = {
    {"mat", ep::DataTypeUInt16, 1},        {"mat", ep::DataTypeDouble, 3},       {"tif", ep::DataTypeUInt16, 3},
    {"dng", ep::DataTypeUInt16, 1},        {"fits", ep::DataTypeUInt16, 1},      {"fits", ep::DataTypeFloat, 3},
    {"pgm", ep::DataTypeUInt16, 1},        {"pam", ep::DataTypeUInt8, 4},        {"pfm", ep::DataTypeFloat, 3},
    {"png", ep::DataTypeUInt16, 3},        {"exr", ep::DataTypeFloat, 3},        {"dpx", ep::DataTypeUInt16, 3},
    {"bmp", ep::DataTypeUInt8, 3},         {"tga", ep::DataTypeUInt8, 3},        {"jpg", ep::DataTypeUInt8, 3, false},
    {"webp", ep::DataTypeUInt8, 3, false}, {"hdr", ep::DataTypeFloat, 3, false},
};
constexpr int kindCount = sizeof(kinds) / sizeof(kinds[0]);
constexpr int threadCount = 8;

}  // namespace

class FormatThreadsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(orn::Init()); }
    void oneFormatInAllThreads_data();
    void oneFormatInAllThreads();
    void anotherFormatInEachThread();

private:
    bool passes(const Kind& kind, int thread, int round);

    QTemporaryDir m_folder;
    orn::Protocol m_protocol;
    orn::CxProgressInfo m_progress;
};

/** Writes an image of its own, reads it and reports; false when another one comes back. */
bool FormatThreadsTest::passes(const Kind& kind, int thread, int round)
{
    const QString path =
        m_folder.filePath(QStringLiteral("%1-%2.").arg(thread).arg(round) + QLatin1String(kind.suffix));
    ep::CxScopedBuffer image = plainNumbers(describe(kind.type, 32 + thread, 24 + round, kind.channels));
    if (qstrcmp(kind.suffix, "dng") == 0)
        image->bayerGrid = ep::BayerGridRGGB;
    ep::CxMetadata metadata;
    ep::CxScopedBuffer again;
    const bool isRead = Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString())
                        && Manager::loadImageFromFile(path, again.image(), &metadata);
    m_protocol.addMessage(path);
    m_progress.setTotalProgress(round, path);
    if (!isRead || m_progress.isCanceled() || m_protocol.isEmpty() || metadata.isEmpty())
        return false;
    return kind.isExact ? ep::SameSamples(image.image(), again.image())
                        : again->width == image->width && again->height == image->height;
}

void FormatThreadsTest::oneFormatInAllThreads_data()
{
    QTest::addColumn<int>("kind");
    for (int i = 0; i < kindCount; ++i)
        QTest::addRow("%s of %s", kinds[i].suffix, ep::sampleFacts(kinds[i].type).name) << i;
}

/** Also the first use of each plug-in: all threads need it at the same moment. */
void FormatThreadsTest::oneFormatInAllThreads()
{
    QFETCH(int, kind);
    constexpr int rounds = 3;
    m_protocol.reset();
    const int failures = failuresInThreads(threadCount, [&](int thread) {
        for (int round = 0; round < rounds; ++round)
            if (!passes(kinds[kind], thread, round))
                return false;
        return true;
    });
    QCOMPARE(failures, 0);
    QCOMPARE(m_protocol.getProtocol().size(), threadCount * rounds);
}

void FormatThreadsTest::anotherFormatInEachThread()
{
    constexpr int rounds = kindCount;
    m_protocol.reset();
    const int failures = failuresInThreads(threadCount, [&](int thread) {
        for (int round = 0; round < rounds; ++round)
            if (!passes(kinds[(thread * 2 + round) % kindCount], thread, round))
                return false;
        return true;
    });
    QCOMPARE(failures, 0);
    QCOMPARE(m_protocol.getProtocol().size(), threadCount * rounds);
}

QTEST_GUILESS_MAIN(FormatThreadsTest)
#include "FormatThreadsTest.moc"
