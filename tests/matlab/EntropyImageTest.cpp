#include <orn/matlab/EntropyImage.h>

#include "LogCapture.h"
#include "MatBytes.h"
#include "MatReading.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>

using orn::matlab::LoadEntropyImageFromMat;
using orn::matlab::SaveEntropyImageToMat;
using testing::MatVariableBytes;

namespace {

const QString pig = QStringLiteral("PIG");

/** A 4 x 6 double plane whose numbers start at 100 times @p number. */
MatVariableBytes plane(const char* name, int number)
{
    std::vector<double> values;
    for (int i = 0; i < 24; ++i)
        values.push_back(100 * number + i);
    const QByteArray data(reinterpret_cast<const char*>(values.data()), 24 * 8);
    return {name, 6, 0, testing::numbers<qint32>({4, 6}), testing::matElement(testing::MatDouble, data)};
}

/** A plane that is something else. */
MatVariableBytes otherPlane(const char* name, quint32 matClass, quint32 flags, std::initializer_list<qint32> dimensions,
                            const QByteArray& data)
{
    return {name, matClass, flags, testing::numbers<qint32>(dimensions), data};
}

}  // namespace

class EntropyImageTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::CxScopedBuffer m_image;
    QString path() const { return m_folder.filePath(QStringLiteral("entropy.mat")); }

private slots:
    void init() { m_image.reset(); }
    void planesByName_data();
    void planesByName();
    void elementsGoToTheirPlaces();
    void laterPlanesAreNotChecked_data();
    void laterPlanesAreNotChecked();
    void failsAndKeepsTheImage_data();
    void failsAndKeepsTheImage();
    void missingFileFails();
    void onePlaneComesBackUnchanged_data();
    void onePlaneComesBackUnchanged();
    void savedAsAnyOtherImage_data();
    void savedAsAnyOtherImage();
    void failedSaving();
};

void EntropyImageTest::planesByName_data()
{
    QTest::addColumn<QString>("names");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<int>("channels");
    const auto row = [](const char* fact, const char* names, int channels, const char* prefix = "PIG") {
        QTest::newRow(fact) << QString::fromLatin1(names) << QString::fromLatin1(prefix) << channels;
    };
    row("two numbered planes", "PIG_channel_1 PIG_channel_2", 2);
    row("one plane is packed", "PDG_channel_1", 1, "PDG");
    row("three numbered planes", "PIG_channel_1 PIG_channel_2 PIG_channel_3", 3);
    row("a fourth numbered plane is never read", "PIG_channel_1 PIG_channel_2 PIG_channel_3 PIG_channel_4", 3);
    row("numbered planes end with the first missing one", "PIG_channel_1 PIG_channel_3", 1);
    row("red and the first green", "PIG_channel_R PIG_channel_G1", 2);
    row("all four colours", "PIG_channel_R PIG_channel_G1 PIG_channel_B PIG_channel_G2", 4);
    row("colours in any order of the file", "PIG_channel_R PIG_channel_B PIG_channel_G2 PIG_channel_G1", 4);
    row("colours end with the first missing one", "PIG_channel_R PIG_channel_B PIG_channel_G2", 1);
    row("colours go before numbers", "PIG_channel_1 PIG_channel_2 PIG_channel_R", 1);
    row("other prefixes are not looked at", "PDG_channel_1 PDG_channel_2 PIG_channel_1", 1);
    row("any prefix may be asked for", "x%1_channel_1 x%1_channel_2", 2, "x%1");
    row("even an empty one", "_channel_1", 1, "");
}

void EntropyImageTest::planesByName()
{
    QFETCH(QString, names);
    QFETCH(QString, prefix);
    QFETCH(int, channels);
    QByteArray bytes = testing::matHeader();
    // Planes are numbered by their rank among the names that are read.
    const QStringList order = QStringLiteral("_R _G1 _B _G2 _1 _2 _3 _4").split(QLatin1Char(' '));
    for (const QString& name : names.split(QLatin1Char(' ')))
        bytes += plane(name.toLatin1().constData(), order.indexOf(name.mid(name.lastIndexOf(QLatin1Char('_')))) % 4 + 1)
                     .bytes();
    QVERIFY(testing::writeBytes(path(), bytes));
    testing::LogCapture log;
    QVERIFY(LoadEntropyImageFromMat(prefix, path(), m_image.image()));
    QCOMPARE(log.criticals(), QStringList());
    QCOMPARE(m_image->channels, channels);
    QCOMPARE(m_image->width, 6);
    QCOMPARE(m_image->height, 4);
    QCOMPARE(int(m_image->layout), int(channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked));
    QCOMPARE(int(m_image->dataType), int(ep::DataTypeDouble));
    QCOMPARE(m_image->bitDepth, 64);
    for (int c = 0; c < channels; ++c)
        QCOMPARE(testing::sampleAt<double>(m_image.image(), 0, 0, c), 100.0 * (c + 1));
}

void EntropyImageTest::elementsGoToTheirPlaces()
{
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + plane("PIG_channel_1", 1).bytes()
                                            + testing::matCompressed(plane("PIG_channel_2", 2).bytes())));
    QVERIFY(LoadEntropyImageFromMat(pig, path(), m_image.image()));
    for (int c = 0; c < 2; ++c)
        for (int x = 0; x < 6; ++x)
            for (int y = 0; y < 4; ++y)
                QCOMPARE(testing::sampleAt<double>(m_image.image(), x, y, c), 100.0 * (c + 1) + x * 4 + y);
}

void EntropyImageTest::laterPlanesAreNotChecked_data()
{
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QVector<double>>("starts");
    using testing::matElement;
    using testing::numbers;
    QTest::newRow("a shorter plane ends in zeros")
        << otherPlane("PIG_channel_2", 6, 0, {1, 2}, matElement(testing::MatDouble, numbers<double>({5, 6}))).bytes()
        << QVector<double>{5, 6, 0, 0};
    QTest::newRow("an empty plane is zero")
        << otherPlane("PIG_channel_2", 6, 0, {0, 0}, matElement(testing::MatDouble, QByteArray())).bytes()
        << QVector<double>{0, 0, 0};
    QTest::newRow("three dimensions are one run of numbers")
        << otherPlane("PIG_channel_2", 6, 0, {1, 1, 2}, matElement(testing::MatDouble, numbers<double>({5, 6}))).bytes()
        << QVector<double>{5, 6, 0};
    QTest::newRow("another class is taken by its bytes")
        << otherPlane("PIG_channel_2", 15, 0, {2, 1}, matElement(13, numbers<double>({5, 6}))).bytes()
        << QVector<double>{5, 6, 0};
}

void EntropyImageTest::laterPlanesAreNotChecked()
{
    QFETCH(QByteArray, second);
    QFETCH(QVector<double>, starts);
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + plane("PIG_channel_1", 1).bytes() + second));
    QVERIFY(LoadEntropyImageFromMat(pig, path(), m_image.image()));
    QCOMPARE(m_image->channels, 2);
    for (int i = 0; i < starts.size(); ++i)
        QCOMPARE(testing::sampleAt<double>(m_image.image(), i / 4, i % 4, 1), starts[i]);
    QCOMPARE(testing::sampleAt<double>(m_image.image(), 5, 3, 1), 0.0);
}

void EntropyImageTest::failsAndKeepsTheImage_data()
{
    QTest::addColumn<QByteArray>("variables");
    using testing::matElement;
    using testing::numbers;
    const QByteArray two = numbers<double>({1, 2});
    const QByteArray twoDoubles = matElement(testing::MatDouble, two);
    const auto row = [](const char* fact, const QByteArray& variables) { QTest::newRow(fact) << variables; };
    row("no plane at all", plane("PIG_channel_2", 1).bytes());
    row("another prefix", plane("PDG_channel_1", 1).bytes());
    row("a colour other than red alone", plane("PIG_channel_G1", 1).bytes());
    row("a first plane of floats",
        otherPlane("PIG_channel_1", 7, 0, {1, 2}, matElement(testing::MatSingle, numbers<float>({1, 2}))).bytes());
    row("a first plane of integers",
        otherPlane("PIG_channel_1", 9, 0, {1, 2}, matElement(testing::MatUInt8, "ab")).bytes());
    row("a first plane of text", testing::matText("PIG_channel_1", "text").bytes());
    row("a first plane of three dimensions", otherPlane("PIG_channel_1", 6, 0, {1, 2, 1}, twoDoubles).bytes());
    row("an empty first plane",
        otherPlane("PIG_channel_1", 6, 0, {0, 0}, matElement(testing::MatDouble, QByteArray())).bytes());
    row("a complex first plane", otherPlane("PIG_channel_1", 6, 0x0800, {1, 2}, twoDoubles + twoDoubles).bytes());
    row("a complex second plane",
        plane("PIG_channel_1", 1).bytes()
            + otherPlane("PIG_channel_2", 6, 0x0800, {1, 2}, twoDoubles + twoDoubles).bytes());
    row("a second plane of text", plane("PIG_channel_1", 1).bytes() + testing::matText("PIG_channel_2", "t").bytes());
    row("red of floats hides good numbers",
        plane("PIG_channel_1", 1).bytes()
            + otherPlane("PIG_channel_R", 7, 0, {1, 2}, matElement(testing::MatSingle, numbers<float>({1, 2})))
                  .bytes());
    row("a file that is cut", plane("PIG_channel_1", 1).bytes().chopped(50));
}

void EntropyImageTest::failsAndKeepsTheImage()
{
    QFETCH(QByteArray, variables);
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + variables));
    m_image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
    const ep::SxImageBuf before = m_image.image();
    testing::LogCapture log;
    QVERIFY(!LoadEntropyImageFromMat(pig, path(), m_image.image()));
    QCOMPARE(std::memcmp(&before, &m_image.image(), sizeof(before)), 0);
    QCOMPARE(log.criticals(), QStringList());
}

void EntropyImageTest::missingFileFails()
{
    m_image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
    QVERIFY(!LoadEntropyImageFromMat(pig, m_folder.filePath(QStringLiteral("missing.mat")), m_image.image()));
    QVERIFY(m_image->data);
}

void EntropyImageTest::onePlaneComesBackUnchanged_data()
{
    QTest::addColumn<int>("channels");
    QTest::newRow("one plane") << 1;
    QTest::newRow("two planes") << 2;
    QTest::newRow("three planes") << 3;
}

void EntropyImageTest::onePlaneComesBackUnchanged()
{
    QFETCH(int, channels);
    const ep::ExImageLayout layout = channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked;
    const ep::CxScopedBuffer image =
        testing::randomImage(testing::describe(ep::DataTypeDouble, 7, 5, channels, layout, 3));
    QVERIFY(SaveEntropyImageToMat(image.image(), pig, path(), false));
    QCOMPARE(testing::variableNames(path()).first(), QStringLiteral("PIG_channel_1"));
    QVERIFY(LoadEntropyImageFromMat(pig, path(), m_image.image()));
    QVERIFY(ep::SameSamples(m_image.image(), image.image()));
    QCOMPARE(int(m_image->layout), int(layout));
}

void EntropyImageTest::savedAsAnyOtherImage_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("reverse");
    QTest::addColumn<bool>("isReadBack");
    QTest::newRow("four numbered planes, of which three are read") << int(ep::DataTypeDouble) << 4 << false << true;
    QTest::newRow("reversed rows stay reversed") << int(ep::DataTypeDouble) << 1 << true << true;
    QTest::newRow("floats are saved, and not read") << int(ep::DataTypeFloat) << 1 << false << false;
    QTest::newRow("integers are saved, and not read") << int(ep::DataTypeUInt16) << 2 << true << false;
}

void EntropyImageTest::savedAsAnyOtherImage()
{
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(bool, reverse);
    QFETCH(bool, isReadBack);
    const ep::CxScopedBuffer image =
        testing::randomImage(testing::describe(ep::ExImageDataType(type), 6, 4, channels, ep::LayoutPlanar));
    QVERIFY(SaveEntropyImageToMat(image.image(), pig, path(), reverse));
    QStringList names;
    for (int c = 1; c <= channels; ++c)
        names << QStringLiteral("PIG_channel_%1").arg(c);
    QCOMPARE(testing::variableNames(path()), names);
    QCOMPARE(LoadEntropyImageFromMat(pig, path(), m_image.image()), isReadBack);
    if (!isReadBack)
        return;
    QCOMPARE(m_image->channels, std::min(channels, 3));
    for (int c = 0; c < m_image->channels; ++c)
        for (int y = 0; y < 4; ++y)
            QVERIFY(testing::sameSample(m_image.image(), 2, reverse ? 3 - y : y, c, image.image(), 2, y, c));
}

void EntropyImageTest::failedSaving()
{
    const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeComplex, 6, 4));
    QVERIFY(!SaveEntropyImageToMat(image.image(), pig, m_folder.filePath(QStringLiteral("no folder/a.mat")), false));
    // An image that is refused leaves a closed file without variables.
    QVERIFY(!SaveEntropyImageToMat(image.image(), pig, path(), false));
    QCOMPARE(QFileInfo(path()).size(), qint64(128));
    QVERIFY(!SaveEntropyImageToMat(ep::emptyImage(), pig, path(), false));
}

QTEST_GUILESS_MAIN(EntropyImageTest)
#include "EntropyImageTest.moc"
