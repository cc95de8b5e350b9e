#include "PnmMaker.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

class PnmManagerTest : public QObject {
    Q_OBJECT
private slots:
    void isListed_data();
    void isListed();
    void sensorDepthIsKept_data();
    void sensorDepthIsKept();
    void mosaicsComeBack();
    void refusalsAreTold();
    void listsAgree();
};

void PnmManagerTest::isListed_data()
{
    QTest::addColumn<QString>("suffix");
    for (const char* suffix : {"pbm", "pgm", "ppm", "pnm", "pam", "pfm"})
        QTest::newRow(suffix) << QString::fromLatin1(suffix);
}

void PnmManagerTest::isListed()
{
    QFETCH(QString, suffix);
    const QList<ep::SxFormatInfo> formats = Manager::instance()->formats();
    int count = 0;
    for (const ep::SxFormatInfo& format : formats)
        if (format.suffixes.contains(suffix) && format.rank == 30 && format.reads && format.writes)
            ++count;
    QVERIFY(count > 0);
}

void PnmManagerTest::sensorDepthIsKept_data()
{
    QTest::addColumn<int>("maxval");
    QTest::addColumn<int>("depth");
    QTest::newRow("1023") << 1023 << 10;
    QTest::newRow("4095") << 4095 << 12;
    QTest::newRow("16383") << 16383 << 14;
}

void PnmManagerTest::sensorDepthIsKept()
{
    QFETCH(int, maxval);
    QFETCH(int, depth);
    QTemporaryDir folder;
    const PnmMap map = makeMap(5, 13, 6, 1, maxval);
    QFile file(folder.filePath(QStringLiteral("sensor.pgm")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(mapFile(map));
    file.close();

    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    QVERIFY(Manager::loadImageFromFile(file.fileName(), image.image(), &metadata));
    QCOMPARE(image->bitDepth, depth);
    QVERIFY(holdsMap(image.image(), map));

    const QString copy = folder.filePath(QStringLiteral("copy.pgm"));
    ep::SxFileError error;
    QVERIFY2(Manager::saveImageToFile(copy, image.image(), &metadata, nullptr, false, QString(), &error),
             qPrintable(error.reason));
    ep::CxScopedBuffer again;
    QVERIFY(Manager::loadImageFromFile(copy, again.image(), nullptr));
    QCOMPARE(again->bitDepth, depth);
    QVERIFY(ep::SameSamples(again.image(), image.image()));
}

void PnmManagerTest::mosaicsComeBack()
{
    QTemporaryDir folder;
    for (const char* suffix : {"pgm", "pnm", "pam"})
        for (int grid = 0; grid <= 3; ++grid) {
            ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 8, 6));
            image->bayerGrid = static_cast<ep::ExBayerGrid>(grid);
            const QString path = folder.filePath(QStringLiteral("mosaic.") + QLatin1String(suffix));
            QVERIFY(Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()));
            ep::CxScopedBuffer again;
            QVERIFY(Manager::loadImageFromFile(path, again.image(), nullptr));
            QCOMPARE(int(again->bayerGrid), grid);
            QVERIFY(ep::SameSamples(again.image(), image.image()));
        }
}

void PnmManagerTest::refusalsAreTold()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.pgm"));
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeDouble, 8, 6));
    ep::SxFileError error;
    QVERIFY(!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error));
    QCOMPARE(error.kind, ep::ExFileError::Refused);
    QVERIFY(error.reason.contains(QStringLiteral("double")));
    QVERIFY(!QFile::exists(path));
}

// What the manager knows before it loads the module is what the module's classes say.
void PnmManagerTest::listsAgree()
{
    const QJsonObject told = QPluginLoader(QStringLiteral(ORN_FORMATS_DIR "/epformat_pnm")).metaData();
    const QJsonArray listed =
        told.value(QStringLiteral("MetaData")).toObject().value(QStringLiteral("formats")).toArray();
    QCOMPARE(listed.size(), 6);
    QList<QPair<QString, int>> formats;
    for (const QJsonValue& value : listed)
        formats.append({value.toObject().value(QStringLiteral("filter")).toString(),
                        value.toObject().value(QStringLiteral("rank")).toInt()});
    QCOMPARE(pnmLoader()->formats(), formats);
    QCOMPARE(pnmSaver()->formats(), formats);
}

QTEST_GUILESS_MAIN(PnmManagerTest)
#include "PnmManagerTest.moc"
