// OpenEXR files without compression whose header, or whose blocks, announce what is not there.
#include "Files.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <cstring>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

constexpr int columns = 20;
constexpr int lines = 10;
constexpr int tile = 8;

enum Damage { None, ShortBlock, OtherTiles, WideWindow, HighWindow, CutShort };

float sampleOf(int x, int y)
{
    return static_cast<float>(100 * y + x) / 4;
}

template <typename Number>
QByteArray bytes(Number number)
{
    QByteArray all(int(sizeof(Number)), '\0');
    std::memcpy(all.data(), &number, sizeof(Number));
    return all;
}

QByteArray attribute(const char* name, const char* type, const QByteArray& value)
{
    return QByteArray(name) + '\0' + type + '\0' + bytes<qint32>(value.size()) + value;
}

QByteArray window(int width, int height)
{
    return bytes<qint32>(0) + bytes<qint32>(0) + bytes<qint32>(width - 1) + bytes<qint32>(height - 1);
}

/** The header of an image of one channel of floats. */
QByteArray header(bool isTiled, Damage damage)
{
    const bool saysTiled = isTiled != (damage == OtherTiles);
    const QByteArray size = window(damage == WideWindow ? 1 << 20 : columns, damage == HighWindow ? 1 << 20 : lines);
    const QByteArray channel =
        QByteArray("Y\0", 2) + bytes<qint32>(2) + bytes<qint32>(0) + bytes<qint32>(1) + bytes<qint32>(1) + '\0';
    QByteArray all = bytes<quint32>(20000630) + bytes<quint32>(2 | (saysTiled ? 0x200 : 0));
    all += attribute("channels", "chlist", channel) + attribute("compression", "compression", QByteArray(1, '\0'))
           + attribute("dataWindow", "box2i", size) + attribute("displayWindow", "box2i", size)
           + attribute("lineOrder", "lineOrder", QByteArray(1, '\0'))
           + attribute("pixelAspectRatio", "float", bytes(1.0F))
           + attribute("screenWindowCenter", "v2f", bytes(0.0F) + bytes(0.0F))
           + attribute("screenWindowWidth", "float", bytes(1.0F));
    if (isTiled)
        all += attribute("tiles", "tiledesc", bytes<quint32>(tile) + bytes<quint32>(tile) + '\0');
    return all + '\0';
}

/** The samples of one line, or of one tile. */
QByteArray block(const QRect& area)
{
    QByteArray all;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            all += bytes(sampleOf(x, y));
    return all;
}

QByteArray exr(bool isTiled, Damage damage)
{
    QVector<QByteArray> blocks;
    const QRect whole(0, 0, columns, lines);
    const QSize step = isTiled ? QSize(tile, tile) : QSize(columns, 1);
    for (int y = 0; y < lines; y += step.height())
        for (int x = 0; x < columns; x += step.width()) {
            QByteArray samples = block(QRect(QPoint(x, y), step) & whole);
            if (damage == ShortBlock && blocks.size() == 1)
                samples.chop(4);
            const QByteArray place =
                isTiled ? bytes<qint32>(x / tile) + bytes<qint32>(y / tile) + QByteArray(8, '\0') : bytes<qint32>(y);
            blocks << place + bytes<qint32>(samples.size()) + samples;
        }
    QByteArray file = header(isTiled, damage);
    qint64 at = file.size() + 8 * blocks.size();
    for (const QByteArray& one : qAsConst(blocks)) {
        file += bytes(at);
        at += one.size();
    }
    for (const QByteArray& one : qAsConst(blocks))
        file += one;
    return damage == CutShort ? file.left(file.size() - 1) : file;
}

}  // namespace

class ExrHeaderTest : public QObject {
    Q_OBJECT
private slots:
    void filesThatLackSamplesAreRefused_data();
    void filesThatLackSamplesAreRefused();
};

void ExrHeaderTest::filesThatLackSamplesAreRefused_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("told");  // empty when it is sound
    const QString isShort = QStringLiteral("one of its blocks is not as long as its samples");
    const QString isMissing = QStringLiteral("its header announces more than the file has");
    const QString contradicts = QStringLiteral("its header contradicts itself about tiles");
    for (const bool isTiled : {false, true}) {
        const auto row = [&](const char* fact, Damage damage, const QString& told) {
            QTest::addRow("%s, %s", isTiled ? "tiles" : "lines", fact) << exr(isTiled, damage) << told;
        };
        row("whole", None, QString());
        row("one of them short", ShortBlock, isShort);
        row("said to be the other", OtherTiles, contradicts);
        row("wider than the file", WideWindow, isMissing);
        row("higher than the file", HighWindow, isMissing);
        row("the last of them cut short", CutShort,
            isTiled ? QStringLiteral("Unable to read") : QStringLiteral("chunk"));
    }
}

void ExrHeaderTest::filesThatLackSamplesAreRefused()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, told);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file.exr"));
    QVERIFY(writeFile(path, file));
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    const bool isLoaded = Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error);
    QVERIFY2(isLoaded == told.isEmpty() && error.reason.contains(told), qPrintable(error.reason));
    for (int y = 0; isLoaded && y < lines; ++y)
        for (int x = 0; x < columns; ++x)
            QCOMPARE(sampleAt<float>(image.image(), x, y, 0), sampleOf(x, y));
}

QTEST_GUILESS_MAIN(ExrHeaderTest)
#include "ExrHeaderTest.moc"
