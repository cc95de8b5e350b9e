// What other programs say in the tags of a TIFF file becomes metadata.

#include "FormatPlugin.h"
#include "TiffMaker.h"

#include <QtTest>

using namespace testing;

namespace {

quint64 zeros(int, int, int)
{
    return 0;
}

LoadedFrame load(const QString& path)
{
    return loadFrame("ep::tiff::CxTiffImageLoader", path);
}

}  // namespace

class TiffTagsTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString path() const { return m_folder.filePath(QStringLiteral("file.tif")); }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }

    void tagsBecomeMetadata()
    {
        QVERIFY(makeTiff(path(), TiffKind(), zeros, [](TIFF* file) {
            TIFFSetField(file, TIFFTAG_MAKE, "Kamerabau ");
            TIFFSetField(file, TIFFTAG_MODEL, "K\xe4 1");
            TIFFSetField(file, TIFFTAG_DATETIME, "2024:02:29 12:34:56");
            TIFFSetField(file, TIFFTAG_ORIENTATION, 8);
            TIFFSetField(file, TIFFTAG_SOFTWARE, "tests");
            TIFFSetField(file, TIFFTAG_IMAGEDESCRIPTION, "<metadata>broken");
            TIFFSetField(file, TIFFTAG_XRESOLUTION, 72.5);
            TIFFSetField(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
            const uint16_t repeat[] = {2, 2};
            TIFFSetField(file, TIFFTAG_CFAREPEATPATTERNDIM, repeat);
            TIFFSetField(file, TIFFTAG_CFAPATTERN, 4, "\1\0\2\1");
        }));
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        const ep::CxCommonImageMetadata& common = *loaded.common();
        QCOMPARE(common.cameraMake, QStringLiteral("Kamerabau"));
        QCOMPARE(common.cameraModel, QStringLiteral("K\u00e4 1"));
        QCOMPARE(common.captureTime, QDateTime(QDate(2024, 2, 29), QTime(12, 34, 56)));
        QCOMPARE(common.orientation, 8);
        QCOMPARE(common.bayerGrid, int(ep::BayerGridGRBG));
        QCOMPARE(common.patternColors, QStringLiteral("GRBG"));
        QCOMPARE(int(loaded.image().bayerGrid), int(ep::BayerGridGRBG));
        QCOMPARE(loaded.image().patternWidth, 2);
        const QMap<QString, QString> attributes{
            {QStringLiteral("ImageDescription"), QStringLiteral("<metadata>broken")},
            {QStringLiteral("ResolutionUnit"), QStringLiteral("3")},
            {QStringLiteral("Software"), QStringLiteral("tests")},
            {QStringLiteral("XResolution"), QStringLiteral("72.5")}};
        QCOMPARE(common.attributes, attributes);
    }

    void exifBecomesMetadata()
    {
        uint64_t exif = 0;
        TIFF* file = TIFFOpen(path().toUtf8().constData(), "w");
        QVERIFY(file);
        QCOMPARE(TIFFCreateEXIFDirectory(file), 0);
        TIFFSetField(file, EXIFTAG_EXPOSURETIME, 1 / 60.0);
        TIFFSetField(file, EXIFTAG_FNUMBER, 2.8);
        TIFFSetField(file, EXIFTAG_FOCALLENGTH, 50.0);
        const uint16_t speed = 400;
        TIFFSetField(file, EXIFTAG_ISOSPEEDRATINGS, 1, &speed);
        TIFFSetField(file, EXIFTAG_DATETIMEORIGINAL, "2023:12:31 23:59:59");
        TIFFSetField(file, EXIFTAG_SUBSECTIMEORIGINAL, "25");
        TIFFSetField(file, EXIFTAG_OFFSETTIMEORIGINAL, "-03:30");
        TIFFSetField(file, EXIFTAG_LENSMODEL, "50/1.8");
        QCOMPARE(TIFFWriteCustomDirectory(file, &exif), 1);
        TIFFFreeDirectory(file);
        QCOMPARE(TIFFCreateDirectory(file), 0);
        const TiffKind kind;
        setTiffTags(file, kind);
        TIFFSetField(file, TIFFTAG_EXIFIFD, exif);
        TIFFSetField(file, TIFFTAG_DATETIME, "2024:02:29 12:34:56");
        QVERIFY(writeTiffBlocks(file, kind, zeros));
        QCOMPARE(TIFFWriteDirectory(file), 1);
        TIFFClose(file);

        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        const ep::CxCommonImageMetadata& common = *loaded.common();
        QVERIFY(common.exposureTime == 1 / 60.0);
        QVERIFY(common.aperture == 2.8);
        QVERIFY(common.focalLength == 50);
        QVERIFY(common.iso == 400);
        QCOMPARE(common.captureTime, QDateTime(QDate(2023, 12, 31), QTime(23, 59, 59, 250), Qt::OffsetFromUTC, -12600));
        QCOMPARE(common.attributes.value(QStringLiteral("LensModel")), QStringLiteral("50/1.8"));
    }
};

QTEST_GUILESS_MAIN(TiffTagsTest)
#include "TiffTagsTest.moc"
