// What FITS headers tell, and what is told in them.
#include "FitsFiles.h"
#include "FullMetadata.h"
#include "TestImages.h"

#include <QtTest>

using namespace testing;

class FitsMetadataTest : public QObject {
    Q_OBJECT
private slots:
    void everythingSurvives();
    void unknownItemsSurvive();
    void captureFactsAreTold();
    void captureFactsAreRead();
    void otherProgramsChangesCount();
    void texts_data();
    void texts();
    void times_data();
    void times();
    void depths_data();
    void depths();
    void scaledSamplesAreDoubles_data();
    void scaledSamplesAreDoubles();
    void valuesWithoutMeaningBecomeNaN();
    void hostileRemarks_data();
    void hostileRemarks();
    void nothingKnownWritesNoRemark();
};

void FitsMetadataTest::everythingSurvives()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    ep::CxMetadata metadata = fullMetadata();
    auto* item =
        static_cast<ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    const QMap<QString, QString> odd{{QStringLiteral("OBJECT"), QStringLiteral("Barnard's star")},
                                     {QStringLiteral("GAIN"), QStringLiteral("0.50")},
                                     {QStringLiteral("FILTER"), QStringLiteral("ends with a blank ")},
                                     {QStringLiteral("TELESCOP"), QString(200, QLatin1Char('x'))},
                                     {QStringLiteral("OBSERVER"), QString::fromUtf8("Größe")},
                                     {QStringLiteral("RA"), QStringLiteral("T")},
                                     {QStringLiteral("HISTORY"), QStringLiteral("one\n  two")},
                                     {QStringLiteral("COMMENT"), QStringLiteral("three\n\nfour")},
                                     {QStringLiteral("BITPIX"), QStringLiteral("5")},
                                     {QStringLiteral("END"), QStringLiteral("END")}};
    for (auto attribute = odd.cbegin(); attribute != odd.cend(); ++attribute)
        item->attributes.insert(attribute.key(), attribute.value());
    item->bayerGrid = ep::BayerGridRGGB;
    item->patternWidth = item->patternHeight = 2;
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 6, 4));
    image->bayerGrid = ep::BayerGridRGGB;
    image->patternWidth = image->patternHeight = 2;
    auto data = imageDataOf(std::move(image));
    const QString before = metadata.saveToXml(-1);
    data->setMetadata(metadata);
    QVERIFY(saveFits(path, *data));
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QCOMPARE(loaded.frame.data->metadata().saveToXml(-1), before);
    for (const QByteArray& line : fitsLinesOf(readFile(path)))
        for (const char character : line)
            QVERIFY(character >= ' ' && character <= '~');
}

void FitsMetadataTest::unknownItemsSurvive()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    ep::CxMetadata metadata;
    QVERIFY(metadata.loadFromXml(
        QStringLiteral("<metadata><item class=\"vendor::Odd\"><a b=\"1\">  50%   </a></item></metadata>")));
    auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt8, 3, 2)));
    data->setMetadata(metadata);
    QVERIFY(saveFits(path, *data));
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY(loaded);
    QVERIFY(loaded.frame.data->metadata().saveToXml(-1).contains(
        QStringLiteral("<item class=\"vendor::Odd\"><a b=\"1\">  50%   </a></item>")));
}

void FitsMetadataTest::captureFactsAreTold()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    auto* item = new ep::CxCommonImageMetadata;
    item->cameraModel = QStringLiteral("it's a camera");
    item->exposureTime = 0.005;
    item->whiteLevel = 4000;
    item->captureTime = QDateTime(QDate(2021, 3, 1), QTime(4, 59, 58, 125), Qt::OffsetFromUTC, 5 * 3600);
    item->attributes.insert(QStringLiteral("GAIN"), QStringLiteral("120"));
    item->attributes.insert(QStringLiteral("CCD-TEMP"), QStringLiteral("-10.5"));
    item->attributes.insert(QStringLiteral("CRVAL1"), QStringLiteral("10"));
    QVERIFY(saveFits(path, *imageDataOf(randomImage(describe(ep::DataTypeUInt16, 3, 2)), item)));
    const QByteArrayList lines = fitsLinesOf(readFile(path));
    QVERIFY(lines.contains("INSTRUME= 'it''s a camera'"));
    QVERIFY(lines.contains("EXPTIME =                0.005"));
    QVERIFY(lines.contains("SATURATE=                4E+03") || lines.contains("SATURATE=                4000."));
    QVERIFY(lines.contains("DATE-OBS= '2021-02-28T23:59:58.125'"));
    QVERIFY(lines.contains("GAIN    =                  120"));
    QVERIFY(lines.contains("CCD-TEMP=                -10.5"));
    QVERIFY(lines.contains("ROWORDER= 'BOTTOM-UP'"));
    // Coordinates need not be true of what became of the image.
    for (const QByteArray& line : lines)
        QVERIFY(!line.startsWith("CRVAL1"));
}

void FitsMetadataTest::captureFactsAreRead()
{
    const FitsLoaded loaded =
        loadFitsWith({"EXPOSURE = 1.5D1 / seconds", "INSTRUME = 'Cam / ''A'''", "GAIN = 120",
                      "CCD-TEMP = -9.50 / degrees", "DATE-OBS = '2021-02-28T23:59:58.125'", "FOCALLEN = 530.0",
                      "FOCRATIO = 5.6", "OBJECT = 'M 31    '", "HIERARCH Some long name = 'value'", "HISTORY first",
                      "HISTORY second", "COMMENT   indented", "LONGSTR = 'a long &'", "CONTINUE  'text' / remark"});
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    const ep::CxCommonImageMetadata& common = loaded.common();
    QCOMPARE(common.exposureTime, 15.0);
    QCOMPARE(common.cameraModel, QStringLiteral("Cam / 'A'"));
    QCOMPARE(common.focalLength, 530.0);
    QCOMPARE(common.aperture, 5.6);
    QCOMPARE(common.captureTime, QDateTime(QDate(2021, 2, 28), QTime(23, 59, 58, 125), Qt::UTC));
    QCOMPARE(loaded.attribute("GAIN"), QStringLiteral("120"));
    QCOMPARE(loaded.attribute("CCD-TEMP"), QStringLiteral("-9.50"));
    QCOMPARE(loaded.attribute("OBJECT"), QStringLiteral("M 31"));
    QCOMPARE(loaded.attribute("Some long name"), QStringLiteral("value"));
    QCOMPARE(loaded.attribute("HISTORY"), QStringLiteral("first\nsecond"));
    QCOMPARE(loaded.attribute("COMMENT"), QStringLiteral("  indented"));
    QCOMPARE(loaded.attribute("LONGSTR"), QStringLiteral("a long text"));
    for (const char* name : {"BITPIX", "NAXIS1", "SIMPLE", "EXPOSURE", "BZERO", "BSCALE"})
        QVERIFY2(loaded.attribute(name).isEmpty(), name);
}

void FitsMetadataTest::otherProgramsChangesCount()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    auto* item = new ep::CxCommonImageMetadata;
    item->exposureTime = 2.5;
    item->aperture = 4;
    item->attributes.insert(QStringLiteral("OBJECT"), QStringLiteral("M 31"));
    QVERIFY(saveFits(path, *imageDataOf(randomImage(describe(ep::DataTypeUInt16, 3, 2)), item)));
    QByteArray file = readFile(path);
    QVERIFY(file.contains("'M 31    '") && file.contains(" 2.5 "));
    file.replace("'M 31    '", "'M 33    '").replace(" 2.5 ", " 3.5 ");
    const FitsLoaded loaded = loadFits(file);
    QVERIFY(loaded);
    QCOMPARE(loaded.common().exposureTime, 3.5);
    QCOMPARE(loaded.common().aperture, 4.0);
    QCOMPARE(loaded.attribute("OBJECT"), QStringLiteral("M 33"));
}

void FitsMetadataTest::texts_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("text");
    QTest::newRow("UTF-8") << QByteArray("OBJECT = 'Größe'") << QString::fromUtf8("Größe");
    QTest::newRow("Latin 1") << QByteArray("OBJECT = 'Gr\xf6\xdf"
                                           "e'")
                             << QString::fromUtf8("Größe");
    QTest::newRow("a quote that does not end") << QByteArray("OBJECT = 'abc / d") << QStringLiteral("abc / d");
    QTest::newRow("nothing") << QByteArray("OBJECT = ''") << QString();
    QTest::newRow("no value") << QByteArray("OBJECT = / remark") << QString();
}

void FitsMetadataTest::texts()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, text);
    const FitsLoaded loaded = loadFitsWith({line});
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QCOMPARE(loaded.attribute("OBJECT"), text);
}

void FitsMetadataTest::times_data()
{
    QTest::addColumn<QByteArrayList>("lines");
    QTest::addColumn<QDateTime>("time");
    const QByteArray exact = "DATE-OBS = '2021-02-28T23:59:58'";
    const QDateTime moment(QDate(2021, 2, 28), QTime(23, 59, 58), Qt::UTC);
    QTest::newRow("UTC is meant") << QByteArrayList{exact} << moment;
    QTest::newRow("UTC is said") << QByteArrayList{exact, "TIMESYS = 'UTC'"} << moment;
    QTest::newRow("another time scale") << QByteArrayList{exact, "TIMESYS = 'TDB'"} << QDateTime();
    QTest::newRow("a day alone is no moment") << QByteArrayList{"DATE-OBS = '2021-02-28'"} << QDateTime();
    QTest::newRow("no date") << QByteArrayList{"DATE-OBS = 'Tuesday'"} << QDateTime();
}

void FitsMetadataTest::times()
{
    QFETCH(QByteArrayList, lines);
    QFETCH(QDateTime, time);
    const FitsLoaded loaded = loadFitsWith(lines);
    QVERIFY(loaded);
    QCOMPARE(loaded.common().captureTime, time);
    QCOMPARE(loaded.attribute("DATE-OBS").isEmpty(), time.isValid());
}

void FitsMetadataTest::depths_data()
{
    QTest::addColumn<QByteArrayList>("lines");
    QTest::addColumn<int>("depth");
    QTest::addColumn<double>("white");
    const QByteArrayList shift{"BZERO = 32768"};
    // Samples are 257 + 32768, or 257 with another shift; 8-bit ones are 1.
    QTest::newRow("nothing is said") << shift << 16 << 0.0;
    QTest::newRow("a largest sample that is no power of two")
        << shift + QByteArrayList{"DATAMAX = 40000.0"} << 16 << 40000.0;
    QTest::newRow("samples past what is said") << shift + QByteArrayList{"DATAMAX = 4095.0"} << 16 << 4095.0;
    QTest::newRow("signed samples") << QByteArrayList{"DATAMAX = 4095.0"} << 16 << 4095.0;
    QTest::newRow("saturation goes before")
        << shift + QByteArrayList{"DATAMAX = 65535", "SATURATE = 60000"} << 16 << 60000.0;
}

void FitsMetadataTest::depths()
{
    QFETCH(QByteArrayList, lines);
    QFETCH(int, depth);
    QFETCH(double, white);
    const FitsLoaded loaded = loadFitsWith(lines);
    QVERIFY(loaded);
    QCOMPARE(loaded.image().bitDepth, depth);
    QCOMPARE(loaded.common().whiteLevel, white);
    const FitsLoaded bytes = loadFits(fitsFile(8, {4, 3}, {"DATAMAX = 127."}, QByteArray(12, '\1')));
    QCOMPARE(bytes.image().bitDepth, 7);
    const FitsLoaded saturated = loadFits(fitsFile(8, {4, 3}, {"SATURATE = 15"}, QByteArray(12, '\1')));
    QCOMPARE(saturated.image().bitDepth, 4);
}

void FitsMetadataTest::scaledSamplesAreDoubles_data()
{
    QTest::addColumn<QByteArrayList>("lines");
    QTest::addColumn<double>("number");
    QTest::newRow("a scale") << QByteArrayList{"BSCALE = 0.5"} << 128.5;
    QTest::newRow("another shift") << QByteArrayList{"BZERO = 32767"} << 33024.0;
    QTest::newRow("both") << QByteArrayList{"BSCALE = -2", "BZERO = 1.5"} << -512.5;
}

void FitsMetadataTest::scaledSamplesAreDoubles()
{
    QFETCH(QByteArrayList, lines);
    QFETCH(double, number);
    const FitsLoaded loaded = loadFitsWith(lines);
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QCOMPARE(loaded.image().dataType, ep::DataTypeDouble);
    QCOMPARE(sampleAt<double>(loaded.image(), 1, 1), number);
    for (const QByteArray& line : lines) {
        const QByteArrayList parts = line.split(' ');
        QCOMPARE(loaded.attribute(parts[0]).toLatin1(), parts[2]);
    }
}

void FitsMetadataTest::valuesWithoutMeaningBecomeNaN()
{
    const QByteArrayList blank{"BLANK = 257"};
    const FitsLoaded scaled = loadFitsWith(blank + QByteArrayList{"BSCALE = 2.0"});
    QVERIFY(qIsNaN(sampleAt<double>(scaled.image(), 0, 0)));
    // Integers have no such value: what stands there stays.
    QCOMPARE(int(sampleAt<qint16>(loadFitsWith(blank).image(), 0, 0)), 257);
}

void FitsMetadataTest::hostileRemarks_data()
{
    QTest::addColumn<QByteArrayList>("lines");
    const auto xml = [](const QByteArray& text) {
        QByteArrayList lines;
        for (int at = 0; at < text.size(); at += 70)
            lines << "COMMENT #:" + text.mid(at, 70).replace(' ', "+");
        return lines;
    };
    QTest::newRow("no XML") << xml("hello");
    QTest::newRow("cut XML") << xml("<metadata><item");
    QTest::newRow("stray percent signs") << xml("%%%zz%0%");
    QTest::newRow("zero bytes") << xml("%00%00<metadata/>");
    QTest::newRow("twenty thousand levels") << xml(QByteArray("<a>").repeated(20000));
    const QByteArray head = "<metadata><item%20class=\"ep::CxCommonImageMetadata\">";
    const QByteArray tail = "</item></metadata>";
    QTest::newRow("an unknown grid") << QByteArrayList{"COMMENT #:" + head,
                                                       "COMMENT #:<bayer_grid>77</bayer_grid>" + tail};
    QTest::newRow("a cell larger than the image")
        << QByteArrayList{"COMMENT #:" + head, "COMMENT #:<bayer_grid>5</bayer_grid><pattern_width>5</pattern_width>",
                          "COMMENT #:<pattern_height>2</pattern_height>" + tail};
}

void FitsMetadataTest::hostileRemarks()
{
    QFETCH(QByteArrayList, lines);
    const FitsLoaded loaded = loadFitsWith(lines);
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QCOMPARE(int(loaded.image().bayerGrid), int(ep::BayerGridNone));
    QCOMPARE(loaded.image().patternWidth, 0);
    QCOMPARE(loaded.common().bayerGrid, qint32(ep::BayerGridNone));
}

void FitsMetadataTest::nothingKnownWritesNoRemark()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    QVERIFY(saveFits(path, *imageDataOf(randomImage(describe(ep::DataTypeUInt8, 3, 2)))));
    QVERIFY(!readFile(path).contains("COMMENT"));
}

QTEST_GUILESS_MAIN(FitsMetadataTest)
#include "FitsMetadataTest.moc"
