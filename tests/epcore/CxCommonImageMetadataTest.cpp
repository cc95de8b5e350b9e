#include <ep/CxCommonImageMetadata.h>

#include <ep/CxMetadata.h>

#include <QtTest>

#include <cmath>
#include <limits>
#include <memory>

using ep::CxCommonImageMetadata;
using ep::CxMetadata;

class CxCommonImageMetadataTest : public QObject {
    Q_OBJECT

private:
    static void fill(CxCommonImageMetadata& item)
    {
        item.bayerGrid = 5;
        item.layout = 1;
        item.patternWidth = 6;
        item.patternHeight = 3;
        item.colorBitDepth = 14;
        item.patternColors = QStringLiteral("GBRGRB");
        item.sensorWidth = 6000;
        item.sensorHeight = 4000;
        item.leftMargin = -1;
        item.topMargin = std::numeric_limits<qint32>::min();
        item.blackLevels = {511.5, 512, 1.0 / 3.0, -0.25};
        item.whiteLevel = 16383;
        item.whiteBalance = {2.1, 1, std::numeric_limits<double>::denorm_min()};
        item.colorMatrix = {1e300, -1e-300, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7};
        item.cameraMake = QString::fromUtf8(" Größe & Söhne\r\n ");
        item.cameraModel = QStringLiteral(" ");
        item.exposureTime = 1.0 / 3000.0;
        item.aperture = std::numeric_limits<double>::infinity();
        item.iso = 12800;
        item.focalLength = 35.5;
        item.captureTime = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58, 987), Qt::OffsetFromUTC, -12600);
        item.orientation = 8;
        item.attributes = {{QStringLiteral("Lens & more"), QString::fromUtf8("50 mm f/1.8 😀")},
                           {QString(), QStringLiteral("  ")},
                           {QStringLiteral("empty\n"), QString()}};
    }
    static void compare(const CxCommonImageMetadata& a, const CxCommonImageMetadata& b)
    {
        QCOMPARE(a.bayerGrid, b.bayerGrid);
        QCOMPARE(a.layout, b.layout);
        QCOMPARE(a.patternWidth, b.patternWidth);
        QCOMPARE(a.patternHeight, b.patternHeight);
        QCOMPARE(a.colorBitDepth, b.colorBitDepth);
        QCOMPARE(a.patternColors, b.patternColors);
        QCOMPARE(a.sensorWidth, b.sensorWidth);
        QCOMPARE(a.sensorHeight, b.sensorHeight);
        QCOMPARE(a.leftMargin, b.leftMargin);
        QCOMPARE(a.topMargin, b.topMargin);
        QVERIFY(a.blackLevels == b.blackLevels);  // QCOMPARE would allow for rounding
        QVERIFY(a.whiteLevel == b.whiteLevel);
        QVERIFY(a.whiteBalance == b.whiteBalance);
        QVERIFY(a.colorMatrix == b.colorMatrix);
        QCOMPARE(a.cameraMake, b.cameraMake);
        QCOMPARE(a.cameraModel, b.cameraModel);
        QVERIFY(a.exposureTime == b.exposureTime);
        QVERIFY(a.aperture == b.aperture);
        QVERIFY(a.iso == b.iso);
        QVERIFY(a.focalLength == b.focalLength);
        QCOMPARE(a.captureTime, b.captureTime);
        QCOMPARE(a.captureTime.offsetFromUtc(), b.captureTime.offsetFromUtc());
        QCOMPARE(a.orientation, b.orientation);
        QCOMPARE(a.attributes, b.attributes);
    }
    static QString xmlOf(const CxCommonImageMetadata& item)
    {
        CxMetadata metadata;
        metadata.addMetadata(item.clone());
        return metadata.saveToXml(-1);
    }
    static const CxCommonImageMetadata& first(const CxMetadata& metadata)
    {
        return *qobject_cast<CxCommonImageMetadata*>(metadata.items().value(0));
    }
    /** Reads an item with the content @p content. */
    static CxMetadata read(const QString& content)
    {
        CxMetadata metadata;
        const QString xml = QStringLiteral("<metadata><item class=\"ep::CxCommonImageMetadata\">%1</item></metadata>");
        if (!metadata.loadFromXml(xml.arg(content)) || metadata.items().size() != 1)
            qFatal("the item was not read");
        return metadata;
    }

private slots:
    void freshItemKnowsNothing()
    {
        const CxCommonImageMetadata item;
        QCOMPARE(item.bayerGrid, 4);
        QCOMPARE(item.colorBitDepth, 0);
        QVERIFY(item.blackLevels.isEmpty());
        QVERIFY(!item.captureTime.isValid());
        QVERIFY(item.attributes.isEmpty());
        QCOMPARE(xmlOf(item),
                 QStringLiteral("<metadata><item class=\"ep::CxCommonImageMetadata\"><bayer_grid>4</bayer_grid>"
                                "<layout>0</layout><pattern_width>0</pattern_width><pattern_height>0</pattern_height>"
                                "<color_bit_depth>0</color_bit_depth></item></metadata>"));
    }

    void cloneIsIndependent()
    {
        CxCommonImageMetadata item;
        fill(item);
        const std::unique_ptr<ep::IxMetadataItem> clone(item.clone());
        auto* copy = qobject_cast<CxCommonImageMetadata*>(clone.get());
        QVERIFY(copy);
        compare(*copy, item);
        copy->attributes.clear();
        copy->blackLevels[0] = 0;
        QCOMPARE(item.attributes.size(), 3);
        QCOMPARE(item.blackLevels.at(0), 511.5);
    }

    void everyMemberSurvivesXmlExactly()
    {
        CxCommonImageMetadata item;
        fill(item);
        CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(xmlOf(item)));
        compare(first(metadata), item);
    }

    void timeOfAnUnknownZoneStaysWithout()
    {
        CxCommonImageMetadata item;
        item.captureTime = QDateTime(QDate(2024, 7, 1), QTime(12, 0, 0, 1));
        QVERIFY(xmlOf(item).contains(QStringLiteral("<capture_time>2024-07-01T12:00:00.001</capture_time>")));
        CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(xmlOf(item)));
        QCOMPARE(first(metadata).captureTime, item.captureTime);
        QCOMPARE(first(metadata).captureTime.timeSpec(), Qt::LocalTime);
        item.captureTime = QDateTime(QDate(2024, 7, 1), QTime(12, 0), Qt::UTC);
        QVERIFY(xmlOf(item).contains(QStringLiteral("T12:00:00.000Z<")));
    }

    void notANumberSurvives()
    {
        CxCommonImageMetadata item;
        item.iso = std::numeric_limits<double>::quiet_NaN();
        CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(xmlOf(item)));
        QVERIFY(std::isnan(first(metadata).iso));
    }

    void numbersDoNotDependOnTheLocale()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        CxCommonImageMetadata item;
        item.iso = 1234567.5;
        const QString xml = xmlOf(item);
        const CxMetadata metadata = read(QStringLiteral("<iso>1234567.5</iso>"));
        QLocale::setDefault(before);
        QVERIFY(xml.contains(QStringLiteral("<iso>1234567.5</iso>")));
        QCOMPARE(first(metadata).iso, 1234567.5);
    }

    void oddContentLeavesDefaults_data()
    {
        QTest::addColumn<QString>("content");
        QTest::newRow("nothing at all") << QString();
        QTest::newRow("elements of a later version") << QStringLiteral("<shutter_count>7</shutter_count>text");
        QTest::newRow("words for numbers") << QStringLiteral("<bayer_grid>x</bayer_grid><iso>fast</iso>"
                                                             "<black_levels>1 x 2</black_levels>");
        QTest::newRow("numbers past 32 bits") << QStringLiteral("<color_bit_depth>4294967296</color_bit_depth>");
        QTest::newRow("a decimal comma") << QStringLiteral("<iso>1,5</iso>");
        QTest::newRow("empty elements") << QStringLiteral("<bayer_grid/><iso/><camera_make/><capture_time/>");
        QTest::newRow("a day that does not exist")
            << QStringLiteral("<capture_time>2023-02-30T00:00:00</capture_time>");
    }

    void oddContentLeavesDefaults()
    {
        QFETCH(QString, content);
        compare(first(read(content)), CxCommonImageMetadata());
    }

    void firstOfSeveralElementsCounts()
    {
        const CxMetadata metadata =
            read(QStringLiteral("<layout>\n 1 </layout><layout>0</layout><black_levels> 1\n2 </black_levels>"));
        QCOMPARE(first(metadata).layout, 1);
        QCOMPARE(first(metadata).blackLevels, (QVector<double>{1, 2}));
    }
};

QTEST_GUILESS_MAIN(CxCommonImageMetadataTest)
#include "CxCommonImageMetadataTest.moc"
