// DPX files whose samples are packed in one of the ways of the format, or are not all there.
#include "Files.h"
#include "FormatPlugin.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

constexpr int lines = 3;
constexpr int headerBytes = 2048;
constexpr quint32 notStated = 0xffffffff;

enum Descriptor { Luma = 6, Rgb = 50, Rgba = 51 };
enum Packing { Packed, MethodA, MethodB };

/** What is wrong with a file. */
enum Damage { None, LacksOneByte, LacksOffset, UnknownPacking, SecondElementBehindEnd, WideLines };

struct Way {
    int columns;
    Descriptor descriptor;
    int bits;
    Packing packing;

    int samples() const { return columns * (descriptor == Luma ? 1 : descriptor == Rgb ? 3 : 4); }
};

quint32 sampleOf(const Way& way, int line, int i)
{
    return static_cast<quint32>(line * 1000 + i * 37 + 5) % (1u << way.bits);
}

/** A line without gaps, from the lowest bits of each word on. */
QVector<quint32> packedLine(const Way& way, int line)
{
    QVector<quint32> words((way.samples() * way.bits + 31) / 32);
    for (int i = 0; i < way.samples(); ++i)
        for (int bit = 0; bit < way.bits; ++bit) {
            const int place = i * way.bits + bit;
            words[place / 32] |= (sampleOf(way, line, i) >> bit & 1) << place % 32;
        }
    return words;
}

/** A line of words that hold three samples of 10 bits each: the first of them highest, but lowest in grey images. */
QVector<quint32> lineOfThrees(const Way& way, int line)
{
    QVector<quint32> words((way.samples() + 2) / 3);
    const int lowest = way.packing == MethodA ? 2 : 0;
    for (int i = 0; i < way.samples(); ++i) {
        const int third = way.descriptor == Luma ? i % 3 : 2 - i % 3;
        words[i / 3] |= sampleOf(way, line, i) << (lowest + 10 * third);
    }
    return words;
}

QByteArray fileOf(const Way& way, Damage damage)
{
    QByteArray file(headerBytes, '\0');
    const auto set = [&](int at, quint32 number) { qToBigEndian(number, file.data() + at); };
    const auto setHalf = [&](int at, quint16 number) { qToBigEndian(number, file.data() + at); };
    file.replace(0, 4, "SDPX");
    set(4, headerBytes);
    file.replace(8, 4, "V2.0");
    set(24, 1664);
    set(28, 384);
    set(36, notStated);
    setHalf(770, 1);
    set(772, static_cast<quint32>(way.columns));
    set(776, lines);
    file[800] = static_cast<char>(way.descriptor);
    file[803] = static_cast<char>(way.bits);
    setHalf(804, damage == UnknownPacking ? 3 : static_cast<quint16>(way.packing));
    set(808, damage == LacksOffset ? notStated : headerBytes);
    set(812, damage == WideLines ? 100 : 0);
    for (int line = 0; line < lines; ++line)
        for (const quint32 word : way.packing == Packed ? packedLine(way, line) : lineOfThrees(way, line))
            file.append(4, '\0').replace(file.size() - 4, 4, [word] {
                QByteArray bytes(4, '\0');
                qToBigEndian(word, bytes.data());
                return bytes;
            }());
    if (damage == SecondElementBehindEnd) {
        setHalf(770, 2);
        file.replace(852, 72, file.mid(780, 72));
        set(852 + 28, static_cast<quint32>(file.size()));
    }
    set(16, static_cast<quint32>(file.size()));
    return damage == LacksOneByte ? file.left(file.size() - 1) : file;
}

}  // namespace

Q_DECLARE_METATYPE(Way)

class DpxHeaderTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;

    QString written(const QByteArray& content)
    {
        const QString path = m_folder.filePath(QStringLiteral("file.dpx"));
        if (!writeFile(path, content))
            qFatal("cannot write a test file");
        return path;
    }

private slots:
    void samplesArriveFromEveryPacking_data();
    void samplesArriveFromEveryPacking();
    void filesThatWouldBeMisreadAreRefused_data();
    void filesThatWouldBeMisreadAreRefused();
};

void DpxHeaderTest::samplesArriveFromEveryPacking_data()
{
    QTest::addColumn<Way>("way");
    QTest::newRow("10 bits without gaps") << Way{41, Rgb, 10, Packed};
    QTest::newRow("10 bits without gaps, grey") << Way{41, Luma, 10, Packed};
    QTest::newRow("12 bits without gaps") << Way{41, Rgb, 12, Packed};
    QTest::newRow("10 bits by threes, method A") << Way{41, Rgb, 10, MethodA};
    QTest::newRow("10 bits by threes, method B") << Way{41, Rgb, 10, MethodB};
    QTest::newRow("10 bits by threes, grey") << Way{39, Luma, 10, MethodA};
    QTest::newRow("10 bits by threes, the last word of two") << Way{41, Rgba, 10, MethodA};
}

void DpxHeaderTest::samplesArriveFromEveryPacking()
{
    QFETCH(Way, way);
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY2(Manager::loadImageFromFile(written(fileOf(way, None)), image.image(), nullptr, nullptr, &error),
             qPrintable(error.reason));
    QCOMPARE(image->width, way.columns);
    QCOMPARE(image->height, lines);
    QCOMPARE(image->bitDepth, way.bits);
    for (int line = 0; line < lines; ++line)
        for (int i = 0; i < way.samples(); ++i)
            QCOMPARE(quint32(sampleAt<quint16>(image.image(), i / image->channels, line, i % image->channels)),
                     sampleOf(way, line, i));
}

void DpxHeaderTest::filesThatWouldBeMisreadAreRefused_data()
{
    QTest::addColumn<Way>("way");
    QTest::addColumn<int>("damage");
    QTest::addColumn<QString>("told");
    const QString isShort = QStringLiteral("the file is too short for its samples");
    const QString isMisread = QStringLiteral("OpenImageIO misreads the last samples of its lines");
    QTest::newRow("10 bits without gaps, cut short") << Way{41, Rgb, 10, Packed} << int(LacksOneByte) << isShort;
    QTest::newRow("12 bits without gaps, cut short") << Way{41, Rgb, 12, Packed} << int(LacksOneByte) << isShort;
    QTest::newRow("10 bits by threes, cut short") << Way{41, Rgb, 10, MethodB} << int(LacksOneByte) << isShort;
    QTest::newRow("lines with more between them than is there")
        << Way{41, Rgb, 10, Packed} << int(WideLines) << isShort;
    QTest::newRow("a second picture behind the end")
        << Way{41, Rgb, 10, Packed} << int(SecondElementBehindEnd) << isShort;
    QTest::newRow("no place of the samples")
        << Way{41, Rgb, 10, Packed} << int(LacksOffset) << "does not state where its samples are";
    QTest::newRow("another packing") << Way{41, Rgb, 10, Packed} << int(UnknownPacking) << "states packing 3";
    QTest::newRow("a last word of one sample") << Way{40, Rgba, 10, MethodA} << int(None) << isMisread;
    QTest::newRow("a last word of one grey sample") << Way{40, Luma, 10, MethodA} << int(None) << isMisread;
    QTest::newRow("a last word of two grey samples") << Way{41, Luma, 10, MethodB} << int(None) << isMisread;
}

void DpxHeaderTest::filesThatWouldBeMisreadAreRefused()
{
    QFETCH(Way, way);
    QFETCH(int, damage);
    QFETCH(QString, told);
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY(!Manager::loadImageFromFile(written(fileOf(way, Damage(damage))), image.image(), nullptr, nullptr, &error));
    QVERIFY2(error.reason.contains(told), qPrintable(error.reason));
}

QTEST_GUILESS_MAIN(DpxHeaderTest)
#include "DpxHeaderTest.moc"
