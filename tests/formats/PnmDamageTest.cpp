#include "PnmMaker.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

using namespace testing;

namespace {

/** A small map of each kind. */
QList<QPair<QByteArray, QByteArray>> smallFiles()
{
    QList<QPair<QByteArray, QByteArray>> files;
    for (int digit = 1; digit <= 7; ++digit) {
        const bool isBitmap = digit == 1 || digit == 4;
        const int channels = digit == 3 || digit == 6 ? 3 : digit == 7 ? 4 : 1;
        for (const int maxval : {isBitmap ? 1 : 200, isBitmap ? 1 : 1000}) {
            const QByteArray name = "P" + QByteArray::number(digit) + ", largest sample " + QByteArray::number(maxval);
            files.append({name, mapFile(makeMap(digit, 9, 3, channels, maxval))});
            if (isBitmap)
                break;
        }
    }
    files.append({"PF", QByteArray("PF\n2 2\n-1.0\n") + QByteArray(2 * 2 * 3 * 4, 'x')});
    files.append({"Pf", QByteArray("Pf\n3 2\n1.0\n") + QByteArray(3 * 2 * 4, 'y')});
    return files;
}

}  // namespace

class PnmDamageTest : public QObject {
    Q_OBJECT
private slots:
    void truncated_data();
    void truncated();
    void missingSamples_data();
    void missingSamples();
    void damaged_data();
    void damaged();
    void mutated_data();
    void mutated();
    void memoryLimit();
    void hugeSizesTakeNoMemory_data();
    void hugeSizesTakeNoMemory();
    void notAFile_data();
    void notAFile();
    void noPermission();
    void changedSinceOpening();
};

void PnmDamageTest::truncated_data()
{
    QTest::addColumn<QByteArray>("file");
    for (const auto& file : smallFiles())
        QTest::newRow(file.first.constData()) << file.second;
}

void PnmDamageTest::truncated()
{
    QFETCH(QByteArray, file);
    const PnmLoaded whole = loadMap(file);
    QVERIFY2(whole.data, qPrintable(whole.error.reason));
    const bool isText = file.at(1) <= '3';
    // A cut number in text cannot be told from a whole one, and blanks at the end are no part of the image.
    const int certain = isText ? file.trimmed().lastIndexOf(' ') : file.size();
    for (int size = 0; size < certain; ++size) {
        const PnmLoaded cut = loadMap(file.left(size));
        QVERIFY2(!cut.data, qPrintable(QString::number(size)));
        QCOMPARE(cut.error.kind, ep::ExFileError::Unreadable);
        QVERIFY(!cut.error.reason.isEmpty());
    }
}

void PnmDamageTest::missingSamples_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("told");
    QTest::newRow("8-bit samples") << QByteArray("P5 3 2 255 abcd") << "2 samples short of the 6";
    QTest::newRow("half a 16-bit sample") << QByteArray("P5 3 2 999 abc") << "5 samples short of the 6";
    QTest::newRow("no raster at all") << QByteArray("P6 3 2 255") << "18 samples short of the 18";
    QTest::newRow("bits") << QByteArray("P4 9 3 \xff\x80\xff") << "10 samples short of the 27";
    QTest::newRow("floats") << QByteArray("PF 1 2 -1\nabcdefgh123") << "4 samples short of the 6";
    QTest::newRow("many channels") << QByteArray("P7\nWIDTH 2\nHEIGHT 1\nDEPTH 5\nMAXVAL 9\nENDHDR\nab")
                                   << "8 samples short of the 10";
    QTest::newRow("numbers in text") << QByteArray("P2 3 1 255 1 2\n\n\n") << "1 samples short of the 3";
    QTest::newRow("numbers in text that cannot suffice")
        << QByteArray("P2 30 1 255 1 2") << "at least 28 samples short of the 30";
    QTest::newRow("bits in text") << QByteArray("P1 3 2 0 1 1 0  ") << "2 samples short of the 6";
}

void PnmDamageTest::missingSamples()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, told);
    const PnmLoaded loaded = loadMap(file);
    QVERIFY(!loaded.data);
    QCOMPARE(loaded.error.kind, ep::ExFileError::Unreadable);
    QVERIFY2(loaded.error.reason.contains(told), qPrintable(loaded.error.reason));
}

void PnmDamageTest::damaged_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("told");
    QTest::newRow("empty") << QByteArray() << "the file is empty";
    QTest::newRow("another format") << QByteArray("GIF89a") << "does not begin like";
    QTest::newRow("P8") << QByteArray("P8\n1 1 1 0") << "does not begin like";
    QTest::newRow("P55") << QByteArray("P55 1 1 1 0") << "does not begin like";
    QTest::newRow("P alone") << QByteArray("P") << "does not begin like";
    QTest::newRow("width is a word") << QByteArray("P5 wide 1 9 a") << "\"wide\" where the width should be";
    QTest::newRow("height is negative") << QByteArray("P5 1 -1 9 a") << "\"-1\" where the height should be";
    QTest::newRow("height is a fraction") << QByteArray("P5 1 1.5 9 a") << "\".5\" where the height should be";
    QTest::newRow("height is missing") << QByteArray("P5 1 ") << "the end of the file where the height should be";
    QTest::newRow("maximum is no text") << QByteArray("P5 1 1 \x01\xff")
                                        << "\"\\x01\\xff\" where the largest sample should be";
    QTest::newRow("width of 0") << QByteArray("P5 0 1 9 a") << "the width is 0";
    QTest::newRow("height of 0") << QByteArray("P4 1 0 a") << "the height is 0";
    QTest::newRow("maximum of 0") << QByteArray("P5 1 1 0 a") << "the largest sample is 0";
    QTest::newRow("maximum past 16 bits") << QByteArray("P2 1 1 65536 1") << "largest sample is larger than 65535";
    QTest::newRow("width past 31 bits") << QByteArray("P5 2147483648 1 1 a") << "width is larger than 2147483647";
    QTest::newRow("width past 64 bits") << QByteArray("P5 99999999999999999999999 1 1 a")
                                        << "width is larger than 2147483647";
    QTest::newRow("scale is a word") << QByteArray("Pf 1 1 one abcd") << "\"one\" where the scale should be";
    QTest::newRow("scale is 0") << QByteArray("Pf 1 1 0.0 abcd") << "\"0.0\" where the scale should be";
    QTest::newRow("scale is no number") << QByteArray("Pf 1 1 nan abcd") << "\"nan\" where the scale should be";
    QTest::newRow("scale with a comma") << QByteArray("Pf 1 1 -1,0 abcd") << "\"-1,0\" where the scale should be";
    QTest::newRow("scale is missing") << QByteArray("Pf 1 1") << "the end of the file where the scale should be";
    QTest::newRow("sample is a word") << QByteArray("P2 3 1 9 1 two 3") << "\"two\" where sample 2 of 3 should be";
    QTest::newRow("sample is negative") << QByteArray("P2 3 1 9 1 -2 3") << "\"-2\" where sample 2 of 3 should be";
    QTest::newRow("sample runs into a word") << QByteArray("P2 3 1 9 1 2 3x") << "\"x\" where sample 3 of 3 should be";
    QTest::newRow("long garbage is cut") << QByteArray("P2 3 1 9 1 abcdefghijklmnopqrstuvwxyz")
                                         << "\"abcdefghijklmnop\"";
    QTest::newRow("bit is 2") << QByteArray("P1 3 1 102") << "\"2\" where sample 3 of 3 should be";
    QTest::newRow("text sample past the maximum") << QByteArray("P2 3 1 9 1 10 3") << "a sample of 10, past the 9";
    QTest::newRow("byte past the maximum") << QByteArray("P5 3 1 9 \1\12\3") << "a sample of 10, past the 9";
    QTest::newRow("two bytes past the maximum")
        << QByteArray("P5 1 2 999 \3\347\3\350") << "a sample of 1000, past the 999";
    QTest::newRow("PAM without width") << QByteArray("P7\nHEIGHT 1\nDEPTH 1\nMAXVAL 9\nENDHDR\n\1")
                                       << "does not say WIDTH";
    QTest::newRow("PAM without maximum") << QByteArray("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 1\nENDHDR\n\1")
                                         << "does not say MAXVAL";
    QTest::newRow("PAM with an unknown line") << QByteArray("P7\nCOLOUR 1\nENDHDR\n\1") << "unknown line \"COLOUR 1\"";
    QTest::newRow("PAM with a number that is none")
        << QByteArray("P7\nWIDTH 1x\nENDHDR\n\1") << "\"1x\" where the width should be";
    QTest::newRow("PAM with too many channels") << QByteArray("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 65536\nMAXVAL 9\nENDHDR\n")
                                                << "number of channels is larger than 65535";
    QTest::newRow("PAM whose header does not end") << QByteArray("P7\nWIDTH 1\n") << "ends inside its header";
}

void PnmDamageTest::damaged()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, told);
    const PnmLoaded loaded = loadMap(file);
    QVERIFY(!loaded.data);
    QVERIFY(loaded.error);
    QVERIFY2(loaded.error.reason.contains(told), qPrintable(loaded.error.reason));
}

void PnmDamageTest::mutated_data()
{
    truncated_data();
}

void PnmDamageTest::mutated()
{
    QFETCH(QByteArray, file);
    std::mt19937 random(5);
    int loadedCount = 0;
    for (int i = 0; i < 3000; ++i) {
        QByteArray changed = file;
        for (quint32 changes = random() % 4 + 1; changes > 0; --changes)
            changed[static_cast<int>(random() % static_cast<quint32>(file.size()))] = static_cast<char>(random());
        const PnmLoaded loaded = loadMap(changed, 1 << 20);
        QCOMPARE(loaded.data == nullptr, bool(loaded.error));
        QCOMPARE(loaded.error.reason.isEmpty(), !loaded.error);
        if (!loaded.data)
            continue;
        ++loadedCount;
        const ep::SxImageBuf image = loaded.image();
        QVERIFY(image.data && image.bitDepth >= 1 && image.bitDepth <= 32);
        if (image.dataType == ep::DataTypeFloat)
            continue;
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                for (int c = 0; c < image.channels; ++c)
                    QVERIFY(numberAt(image, x, y, c) < 1 << image.bitDepth);
    }
    QVERIFY(loadedCount > 0);
}

void PnmDamageTest::memoryLimit()
{
    const QByteArray file = mapFile(makeMap(5, 10, 10, 1, 999));
    QVERIFY(loadMap(file, 200).data);
    const PnmLoaded refused = loadMap(file, 199);
    QVERIFY(!refused.data);
    QCOMPARE(refused.error.kind, ep::ExFileError::TooLarge);
    QVERIFY2(refused.error.reason.contains(QStringLiteral("200 bytes")), qPrintable(refused.error.reason));

    // Bits take an eighth in the file.
    const QByteArray bits = mapFile(makeMap(4, 80, 10, 1, 1));
    QVERIFY(bits.size() < 200);
    QCOMPARE(loadMap(bits, 799).error.kind, ep::ExFileError::TooLarge);
    QVERIFY(loadMap(bits, 800).data);
}

void PnmDamageTest::hugeSizesTakeNoMemory_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("graymap") << QByteArray("P5 2147483647 2147483647 65535 abcd");
    QTest::newRow("bitmap") << QByteArray("P4 2147483647 2147483647 abcd");
    QTest::newRow("text") << QByteArray("P3 2147483647 2147483647 65535 1 2 3 4");
    QTest::newRow("bitmap in text") << QByteArray("P1 2147483647 2147483647 1 0 1");
    QTest::newRow("float map") << QByteArray("PF 2147483647 2147483647 -1 abcd");
    QTest::newRow("arbitrary map") << QByteArray(
        "P7\nWIDTH 2147483647\nHEIGHT 2147483647\nDEPTH 65535\nMAXVAL 65535\nENDHDR\n");
}

void PnmDamageTest::hugeSizesTakeNoMemory()
{
    QFETCH(QByteArray, file);
    const PnmLoaded loaded = loadMap(file, std::numeric_limits<qint64>::max());
    QVERIFY(!loaded.data);
    QVERIFY(loaded.error.kind == ep::ExFileError::TooLarge || loaded.error.kind == ep::ExFileError::Unreadable);
}

void PnmDamageTest::notAFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("told");
    QTest::newRow("missing") << "/nowhere/image.pgm"
                             << "does not exist";
    QTest::newRow("a folder") << "/"
                              << "not a regular file";
    QTest::newRow("a device") << "/dev/zero"
                              << "not a regular file";
    QTest::newRow("no name") << QString() << "does not exist";
}

void PnmDamageTest::notAFile()
{
    QFETCH(QString, path);
    QFETCH(QString, told);
    const auto loader = pnmLoader();
    loader->setFileName(path);
    QVERIFY(!loader->open());
    QVERIFY(!loader->isOpen());
    QCOMPARE(loader->lastError().kind, ep::ExFileError::Unreadable);
    QVERIFY2(loader->lastError().reason.contains(told), qPrintable(loader->lastError().reason));
}

void PnmDamageTest::noPermission()
{
    if (geteuid() == 0)
        QSKIP("everything is readable for the superuser");
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("image.pgm")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("P5 1 1 9 a");
    file.close();
    QVERIFY(file.setPermissions({}));
    const auto loader = pnmLoader();
    loader->setFileName(file.fileName());
    QVERIFY(!loader->open());
    QCOMPARE(loader->lastError().kind, ep::ExFileError::Unreadable);
}

void PnmDamageTest::changedSinceOpening()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.pgm"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(mapFile(makeMap(5, 4, 4, 1, 255)));
    file.close();
    const auto loader = pnmLoader();
    loader->setFileName(path);
    QVERIFY(loader->open());
    QVERIFY(std::unique_ptr<ep::CxImageData>(loader->imageData(0)));
    QVERIFY(file.resize(15));
    QVERIFY(!loader->imageData(0));
    QCOMPARE(loader->lastError().kind, ep::ExFileError::Unreadable);
}

QTEST_GUILESS_MAIN(PnmDamageTest)
#include "PnmDamageTest.moc"
