// Memory that runs out at any request of a load or a save, in every format: an error, the old file, nothing leaked.

#include "LowMemory.h"

#include "CameraImages.h"
#include "LongTests.h"

#include <ep/CxImageFormatManager.h>
#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include <sys/wait.h>
#include <unistd.h>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

struct Format {
    const char* suffix;
    ep::ExImageDataType type;
    int channels;
    Requests requests;
};

// What the libraries below ask for themselves never fails: they write through what they did not get, or end the
// process.
constexpr Format formats[] = {
    {"mat", ep::DataTypeUInt16, 3, Requests::Ours},       {"tif", ep::DataTypeUInt16, 3, Requests::Ours},
    {"dng", ep::DataTypeUInt16, 1, Requests::Ours},       {"fits", ep::DataTypeDouble, 1, Requests::Ours},
    {"pam", ep::DataTypeUInt16, 4, Requests::Everything}, {"pfm", ep::DataTypeFloat, 1, Requests::Everything},
    {"png", ep::DataTypeUInt16, 3, Requests::Ours},       {"exr", ep::DataTypeFloat, 3, Requests::Ours},
};

ep::CxScopedBuffer imageFor(const Format& format)
{
    ep::CxScopedBuffer image = plainNumbers(describe(format.type, Scene::columns, Scene::rows, format.channels));
    if (qstrcmp(format.suffix, "dng") == 0)
        image = cameraMosaic(ep::BayerGridRGGB, Scene::columns, Scene::rows, 12);
    return image;
}

}  // namespace

class LowMemoryTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theFirstUseFails_data();
    void theFirstUseFails();
    void loadingFails_data() { addFormats(); }
    void loadingFails();
    void savingFails_data() { addFormats(); }
    void savingFails();
    void cleanupTestCase() { qInfo("%s", qPrintable(lowMemoryFigures())); }

private:
    static void addFormats();
    bool makeFiles() const;
    Operation loading(const Format& format) const;
    Operation saving(const Format& format) const;
    QString path(const char* name, const Format& format) const
    {
        return m_folder.filePath(QLatin1String(name)) + QLatin1String(format.suffix);
    }

    QTemporaryDir m_folder;
};

void LowMemoryTest::addFormats()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Format& format : formats)
        QTest::newRow(format.suffix) << index++;
}

Operation LowMemoryTest::loading(const Format& format) const
{
    return {format.suffix,
            [file = path("in.", format)](Scene& s) {
                ep::CxMetadata metadata;
                const bool done = Manager::loadImageFromFile(file, s.made.image(), &metadata);
                s.isSound = done || !s.made->data;
                return done;
            },
            Fails::ByResult, format.requests};
}

Operation LowMemoryTest::saving(const Format& format) const
{
    const auto image = std::make_shared<ep::CxScopedBuffer>(imageFor(format));
    const QString file = path("out.", format);
    return {format.suffix,
            [image, file](Scene& s) {
                return Manager::saveImageToFile(file, image->image(), &s.metadata, nullptr, false, QString());
            },
            Fails::ByResult, format.requests, file};
}

bool LowMemoryTest::makeFiles() const
{
    bool done = true;
    for (const Format& format : formats) {
        const ep::CxScopedBuffer image = imageFor(format);
        const ep::CxMetadata metadata = cameraMetadata(image.image());
        done =
            Manager::saveImageToFile(path("in.", format), image.image(), &metadata, nullptr, false, QString()) && done;
    }
    return done;
}

void LowMemoryTest::initTestCase()
{
    orn::Init();
    // By another process: what is loaded or made once must not be here yet.
    const pid_t maker = fork();
    if (maker == 0)
        _exit(makeFiles() ? 0 : 1);
    int status = 1;
    QVERIFY(maker > 0 && waitpid(maker, &status, 0) == maker && status == 0);
}

void LowMemoryTest::theFirstUseFails_data()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < int(std::size(formats)); ++index)
        if (areLongTestsWanted() || qstrcmp(formats[index].suffix, "pam") == 0)
            QTest::newRow(formats[index].suffix) << index;
}

void LowMemoryTest::theFirstUseFails()
{
    QFETCH(int, index);
    if (!areAllRequestsSeen)
        QSKIP(
            "the first use asks for no storage of images before the second one does, and all else is the sanitizer's");
    const QString flaw = flawOfFirstUse(loading(formats[index]));
    QVERIFY2(flaw.isEmpty(), qPrintable(flaw));
}

void LowMemoryTest::loadingFails()
{
    QFETCH(int, index);
    const QString flaw = flawOf(loading(formats[index]));
    QVERIFY2(flaw.isEmpty(), qPrintable(flaw));
}

void LowMemoryTest::savingFails()
{
    QFETCH(int, index);
    const QString flaw = flawOf(saving(formats[index]));
    QVERIFY2(flaw.isEmpty(), qPrintable(flaw));
}

QTEST_GUILESS_MAIN(LowMemoryTest)
#include "LowMemoryTest.moc"
