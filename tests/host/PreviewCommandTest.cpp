#include "ConvertTesting.h"

#include <QFileInfo>

#include <array>
#include <cmath>

using namespace testing;

namespace {

using Pixel = std::array<int, 3>;

/** Makes the demonstration capture behind the pattern @p pattern. */
bool makeCapture(const QString& file, const QString& pattern)
{
    return runProgram(QStringLiteral(ORN_MAKE_DEMO_CAPTURE), {file, pattern}).code == 0;
}

/** Runs `orn preview` on two files of @p folder. */
ProgramRun preview(const ImageFolder& folder, const char* from, const char* to, const QStringList& options = {})
{
    return runOrn(QStringList{QStringLiteral("preview")} + options + QStringList{folder.path(from), folder.path(to)});
}

Pixel pixelAt(const ep::SxImageBuf& picture, int x, int y)
{
    return {sampleAt<quint8>(picture, x, y, 0), sampleAt<quint8>(picture, x, y, 1), sampleAt<quint8>(picture, x, y, 2)};
}

/** The mean of a square of pixels about a place of the scene, in parts of its height. */
Pixel colorAt(const ep::SxImageBuf& picture, double x, double y)
{
    constexpr int reach = 3;
    Pixel sum{};
    for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx) {
            const Pixel pixel = pixelAt(picture, int(x * picture.height) + dx, int(y * picture.height) + dy);
            for (size_t c = 0; c < 3; ++c)
                sum[c] += pixel[c];
        }
    constexpr int count = (2 * reach + 1) * (2 * reach + 1);
    return {sum[0] / count, sum[1] / count, sum[2] / count};
}

/** A packed image in which the sample at x, y, c is 10 * y + x + 100 * c. */
ep::CxScopedBuffer counted(int width, int height, int channels)
{
    auto image = randomImage(describe(ep::DataTypeUInt8, width, height, channels));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c)
                setSample<quint8>(image.image(), x, y, c, quint8(10 * y + x + 100 * c));
    return image;
}

}  // namespace

/** `orn preview` of one image, from outside. */
class PreviewCommandTest : public QObject {
    Q_OBJECT
private slots:
    void everyPatternShowsTheSameScene();
    void theSceneIsUprightAndInItsColors();
    void saysHowThePictureCameAbout();
    void eightBitsStayAsTheyAre();
    void oneChannelIsGrey();
    void aRegionIsEnlarged();
    void aRegionOfAMosaicIsWidenedToCells();
    void theOrientationIsApplied();
    void wrongArgumentsAreRefused_data();
    void wrongArgumentsAreRefused();
    void unreadableInputIsNamed_data();
    void unreadableInputIsNamed();
    void unwritableOutputIsNamed_data();
    void unwritableOutputIsNamed();
};

void PreviewCommandTest::everyPatternShowsTheSameScene()
{
    const ImageFolder folder;
    QVector<ep::SxImageBuf> pictures;
    QVector<QSharedPointer<Loaded>> loaded;
    const QStringList patterns{QStringLiteral("RGGB"), QStringLiteral("BGGR"), QStringLiteral("GBRG"),
                               QStringLiteral("GRBG"), QStringLiteral("X-Trans")};
    for (const QString& pattern : patterns) {
        const QString capture = folder.path(pattern + QStringLiteral(".dng"));
        QVERIFY(makeCapture(capture, pattern));
        const ProgramRun run =
            runOrn({QStringLiteral("preview"), capture, folder.path(pattern + QStringLiteral(".tif"))});
        QVERIFY2(run.code == 0, run.all());
        loaded << QSharedPointer<Loaded>::create(folder.load(pattern + QStringLiteral(".tif")));
        const ep::SxImageBuf& picture = loaded.last()->image.image();
        QCOMPARE(picture.channels, 3);
        QCOMPARE(picture.width * 1020, picture.height * 1536);
        pictures << picture;
    }
    // Within the flat parts of the scene: sun, roof, wall, door, flag, meadow and each patch of colour.
    QVector<QPair<double, double>> places{{0.25, 0.2}, {0.75, 0.4}, {0.58, 0.6}, {0.66, 0.7}, {1.38, 0.3}, {0.3, 0.78}};
    for (int patch = 0; patch < 12; ++patch)
        places << qMakePair(0.15 + patch * 0.1 + 0.045, 0.9);
    for (const auto& place : places) {
        const Pixel first = colorAt(pictures.first(), place.first, place.second);
        for (int i = 1; i < pictures.size(); ++i) {
            const Pixel other = colorAt(pictures[i], place.first, place.second);
            for (size_t c = 0; c < 3; ++c)
                QVERIFY2(std::abs(first[c] - other[c]) <= 6, qPrintable(QStringLiteral("%1 at %2,%3: %4 instead of %5")
                                                                            .arg(patterns[i])
                                                                            .arg(place.first)
                                                                            .arg(place.second)
                                                                            .arg(other[c])
                                                                            .arg(first[c])));
        }
    }
}

void PreviewCommandTest::theSceneIsUprightAndInItsColors()
{
    const ImageFolder folder;
    QVERIFY(makeCapture(folder.path("a.dng"), QStringLiteral("RGGB")));
    QCOMPARE(preview(folder, "a.dng", "a.tif").code, 0);
    const Loaded loaded = folder.load(QStringLiteral("a.tif"));
    const ep::SxImageBuf& picture = loaded.image.image();
    const Pixel sun = colorAt(picture, 0.25, 0.2);         // left, yellow
    const Pixel roof = colorAt(picture, 0.75, 0.4);        // right of it, red
    const Pixel meadow = colorAt(picture, 0.3, 0.78);      // below, green
    const Pixel sky = colorAt(picture, 0.6, 0.1);          // above, blue
    const Pixel flag = colorAt(picture, 1.38, 0.3);        // far right, white
    const Pixel stem = colorAt(picture, 1.2375, 0.4);      // of the letter F, red
    const Pixel rightOfStem = colorAt(picture, 1.3, 0.4);  // white: an F and not its mirror image
    QVERIFY(sun[0] > 200 && sun[1] > 180 && sun[2] < 140);
    QVERIFY(roof[0] > 150 && roof[1] < 90 && roof[2] < 90);
    QVERIFY(meadow[1] > meadow[0] + 30 && meadow[1] > meadow[2] + 60);
    QVERIFY(sky[2] > sky[0] + 60 && sky[2] > sky[1] + 20);
    QVERIFY(flag[0] > 200 && std::abs(flag[0] - flag[1]) < 12 && std::abs(flag[1] - flag[2]) < 12);
    QVERIFY(stem[0] > stem[1] + 80);
    QVERIFY(rightOfStem[1] > 190);
    // The patches from left to right: red, green, blue, ..., white and greys that become darker.
    QVERIFY(colorAt(picture, 0.195, 0.9)[0] > 130);
    QVERIFY(colorAt(picture, 0.395, 0.9)[2] > 130);
    for (int patch = 7; patch < 12; ++patch) {
        const Pixel grey = colorAt(picture, 0.195 + patch * 0.1, 0.9);
        QVERIFY(grey[0] < colorAt(picture, 0.095 + patch * 0.1, 0.9)[0]);
        QVERIFY(std::abs(grey[0] - grey[1]) < 12 && std::abs(grey[1] - grey[2]) < 12);
    }
}

void PreviewCommandTest::saysHowThePictureCameAbout()
{
    const ImageFolder folder;
    QVERIFY(makeCapture(folder.path("a.dng"), QStringLiteral("GBRG")));
    const ProgramRun text = preview(folder, "a.dng", "a.tif");
    for (const char* said : {"768 x 510", "2 x 2", "percentiles 0.1 and 99.9"})
        QVERIFY2(text.out.contains(QLatin1String(said)), text.all());
    const ProgramRun run = preview(folder, "a.dng", "a.tif", {QStringLiteral("--json")});
    const QJsonObject facts = run.json()[QStringLiteral("preview")].toObject();
    QCOMPARE(facts[QStringLiteral("width")].toInt(), 768);
    QCOMPARE(facts[QStringLiteral("height")].toInt(), 510);
    QCOMPARE(facts[QStringLiteral("reductionX")].toInt(), 2);
    for (const char* yes : {"scaled", "whiteBalanced", "colorsOfScreen", "gammaApplied"})
        QVERIFY2(facts[QLatin1String(yes)].toBool(), yes);
}

void PreviewCommandTest::eightBitsStayAsTheyAre()
{
    const ImageFolder folder;
    const auto photo = photograph(ep::DataTypeUInt8, 31, 17);
    QVERIFY(folder.save(QStringLiteral("a.tif"), photo, ep::CxMetadata()));
    QCOMPARE(preview(folder, "a.tif", "b.tif").code, 0);
    const Loaded picture = folder.load(QStringLiteral("b.tif"));
    QVERIFY(ep::SameSamples(photo.image(), picture.image.image()));
}

void PreviewCommandTest::oneChannelIsGrey()
{
    const ImageFolder folder;
    const auto photo = counted(8, 6, 3);
    QVERIFY(folder.save(QStringLiteral("a.tif"), photo, ep::CxMetadata()));
    QCOMPARE(preview(folder, "a.tif", "b.tif", {QStringLiteral("--channel"), QStringLiteral("2")}).code, 0);
    const Loaded picture = folder.load(QStringLiteral("b.tif"));
    QCOMPARE(picture.image->channels, 1);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 7, 5)), 157);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 0, 0)), 100);
}

void PreviewCommandTest::aRegionIsEnlarged()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), counted(9, 7, 1), ep::CxMetadata()));
    const ProgramRun run = preview(folder, "a.tif", "b.tif", {QStringLiteral("--zoom"), QStringLiteral("2,3,4,2")});
    QVERIFY2(run.code == 0, run.all());
    const Loaded picture = folder.load(QStringLiteral("b.tif"));
    QCOMPARE(picture.image->width, 512);
    QCOMPARE(picture.image->height, 256);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 0, 0)), 32);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 127, 127)), 32);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 128, 127)), 33);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 511, 255)), 45);
}

void PreviewCommandTest::aRegionOfAMosaicIsWidenedToCells()
{
    const ImageFolder folder;
    QVERIFY(makeCapture(folder.path("a.dng"), QStringLiteral("RGGB")));
    // The sun's middle: whatever cell the region begins in, it is yellow.
    const ProgramRun run = preview(folder, "a.dng", "b.tif",
                                   {QStringLiteral("--zoom"), QStringLiteral("251,201,5,5"), QStringLiteral("--json")});
    QVERIFY2(run.code == 0, run.all());
    const Loaded picture = folder.load(QStringLiteral("b.tif"));
    QCOMPARE(picture.image->width, picture.image->height);
    QCOMPARE(picture.image->width % 3, 0);
    const Pixel middle = pixelAt(picture.image.image(), picture.image->width / 2, picture.image->height / 2);
    QVERIFY(middle[0] > middle[2] && middle[1] > middle[2]);
}

void PreviewCommandTest::theOrientationIsApplied()
{
    const ImageFolder folder;
    const auto image = counted(8, 6, 1);
    ep::CxMetadata metadata;
    auto* common = new ep::CxCommonImageMetadata;
    common->orientation = 6;  // to be turned by 90 degrees clockwise
    metadata.addMetadata(common);
    QVERIFY(folder.save(QStringLiteral("a.tif"), image, metadata));
    QCOMPARE(preview(folder, "a.tif", "b.tif").code, 0);
    const Loaded picture = folder.load(QStringLiteral("b.tif"));
    QCOMPARE(picture.image->width, 6);
    QCOMPARE(picture.image->height, 8);
    // What was at the bottom left is now at the top left.
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 0, 0)), 50);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 5, 0)), 0);
    QCOMPARE(int(sampleAt<quint8>(picture.image.image(), 5, 7)), 7);
}

void PreviewCommandTest::wrongArgumentsAreRefused_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, const QStringList& options, const char* said) {
        QTest::newRow(name) << options << QString::fromLatin1(said);
    };
    const QString channel = QStringLiteral("--channel");
    const QString zoom = QStringLiteral("--zoom");
    row("channel 0", {channel, QStringLiteral("0")}, "--channel");
    row("a channel that is not there", {channel, QStringLiteral("4")}, "the image has 3");
    row("a channel that is no number", {channel, QStringLiteral("red")}, "--channel");
    row("a region past the right edge", {zoom, QStringLiteral("4,0,5,1")}, "8 x 6");
    row("a region past the lower edge", {zoom, QStringLiteral("0,6,1,1")}, "8 x 6");
    row("a region before the left edge", {zoom, QStringLiteral("-1,0,2,2")}, "8 x 6");
    row("a region without width", {zoom, QStringLiteral("0,0,0,2")}, "8 x 6");
    row("a region whose end is past all numbers", {zoom, QStringLiteral("1,1,2147483647,2")}, "8 x 6");
    row("three numbers", {zoom, QStringLiteral("0,0,2")}, "--zoom");
    row("an unknown option", {QStringLiteral("--big")}, "--big");
    row("three files", {QStringLiteral("more.tif")}, "one file too many");
    row("a logarithmic scale of nothing", {QStringLiteral("--log")}, "--histogram");
    row("a histogram of a region", {QStringLiteral("--histogram"), zoom, QStringLiteral("0,0,2,2")}, "--zoom");
    row("a contact sheet of a channel", {QStringLiteral("--contact-sheet"), channel, QStringLiteral("1")}, "--channel");
}

void PreviewCommandTest::wrongArgumentsAreRefused()
{
    QFETCH(QStringList, options);
    QFETCH(QString, said);
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), counted(8, 6, 3), ep::CxMetadata()));
    const ProgramRun run = preview(folder, "a.tif", "b.tif", options);
    QVERIFY2(run.code == 2, run.all());
    QVERIFY2(run.err.contains(said), run.all());
    QVERIFY(!folder.has("b.tif"));
}

void PreviewCommandTest::unreadableInputIsNamed_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a missing file") << QStringLiteral("none.tif");
    QTest::newRow("a folder") << QStringLiteral("folder.tif");
    QTest::newRow("an empty file") << QStringLiteral("empty.tif");
    QTest::newRow("a file of no format") << QStringLiteral("text.txt");
}

void PreviewCommandTest::unreadableInputIsNamed()
{
    QFETCH(QString, name);
    const ImageFolder folder;
    QDir().mkdir(folder.path("folder.tif"));
    for (const char* file : {"empty.tif", "text.txt"})
        QVERIFY(QFile(folder.path(file)).open(QIODevice::WriteOnly));
    for (const QStringList& mode : {QStringList(), QStringList{QStringLiteral("--histogram")}}) {
        const ProgramRun run = runOrn(QStringList{QStringLiteral("preview")} + mode
                                      + QStringList{folder.path(name), folder.path("out.png")});
        QVERIFY2(run.code == 3, run.all());
        QVERIFY2(run.err.startsWith(QStringLiteral("orn: ") + folder.path(name)), run.all());
        QVERIFY(run.out.isEmpty());
        QVERIFY(!folder.has("out.png"));
    }
}

void PreviewCommandTest::unwritableOutputIsNamed_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("no such folder") << QStringLiteral("none/b.tif");
    QTest::newRow("a folder of that name") << QStringLiteral("folder.tif");
    QTest::newRow("no such format") << QStringLiteral("b.nosuchformat");
}

void PreviewCommandTest::unwritableOutputIsNamed()
{
    QFETCH(QString, name);
    const ImageFolder folder;
    QDir().mkdir(folder.path("folder.tif"));
    QVERIFY(folder.save(QStringLiteral("a.tif"), counted(8, 6, 3), ep::CxMetadata()));
    const QStringList before = folder.names();
    const ProgramRun run = runOrn({QStringLiteral("preview"), folder.path("a.tif"), folder.path(name)});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(run.err.startsWith(QStringLiteral("orn: ") + folder.path(name)), run.all());
    QCOMPARE(folder.names(), before);
}

QTEST_GUILESS_MAIN(PreviewCommandTest)
#include "PreviewCommandTest.moc"
