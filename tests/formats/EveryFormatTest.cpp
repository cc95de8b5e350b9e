// What every format keeps, changes and refuses: the table for people who choose one.
#include "NumberedImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>
#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

struct SampleKind {
    const char* name;
    ep::ExImageDataType type;
    int bits;
};

constexpr SampleKind kinds[] = {{"8-bit", ep::DataTypeUInt8, 8},    {"10-bit", ep::DataTypeUInt16, 10},
                                {"12-bit", ep::DataTypeUInt16, 12}, {"16-bit", ep::DataTypeUInt16, 16},
                                {"float", ep::DataTypeFloat, 32},   {"double", ep::DataTypeDouble, 64}};

constexpr int channelCounts[] = {1, 3, 4};

enum Fate : char {
    Kept = 'k',     // every sample comes back, and the depth
    NoDepth = 'n',  // every sample comes back, as one of the whole range of its type
    Changed = 'c',  // by the nature of the format
    Refused = 'r'   // nothing is written
};

/** How images fare in one format: a word per sample kind, in it a letter for 1, 3 and 4 channels. */
struct Row {
    const char* suffix;
    const char* fates[std::size(kinds)];
};

// clang-format off
constexpr Row rows[] = {
    //        8-bit  10-bit 12-bit 16-bit float  double
    {"mat",  {"kkk", "kkk", "kkk", "kkk", "kkk", "kkk"}},
    {"tif",  {"kkk", "kkk", "kkk", "kkk", "kkk", "kkk"}},
    {"fits", {"kkk", "kkk", "kkk", "kkk", "kkk", "kkk"}},
    {"dng",  {"krr", "krr", "krr", "krr", "rrr", "rrr"}},
    {"pam",  {"kkk", "kkk", "kkk", "kkk", "rrr", "rrr"}},
    {"pnm",  {"kkr", "kkr", "kkr", "kkr", "rrr", "rrr"}},
    {"ppm",  {"rkr", "rkr", "rkr", "rkr", "rrr", "rrr"}},
    {"pgm",  {"krr", "krr", "krr", "krr", "rrr", "rrr"}},
    {"pbm",  {"rrr", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"pfm",  {"rrr", "rrr", "rrr", "rrr", "kkr", "rrr"}},
    {"png",  {"kkk", "kkk", "kkk", "kkk", "rrr", "rrr"}},
    {"dpx",  {"kkk", "nnn", "nnn", "kkk", "kkk", "kkk"}},
    {"jp2",  {"kkk", "nnn", "nnn", "kkk", "rrr", "rrr"}},
    {"exr",  {"rrr", "rrr", "rrr", "rrr", "kkk", "rrr"}},
    {"bmp",  {"kkk", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"tga",  {"kkk", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"ico",  {"rrk", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"jpg",  {"ccr", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"webp", {"rcr", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"heic", {"rcc", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"gif",  {"rrc", "rrr", "rrr", "rrr", "rrr", "rrr"}},
    {"hdr",  {"rrr", "rrr", "rrr", "rrr", "rcr", "rrr"}},
};
// clang-format on

const char* verbOf(char fate)
{
    switch (fate) {
    case Kept: return "keeps";
    case NoDepth: return "keeps, without the depth,";
    case Changed: return "changes";
    default: return "refuses";
    }
}

}  // namespace

class EveryFormatTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(orn::Init()); }
    void samples_data();
    void samples();
    void everyFormatThatIsWrittenIsInTheTable();
};

void EveryFormatTest::samples_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("channels");
    QTest::addColumn<char>("fate");
    for (const Row& row : rows)
        for (size_t kind = 0; kind < std::size(kinds); ++kind)
            for (size_t i = 0; i < std::size(channelCounts); ++i) {
                const char fate = row.fates[kind][i];
                QTest::addRow("%s %s %s in %d channels", row.suffix, verbOf(fate), kinds[kind].name, channelCounts[i])
                    << QString::fromLatin1(row.suffix) << int(kind) << channelCounts[i] << fate;
            }
}

void EveryFormatTest::samples()
{
    QFETCH(QString, suffix);
    QFETCH(int, kind);
    QFETCH(int, channels);
    QFETCH(char, fate);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.") + suffix);
    const SampleKind& sample = kinds[kind];
    ep::CxScopedBuffer image = noise(sample.type, sample.bits, channels);
    // A digital negative is of a mosaic, and says so of anything else.
    if (suffix == QLatin1String("dng") && channels == 1)
        image->bayerGrid = ep::BayerGridGBRG;
    ep::SxFileError error;
    const bool saved = Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error);
    if (fate == Refused) {
        QVERIFY(!saved);
        QVERIFY2(error.kind == ep::ExFileError::Refused, qPrintable(error.reason));
        QVERIFY2(error.reason.contains(QLatin1String(ep::sampleFacts(sample.type).name))
                     || error.reason.contains(QLatin1String("channel"))
                     || error.reason.contains(QStringLiteral("%1 bits").arg(sample.bits)),
                 qPrintable(error.reason));
        QVERIFY(QDir(folder.path()).isEmpty());
        return;
    }
    QVERIFY2(saved, qPrintable(error.reason));
    ep::CxScopedBuffer again;
    QVERIFY2(Manager::loadImageFromFile(path, again.image(), nullptr, nullptr, &error), qPrintable(error.reason));
    QCOMPARE(again->width, image->width);
    QCOMPARE(again->height, image->height);
    QCOMPARE(again->channels, image->channels);
    QCOMPARE(again->dataType, image->dataType);
    QCOMPARE(ep::SameSamples(again.image(), image.image()), fate != Changed);
    QCOMPARE(again->bitDepth, fate == NoDepth ? ep::sampleFacts(sample.type).bits : sample.bits);
}

void EveryFormatTest::everyFormatThatIsWrittenIsInTheTable()
{
    const QList<ep::SxFormatInfo> formats = Manager::instance()->formats();
    int count = 0;
    for (const ep::SxFormatInfo& format : formats) {
        if (!format.writes)
            continue;
        ++count;
        const bool isListed = std::any_of(std::begin(rows), std::end(rows), [&](const Row& row) {
            return format.suffixes.contains(QString::fromLatin1(row.suffix));
        });
        QVERIFY2(isListed, qPrintable(format.filter));
    }
    QCOMPARE(count, int(std::size(rows)));
}

QTEST_GUILESS_MAIN(EveryFormatTest)
#include "EveryFormatTest.moc"
