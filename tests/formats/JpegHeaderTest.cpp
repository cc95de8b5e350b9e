// JPEG files whose metadata announce more than there is.
#include "Files.h"
#include "FormatPlugin.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

/** A JPEG file with @p content as a segment of kind @p kind before all others. */
QByteArray jpegWith(char kind, const QByteArray& content)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("sound.jpg"));
    const auto image = randomImage(describe(ep::DataTypeUInt8, 16, 16, 3));
    if (!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()))
        qFatal("cannot save a JPEG file");
    const int bytes = content.size() + 2;
    const char head[] = {'\xff', kind, static_cast<char>(bytes >> 8), static_cast<char>(bytes)};
    return readFile(path).insert(2, QByteArray(head, 4) + content);
}

/** A block of Photoshop's with the IPTC records @p records, said to be of @p bytes bytes. */
QByteArray photoshop(const QByteArray& records, int bytes)
{
    const char size[] = {static_cast<char>(bytes >> 8), static_cast<char>(bytes)};
    return QByteArray("Photoshop 3.0\0"
                      "8BIM\4\4\0\0\0\0",
                      24)
           + QByteArray(size, 2) + records;
}

}  // namespace

class JpegHeaderTest : public QObject {
    Q_OBJECT
private slots:
    void metadataPastTheirSegmentAreRefused_data()
    {
        const QByteArray keyword("\x1c\2\x19\0\4word", 9);
        QTest::addColumn<int>("kind");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isSound");
        QTest::newRow("a record that fits") << 0xed << photoshop(keyword, 9) << true;
        QTest::newRow("a block of another program") << 0xed << QByteArray("Adobe_CM") << true;
        QTest::newRow("a comment of one byte") << 0xfe << QByteArray("E") << true;
        QTest::newRow("a block longer than its segment") << 0xed << photoshop(keyword, 200) << false;
        QTest::newRow("a record longer than its block") << 0xed << photoshop(keyword.left(7), 7) << false;
        QTest::newRow("a record without its size") << 0xed << photoshop(keyword.left(3), 3) << false;
        QTest::newRow("the mark of a record alone") << 0xed << photoshop(keyword.left(1), 1) << false;
        QTest::newRow("a block without its size") << 0xed << photoshop(QByteArray(), 0).left(24) << false;
        QTest::newRow("a name that is cut off") << 0xe1 << QByteArray("Exi") << false;
        QTest::newRow("a name without its end") << 0xed << QByteArray("Photoshop 3.0") << false;
    }

    void metadataPastTheirSegmentAreRefused()
    {
        QFETCH(int, kind);
        QFETCH(QByteArray, content);
        QFETCH(bool, isSound);
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("file.jpg"));
        QVERIFY(writeFile(path, jpegWith(static_cast<char>(kind), content)));
        ep::CxScopedBuffer image;
        ep::SxFileError error;
        QCOMPARE(Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error), isSound);
        QVERIFY2(isSound || error.reason.contains(QLatin1String("more metadata than it has")),
                 qPrintable(error.reason));
    }
};

QTEST_GUILESS_MAIN(JpegHeaderTest)
#include "JpegHeaderTest.moc"
