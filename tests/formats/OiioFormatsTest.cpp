// What the formats of OpenImageIO take and refuse beyond the table of EveryFormatTest.
#include "FormatPlugin.h"
#include "NumberedImages.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

class OiioFormatsTest : public QObject {
    Q_OBJECT
private slots:
    void whatIsDeclaredIsWhatIsServed();
    void planesAndReversedColorsAreWrittenAlike();
    void manyChannelsAreKept();
    void whatOneFormatCannotTakeIsRefused_data();
    void whatOneFormatCannotTakeIsRefused();
    void whatCannotBeReliedOnIsNotServed_data();
    void whatCannotBeReliedOnIsNotServed();
    void qualityIsObeyed();
};

void OiioFormatsTest::whatIsDeclaredIsWhatIsServed()
{
    const QJsonArray declared = QPluginLoader(QStringLiteral(ORN_FORMATS_DIR "/epformat_oiio"))
                                    .metaData()
                                    .value(QStringLiteral("MetaData"))
                                    .toObject()
                                    .value(QStringLiteral("formats"))
                                    .toArray();
    QList<QPair<QString, int>> read, written;
    for (const QJsonValue& value : declared) {
        const QJsonObject format = value.toObject();
        const QPair<QString, int> entry{format[QStringLiteral("filter")].toString(),
                                        format[QStringLiteral("rank")].toInt()};
        if (format[QStringLiteral("read")].toBool())
            read << entry;
        if (format[QStringLiteral("write")].toBool())
            written << entry;
    }
    loadFormatPlugin(QStringLiteral("oiio"));
    QVERIFY(read.size() >= 14);
    QCOMPARE(makeRegistered<ep::IxImageDataLoader>("ep::oiio::CxOiioImageLoader", "IxImageDataLoader")->formats(),
             read);
    QCOMPARE(makeRegistered<ep::IxImageDataSaver>("ep::oiio::CxOiioImageSaver", "IxImageDataSaver")->formats(),
             written);
}

void OiioFormatsTest::planesAndReversedColorsAreWrittenAlike()
{
    QTemporaryDir folder;
    const ep::CxScopedBuffer planes = noise(ep::DataTypeUInt16, 16, 3, ep::LayoutPlanar);
    const QString path = folder.filePath(QStringLiteral("image.png"));
    QVERIFY(Manager::saveImageToFile(path, planes.image(), nullptr, nullptr, false, QString()));
    ep::CxScopedBuffer image;
    QVERIFY(Manager::loadImageFromFile(path, image.image(), nullptr));
    QCOMPARE(image->layout, ep::LayoutPacked);
    QVERIFY(ep::SameSamples(image.image(), planes.image()));

    loadFormatPlugin(QStringLiteral("oiio"));
    const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::oiio::CxOiioImageSaver", "IxImageDataSaver");
    ep::CxScopedBuffer reversed = copyOf(image.image());
    reversed->formatCode = ep::FormatCodeReversedColors;
    const QString other = folder.filePath(QStringLiteral("reversed.png"));
    saver->setFileName(other);
    QVERIFY(saver->saveImage(imageDataOf(copyOf(reversed.image())).get()));
    const LoadedFrame loaded = loadFrame("ep::oiio::CxOiioImageLoader", other);
    QVERIFY(loaded.data);
    QVERIFY(sameSample(loaded.image(), 5, 6, 0, image.image(), 5, 6, 2));
    QVERIFY(sameSample(loaded.image(), 5, 6, 2, image.image(), 5, 6, 0));
}

void OiioFormatsTest::manyChannelsAreKept()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("spectrum.exr"));
    const ep::CxScopedBuffer image = noise(ep::DataTypeFloat, 32, 31);
    ep::SxFileError error;
    QVERIFY2(Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error),
             qPrintable(error.reason));
    ep::CxScopedBuffer again;
    QVERIFY(Manager::loadImageFromFile(path, again.image(), nullptr));
    QVERIFY(ep::SameSamples(again.image(), image.image()));
}

void OiioFormatsTest::whatOneFormatCannotTakeIsRefused_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<int>("type");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("channels");
    const int byte = ep::DataTypeUInt8;
    // The libraries behind them end the process over the first three.
    QTest::newRow("DPX with 2 channels") << "dpx" << byte << QSize(40, 40) << 2;
    QTest::newRow("DPX with 6 channels") << "dpx" << byte << QSize(40, 40) << 6;
    QTest::newRow("JPEG of 70,000 columns") << "jpg" << byte << QSize(70000, 2) << 1;
    QTest::newRow("JPEG 2000 of 16 rows") << "jp2" << byte << QSize(40, 16) << 3;
    QTest::newRow("OpenEXR of 32-bit integers") << "exr" << int(ep::DataTypeUInt32) << QSize(40, 40) << 1;
    QTest::newRow("PNG of signed samples") << "png" << int(ep::DataTypeInt16) << QSize(40, 40) << 1;
    QTest::newRow("PNG of 64-bit integers") << "png" << int(ep::DataTypeInt64) << QSize(40, 40) << 1;
    QTest::newRow("PNG of complex numbers") << "png" << int(ep::DataTypeComplex) << QSize(40, 40) << 1;
    // What is written would not always be what comes back.
    QTest::newRow("WebP with opacity") << "webp" << byte << QSize(40, 40) << 4;
    QTest::newRow("PNG with 5 channels") << "png" << byte << QSize(40, 40) << 5;
}

void OiioFormatsTest::whatOneFormatCannotTakeIsRefused()
{
    QFETCH(QString, suffix);
    QFETCH(int, type);
    QFETCH(QSize, size);
    QFETCH(int, channels);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.") + suffix);
    const ep::CxScopedBuffer image =
        randomImage(describe(ep::ExImageDataType(type), size.width(), size.height(), channels));
    ep::SxFileError error;
    QVERIFY(!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error));
    QCOMPARE(error.kind, ep::ExFileError::Refused);
    QVERIFY(!error.reason.isEmpty());
    QVERIFY(QDir(folder.path()).isEmpty());
}

void OiioFormatsTest::whatCannotBeReliedOnIsNotServed_data()
{
    QTest::addColumn<QString>("suffix");
    for (const char* suffix : {"sgi", "iff", "dds", "psd", "pic", "cin"})
        QTest::addRow("%s: damaged files end the process", suffix) << QString::fromLatin1(suffix);
    QTest::newRow("MP4: frames are converted") << "mp4";
    QTest::newRow("ZFILE: truncated files are filled up") << "zfile";
    QTest::newRow("terminal") << "term";
    QTest::newRow("nothing") << "null";
}

void OiioFormatsTest::whatCannotBeReliedOnIsNotServed()
{
    QFETCH(QString, suffix);
    const QList<ep::SxFormatInfo> formats = Manager::instance()->formats();
    for (const ep::SxFormatInfo& format : formats)
        QVERIFY(!format.suffixes.contains(suffix));
}

void OiioFormatsTest::qualityIsObeyed()
{
    QTemporaryDir folder;
    const ep::CxScopedBuffer image = noise(ep::DataTypeUInt8, 8, 3);
    qint64 sizes[2];
    for (int i = 0; i < 2; ++i) {
        const QString path = folder.filePath(QStringLiteral("%1.jpg").arg(i));
        const QMap<QString, QVariant> options{{QStringLiteral("quality"), i == 0 ? 20 : 100}};
        QVERIFY(Manager::saveImageToFile(path, image.image(), nullptr, &options, false, QString()));
        sizes[i] = QFileInfo(path).size();
    }
    QVERIFY(sizes[1] > 2 * sizes[0]);
}

QTEST_GUILESS_MAIN(OiioFormatsTest)
#include "OiioFormatsTest.moc"
