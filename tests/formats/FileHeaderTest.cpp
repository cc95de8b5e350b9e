// Icons and animations that OpenImageIO would misread.
#include "Files.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

constexpr int columns = 40;
constexpr int lines = 34;

QByteArray savedFile(const char* suffix)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("saved.") + QLatin1String(suffix));
    const auto image = randomImage(describe(ep::DataTypeUInt8, columns, lines, 3));
    if (!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()))
        qFatal("cannot save a %s file", suffix);
    return readFile(path);
}

/** @p value in @p bytes bytes, the lowest first. */
QByteArray number(int value, int bytes)
{
    QByteArray all(4, '\0');
    qToLittleEndian(value, all.data());
    return all.left(bytes);
}

/** An icon with @p picture in it. */
QByteArray icon(const QByteArray& picture)
{
    const int headerBytes = 6 + 16;
    return number(0, 2) + number(1, 2) + number(1, 2) + number(columns, 1) + number(lines, 1) + number(0, 2)
           + number(1, 2) + number(32, 2) + number(picture.size(), 4) + number(headerBytes, 4) + picture;
}

QByteArray chunk(const char* name, const QByteArray& content)
{
    return name + number(content.size(), 4) + content + QByteArray(content.size() % 2, '\0');
}

/** An animation of @p canvas pixels with a frame of the usual size at @p place. */
QByteArray animation(const QSize& canvas, const QPoint& place)
{
    const QByteArray still = savedFile("webp").mid(12);
    const auto size = [](const QSize& pixels) {
        return number(pixels.width() - 1, 3) + number(pixels.height() - 1, 3);
    };
    const QByteArray frame = number(place.x() / 2, 3) + number(place.y() / 2, 3) + size({columns, lines})
                             + number(40, 3) + number(0, 1) + still;
    const QByteArray content =
        "WEBP" + chunk("VP8X", number(2, 4) + size(canvas)) + chunk("ANIM", QByteArray(6, '\0')) + chunk("ANMF", frame);
    return "RIFF" + number(content.size(), 4) + content;
}

/** A GIF file of two colours and of the samples @p left and @p right. */
QByteArray gif(int left, int right)
{
    constexpr int codeBits = 3, clear = 4, end = 5;
    const int codes = clear | left << codeBits | right << 2 * codeBits | end << 3 * codeBits;
    return "GIF89a" + number(2, 2) + number(1, 2) + QByteArray("\x80\0\0", 3) + QByteArray("\0\0\0\xff\xff\xff", 6)
           + ',' + number(0, 4) + number(2, 2) + number(1, 2) + number(0, 1) + number(codeBits - 1, 1) + number(2, 1)
           + number(codes, 2) + number(0, 1) + ';';
}

}  // namespace

class FileHeaderTest : public QObject {
    Q_OBJECT
private slots:
    void whatWouldBeMisreadIsRefused_data();
    void whatWouldBeMisreadIsRefused();
};

void FileHeaderTest::whatWouldBeMisreadIsRefused_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("told");  // empty when it is sound
    const QString isSmall = QStringLiteral("its first frame is smaller than its header states");
    // A sum in it that is not right ends the reader of icons with a fault.
    QTest::newRow("an icon that is a PNG file") << "ico" << icon(savedFile("png")) << "a picture in it is a PNG file";
    QTest::newRow("samples that have a colour") << "gif" << gif(1, 0) << QString();
    QTest::newRow("a sample that has no colour") << "gif" << gif(1, 3) << "some of its samples have no colour";
    QTest::newRow("an animation") << "webp" << animation({columns, lines}, {0, 0}) << QString();
    QTest::newRow("a wider animation") << "webp" << animation({columns + 2, lines}, {0, 0}) << isSmall;
    QTest::newRow("a higher animation") << "webp" << animation({columns, lines + 1}, {0, 0}) << isSmall;
    QTest::newRow("a frame in the corner") << "webp" << animation({columns + 8, lines + 8}, {8, 8}) << isSmall;
    for (const char* kind : {"jp2", "j2k"}) {
        QByteArray file = savedFile(kind);
        QTest::addRow("one tile of a %s file", kind) << kind << file << QString();
        // The image becomes higher than its only tile by 2^17 times its height.
        const int sizeAt = file.indexOf("\xff\x4f\xff\x51") + 8;
        qToBigEndian(quint32(lines) << 17, file.data() + sizeAt + 4);
        QTest::addRow("too many tiles of a %s file", kind)
            << kind << file << "announces more tiles than the file can have";
        file = savedFile(kind);
        file[sizeAt + 32 + 2 + 1] = 2;
        QTest::addRow("a channel of half the columns in a %s file", kind)
            << kind << file << "its channels have fewer samples than it has pixels";
    }
    QByteArray bitmap = savedFile("bmp");
    bitmap[14] = 41;
    QTest::newRow("a BMP header of another length") << "bmp" << bitmap << "states a length of 41 bytes";
    QByteArray texts = savedFile("tga");
    QTest::newRow("texts of a Targa file") << "tga" << texts << QString();
    const int metadataAt = texts.size() - 26 - 495;
    texts[metadataAt + 42] = 'x';
    QTest::newRow("an author without an end") << "tga" << texts << "a text in its metadata has no end";
    texts = savedFile("tga");
    texts.remove(metadataAt, 100);
    QTest::newRow("metadata that are cut") << "tga" << texts << "announces more metadata than it has";
    QByteArray narrow = animation({columns, lines}, {0, 0});
    narrow[narrow.indexOf("\x9d\x01\x2a") + 3] = columns - 4;
    QTest::newRow("a frame whose picture is smaller") << "webp" << narrow << isSmall;
    QTest::newRow("a frame outside") << "webp" << animation({columns, lines}, {8, 0}) << isSmall;
}

void FileHeaderTest::whatWouldBeMisreadIsRefused()
{
    QFETCH(QString, suffix);
    QFETCH(QByteArray, file);
    QFETCH(QString, told);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file.") + suffix);
    QVERIFY(writeFile(path, file));
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QCOMPARE(Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error), told.isEmpty());
    QVERIFY2(error.reason.contains(told), qPrintable(error.reason));
}

QTEST_GUILESS_MAIN(FileHeaderTest)
#include "FileHeaderTest.moc"
