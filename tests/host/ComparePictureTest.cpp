#include "ConvertTesting.h"

#include <QJsonArray>

#include <cmath>

using namespace testing;

namespace {

/** Two images that differ in three samples: by 4 in R, by 3 and by 8 in B. */
bool savePair(const ImageFolder& folder)
{
    auto image = cameraMosaic(ep::BayerGridRGGB, 25, 17);
    setSample<quint16>(image.image(), 4, 2, 0, 100);
    setSample<quint16>(image.image(), 7, 9, 0, 200);
    setSample<quint16>(image.image(), 3, 11, 0, 300);
    if (!folder.save(QStringLiteral("a.tif"), image))
        return false;
    setSample<quint16>(image.image(), 4, 2, 0, 104);
    setSample<quint16>(image.image(), 7, 9, 0, 197);
    setSample<quint16>(image.image(), 3, 11, 0, 308);
    return folder.save(QStringLiteral("b.tif"), image);
}

ProgramRun compare(const ImageFolder& folder, const QStringList& options)
{
    return runOrn(QStringList{QStringLiteral("compare")} + options
                  + QStringList{folder.path("a.tif"), folder.path("b.tif")});
}

}  // namespace

/** `orn compare`: mosaics colour by colour, and the picture of the differences. */
class ComparePictureTest : public QObject {
    Q_OBJECT
private slots:
    void mosaicsAreComparedByColor();
    void channelsAreNumbered();
    void theCutEdgeOfAMosaicCounts();
    void thePictureShowsWhere();
    void equalImagesGiveABlackPicture();
    void imagesOfOtherSizesHaveNoPicture();
    void anUnwritablePictureIsNamed();
};

void ComparePictureTest::mosaicsAreComparedByColor()
{
    const ImageFolder folder;
    QVERIFY(savePair(folder));
    const ProgramRun text = compare(folder, {});
    QVERIFY2(text.code == 1, text.all());
    QStringList names;
    for (const QString& line : text.out.split(QLatin1Char('\n')))
        names << line.section(QLatin1Char(' '), 0, 0);
    QCOMPARE(names.mid(2, 5), (QStringList{QStringLiteral("R"), QStringLiteral("G1"), QStringLiteral("B"),
                                           QStringLiteral("G2"), QStringLiteral("all")}));
    const ProgramRun run = compare(folder, {QStringLiteral("--json")});
    const QJsonArray colors = run.json()[QStringLiteral("colors")].toArray();
    QCOMPARE(colors.size(), 4);
    const auto number = [&](int color, const char* key) -> QJsonValue {
        return colors[color].toObject()[QLatin1String(key)];
    };
    const int different[] = {1, 0, 2, 0};
    const double maximum[] = {4, 0, 8, 0};
    const int samples[] = {13 * 9, 12 * 9, 12 * 8, 13 * 8};
    for (int color = 0; color < 4; ++color) {
        QCOMPARE(number(color, "different").toInt(), different[color]);
        QCOMPARE(number(color, "maximumError").toDouble(), maximum[color]);
        QCOMPARE(number(color, "samples").toInt(), samples[color]);
    }
    QVERIFY(std::fabs(number(2, "rmsError").toDouble() - std::sqrt((9.0 + 64.0) / (12 * 8))) < 1e-12);
    const QJsonObject first = number(2, "first").toObject();
    QCOMPARE(first[QStringLiteral("x")].toInt(), 7);
    QCOMPARE(first[QStringLiteral("y")].toInt(), 9);
    QCOMPARE(first[QStringLiteral("a")].toInt(), 200);
    QCOMPARE(run.json()[QStringLiteral("channels")].toArray().size(), 1);
}

void ComparePictureTest::channelsAreNumbered()
{
    const ImageFolder folder;
    auto image = photograph(ep::DataTypeUInt8, 9, 7);
    setSample<quint8>(image.image(), 1, 2, 2, 10);
    QVERIFY(folder.save(QStringLiteral("a.tif"), image, ep::CxMetadata()));
    setSample<quint8>(image.image(), 1, 2, 2, 20);
    QVERIFY(folder.save(QStringLiteral("b.tif"), image, ep::CxMetadata()));
    const ProgramRun run = compare(folder, {});
    QVERIFY2(run.out.contains(QStringLiteral("\n3  ")), run.all());
    QVERIFY(!run.out.contains(QStringLiteral("all")));
    QVERIFY(compare(folder, {QStringLiteral("--json")}).json()[QStringLiteral("colors")].toArray().isEmpty());
}

void ComparePictureTest::theCutEdgeOfAMosaicCounts()
{
    const ImageFolder folder;
    auto image = cameraMosaic(ep::BayerGridRGGB, 5, 3);
    setSample<quint16>(image.image(), 4, 2, 0, 1);
    QVERIFY(folder.save(QStringLiteral("a.tif"), image));
    setSample<quint16>(image.image(), 4, 2, 0, 2);
    QVERIFY(folder.save(QStringLiteral("b.tif"), image));
    const ProgramRun run = compare(folder, {QStringLiteral("--json")});
    QCOMPARE(run.code, 1);
    const QJsonObject red = run.json()[QStringLiteral("colors")].toArray()[0].toObject();
    QCOMPARE(red[QStringLiteral("different")].toInt(), 1);
    QCOMPARE(red[QStringLiteral("first")].toObject()[QStringLiteral("x")].toInt(), 4);
    QCOMPARE(red[QStringLiteral("first")].toObject()[QStringLiteral("y")].toInt(), 2);
}

void ComparePictureTest::thePictureShowsWhere()
{
    const ImageFolder folder;
    QVERIFY(savePair(folder));
    const ProgramRun run = compare(folder, {QStringLiteral("--picture"), folder.path("d.tif")});
    QVERIFY2(run.code == 1, run.all());
    const Loaded picture = folder.load(QStringLiteral("d.tif"));
    QCOMPARE(picture.image->width, 25);
    QCOMPARE(picture.image->height, 17);
    QMap<QPair<int, int>, int> lit;
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 25; ++x)
            if (const int grey = sampleAt<quint8>(picture.image.image(), x, y))
                lit[{x, y}] = grey;
    QCOMPARE(lit.size(), 3);
    QCOMPARE(lit.value({4, 2}), 128);
    QCOMPARE(lit.value({7, 9}), 96);
    QCOMPARE(lit.value({3, 11}), 255);
}

void ComparePictureTest::equalImagesGiveABlackPicture()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    QVERIFY(QFile::copy(folder.path("a.tif"), folder.path("b.tif")));
    QCOMPARE(compare(folder, {QStringLiteral("--picture"), folder.path("d.tif")}).code, 0);
    const Loaded picture = folder.load(QStringLiteral("d.tif"));
    double minimum = -1;
    double maximum = -1;
    QVERIFY(!ep::failed(ep::SampleRange(picture.image.image(), 0, minimum, maximum)));
    QCOMPARE(maximum, 0.0);
}

void ComparePictureTest::imagesOfOtherSizesHaveNoPicture()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    QVERIFY(folder.save(QStringLiteral("b.tif"), cameraMosaic(ep::BayerGridRGGB, 16, 24)));
    const ProgramRun run = compare(folder, {QStringLiteral("--picture"), folder.path("d.tif")});
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(saysOf(run, folder.path("d.tif"), "different sizes"), run.all());
    QVERIFY(run.out.contains(QStringLiteral("different")));
    QVERIFY(!folder.has("d.tif"));
}

void ComparePictureTest::anUnwritablePictureIsNamed()
{
    const ImageFolder folder;
    QVERIFY(savePair(folder));
    const ProgramRun run = compare(folder, {QStringLiteral("--picture"), folder.path("none/d.tif")});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, folder.path("none/d.tif"), ""), run.all());
    QVERIFY(run.out.contains(QStringLiteral("different")));
}

QTEST_GUILESS_MAIN(ComparePictureTest)
#include "ComparePictureTest.moc"
