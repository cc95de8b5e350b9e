// Files of several pictures: an animation as other programs write it.
#include "Files.h"
#include "FormatPlugin.h"
#include "TestImages.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

namespace {

constexpr char loaderName[] = "ep::oiio::CxOiioImageLoader";

/** A GIF file of 1 x 1 pixel and as many pictures as @p colors has: each is red (0) or blue (1). */
QByteArray animation(const QVector<int>& colors)
{
    const QByteArray table("\xff\x00\x00\x00\x00\xff", 6);
    QByteArray file = QByteArray("GIF89a\x01\x00\x01\x00\x80\x00\x00", 13) + table;
    for (const int color : colors) {
        const QByteArray place("\x2c\x00\x00\x00\x00\x01\x00\x01\x00\x00", 10);
        // Codes of three bits: clear, the pixel, end.
        file += place + QByteArray(color == 0 ? "\x02\x02\x44\x01\x00" : "\x02\x02\x4c\x01\x00", 5);
    }
    return file + ';';
}

}  // namespace

class OiioFramesTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("oiio")); }
    void picturesAreCountedAndNamed();
    void picturesAreReadInAnyOrder();
    void aCutFileHasFewerPictures();

private:
    QString write(const QByteArray& content)
    {
        const QString path = m_folder.filePath(QStringLiteral("animation.gif"));
        return writeFile(path, content) ? path : QString();
    }
    QTemporaryDir m_folder;
};

void OiioFramesTest::picturesAreCountedAndNamed()
{
    const LoadedFrame loaded = loadFrame(loaderName, write(animation({0, 1, 1})));
    QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
    QCOMPARE(loaded.loader->frameCount(), 3);
    QCOMPARE(loaded.loader->frameName(0), QStringLiteral("animation.gif [1]"));
    QCOMPARE(loaded.loader->frameName(2), QStringLiteral("animation.gif [3]"));
    QCOMPARE(loaded.loader->index(QStringLiteral("animation.gif [2]")), 1);
}

void OiioFramesTest::picturesAreReadInAnyOrder()
{
    const QVector<int> colors{0, 1, 1, 0};
    const LoadedFrame loaded = loadFrame(loaderName, write(animation(colors)));
    QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
    for (const int frame : {2, 0, 3, 1, 0}) {
        const std::unique_ptr<ep::CxImageData> data(loaded.loader->imageData(frame));
        QVERIFY2(data, qPrintable(loaded.loader->lastError().reason));
        const bool isRed = sampleAt<quint8>(data->image(), 0, 0, 0) == 255;
        const bool isBlue = sampleAt<quint8>(data->image(), 0, 0, 2) == 255;
        QCOMPARE(isRed, colors[frame] == 0);
        QCOMPARE(isBlue, colors[frame] == 1);
    }
    QVERIFY(!loaded.loader->imageData(4));
    QVERIFY(!loaded.loader->imageData(-1));
}

void OiioFramesTest::aCutFileHasFewerPictures()
{
    const QByteArray whole = animation({0, 1, 1});
    const LoadedFrame loaded = loadFrame(loaderName, write(whole.left(whole.size() - 10)));
    QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
    for (int frame = 0; frame < 3; ++frame) {
        const std::unique_ptr<ep::CxImageData> data(loaded.loader->imageData(frame));
        QCOMPARE(data != nullptr, frame < 2);
        QVERIFY(data || !loaded.loader->lastError().reason.isEmpty() || loaded.loader->frameCount() == frame);
    }
}

QTEST_GUILESS_MAIN(OiioFramesTest)
#include "OiioFramesTest.moc"
