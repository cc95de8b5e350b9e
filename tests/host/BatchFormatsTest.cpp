#include "BatchFolder.h"

#include <orn/orn_core.h>

#include <matio.h>

using namespace testing;

namespace {

struct Kind {
    const char* suffix;
    ep::ExImageDataType type;
    int channels;
    bool isMosaic;
};

// A file of each format that can be written, of what that format holds.
const Kind kinds[] = {
    {"mat", ep::DataTypeUInt16, 1, true},  {"mat", ep::DataTypeDouble, 3, false}, {"tif", ep::DataTypeUInt16, 1, true},
    {"tif", ep::DataTypeFloat, 3, false},  {"dng", ep::DataTypeUInt16, 1, true},  {"fits", ep::DataTypeUInt16, 1, true},
    {"fits", ep::DataTypeFloat, 3, false}, {"pgm", ep::DataTypeUInt16, 1, true},  {"ppm", ep::DataTypeUInt8, 3, false},
    {"pam", ep::DataTypeUInt16, 4, false}, {"pfm", ep::DataTypeFloat, 3, false},  {"png", ep::DataTypeUInt16, 1, true},
    {"png", ep::DataTypeUInt8, 3, false},  {"jpg", ep::DataTypeUInt8, 3, false},  {"exr", ep::DataTypeFloat, 3, false},
    {"bmp", ep::DataTypeUInt8, 3, false},  {"tga", ep::DataTypeUInt8, 3, false},  {"dpx", ep::DataTypeUInt16, 3, false},
    {"hdr", ep::DataTypeFloat, 3, false},  {"webp", ep::DataTypeUInt8, 3, false},
#ifndef __SANITIZE_THREAD__  // a build with this sanitizer does not find out that it can be written
    {"jp2", ep::DataTypeUInt8, 3, false},
#endif
};

constexpr int fileCount = 200;

/** A MAT file of version 7.3, as other programs write it. */
bool writeVersion73(const QString& path, int seed)
{
    mat_t* mat = Mat_CreateVer(QFile::encodeName(path).constData(), nullptr, MAT_FT_MAT73);
    QVector<double> values(48 * 32);
    for (int i = 0; i < values.size(); ++i)
        values[i] = (i * seed) % 977;
    size_t dimensions[] = {48, 32};
    matvar_t* variable = Mat_VarCreate("A", MAT_C_DOUBLE, MAT_T_DOUBLE, 2, dimensions, values.data(), 0);
    const bool isWritten = mat && Mat_VarWrite(mat, variable, MAT_COMPRESSION_ZLIB) == 0;
    Mat_VarFree(variable);
    return mat && Mat_Close(mat) == 0 && isWritten;
}

}  // namespace

/** The libraries of all formats at work in many threads at once: the same bytes as in one. */
class BatchFormatsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void manyThreadsGiveTheBytesOfOne_data();
    void manyThreadsGiveTheBytesOfOne();

private:
    BatchFolder m_files;
};

void BatchFormatsTest::initTestCase()
{
    orn::Init();
    constexpr int kindCount = sizeof(kinds) / sizeof(kinds[0]);
    for (int i = 0; i < fileCount; ++i) {
        const int place = i % (kindCount + 2);
        const quint32 seed = quint32(i + 1);
        const QString name = QStringLiteral("in%1.").arg(i);
        if (place >= kindCount) {
            QVERIFY(writeVersion73(m_files.path(name + QStringLiteral("mat")), i + 1));
            continue;
        }
        const Kind& kind = kinds[place];
        const auto image = kind.isMosaic ? cameraMosaic(ep::ExBayerGrid(i % 4), 48, 32, 14, seed)
                                         : randomImage(describe(kind.type, 48, 32, kind.channels), seed);
        QVERIFY2(m_files.save(name + QLatin1String(kind.suffix), image), qPrintable(name + QLatin1String(kind.suffix)));
    }
}

void BatchFormatsTest::manyThreadsGiveTheBytesOfOne_data()
{
    QTest::addColumn<QString>("work");
    const auto row = [](const char* name, const char* work) { QTest::newRow(name) << QString::fromLatin1(work); };
    row("all formats to TIFF", "convert --to tiff in*");
    row("all formats to MAT", "convert --to mat --lossy in*");
    row("all formats to FITS", "convert --to fits in*");
    row("all formats as PNG pictures", "preview --to png in*");
    row("all formats as WebP pictures", "preview --to webp in*");
    row("mosaics to compressed DNG", "convert --to dng --compression deflate in*.fits in*.dng in*.pgm");
    row("real numbers to OpenEXR", "convert --to exr in*.pfm in*.hdr in*.exr");
}

void BatchFormatsTest::manyThreadsGiveTheBytesOfOne()
{
    QFETCH(QString, work);
    const QString line = QStringLiteral("orn %1 --quiet --json --jobs %2 --out-dir %3");
    const ProgramRun one = m_files.run(line.arg(work, QString::number(1), QStringLiteral("one")));
    const QMap<QString, QByteArray> expected = m_files.contents("one");
    QVERIFY2(one.code == 0 || one.code == 1, one.all().right(2000));
    QVERIFY(expected.size() > 8);
    const ProgramRun many = m_files.run(line.arg(work, QString::number(8), QStringLiteral("many")));
    QCOMPARE(many.code, one.code);
    const QMap<QString, QByteArray> found = m_files.contents("many");
    QCOMPARE(found.keys(), expected.keys());
    for (const QString& name : expected.keys())
        QVERIFY2(found[name] == expected[name], qPrintable(name));
    QVERIFY(QDir(m_files.path("many")).removeRecursively());
    QVERIFY(QDir(m_files.path("one")).removeRecursively());
}

QTEST_GUILESS_MAIN(BatchFormatsTest)
#include "BatchFormatsTest.moc"
