// Planes that are larger than what is read at once, and later planes of another size than the first.

#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>

#include "OwnMat.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <vector>

using testing::MatWriter;
using testing::OwnMetadata;

namespace {

ep::CxScopedBuffer planes(ep::ExImageDataType type, int channels, int width, int height)
{
    return testing::randomImage(testing::describe(type, width, height, channels, ep::LayoutPlanar));
}

}  // namespace

class MatPlaneTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::CxScopedBuffer m_image;

    QString path() const { return m_folder.filePath(QStringLiteral("planes.mat")); }
    bool load()
    {
        bool isEntropy = true;
        return orn::matlab::LoadImageFromMat(path(), m_image.image(), isEntropy, nullptr) && !isEntropy;
    }

private slots:
    void initTestCase() { orn::Init(); }
    void init() { m_image.reset(); }
    void laterPlanesOfOtherSizes_data();
    void laterPlanesOfOtherSizes();
    void largePlanes_data();
    void largePlanes();
};

void MatPlaneTest::laterPlanesOfOtherSizes_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("cols");
    QTest::newRow("a shorter plane ends in zeros") << 2 << 4;
    QTest::newRow("a plane that ends with a column") << 3 << 2;
    QTest::newRow("an empty plane is zero") << 0 << 4;
    QTest::newRow("a longer plane is cut") << 5 << 4;
    QTest::newRow("a transposed plane is taken as it lies") << 4 << 3;
}

void MatPlaneTest::laterPlanesOfOtherSizes()
{
    QFETCH(int, rows);
    QFETCH(int, cols);
    const ep::CxScopedBuffer first = planes(ep::DataTypeDouble, 1, 4, 3);
    std::vector<double> numbers;
    for (int i = 1; i <= rows * cols; ++i)
        numbers.push_back(i);
    {
        MatWriter file(path());
        QVERIFY(file.add(first.image()));
        QVERIFY(orn::matlab::AddVar(file.mat(), numbers.data(), rows, cols, QStringLiteral("ep_image_channel_2")));
        QVERIFY(file.addMetadata(OwnMetadata{2}.xml()));
    }
    QVERIFY(load());
    QCOMPARE(m_image->channels, 2);
    for (int x = 0; x < 4; ++x)
        for (int y = 0; y < 3; ++y) {
            QVERIFY(testing::sameSample(m_image.image(), x, y, 0, first.image(), x, y, 0));
            const int index = x * 3 + y;
            QCOMPARE(testing::sampleAt<double>(m_image.image(), x, y, 1), index < rows * cols ? index + 1.0 : 0.0);
        }
}

// Large planes are read in pieces of whole columns.
void MatPlaneTest::largePlanes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("several pieces, the last one shorter") << int(ep::DataTypeUInt16) << 1777 << 1003;
    QTest::newRow("bytes") << int(ep::DataTypeUInt8) << 2500 << 1001;
    QTest::newRow("a column is a piece") << int(ep::DataTypeDouble) << 3 << 131072;
    QTest::newRow("a column is more than a piece") << int(ep::DataTypeFloat) << 3 << 300001;
    QTest::newRow("one row") << int(ep::DataTypeInt32) << 700001 << 1;
}

void MatPlaneTest::largePlanes()
{
    QFETCH(int, type);
    QFETCH(int, width);
    QFETCH(int, height);
    const ep::CxScopedBuffer image = planes(ep::ExImageDataType(type), 2, width, height);
    {
        MatWriter file(path());
        QVERIFY(file.add(image.image(), true) && file.addMetadata(OwnMetadata{2, true}.xml()));
    }
    QVERIFY(load());
    QVERIFY(ep::SameSamples(m_image.image(), image.image()));
}

QTEST_GUILESS_MAIN(MatPlaneTest)
#include "MatPlaneTest.moc"
