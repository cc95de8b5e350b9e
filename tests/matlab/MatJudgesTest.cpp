// Every image that can be written, judged by two strangers and by our own reader.

#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>

#include "MatReference.h"
#include "OwnMat.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <vector>

namespace {

/** One image as it is written. */
struct Case {
    ep::SxImageInfo info;
    bool reverse;
    bool raw;
    QString file;
};

constexpr ep::ExImageDataType writtenTypes[] = {
    ep::DataTypeInt8,   ep::DataTypeUInt8, ep::DataTypeInt16,  ep::DataTypeUInt16, ep::DataTypeInt32,
    ep::DataTypeUInt32, ep::DataTypeFloat, ep::DataTypeDouble, ep::DataTypeInt64,  ep::DataTypeUInt64};

/** Every sample type, layout, number of channels, grid, order of rows and raw flag that is not refused. */
std::vector<Case> allCases()
{
    std::vector<Case> cases;
    for (const ep::ExImageDataType type : writtenTypes)
        for (const ep::ExImageLayout layout : testing::allLayouts)
            for (const int channels : {1, 2, 3, 4})
                for (int grid = 0; grid <= 5; ++grid)
                    for (const bool reverse : {false, true})
                        for (const bool raw : {false, true}) {
                            if (raw && layout == ep::LayoutPacked && channels > 1)
                                continue;
                            ep::SxImageInfo info = testing::describe(type, 7, 5, channels, layout, 3);
                            info.bayerGrid = ep::ExBayerGrid(grid);
                            info.patternWidth = 3;
                            info.patternHeight = 2;
                            cases.push_back({info, reverse, raw, QStringLiteral("%1.mat").arg(cases.size())});
                        }
    return cases;
}

ep::CxScopedBuffer imageOf(const Case& one)
{
    return testing::randomImage(one.info, quint32(one.info.dataType * 100 + one.info.channels));
}

const char* className(matio_classes matClass)
{
    switch (matClass) {
    case MAT_C_INT8: return "int8";
    case MAT_C_UINT8: return "uint8";
    case MAT_C_INT16: return "int16";
    case MAT_C_UINT16: return "uint16";
    case MAT_C_INT32: return "int32";
    case MAT_C_UINT32: return "uint32";
    case MAT_C_INT64: return "int64";
    case MAT_C_UINT64: return "uint64";
    case MAT_C_SINGLE: return "single";
    default: return "double";
    }
}

}  // namespace

class MatJudgesTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    std::vector<Case> m_cases;
    int m_listed = 0;

    QString path(const QString& name) const { return m_folder.filePath(name); }
    void list(const Case& one, QFile& names, QFile& elements);
    QByteArray judge(const char* program, const char* script, int& exitCode) const;
    QByteArray readBack(const Case& one) const;

private slots:
    void initTestCase();
    void strangersAgree_data();
    void strangersAgree();
    void judgesNoticeOneWrongBit_data() { strangersAgree_data(); }
    void judgesNoticeOneWrongBit();
    void ownReaderGivesTheSameImage();
};

void MatJudgesTest::list(const Case& one, QFile& names, QFile& elements)
{
    const ep::CxScopedBuffer image = imageOf(one);
    const auto expected = testing::expectedMat(image.image(), QStringLiteral("image"), one.reverse, one.raw);
    // The nameless variable of a single plane with an odd cell is no name for a stranger: both take it for another
    // kind of variable. Reading through matio covers it.
    if (expected.variables.first().name.isEmpty())
        return;
    ++m_listed;
    for (const testing::StoredVariable& variable : expected.variables) {
        const QString line = QStringLiteral("%1 %2 %3 %4 %5 %6\n")
                                 .arg(one.file, variable.name, QLatin1String(className(variable.matClass)))
                                 .arg(variable.dimensions[0])
                                 .arg(variable.dimensions[1])
                                 .arg(elements.pos());
        names.write(line.toLatin1());
        elements.write(variable.data);
    }
}

void MatJudgesTest::initTestCase()
{
    orn::Init();
    m_cases = allCases();
    QFile names(path(QStringLiteral("expected.txt")));
    QFile elements(path(QStringLiteral("expected.bin")));
    QVERIFY(names.open(QIODevice::WriteOnly) && elements.open(QIODevice::WriteOnly));
    for (const Case& one : m_cases) {
        const ep::CxScopedBuffer image = imageOf(one);
        testing::MatWriter file(path(one.file));
        QVERIFY2(file.add(image.image(), one.reverse, one.raw, QStringLiteral("image")), qPrintable(one.file));
        list(one, names, elements);
    }
    QVERIFY(m_listed > 1000);
}

QByteArray MatJudgesTest::judge(const char* program, const char* script, int& exitCode) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QString::fromLocal8Bit(program), {QString::fromLocal8Bit(script), m_folder.path()});
    if (!process.waitForFinished(300000) || process.exitStatus() != QProcess::NormalExit)
        return process.errorString().toLocal8Bit();
    exitCode = process.exitCode();
    return process.readAll();
}

void MatJudgesTest::strangersAgree_data()
{
    QTest::addColumn<QByteArray>("program");
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("SciPy") << QByteArray(ORN_PYTHON) << QByteArray(ORN_JUDGES "/judge_mat.py");
    QTest::newRow("Octave") << QByteArray(ORN_OCTAVE) << QByteArray(ORN_JUDGES "/judge_mat.m");
}

void MatJudgesTest::strangersAgree()
{
    QFETCH(QByteArray, program);
    QFETCH(QByteArray, script);
    int exitCode = -1;
    const QByteArray said = judge(program.constData(), script.constData(), exitCode);
    QVERIFY2(exitCode == 0, said.constData());
    QVERIFY2(said.contains("judged " + QByteArray::number(m_listed)), said.constData());
}

void MatJudgesTest::judgesNoticeOneWrongBit()
{
    QFETCH(QByteArray, program);
    QFETCH(QByteArray, script);
    QFile elements(path(QStringLiteral("expected.bin")));
    const auto turnBit = [&] {
        char byte;
        QVERIFY(elements.open(QIODevice::ReadWrite) && elements.seek(elements.size() / 2) && elements.getChar(&byte));
        QVERIFY(elements.seek(elements.size() / 2) && elements.putChar(char(byte ^ 1)));
        elements.close();
    };
    turnBit();
    int exitCode = -1;
    const QByteArray said = judge(program.constData(), script.constData(), exitCode);
    turnBit();
    QVERIFY2(exitCode == 1, said.constData());
    QVERIFY2(said.count(".mat") == 1, said.constData());
}

QByteArray MatJudgesTest::readBack(const Case& one) const
{
    // Numbered planes come back all, with the metadata that says how many; of any other file the first variable.
    const ep::CxScopedBuffer image = imageOf(one);
    const QString file = path(QStringLiteral("own.mat"));
    const auto expected = testing::expectedMat(image.image(), QStringLiteral("ep_image"), one.reverse, one.raw);
    const bool isNumbered = expected.variables.first().name == QLatin1String("ep_image_channel_1");
    {
        testing::MatWriter writer(file);
        testing::OwnMetadata metadata{int(expected.variables.size()), one.reverse, int(one.info.bayerGrid),
                                      int(one.info.layout), 0};
        if (!writer.add(image.image(), one.reverse, one.raw) || (isNumbered && !writer.addMetadata(metadata.xml())))
            return "not written";
    }
    ep::CxScopedBuffer read;
    bool isEntropy = true;
    const bool isRead = orn::matlab::LoadImageFromMat(file, read.image(), isEntropy, nullptr);
    if (one.info.dataType >= ep::DataTypeInt64)
        return isRead ? "64-bit integers were read" : QByteArray();
    if (!isRead || isEntropy)
        return "not read";

    const auto upright = testing::expectedMat(image.image(), QStringLiteral("ep_image"), false, one.raw);
    const bool isMosaic = isNumbered && one.info.layout == ep::LayoutPacked && one.info.bayerGrid <= 3;
    if (isMosaic) {
        // Whole cells come back, of a packed image of several channels its first one, whose planes the reader takes
        // for colours.
        const bool isRightSize = read->channels == 1 && read->width == 6 && read->height == 4;
        for (int y = 0; isRightSize && one.info.channels == 1 && y < 4; ++y)
            for (int x = 0; x < 6; ++x)
                if (!testing::sameSample(read.image(), x, y, 0, image.image(), x, y, 0))
                    return "another mosaic";
        return isRightSize && int(read->bayerGrid) == int(one.info.bayerGrid) ? QByteArray() : "no mosaic";
    }
    const auto& planes = isNumbered ? upright.variables : expected.variables;
    if (read->channels != (isNumbered ? planes.size() : 1))
        return "another number of planes";
    for (int c = 0; c < read->channels; ++c)
        if (testing::columnsOf(read.image(), c, false) != planes[c].data)
            return "another plane";
    return {};
}

void MatJudgesTest::ownReaderGivesTheSameImage()
{
    for (const Case& one : m_cases) {
        const QByteArray difference = readBack(one);
        const QByteArray text =
            QStringLiteral("%1: type %2, layout %3, %4 channels, grid %5%6%7")
                .arg(QLatin1String(difference))
                .arg(one.info.dataType)
                .arg(one.info.layout)
                .arg(one.info.channels)
                .arg(one.info.bayerGrid)
                .arg(QLatin1String(one.reverse ? ", reversed" : ""), QLatin1String(one.raw ? ", raw" : ""))
                .toLatin1();
        QVERIFY2(difference.isEmpty(), text.constData());
    }
}

QTEST_GUILESS_MAIN(MatJudgesTest)
#include "MatJudgesTest.moc"
