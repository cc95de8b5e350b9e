// Images go through orn_read and orn_write of Octave and of Python, and come back the same.

#include "BridgeTesting.h"
#include "CameraImages.h"
#include "FullMetadata.h"
#include "SavedMat.h"

#include <orn/orn_core.h>

#include <QDir>
#include <QTemporaryDir>

#include <map>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

using MatVarHandle = std::unique_ptr<matvar_t, MatVarDeleter>;

/** The ways through the other programs; each way's folder has its name. */
const char* const ways[] = {"octave", "python", "python of octave", "octave of python"};

/** What was stored, and what is to be seen of it. */
struct Expected {
    ep::CxScopedBuffer image;
    QString source = QStringLiteral("ep_image");
    bool hasMetadata = true;
};

/** The samples row by row, with the channels of a sample together. */
QByteArray interleaved(const ep::SxImageBuf& image)
{
    QByteArray bytes;
    const int sample = ep::sampleFacts(image.dataType).bytes;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c)
                bytes.append(reinterpret_cast<const char*>(address(image, x, y, c)), sample);
    return bytes;
}

/** The colours of a cell row by row, as far as the tests know them. */
QString colorsOf(const ep::SxImageInfo& image)
{
    static const QMap<int, QString> colors{{ep::BayerGridBGGR, QStringLiteral("BGGR")},
                                           {ep::BayerGridRGGB, QStringLiteral("RGGB")},
                                           {ep::BayerGridGBRG, QStringLiteral("GBRG")},
                                           {ep::BayerGridGRBG, QStringLiteral("GRBG")},
                                           {ep::BayerGridCell, xTransColors()}};
    const QString known = colors.value(image.bayerGrid);
    return known.size() == image.patternWidth * image.patternHeight ? known : QString();
}

QString pattern(const ep::SxImageInfo& image)
{
    QString colors = colorsOf(image);
    if (image.bayerGrid != ep::BayerGridNone && colors.isEmpty())
        colors = QString(image.patternWidth * image.patternHeight, QLatin1Char('?'));
    QStringList rows;
    for (int row = 0; row * image.patternWidth < colors.size(); ++row)
        rows << colors.mid(row * image.patternWidth, image.patternWidth);
    return rows.join(QLatin1Char('/'));
}

QString numbers(const QVector<double>& values)
{
    QStringList texts;
    for (double value : values)
        texts << QString::number(value, 'g', 17);
    return texts.join(QLatin1Char(' '));
}

/** What the scripts say first: of the image itself. */
QString factsOf(const Expected& expected)
{
    static const QMap<int, const char*> classes{{1, "int8"},  {2, "uint8"},  {3, "int16"},  {4, "uint16"},
                                                {5, "int32"}, {6, "uint32"}, {7, "single"}, {8, "double"}};
    static const char* const grids[] = {"BGGR", "RGGB", "GBRG", "GRBG", "none", "cell"};
    const ep::SxImageBuf& image = expected.image.image();
    return QStringLiteral("%1 %2 %3 %4\n%5 %6 %7 %8 %9\n")
        .arg(QLatin1String(classes[image.dataType]))
        .arg(image.height)
        .arg(image.width)
        .arg(image.channels)
        .arg(int(image.bayerGrid != ep::BayerGridNone))
        .arg(QLatin1String(grids[image.bayerGrid]), pattern(image))
        .arg(image.bitDepth)
        .arg(expected.source);
}

/** What they say then: of the capture. */
QString factsOf(const ep::CxCommonImageMetadata& common)
{
    QStringList lines;
    for (double value : {double(common.sensorWidth), double(common.leftMargin)})
        lines << numbers({value});
    lines << numbers(common.blackLevels) << numbers(common.whiteBalance);
    lines << numbers({common.exposureTime}) << numbers({common.iso}) << QString::number(common.orientation);
    lines << numbers(common.colorMatrix) << common.cameraMake << common.cameraModel
          << common.captureTime.toString(Qt::ISODateWithMs);
    for (auto it = common.attributes.begin(); it != common.attributes.end(); ++it)
        lines << it.key() + QLatin1Char('=') + QString(it.value()).replace(QLatin1Char('\n'), QLatin1Char('|'));
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

/** Full metadata that goes with @p image. */
ep::CxMetadata metadataFor(const ep::SxImageInfo& image)
{
    ep::CxMetadata metadata = fullMetadata();
    auto* common =
        qobject_cast<ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    common->colorBitDepth = image.bitDepth;
    common->patternColors = colorsOf(image);
    return metadata;
}

/** The common item alone, as text. */
QString commonXml(const ep::CxMetadata& metadata)
{
    ep::CxMetadata common;
    if (const auto* item = commonItem(metadata))
        common.addMetadata(item->clone());
    return common.saveToXml(1);
}

/** Text of another program's class, which nobody here understands. */
QString unknownItem()
{
    return QStringLiteral("<item class=\"other::Notes\" x=\"a&gt;b\"><note>Gr&#246;&#223;e</note><empty/></item>");
}

}  // namespace

class ExchangeTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theOthersSeeTheImageUpright_data() { addRows(); }
    void theOthersSeeTheImageUpright();
    void theOthersSeeTheMetadata_data() { addRows(); }
    void theOthersSeeTheMetadata();
    void weReadTheSame_data() { addRows(); }
    void weReadTheSame();

private:
    void addRows();
    void add(const QString& name, ep::CxScopedBuffer image, const QMap<QString, QVariant>& options = {});
    void addSampleTypes();
    void addMosaics();
    void addNamesAndTexts();
    void addCopy(const QString& original, const QString& name, MatVarHandle variable);
    void addCompactDoubles();
    void addRespelled(const QString& name, matio_types type, const QByteArray& text, size_t length);
    void addEntropyImages();
    QString path(const QString& way, const QString& name, const char* suffix = ".mat") const
    {
        return m_folder.filePath(way + QLatin1Char('/') + name + QLatin1String(suffix));
    }

    QTemporaryDir m_folder;
    std::map<QString, Expected> m_images;
};

void ExchangeTest::add(const QString& name, ep::CxScopedBuffer image, const QMap<QString, QVariant>& options)
{
    const ep::CxMetadata metadata = metadataFor(image.image());
    ep::SxFileError error;
    QVERIFY2(Manager::saveImageToFile(path(QStringLiteral("ours"), name), image.image(), &metadata, &options, false,
                                      QString(), &error),
             qPrintable(error.reason));
    Expected expected{std::move(image)};
    expected.source = options.value(QStringLiteral("matname"), expected.source).toString();
    m_images.emplace(name, std::move(expected));
}

void ExchangeTest::addSampleTypes()
{
    for (int type = ep::DataTypeInt8; type <= ep::DataTypeDouble; ++type) {
        const QString name = QString::fromLatin1(ep::sampleFacts(type).name);
        for (int channels : {1, 3, 4, 5})
            add(name + QStringLiteral(" of %1 channels").arg(channels),
                plainNumbers(describe(ep::ExImageDataType(type), 7, 5, channels)));
        ep::SxImageInfo mosaic = describe(ep::ExImageDataType(type), 8, 6);
        mosaic.bayerGrid = ep::BayerGridGBRG;
        mosaic.patternWidth = mosaic.patternHeight = 2;
        add(name + QStringLiteral(" mosaic"), plainNumbers(mosaic));
    }
    add(QStringLiteral("one row"), plainNumbers(describe(ep::DataTypeUInt16, 9, 1)));
    add(QStringLiteral("one column"), plainNumbers(describe(ep::DataTypeUInt16, 1, 9)));
    add(QStringLiteral("one sample"), plainNumbers(describe(ep::DataTypeDouble, 1, 1)));
    add(QStringLiteral("one row of 3 channels"), plainNumbers(describe(ep::DataTypeFloat, 9, 1, 3)));
}

void ExchangeTest::addMosaics()
{
    for (int grid : {ep::BayerGridBGGR, ep::BayerGridRGGB, ep::BayerGridGBRG, ep::BayerGridGRBG})
        add(QStringLiteral("grid %1").arg(grid), cameraMosaic(ep::ExBayerGrid(grid), 20, 12, 12));
    add(QStringLiteral("X-Trans cell"), cameraMosaic(ep::BayerGridCell, 24, 18));
    ep::SxImageInfo mosaic = describe(ep::DataTypeUInt8, 8, 6);
    mosaic.bayerGrid = ep::BayerGridCell;
    mosaic.patternWidth = 4;
    mosaic.patternHeight = 2;
    add(QStringLiteral("cell of unknown colours"), plainNumbers(mosaic));
}

// A copy of the file of another image with one variable exchanged.
void ExchangeTest::addCopy(const QString& original, const QString& name, MatVarHandle variable)
{
    const QString file = path(QStringLiteral("ours"), name);
    QVERIFY(QFile::copy(path(QStringLiteral("ours"), original), file));
    const std::unique_ptr<mat_t, MatCloser> mat(Mat_Open(file.toLocal8Bit().constData(), MAT_ACC_RDWR));
    QVERIFY(mat && variable && Mat_VarDelete(mat.get(), variable->name) == 0);
    QVERIFY(Mat_VarWrite(mat.get(), variable.get(), MAT_COMPRESSION_NONE) == 0);
    m_images.emplace(name, Expected{copyOf(m_images.at(original).image.image())});
}

// MATLAB stores doubles that are whole numbers as integers of few bytes.
void ExchangeTest::addCompactDoubles()
{
    constexpr int width = 7;
    constexpr int height = 5;
    ep::CxScopedBuffer image = plainNumbers(describe(ep::DataTypeDouble, width, height));
    QByteArray stored;
    for (int x = 0; x < width; ++x)
        for (int y = height - 1; y >= 0; --y) {
            stored.append(char(10 * y + x));
            setSample(image.image(), x, y, 0, double(10 * y + x));
        }
    add(QStringLiteral("whole numbers"), std::move(image));
    size_t dimensions[] = {height, width};
    addCopy(
        QStringLiteral("whole numbers"), QStringLiteral("whole numbers as MATLAB stores them"),
        MatVarHandle(Mat_VarCreate("ep_image_channel_1", MAT_C_DOUBLE, MAT_T_UINT8, 2, dimensions, stored.data(), 0)));
}

// The file "one row" with other metadata text.
void ExchangeTest::addRespelled(const QString& name, matio_types type, const QByteArray& text, size_t length)
{
    size_t dimensions[] = {1, length};
    QByteArray padded = text + QByteArray(text.size(), '\0');
    addCopy(QStringLiteral("one row"), name,
            MatVarHandle(Mat_VarCreate("ep_image_metadata", MAT_C_CHAR, type, 2, dimensions, padded.data(), 0)));
}

void ExchangeTest::addNamesAndTexts()
{
    const auto photograph = describe(ep::DataTypeUInt16, 7, 5, 3);
    add(QStringLiteral("Größe 相機"), plainNumbers(photograph));
    add(QStringLiteral("another base name"), plainNumbers(photograph),
        {{QStringLiteral("matname"), QStringLiteral("scene")}});
    add(QStringLiteral("top row first"), plainNumbers(photograph), {{QStringLiteral("reverse_rows"), false}});

    const QByteArray stored =
        SavedMat(path(QStringLiteral("ours"), QStringLiteral("one row"))).text(QStringLiteral("ep_image_metadata"));
    QString spelled = QString::fromLatin1(stored);
    const QRegularExpression reference(QStringLiteral("&#(\\d\\d\\d\\d?);"));
    for (auto match = reference.match(spelled); match.hasMatch(); match = reference.match(spelled))
        spelled.replace(match.capturedStart(), match.capturedLength(), QChar(match.captured(1).toUShort()));
    QVERIFY(spelled.contains(QStringLiteral("Größe")));
    addRespelled(QStringLiteral("text of 8 bits"), MAT_T_UTF8, spelled.toUtf8(), size_t(spelled.toUtf8().size()));
    addRespelled(QStringLiteral("text of 16 bits"), MAT_T_UTF16,
                 QByteArray(reinterpret_cast<const char*>(spelled.utf16()), spelled.size() * 2),
                 size_t(spelled.size()));

    QString withUnknown = QString::fromLatin1(stored);
    withUnknown.replace(QStringLiteral("</metadata>"), unknownItem() + QStringLiteral("</metadata>"));
    addRespelled(QStringLiteral("unknown item"), MAT_T_UTF8, withUnknown.toLatin1(), size_t(withUnknown.size()));
}

void ExchangeTest::addEntropyImages()
{
    ep::CxScopedBuffer planes = plainNumbers(describe(ep::DataTypeDouble, 4, 3, 2, ep::LayoutPlanar));
    const QString numbered = QStringLiteral("entropy planes");
    QVERIFY(orn::matlab::SaveEntropyImageToMat(planes.image(), QStringLiteral("PIG"),
                                               path(QStringLiteral("ours"), numbered), false));
    m_images.emplace(numbered, Expected{std::move(planes), QStringLiteral("PIG"), false});

    planes = plainNumbers(describe(ep::DataTypeDouble, 4, 3, 4, ep::LayoutPlanar));
    const QString colored = QStringLiteral("entropy mosaic");
    void* mat = orn::matlab::MatOpenWrite(path(QStringLiteral("ours"), colored));
    ep::SxImageInfo written = ep::emptyImage();
    QVERIFY(orn::matlab::AddImage(mat, planes.image(), QStringLiteral("PDG"), false, written, true));
    QVERIFY(orn::matlab::MatClose(mat));
    Expected expected{{}, QStringLiteral("PDG"), false};
    QVERIFY(Manager::loadImageFromFile(path(QStringLiteral("ours"), colored), expected.image.image(), nullptr));
    m_images.emplace(colored, std::move(expected));
}

void ExchangeTest::initTestCase()
{
    orn::Init();
    QDir folder(m_folder.path());
    QVERIFY(folder.mkdir(QStringLiteral("ours")));
    for (const char* way : ways)
        QVERIFY(folder.mkdir(QLatin1String(way)));
    addSampleTypes();
    addMosaics();
    addCompactDoubles();
    addNamesAndTexts();
    addEntropyImages();

    const auto at = [&folder](const char* name) { return folder.filePath(QLatin1String(name)); };
    const ProgramRun octave = runOctave("exchange.m", {at("ours"), at("octave")});
    QVERIFY2(octave.code == 0, octave.all());
    const ProgramRun python =
        runPython("exchange.py", {at("ours"), at("python"), at("octave"), at("python of octave")});
    QVERIFY2(python.code == 0, python.all());
    const ProgramRun again = runOctave("exchange.m", {at("python"), at("octave of python")});
    QVERIFY2(again.code == 0, again.all());
}

void ExchangeTest::addRows()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("name");
    for (const char* way : ways)
        for (const auto& entry : m_images)
            QTest::newRow((QByteArray(way) + ", " + entry.first.toUtf8()).constData())
                << QString::fromLatin1(way) << entry.first;
}

void ExchangeTest::theOthersSeeTheImageUpright()
{
    QFETCH(QString, way);
    QFETCH(QString, name);
    QCOMPARE(QString::fromUtf8(contentOf(path(way, name, ".failure"))), QString());
    QCOMPARE(contentOf(path(way, name, ".samples")), interleaved(m_images.at(name).image.image()));
}

void ExchangeTest::theOthersSeeTheMetadata()
{
    QFETCH(QString, way);
    QFETCH(QString, name);
    Expected& expected = m_images.at(name);
    // What has passed through orn_write has the usual name.
    const bool isFirstHand = !way.contains(QStringLiteral("of"));
    const QString source = expected.source;
    if (!isFirstHand)
        expected.source = QStringLiteral("ep_image");
    QString facts = factsOf(expected);
    expected.source = source;
    if (expected.hasMetadata)
        facts += factsOf(*commonItem(metadataFor(expected.image.image())));
    const QString seen = QString::fromUtf8(contentOf(path(way, name, ".facts")));
    QCOMPARE(expected.hasMetadata ? seen : seen.left(facts.size()), facts);
}

void ExchangeTest::weReadTheSame()
{
    QFETCH(QString, way);
    QFETCH(QString, name);
    const Expected& expected = m_images.at(name);
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    ep::SxFileError error;
    QVERIFY2(Manager::loadImageFromFile(path(way, name), image.image(), &metadata, nullptr, &error),
             qPrintable(error.reason));
    QVERIFY(ep::SameSamples(image.image(), expected.image.image()));
    QCOMPARE(int(image->bayerGrid), int(expected.image->bayerGrid));
    QCOMPARE(image->bitDepth, expected.image->bitDepth);
    if (!expected.hasMetadata)
        return;
    ep::CxScopedBuffer direct;
    ep::CxMetadata directMetadata;
    const QMap<QString, QVariant> options{{QStringLiteral("matname"), expected.source}};
    QVERIFY(Manager::loadImageFromFile(path(QStringLiteral("ours"), name), direct.image(), &directMetadata, &options,
                                       &error));
    QCOMPARE(commonXml(metadata), commonXml(directMetadata));
    QCOMPARE(metadata.saveToXml(-1).contains(unknownItem()), name == QStringLiteral("unknown item"));
}

QTEST_GUILESS_MAIN(ExchangeTest)
#include "ExchangeTest.moc"
