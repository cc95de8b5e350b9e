// Files of this library: planes, as many as their metadata says, and what the metadata undoes.

#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>

#include "LogCapture.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <limits>
#include <vector>

#include <matio.h>

using orn::matlab::LoadImageFromMat;
using testing::MatWriter;
using testing::OwnMetadata;

using Fill = std::function<bool(MatWriter&)>;
Q_DECLARE_METATYPE(Fill)

namespace {

ep::CxScopedBuffer planes(int channels, ep::ExImageDataType type = ep::DataTypeUInt8, int width = 4, int height = 3)
{
    return testing::randomImage(testing::describe(type, width, height, channels, ep::LayoutPlanar));
}

QString numbered(int plane)
{
    return QStringLiteral("ep_image_channel_%1").arg(plane);
}

bool addMatrix(MatWriter& file, const QString& name, int rows = 3, int cols = 4)
{
    std::vector<double> numbers(size_t(rows) * size_t(cols), 7.0);
    return orn::matlab::AddVar(file.mat(), numbers.data(), rows, cols, name);
}

bool addOwn(MatWriter& file, const OwnMetadata& metadata)
{
    return file.addMetadata(metadata.xml());
}

}  // namespace

class LoadImageFromMatTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::CxScopedBuffer m_image;
    ep::CxMetadata m_metadata;
    bool m_isEntropy = false;

    QString path() const { return m_folder.filePath(QStringLiteral("Bild \u00e4.mat")); }
    bool load() { return LoadImageFromMat(path(), m_image.image(), m_isEntropy, &m_metadata); }

private slots:
    void initTestCase() { orn::Init(); }
    void init();
    void threePlanesComeBackIdentical();
    void whatCannotBeOpenedFailsAndReleases_data();
    void whatCannotBeOpenedFailsAndReleases();
    void failsAndReleases_data();
    void failsAndReleases();
    void firstPlaneOfAnotherRankLeavesTheImage();
    void noMatrixStillUndoesTheRows();
    void earlierImageIsReplaced();
    void rowReversalIsUndone_data();
    void rowReversalIsUndone();
    void countOfZeroTakesTheFirstMatrix();
    void theFirstItemCounts();
    void metadataIsHandedOver();
    void entropyPrefixGoesFirst_data();
    void entropyPrefixGoesFirst();
};

void LoadImageFromMatTest::init()
{
    m_image.reset();
    m_metadata.clear();
    m_isEntropy = true;
}

void LoadImageFromMatTest::threePlanesComeBackIdentical()
{
    const ep::CxScopedBuffer image = planes(3);
    {
        MatWriter file(path());
        QVERIFY(file.add(image.image()) && addOwn(file, {3}));
    }
    testing::LogCapture log;
    QVERIFY(load());
    QVERIFY(!m_isEntropy);
    QVERIFY(ep::SameSamples(m_image.image(), image.image()));
    QCOMPARE(m_image->width, 4);
    QCOMPARE(m_image->height, 3);
    QCOMPARE(m_image->channels, 3);
    QCOMPARE(int(m_image->layout), int(ep::LayoutPlanar));
    QCOMPARE(int(m_image->dataType), int(ep::DataTypeUInt8));
    QCOMPARE(m_image->bitDepth, 8);
    QCOMPARE(log.criticals(), QStringList());
}

void LoadImageFromMatTest::whatCannotBeOpenedFailsAndReleases_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("a missing file") << QByteArray();
    QTest::newRow("an empty file") << QByteArray("");
    QTest::newRow("a letter") << QByteArray("Dear reader, ").repeated(50);
}

void LoadImageFromMatTest::whatCannotBeOpenedFailsAndReleases()
{
    QFETCH(QByteArray, content);
    QFile file(path());
    QVERIFY(file.remove() || !file.exists());
    if (!content.isNull()) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
    }
    m_image = planes(1);
    testing::LogCapture log;
    QVERIFY(!load());
    QVERIFY(!m_isEntropy);
    QVERIFY(!m_image->data);
    QCOMPARE(log.criticals(), QStringList());
}

void LoadImageFromMatTest::failsAndReleases_data()
{
    QTest::addColumn<Fill>("fill");
    const auto row = [](const char* fact, const Fill& fill) { QTest::newRow(fact) << fill; };
    row("no first plane", [](MatWriter& file) { return addMatrix(file, numbered(2)) && addOwn(file, {1}); });
    row("a first plane of 64-bit integers",
        [](MatWriter& file) { return file.add(planes(1, ep::DataTypeInt64).image()) && addOwn(file, {1}); });
    row("a first plane of unsigned 64-bit integers",
        [](MatWriter& file) { return file.add(planes(1, ep::DataTypeUInt64).image()) && addOwn(file, {1}); });
    row("a first plane of text", [](MatWriter& file) {
        return orn::matlab::AddVar(file.mat(), QStringLiteral("text"), numbered(1)) && addOwn(file, {1});
    });
    row("an empty first plane",
        [](MatWriter& file) { return addMatrix(file, numbered(1), 0, 4) && addOwn(file, {1}); });
    row("a second plane of another class", [](MatWriter& file) {
        return file.add(planes(1).image()) && addMatrix(file, numbered(2)) && addOwn(file, {2});
    });
    row("a second plane of text", [](MatWriter& file) {
        return file.add(planes(1).image()) && orn::matlab::AddVar(file.mat(), QStringLiteral("x"), numbered(2))
               && addOwn(file, {2});
    });
    row("no third plane", [](MatWriter& file) {
        return file.add(planes(2).image()) && addMatrix(file, QStringLiteral("A")) && addOwn(file, {3});
    });
    row("fewer than no planes", [](MatWriter& file) {
        const QString xml = OwnMetadata{1}.xml().replace(QStringLiteral(">1<"), QStringLiteral(">-1<"));
        return file.add(planes(1).image()) && file.addMetadata(xml);
    });
    row("more planes than variables",
        [](MatWriter& file) { return file.add(planes(2).image()) && addOwn(file, {std::numeric_limits<int>::max()}); });
    row("planes named by colour",
        [](MatWriter& file) { return file.add(planes(4).image(), false, true) && addOwn(file, {4}); });
}

void LoadImageFromMatTest::failsAndReleases()
{
    QFETCH(Fill, fill);
    {
        MatWriter file(path());
        QVERIFY(fill(file));
    }
    m_image = planes(1);
    testing::LogCapture log;
    QVERIFY(!load());
    QVERIFY(!m_isEntropy);
    QVERIFY(!m_image->data);
    QCOMPARE(log.criticals(), QStringList());
    // The metadata was good, and has been handed over.
    QVERIFY(!m_metadata.isEmpty());
}

void LoadImageFromMatTest::firstPlaneOfAnotherRankLeavesTheImage()
{
    {
        MatWriter file(path());
        size_t dimensions[] = {2, 3, 2};
        double numbers[12] = {};
        matvar_t* cube = Mat_VarCreate("ep_image_channel_1", MAT_C_DOUBLE, MAT_T_DOUBLE, 3, dimensions, numbers, 0);
        Mat_VarWrite(static_cast<mat_t*>(file.mat()), cube, MAT_COMPRESSION_NONE);
        Mat_VarFree(cube);
        QVERIFY(addOwn(file, {1, true}));
    }
    m_image = planes(2);
    const ep::CxScopedBuffer before = testing::copyOf(m_image.image());
    const void* data = m_image->data;
    QVERIFY(load());
    // Not even the rows are reversed.
    QCOMPARE(m_image->data, data);
    QVERIFY(testing::sameStorage(m_image.image(), before.image()));
}

void LoadImageFromMatTest::noMatrixStillUndoesTheRows()
{
    {
        MatWriter file(path());
        QVERIFY(addOwn(file, {0, true, 4, 0, 14}));
    }
    m_image = planes(1, ep::DataTypeUInt16, 4, 2);
    for (int x = 0; x < 4; ++x)
        for (int y = 0; y < 2; ++y)
            testing::setSample<quint16>(m_image.image(), x, y, 0, quint16(100 * y + x));
    const void* data = m_image->data;
    QVERIFY(load());
    QCOMPARE(m_image->data, data);
    QCOMPARE(testing::sampleAt<quint16>(m_image.image(), 3, 0), quint16(103));
    QCOMPARE(testing::sampleAt<quint16>(m_image.image(), 3, 1), quint16(3));
    QCOMPARE(m_image->bitDepth, 14);
}

void LoadImageFromMatTest::earlierImageIsReplaced()
{
    {
        MatWriter file(path());
        QVERIFY(file.add(planes(2).image()) && addOwn(file, {2}));
    }
    m_image = planes(5, ep::DataTypeDouble, 40, 30);
    m_image->bayerGrid = ep::BayerGridGRBG;
    QVERIFY(load());
    QVERIFY(ep::SameSamples(m_image.image(), planes(2).image()));
}

void LoadImageFromMatTest::rowReversalIsUndone_data()
{
    QTest::addColumn<bool>("isStoredReversed");
    QTest::addColumn<bool>("isSaidReversed");
    QTest::newRow("stored and said") << true << true;
    QTest::newRow("neither") << false << false;
    QTest::newRow("only said: the image comes upside down") << false << true;
}

void LoadImageFromMatTest::rowReversalIsUndone()
{
    QFETCH(bool, isStoredReversed);
    QFETCH(bool, isSaidReversed);
    const ep::CxScopedBuffer image = planes(2, ep::DataTypeInt32);
    {
        MatWriter file(path());
        QVERIFY(file.add(image.image(), isStoredReversed) && addOwn(file, {2, isSaidReversed}));
    }
    QVERIFY(load());
    for (int c = 0; c < 2; ++c)
        for (int x = 0; x < 4; ++x)
            for (int y = 0; y < 3; ++y)
                QVERIFY(testing::sameSample(m_image.image(), x, isStoredReversed == isSaidReversed ? y : 2 - y, c,
                                            image.image(), x, y, c));
}

void LoadImageFromMatTest::countOfZeroTakesTheFirstMatrix()
{
    const ep::CxScopedBuffer image = planes(3);
    {
        MatWriter file(path());
        QVERIFY(file.add(image.image(), true) && addOwn(file, {0, true}));
    }
    QVERIFY(load());
    QCOMPARE(m_image->channels, 1);
    QCOMPARE(int(m_image->layout), int(ep::LayoutPacked));
    for (int x = 0; x < 4; ++x)
        for (int y = 0; y < 3; ++y)
            QVERIFY(testing::sameSample(m_image.image(), x, y, 0, image.image(), x, y, 0));
}

void LoadImageFromMatTest::theFirstItemCounts()
{
    ep::CxMetadata metadata = OwnMetadata{2, false, 4, 0, 13}.metadata();
    const ep::CxMetadata later = OwnMetadata{1, true, 1, 0, 15}.metadata();
    for (ep::IxMetadataItem* item : later.items())
        metadata.addMetadata(item->clone());
    ep::CxScopedBuffer image = planes(2, ep::DataTypeUInt16);
    std::memset(image->data, 0, testing::storageBytes(image.image()));
    testing::setSample<quint16>(image.image(), 1, 0, 1, 1000);
    {
        MatWriter file(path());
        QVERIFY(file.add(image.image()) && file.addMetadata(metadata.saveToXml(-1)));
    }
    QVERIFY(load());
    QVERIFY(ep::SameSamples(m_image.image(), image.image()));
    QCOMPARE(m_image->bitDepth, 13);
    QCOMPARE(m_metadata.items().size(), 4);
}

void LoadImageFromMatTest::metadataIsHandedOver()
{
    {
        MatWriter file(path());
        QVERIFY(file.add(planes(1).image()) && addOwn(file, {1, false, 2, 0, 7}));
    }
    m_metadata = OwnMetadata{9}.metadata();
    QVERIFY(load());
    QCOMPARE(m_metadata.saveToXml(1), (OwnMetadata{1, false, 2, 0, 7}.metadata().saveToXml(1)));
    // Nobody has to ask for it.
    QVERIFY(LoadImageFromMat(path(), m_image.image(), m_isEntropy, nullptr));

    // Metadata without an item, and no metadata, leave the caller's alone.
    for (const bool hasText : {false, true}) {
        {
            MatWriter file(path());
            QVERIFY(file.add(planes(1).image()) && (!hasText || file.addMetadata(ep::CxMetadata().saveToXml(-1))));
        }
        m_metadata = OwnMetadata{9}.metadata();
        QVERIFY(load());
        QCOMPARE(m_metadata.saveToXml(1),
                 OwnMetadata{9}.xml().isEmpty() ? QString() : OwnMetadata{9}.metadata().saveToXml(1));
    }
}

void LoadImageFromMatTest::entropyPrefixGoesFirst_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isDouble");
    for (const char* name : {"PIG_channel_1", "PIG_channel_R", "PDG_channel_1", "PDG_channel_R"})
        for (const bool isDouble : {true, false})
            QTest::addRow("%s%s", name, isDouble ? "" : " that cannot be read fails, and keeps the image")
                << QString::fromLatin1(name) << isDouble;
}

void LoadImageFromMatTest::entropyPrefixGoesFirst()
{
    QFETCH(QString, name);
    QFETCH(bool, isDouble);
    {
        MatWriter file(path());
        QVERIFY(file.add(planes(1).image()) && addOwn(file, {1}));
        QVERIFY(isDouble ? addMatrix(file, name, 2, 5) : orn::matlab::AddVar(file.mat(), QStringLiteral("text"), name));
    }
    m_image = planes(3);
    QCOMPARE(load(), isDouble);
    QCOMPARE(m_isEntropy, isDouble);
    QVERIFY(m_metadata.isEmpty());
    QVERIFY(m_image->data);
    QCOMPARE(m_image->width, isDouble ? 5 : 4);
    QCOMPARE(m_image->channels, isDouble ? 1 : 3);
}

QTEST_GUILESS_MAIN(LoadImageFromMatTest)
#include "LoadImageFromMatTest.moc"
