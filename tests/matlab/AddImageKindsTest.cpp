// Every kind of image against the plain reference, judged by matio's own reading.

#include "MatReference.h"

#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Shape {
    int width;
    int height;
    int padding;
};

constexpr Shape shapes[] = {{8, 6, 0}, {7, 5, 3}, {1, 1, 0}, {5, 1, 1}, {1, 7, 5}, {33, 18, 1}};

}  // namespace

class AddImageKindsTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QByteArray compare(const ep::SxImageBuf& image, bool reverse, bool raw) const;

private slots:
    void everyKind_data();
    void everyKind();
};

QByteArray AddImageKindsTest::compare(const ep::SxImageBuf& image, bool reverse, bool raw) const
{
    const QString base = QStringLiteral("ep_image");
    const QString path = m_folder.filePath(QStringLiteral("image.mat"));
    const testing::ExpectedMat expected = testing::expectedMat(image, base, reverse, raw);
    ep::SxImageInfo written{};
    QFile::remove(path);  // some file systems flush a file that is written anew in place: 30 times slower
    void* mat = orn::matlab::MatOpenWrite(path);
    const bool isWritten = orn::matlab::AddImage(mat, image, base, reverse, written, raw);
    orn::matlab::MatClose(mat);
    if (isWritten != expected.isWritten)
        return isWritten ? "it was written" : "it was refused";
    const auto variables = testing::readVariables(path);
    if (variables.size() != expected.variables.size())
        return "another number of variables";
    for (int i = 0; i < variables.size(); ++i)
        if (!(variables[i] == expected.variables[i]))
            return "variable " + variables[i].name.toLatin1() + " differs";
    return testing::sameInfo(written, expected.info) ? QByteArray() : QByteArray("another description");
}

void AddImageKindsTest::everyKind_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    for (const ep::ExImageDataType type : testing::allTypes)
        for (const ep::ExImageLayout layout : testing::allLayouts)
            for (const int channels : {1, 2, 3, 4, 6})
                QTest::addRow("%s, %s, %d channels", ep::sampleFacts(type).name,
                              layout == ep::LayoutPlanar ? "planar" : "packed", channels)
                    << int(type) << int(layout) << channels;
}

void AddImageKindsTest::everyKind()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channels);
    for (const Shape& shape : shapes)
        for (int grid = 0; grid <= 5; ++grid)
            for (const bool reverse : {false, true})
                for (const bool raw : {false, true}) {
                    ep::SxImageInfo info = testing::describe(ep::ExImageDataType(type), shape.width, shape.height,
                                                             channels, ep::ExImageLayout(layout), shape.padding);
                    info.bayerGrid = ep::ExBayerGrid(grid);
                    info.patternWidth = 3;
                    info.patternHeight = 2;
                    ep::CxScopedBuffer image = testing::randomImage(info, quint32(grid + 1));
                    const QByteArray difference = compare(image.image(), reverse, raw);
                    QVERIFY2(difference.isEmpty(),
                             QByteArray(difference + ": " + QByteArray::number(shape.width) + " x "
                                        + QByteArray::number(shape.height) + ", grid " + QByteArray::number(grid)
                                        + (reverse ? ", reversed" : "") + (raw ? ", raw" : ""))
                                 .constData());
                }
}

QTEST_GUILESS_MAIN(AddImageKindsTest)
#include "AddImageKindsTest.moc"
