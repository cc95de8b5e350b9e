// Metadata, mosaics, depth, orientation, alpha and colour profiles through the formats of OpenImageIO.
#include "FormatPlugin.h"
#include "FullMetadata.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;
using ep::CxCommonImageMetadata;

namespace {

const CxCommonImageMetadata& commonOf(const ep::CxMetadata& metadata)
{
    static const CxCommonImageMetadata none;
    const auto* item =
        qobject_cast<const CxCommonImageMetadata*>(metadata.findItem(CxCommonImageMetadata::staticMetaObject));
    return item ? *item : none;
}

/** An image and its metadata, back from a file of suffix @p suffix; empty when that failed. */
struct Passed {
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    ep::SxFileError error;

    Passed(const char* suffix, const ep::SxImageBuf& source, const ep::CxMetadata& sourceMetadata)
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("image.") + QLatin1String(suffix));
        if (Manager::saveImageToFile(path, source, &sourceMetadata, nullptr, false, QString(), &error))
            Manager::loadImageFromFile(path, image.image(), &metadata, nullptr, &error);
    }
    const CxCommonImageMetadata& common() const { return commonOf(metadata); }
};

ep::CxScopedBuffer imageOfBits(int bits)
{
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 40, 34));
    image->bitDepth = bits;
    for (int y = 0; y < 34; ++y)
        for (int x = 0; x < 40; ++x)
            setSample(image.image(), x, y, 0,
                      static_cast<quint16>(sampleAt<quint16>(image.image(), x, y) >> (16 - bits)));
    return image;
}

}  // namespace

class OiioMetadataTest : public QObject {
    Q_OBJECT
private slots:
    void everythingComesBack_data();
    void everythingComesBack();
    void mosaicsAndDepthsComeBack();
    void aWrongDepthIsNotBelieved();
    void tooMuchMetadataIsLeftOut();
    void orientationIsToldAndNotApplied_data();
    void orientationIsToldAndNotApplied();
    void colorProfilesAreCarried();
};

void OiioMetadataTest::everythingComesBack_data()
{
    QTest::addColumn<QByteArray>("suffix");
    QTest::addColumn<int>("type");
    QTest::newRow("PNG") << QByteArray("png") << int(ep::DataTypeUInt16);
    QTest::newRow("OpenEXR") << QByteArray("exr") << int(ep::DataTypeFloat);
    QTest::newRow("JPEG") << QByteArray("jpg") << int(ep::DataTypeUInt8);
    QTest::newRow("HEIF") << QByteArray("heic") << int(ep::DataTypeUInt8);
}

void OiioMetadataTest::everythingComesBack()
{
    QFETCH(QByteArray, suffix);
    QFETCH(int, type);
    ep::CxScopedBuffer image = randomImage(describe(ep::ExImageDataType(type), 64, 48, 3));
    if (type == ep::DataTypeFloat)
        std::memset(image->data, 0x40, storageBytes(image.image()));
    const ep::CxMetadata metadata = fullMetadata();
    const CxCommonImageMetadata& source = commonOf(metadata);
    const Passed passed(suffix.constData(), image.image(), metadata);
    QVERIFY2(passed.image->data, qPrintable(passed.error.reason));
    const CxCommonImageMetadata& common = passed.common();
    QCOMPARE(common.cameraMake, source.cameraMake);
    QCOMPARE(common.cameraModel, source.cameraModel);
    QCOMPARE(common.exposureTime, source.exposureTime);
    QCOMPARE(common.aperture, source.aperture);
    QCOMPARE(common.iso, source.iso);
    QCOMPARE(common.focalLength, source.focalLength);
    QCOMPARE(common.captureTime, source.captureTime);
    QCOMPARE(common.orientation, source.orientation);
    QCOMPARE(common.blackLevels, source.blackLevels);
    QCOMPARE(common.colorMatrix, source.colorMatrix);
    for (auto it = source.attributes.begin(); it != source.attributes.end(); ++it)
        QCOMPARE(common.attributes.value(it.key()), it.value());
}

void OiioMetadataTest::mosaicsAndDepthsComeBack()
{
    for (int grid = 0; grid <= 3; ++grid) {
        ep::CxScopedBuffer image = imageOfBits(12);
        image->bayerGrid = static_cast<ep::ExBayerGrid>(grid);
        const Passed passed("png", image.image(), ep::CxMetadata());
        QVERIFY2(passed.image->data, qPrintable(passed.error.reason));
        QCOMPARE(int(passed.image->bayerGrid), grid);
        QCOMPARE(passed.image->bitDepth, 12);
        QCOMPARE(passed.common().colorBitDepth, 12);
        QVERIFY(ep::SameSamples(passed.image.image(), image.image()));
    }
}

void OiioMetadataTest::aWrongDepthIsNotBelieved()
{
    ep::CxScopedBuffer image = imageOfBits(16);
    image->bitDepth = 10;
    setSample(image.image(), 3, 3, 0, quint16(65535));
    const Passed passed("png", image.image(), ep::CxMetadata());
    QCOMPARE(passed.image->bitDepth, 16);
}

void OiioMetadataTest::tooMuchMetadataIsLeftOut()
{
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt8, 40, 34, 3));
    ep::CxMetadata metadata = fullMetadata();
    auto* item = static_cast<CxCommonImageMetadata*>(metadata.findItem(CxCommonImageMetadata::staticMetaObject));
    item->attributes.insert(QStringLiteral("Story"), QString(300000, QLatin1Char('x')));
    // libjpeg would end the process.
    const Passed jpeg("jpg", image.image(), metadata);
    QVERIFY2(jpeg.image->data, qPrintable(jpeg.error.reason));
    QCOMPARE(jpeg.common().orientation, item->orientation);
    QVERIFY(!jpeg.common().attributes.contains(QStringLiteral("Story")));
    const Passed png("png", image.image(), metadata);
    QCOMPARE(png.common().attributes.value(QStringLiteral("Story")).size(), 300000);
}

void OiioMetadataTest::orientationIsToldAndNotApplied_data()
{
    QTest::addColumn<QByteArray>("suffix");
    QTest::newRow("JPEG") << QByteArray("jpg");
    QTest::newRow("HEIF") << QByteArray("heic");
}

void OiioMetadataTest::orientationIsToldAndNotApplied()
{
    QFETCH(QByteArray, suffix);
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt8, 64, 40, 3));
    for (int orientation = 1; orientation <= 8; ++orientation) {
        ep::CxMetadata metadata;
        auto* item = new CxCommonImageMetadata;
        item->orientation = orientation;
        metadata.addMetadata(item);
        const Passed passed(suffix.constData(), image.image(), metadata);
        QVERIFY2(passed.image->data, qPrintable(passed.error.reason));
        QCOMPARE(passed.common().orientation, orientation);
        QCOMPARE(passed.image->width, 64);
        QCOMPARE(passed.image->height, 40);
    }
}

void OiioMetadataTest::colorProfilesAreCarried()
{
    // The smallest thing that passes for a profile: libpng and libjpeg look at its size and signature alone.
    QByteArray profile(132, '\0');
    profile[3] = static_cast<char>(132);
    profile.replace(12, 8, "mntrRGB ");
    profile.replace(20, 4, "XYZ ");
    profile.replace(36, 4, "acsp");
    ep::CxMetadata metadata;
    auto* item = new CxCommonImageMetadata;
    item->attributes.insert(QStringLiteral("ICCProfile"), QString::fromLatin1(profile.toBase64()));
    metadata.addMetadata(item);
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt8, 40, 34, 3));
    const Passed passed("jpg", image.image(), metadata);
    QVERIFY2(passed.image->data, qPrintable(passed.error.reason));
    QCOMPARE(QByteArray::fromBase64(passed.common().attributes.value(QStringLiteral("ICCProfile")).toLatin1()),
             profile);
}

QTEST_GUILESS_MAIN(OiioMetadataTest)
#include "OiioMetadataTest.moc"
