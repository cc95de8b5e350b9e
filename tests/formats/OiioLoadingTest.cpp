// OpenImageIO and its 250 libraries are loaded for the files that need it, and for no other.
#include "FormatPlugin.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <orn/orn_core.h>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

bool isLoaded(const char* library)
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains(library);
}

}  // namespace

class OiioLoadingTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(orn::Init()); }
    // The order matters: what is loaded stays.
    void otherFormatsDoWithoutIt_data();
    void otherFormatsDoWithoutIt();
    void theListDoesWithoutIt();
    void aFileThatNeedsItLoadsIt();
};

void OiioLoadingTest::otherFormatsDoWithoutIt_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::newRow("MAT") << "mat";
    QTest::newRow("TIFF") << "tif";
    QTest::newRow("DNG") << "dng";
    QTest::newRow("PGM") << "pgm";
}

void OiioLoadingTest::otherFormatsDoWithoutIt()
{
    QFETCH(QString, suffix);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.") + suffix);
    bool isServed = false;
    const QList<ep::SxFormatInfo> formats = Manager::instance()->formats();
    for (const ep::SxFormatInfo& format : formats)
        isServed = isServed || format.suffixes.contains(suffix);
    if (!isServed)
        QSKIP("the module of this format is not built here");
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 40, 34));
    ep::SxFileError error;
    const bool isSaved = Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error);
    if (suffix != QLatin1String("dng"))
        QVERIFY2(isSaved, qPrintable(error.reason));
    // Sound, damaged, and one that no module knows.
    ep::CxScopedBuffer again;
    Manager::loadImageFromFile(path, again.image(), nullptr);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("nothing that anybody reads");
    file.close();
    ep::CxScopedBuffer none;
    QVERIFY(!Manager::loadImageFromFile(path, none.image(), nullptr));
    QVERIFY(!isLoaded("libOpenImageIO"));
    QVERIFY(!isLoaded("epformat_oiio"));
}

void OiioLoadingTest::theListDoesWithoutIt()
{
    bool isListed = false;
    const QList<ep::SxFormatInfo> formats = Manager::instance()->formats();
    for (const ep::SxFormatInfo& format : formats)
        isListed = isListed || format.suffixes.contains(QStringLiteral("png"));
    QVERIFY(isListed);
    QVERIFY(!isLoaded("libOpenImageIO"));
}

void OiioLoadingTest::aFileThatNeedsItLoadsIt()
{
    QTemporaryDir folder;
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 40, 34));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(Manager::saveImageToFile(folder.filePath(QStringLiteral("image.png")), image.image(), nullptr, nullptr,
                                     false, QString()));
    qInfo("the first PNG file took %lld ms, the loading of OpenImageIO included", timer.elapsed());
    QVERIFY(isLoaded("libOpenImageIO"));
}

QTEST_GUILESS_MAIN(OiioLoadingTest)
#include "OiioLoadingTest.moc"
