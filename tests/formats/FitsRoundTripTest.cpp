// Images that were written as FITS come back sample for sample.
#include "FitsFiles.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include <limits>

using namespace testing;
using Manager = ep::CxImageFormatManager;

class FitsRoundTripTest : public QObject {
    Q_OBJECT
private slots:
    void everyTypeComesBack_data();
    void everyTypeComesBack();
    void reversedColorsAreWrittenRedFirst();
    void depthIsKept_data();
    void depthIsKept();
    void everyBitOfAFloatIsKept();
    void complexIsRefused();
    void unsoundImagesAreRefused();
    void anOldFileIsReplaced();
    void namesAreNoOrders_data();
    void namesAreNoOrders();
    void theManagerSavesAndLoads();
    void listsAgree();
};

void FitsRoundTripTest::everyTypeComesBack_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QSize>("size");
    for (const ep::ExImageDataType type : allTypes) {
        if (type == ep::DataTypeComplex)
            continue;
        for (const ep::ExImageLayout layout : allLayouts)
            for (const int channels : {1, 2, 3, 4, 7})
                QTest::addRow("%s in %d %s channels", ep::sampleFacts(type).name, channels,
                              layout == ep::LayoutPacked ? "packed" : "planar")
                    << int(type) << int(layout) << channels << QSize(37, 23);
    }
    const int wide = ep::DataTypeUInt16;
    QTest::newRow("one sample") << wide << 0 << 1 << QSize(1, 1);
    QTest::newRow("one column") << wide << 0 << 3 << QSize(1, 400);
    QTest::newRow("one row") << wide << 1 << 3 << QSize(400, 1);
    QTest::newRow("rows of more than a MiB") << wide << 0 << 1 << QSize(600000, 3);
    QTest::newRow("several MiB") << wide << 0 << 3 << QSize(1023, 1201);
}

void FitsRoundTripTest::everyTypeComesBack()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channels);
    QFETCH(QSize, size);
    const ep::CxScopedBuffer image = plainNumbers(
        describe(ep::ExImageDataType(type), size.width(), size.height(), channels, ep::ExImageLayout(layout), 5));
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    ep::SxFileError error;
    QVERIFY2(saveFits(path, *imageDataOf(copyOf(image.image())), &error), qPrintable(error.reason));
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QCOMPARE(int(loaded.image().dataType), type);
    QCOMPARE(loaded.image().channels, channels);
    QCOMPARE(loaded.image().bitDepth, ep::sampleFacts(type).bits);
    QVERIFY(ep::SameSamples(loaded.image(), image.image()));
}

void FitsRoundTripTest::reversedColorsAreWrittenRedFirst()
{
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt8, 9, 5, 3));
    image->formatCode = ep::FormatCodeReversedColors;
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    QVERIFY(saveFits(path, *imageDataOf(copyOf(image.image()))));
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY(loaded);
    for (int c = 0; c < 3; ++c)
        QVERIFY(sameSample(loaded.image(), 4, 3, c, image.image(), 4, 3, 2 - c));
}

void FitsRoundTripTest::depthIsKept_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("depth");
    QTest::addColumn<quint32>("largest");
    QTest::addColumn<int>("kept");
    QTest::newRow("12 of 16 bits") << int(ep::DataTypeUInt16) << 12 << 4095u << 12;
    QTest::newRow("12 bits of which 9 are used") << int(ep::DataTypeUInt16) << 12 << 300u << 12;
    QTest::newRow("1 of 8 bits") << int(ep::DataTypeUInt8) << 1 << 1u << 1;
    QTest::newRow("31 of 32 bits") << int(ep::DataTypeUInt32) << 31 << 0x7fffffffu << 31;
    QTest::newRow("samples past their depth make it that of the type") << int(ep::DataTypeUInt16) << 12 << 4096u << 16;
}

void FitsRoundTripTest::depthIsKept()
{
    QFETCH(int, type);
    QFETCH(int, depth);
    QFETCH(quint32, largest);
    QFETCH(int, kept);
    ep::SxImageInfo info = describe(ep::ExImageDataType(type), 6, 4);
    info.bitDepth = depth;
    ep::CxScopedBuffer image(info);
    QVERIFY(!ep::failed(image.allocate(true)));
    std::memcpy(address(image.image(), 2, 3, 0), &largest, size_t(ep::sampleFacts(type).bytes));
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    QVERIFY(saveFits(path, *imageDataOf(copyOf(image.image()))));
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY(loaded);
    QCOMPARE(loaded.image().bitDepth, kept);
    QCOMPARE(loaded.common().colorBitDepth, kept);
    QVERIFY(ep::SameSamples(loaded.image(), image.image()));
}

void FitsRoundTripTest::everyBitOfAFloatIsKept()
{
    const quint32 odd[] = {0x7fc00000, 0xffc12345, 0x7f800000, 0xff800000,
                           0x00000001, 0x80000000, 0x7f7fffff, 0x7fa00001};
    ep::CxScopedBuffer image(describe(ep::DataTypeFloat, 4, 2));
    QVERIFY(!ep::failed(image.allocate()));
    std::memcpy(image->data, odd, sizeof(odd));
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    QVERIFY(saveFits(path, *imageDataOf(copyOf(image.image()))));
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY(loaded);
    QVERIFY(std::memcmp(loaded.image().data, odd, sizeof(odd)) == 0);
}

void FitsRoundTripTest::complexIsRefused()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    ep::SxFileError error;
    QVERIFY(!saveFits(path, *imageDataOf(randomImage(describe(ep::DataTypeComplex, 3, 2))), &error));
    QCOMPARE(error.kind, ep::ExFileError::Refused);
    QVERIFY(!QFile::exists(path));
}

void FitsRoundTripTest::unsoundImagesAreRefused()
{
    const QTemporaryDir folder;
    ep::SxFileError error;
    QVERIFY(!saveFits(folder.filePath(QStringLiteral("image.fits")), ep::CxImageData(), &error));
    QCOMPARE(error.kind, ep::ExFileError::Refused);
    QVERIFY(!saveFits(folder.path(), *imageDataOf(randomImage(describe(ep::DataTypeUInt8, 3, 2))), &error));
    QCOMPARE(error.kind, ep::ExFileError::Unwritable);
    QVERIFY(!error.reason.isEmpty());
}

void FitsRoundTripTest::anOldFileIsReplaced()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    QVERIFY(writeFile(path, QByteArray(100000, 'x')));
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeInt8, 3, 2));
    QVERIFY(saveFits(path, *imageDataOf(copyOf(image.image()))));
    QCOMPARE(QFile(path).size(), qint64(2 * 2880));
    QVERIFY(ep::SameSamples(loadFitsFile(path).image(), image.image()));
}

void FitsRoundTripTest::namesAreNoOrders_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"a[1].fits", "a[1:2,1:2].fits", "a+1.fits", "~root.fits", "!a.fits", "a(b.fits).fits",
                             "mem:a.fits", "-", "a b'\"$(c).fits", "a.fits[#1>0].fits", "http:a.fits", "a.fits.gz"})
        QTest::newRow(name) << QString::fromLatin1(name);
    QTest::newRow("other scripts") << QString::fromUtf8("相機 Größe.fits");
    QTest::newRow("a path of 1400 bytes")
        << QStringLiteral("%1/%1/%1/%1/%1/%1/%1/a.fits").arg(QString(200, QLatin1Char('d')));
}

void FitsRoundTripTest::namesAreNoOrders()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    const QString path = folder.filePath(name);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 5, 4));
    QVERIFY(saveFits(path, *imageDataOf(copyOf(image.image()))));
    QCOMPARE(QDir(QFileInfo(path).path()).entryList(QDir::Files), QStringList{QFileInfo(path).fileName()});
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QVERIFY(ep::SameSamples(loaded.image(), image.image()));
}

void FitsRoundTripTest::theManagerSavesAndLoads()
{
    const QTemporaryDir folder;
    for (const char* suffix : {"fits", "fit", "fts", "FITS"}) {
        const QString path = folder.filePath(QStringLiteral("image.") + QLatin1String(suffix));
        ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 11, 6));
        image->bayerGrid = ep::BayerGridGBRG;
        ep::SxFileError error;
        QVERIFY2(Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error),
                 qPrintable(error.reason));
        ep::CxScopedBuffer again;
        QVERIFY2(Manager::loadImageFromFile(path, again.image(), nullptr, nullptr, &error), qPrintable(error.reason));
        QCOMPARE(again->bayerGrid, ep::BayerGridGBRG);
        QVERIFY(ep::SameSamples(again.image(), image.image()));
    }
}

// What the manager knows before it loads the module is what the module's classes say.
void FitsRoundTripTest::listsAgree()
{
    const QJsonArray listed = QPluginLoader(QStringLiteral(ORN_FORMATS_DIR "/epformat_fits"))
                                  .metaData()
                                  .value(QStringLiteral("MetaData"))
                                  .toObject()
                                  .value(QStringLiteral("formats"))
                                  .toArray();
    QList<QPair<QString, int>> read, written;
    for (const QJsonValue& value : listed) {
        const QPair<QString, int> entry{value[QStringLiteral("filter")].toString(),
                                        value[QStringLiteral("rank")].toInt()};
        if (value[QStringLiteral("read")].toBool())
            read << entry;
        if (value[QStringLiteral("write")].toBool())
            written << entry;
    }
    QCOMPARE(read.size(), 2);
    loadFormatPlugin(QStringLiteral("fits"));
    QCOMPARE(makeRegistered<ep::IxImageDataLoader>(fitsLoader, "IxImageDataLoader")->formats(), read);
    QCOMPARE(makeRegistered<ep::IxImageDataSaver>("ep::fits::CxFitsImageSaver", "IxImageDataSaver")->formats(),
             written);
}

QTEST_GUILESS_MAIN(FitsRoundTripTest)
#include "FitsRoundTripTest.moc"
