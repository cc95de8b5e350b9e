#include "PnmMaker.h"

#include <QtTest>

using namespace testing;

namespace {

QByteArray save(const ep::CxImageData& data, const QString& suffix, bool ascii = false)
{
    const auto saver = pnmSaver();
    saver->setFileName(QStringLiteral("image.") + suffix);
    saver->setOptions({{QStringLiteral("ascii"), ascii}});
    QByteArray file;
    return saver->saveToBuffer(&data, file) ? file : QByteArray();
}

/** An image of @p channels channels with @p item as its metadata. */
std::unique_ptr<ep::CxImageData> imageWith(const ep::CxCommonImageMetadata& item, int channels = 1)
{
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 6, 4, channels));
    if (channels == 1) {
        image->bayerGrid = static_cast<ep::ExBayerGrid>(item.bayerGrid);
        image->patternWidth = item.patternWidth;
        image->patternHeight = item.patternHeight;
    }
    auto data = imageDataOf(std::move(image));
    ep::CxMetadata metadata;
    metadata.addMetadata(item.clone());
    data->setMetadata(std::move(metadata));
    return data;
}

/** A graymap of 4 x 4 with @p xml as its metadata. */
PnmLoaded loadWithXml(const QByteArray& xml, int digit = 2)
{
    QByteArray file = mapFile(makeMap(digit, 4, 4, digit == 3 ? 3 : 1, 255));
    return loadMap(file.insert(3, "#:" + xml + '\n'));
}

QByteArray commonXml(const QByteArray& content)
{
    return "<metadata><item class=\"ep::CxCommonImageMetadata\">" + content + "</item></metadata>";
}

}  // namespace

class PnmMetadataTest : public QObject {
    Q_OBJECT
private slots:
    void gridsSurvive_data();
    void gridsSurvive();
    void factsSurvive_data();
    void factsSurvive();
    void unknownItemsSurvive();
    void nothingKnownWritesNoComment();
    void floatMapsHaveNoComments();
    void linesAreShortAndPrintable();
    void headerStandsBeforeComments();
    void commentByHand();
    void hostileComments_data();
    void hostileComments();
    void tupleTypes_data();
    void tupleTypes();
};

void PnmMetadataTest::gridsSurvive_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<QSize>("cell");
    QTest::addColumn<QString>("suffix");
    for (const char* suffix : {"pgm", "pnm", "pam"}) {
        for (int grid = 0; grid <= 3; ++grid)
            QTest::addRow("grid %d as %s", grid, suffix) << grid << QSize(2, 2) << QString::fromLatin1(suffix);
        QTest::addRow("cell of 3 x 4 as %s", suffix) << 5 << QSize(3, 4) << QString::fromLatin1(suffix);
        QTest::addRow("no grid as %s", suffix) << 4 << QSize(0, 0) << QString::fromLatin1(suffix);
    }
}

void PnmMetadataTest::gridsSurvive()
{
    QFETCH(int, grid);
    QFETCH(QSize, cell);
    QFETCH(QString, suffix);
    // The image alone says it: there are no metadata.
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 6, 4));
    image->bayerGrid = static_cast<ep::ExBayerGrid>(grid);
    image->patternWidth = cell.width();
    image->patternHeight = cell.height();
    const PnmLoaded loaded = loadMap(save(*imageDataOf(std::move(image)), suffix));
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    QCOMPARE(int(loaded.image().bayerGrid), grid);
    QCOMPARE(QSize(loaded.image().patternWidth, loaded.image().patternHeight), cell);
    QCOMPARE(loaded.common().bayerGrid, grid);
}

void PnmMetadataTest::factsSurvive_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<bool>("ascii");
    QTest::newRow("binary graymap") << "pgm" << false;
    QTest::newRow("graymap in text") << "pgm" << true;
    QTest::newRow("arbitrary map") << "pam" << false;
}

void PnmMetadataTest::factsSurvive()
{
    QFETCH(QString, suffix);
    QFETCH(bool, ascii);
    ep::CxCommonImageMetadata item;
    item.bayerGrid = ep::BayerGridGRBG;
    item.cameraMake = QString::fromUtf8("Büro & 50% <grün> 相机 \xf0\x9f\x93\xb7");
    item.cameraModel = QStringLiteral("two\nlines\tand %0A # : ") + QString(500, QLatin1Char('x'));
    item.exposureTime = 1.0 / 3;
    item.blackLevels = {63.5, 64, 64, 65};
    item.whiteLevel = 4095;
    item.attributes.insert(QStringLiteral("lens"), QString::fromUtf8("50 mm ƒ/2"));

    const PnmLoaded loaded = loadMap(save(*imageWith(item), suffix, ascii));
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    const ep::CxCommonImageMetadata& common = loaded.common();
    QCOMPARE(common.cameraMake, item.cameraMake);
    QCOMPARE(common.cameraModel, item.cameraModel);
    QCOMPARE(common.exposureTime, item.exposureTime);
    QCOMPARE(common.blackLevels, item.blackLevels);
    QCOMPARE(common.whiteLevel, item.whiteLevel);
    QCOMPARE(loaded.attribute("lens"), item.attributes.value(QStringLiteral("lens")));
    QCOMPARE(int(loaded.image().bayerGrid), int(ep::BayerGridGRBG));

    // Once more through a file: nothing is added on the way.
    const PnmLoaded again = loadMap(save(*loaded.data, suffix, ascii));
    QVERIFY(again.data);
    QCOMPARE(again.data->metadata().saveToXml(-1), loaded.data->metadata().saveToXml(-1));
}

void PnmMetadataTest::unknownItemsSurvive()
{
    ep::CxMetadata metadata;
    QVERIFY(metadata.loadFromXml(
        QStringLiteral("<metadata><item class=\"vendor::Odd\"><a b=\"1\">50% </a></item></metadata>")));
    auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt8, 3, 2)));
    data->setMetadata(metadata);
    const PnmLoaded loaded = loadMap(save(*data, QStringLiteral("pgm")));
    QVERIFY(loaded.data);
    QVERIFY(loaded.data->metadata().saveToXml(-1).contains(
        QStringLiteral("<item class=\"vendor::Odd\"><a b=\"1\">50% </a></item>")));
}

void PnmMetadataTest::nothingKnownWritesNoComment()
{
    const QByteArray file = save(*imageDataOf(randomImage(describe(ep::DataTypeUInt8, 3, 2))), QStringLiteral("pgm"));
    QVERIFY(file.startsWith("P5\n3 2\n255\n"));
}

void PnmMetadataTest::floatMapsHaveNoComments()
{
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeFloat, 3, 2));
    image->bayerGrid = ep::BayerGridRGGB;
    auto data = imageDataOf(std::move(image));
    ep::CxMetadata metadata;
    metadata.addMetadata(new ep::CxCommonImageMetadata);
    data->setMetadata(metadata);
    QVERIFY(save(*data, QStringLiteral("pfm")).startsWith("Pf\n3 2\n-1.0\n"));
}

void PnmMetadataTest::linesAreShortAndPrintable()
{
    ep::CxCommonImageMetadata item;
    item.cameraModel = QString(1000, QChar(0xe4)) + QLatin1Char('\n') + QString(1000, QLatin1Char('#'));
    const QByteArray file = save(*imageWith(item), QStringLiteral("pam"));
    const int end = file.indexOf("ENDHDR\n");
    QVERIFY(end > 2000);
    for (const QByteArray& line : file.left(end).split('\n')) {
        QVERIFY2(line.size() < 70, line.constData());
        for (const char character : line)
            QVERIFY(character >= ' ' && character <= '~');
    }
}

void PnmMetadataTest::headerStandsBeforeComments()
{
    const PnmLoaded loaded = loadWithXml(commonXml("<color_bit_depth>5</color_bit_depth>"));
    QVERIFY(loaded.data);
    QCOMPARE(loaded.image().bitDepth, 8);
    QCOMPARE(loaded.common().colorBitDepth, 8);
    QCOMPARE(loaded.attribute("MAXVAL"), QStringLiteral("255"));
}

void PnmMetadataTest::commentByHand()
{
    const PnmLoaded loaded = loadWithXml(commonXml("<bayer_grid>1</bayer_grid><camera_make>50%25</camera_make>"));
    QVERIFY(loaded.data);
    QCOMPARE(int(loaded.image().bayerGrid), int(ep::BayerGridRGGB));
    QCOMPARE(loaded.image().patternWidth, 2);
    QCOMPARE(loaded.common().cameraMake, QStringLiteral("50%"));
}

void PnmMetadataTest::hostileComments_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<int>("digit");
    QTest::newRow("no XML") << QByteArray("hello") << 2;
    QTest::newRow("cut XML") << QByteArray("<metadata><item") << 2;
    QTest::newRow("stray percent signs") << QByteArray("%%%zz%0%") << 2;
    QTest::newRow("zero bytes") << QByteArray("%00%00<metadata/>") << 2;
    QTest::newRow("a document type") << QByteArray(
        "<!DOCTYPE a [<!ENTITY b \"c\">]><metadata><item class=\"d\">&b;</item></metadata>")
                                     << 2;
    QTest::newRow("an unknown grid") << commonXml("<bayer_grid>77</bayer_grid>") << 2;
    QTest::newRow("a grid of several channels") << commonXml("<bayer_grid>1</bayer_grid>") << 3;
    QTest::newRow("a cell without size") << commonXml("<bayer_grid>5</bayer_grid>") << 2;
    QTest::newRow("a cell larger than the image")
        << commonXml("<bayer_grid>5</bayer_grid><pattern_width>5</pattern_width><pattern_height>2</pattern_height>")
        << 2;
    QTest::newRow("a cell of negative size")
        << commonXml("<bayer_grid>5</bayer_grid><pattern_width>-2</pattern_width><pattern_height>2</pattern_height>")
        << 2;
    QTest::newRow("twenty thousand levels") << QByteArray("<a>").repeated(20000) << 2;
}

void PnmMetadataTest::hostileComments()
{
    QFETCH(QByteArray, xml);
    QFETCH(int, digit);
    const PnmLoaded loaded = loadWithXml(xml, digit);
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    QVERIFY(holdsMap(loaded.image(), makeMap(digit, 4, 4, digit == 3 ? 3 : 1, 255)));
    QCOMPARE(int(loaded.image().bayerGrid), int(ep::BayerGridNone));
    QCOMPARE(loaded.image().patternWidth, 0);
    QCOMPARE(loaded.common().bayerGrid, qint32(ep::BayerGridNone));
}

void PnmMetadataTest::tupleTypes_data()
{
    QTest::addColumn<QString>("stated");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("one channel") << QString() << 1 << QByteArray("GRAYSCALE");
    QTest::newRow("two channels have no known meaning") << QString() << 2 << QByteArray();
    QTest::newRow("three channels") << QString() << 3 << QByteArray("RGB");
    QTest::newRow("four channels have no known meaning") << QString() << 4 << QByteArray();
    QTest::newRow("opacity is kept") << "RGB_ALPHA" << 4 << QByteArray("RGB_ALPHA");
    QTest::newRow("grey with opacity is kept") << "GRAYSCALE_ALPHA" << 2 << QByteArray("GRAYSCALE_ALPHA");
    QTest::newRow("a type of another program is kept") << "near infrared" << 5 << QByteArray("near infrared");
    QTest::newRow("a type of other channels is not kept") << "RGB_ALPHA" << 3 << QByteArray("RGB");
    QTest::newRow("black and white is not 16-bit") << "BLACKANDWHITE" << 1 << QByteArray("GRAYSCALE");
    QTest::newRow("a type that is no line is not kept") << "a\nENDHDR" << 3 << QByteArray("RGB");
}

void PnmMetadataTest::tupleTypes()
{
    QFETCH(QString, stated);
    QFETCH(int, channels);
    QFETCH(QByteArray, written);
    ep::CxCommonImageMetadata item;
    if (!stated.isNull())
        item.attributes.insert(QStringLiteral("TUPLTYPE"), stated);
    const QByteArray file = save(*imageWith(item, channels), QStringLiteral("pam"));
    const QByteArray line = written.isEmpty() ? QByteArray() : "TUPLTYPE " + written + '\n';
    QVERIFY(file.contains("MAXVAL 65535\n" + line + "ENDHDR\n"));
    const PnmLoaded loaded = loadMap(file);
    QVERIFY(loaded.data);
    QCOMPARE(loaded.attribute("TUPLTYPE").toLatin1(), written);
}

QTEST_GUILESS_MAIN(PnmMetadataTest)
#include "PnmMetadataTest.moc"
