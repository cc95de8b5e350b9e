// Text images, read as a host reads them.

#include <orn/ImageLoader.h>

#include "AllocationWatch.h"
#include "Files.h"
#include "OwnedStorage.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QLocale>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <limits>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

Q_DECLARE_METATYPE(QVector<double>)

namespace {

/** A user who writes 1,5, told to the process before anything of Qt looks. */
const bool s_isGerman = qunsetenv("LC_ALL") && qputenv("LC_CTYPE", "C.UTF-8") && qputenv("LANG", "de_DE.UTF-8");

using Numbers = QVector<double>;

/** Every sample, row by row. */
Numbers numbersOf(const ep::SxImageBuf& image)
{
    Numbers numbers;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            numbers << testing::sampleAt<double>(image, x, y);
    return numbers;
}

bool same(const Numbers& a, const Numbers& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](double left, double right) {
               return left == right || (std::isnan(left) && std::isnan(right));
           });
}

bool load(const QString& path, ep::SxImageBuf& image, QString* message = nullptr)
{
    const std::unique_ptr<orn::ImageLoader> loader(orn::ImageLoader::instance());
    return loader->loadImage({{QStringLiteral("filename"), path}}, image, message);
}

}  // namespace

class ReadTextImageTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { ep::CxImageFormatManager::instance()->setMemoryLimit(0); }
    void readsNumbers_data();
    void readsNumbers();
    void describesTheImage();
    void keepsTheOtherFields();
    void anUnknownLayoutIsRefused();
    void refuses_data();
    void refuses();
    void hostileFilesAreRefusedSoon_data();
    void hostileFilesAreRefusedSoon();
    void theLimitIsThatOfTheManager_data();
    void theLimitIsThatOfTheManager();
    void doesNotWaitForAPipe();
    void agreesWithALoopOfItsOwn();
    void whatTheRecordHeldIsForgottenOnSuccess();

private:
    QString write(const QByteArray& content, const char* name = "image.txt")
    {
        const QString path = m_folder.filePath(QLatin1String(name));
        return testing::writeFile(path, content) ? path : QString();
    }
    QTemporaryDir m_folder;
};

void ReadTextImageTest::initTestCase()
{
    QVERIFY(s_isGerman);
    QCOMPARE(QLocale().decimalPoint(), QLatin1Char(','));
}

void ReadTextImageTest::readsNumbers_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("width");
    QTest::addColumn<Numbers>("numbers");
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const auto row = [](const char* name, const QByteArray& content, int width, const Numbers& numbers) {
        QTest::newRow(name) << content << width << numbers;
    };
    row("two lines of three", "1,2,3\n4,5,6\n", 3, {1, 2, 3, 4, 5, 6});
    row("no line end at the end", "1,2,3\n4,5,6", 3, {1, 2, 3, 4, 5, 6});
    row("line ends of Windows", "1,2\r\n3,4\r\n", 2, {1, 2, 3, 4});
    row("two commas in a row hold a 0", "1,,3\n", 3, {1, 0, 3});
    row("a comma at the end holds a 0", "1,2,\n", 3, {1, 2, 0});
    row("a comma alone holds two", ",\n", 2, {0, 0});
    row("white space around numbers", " 1\t,  2.5 ,\v3\n", 3, {1, 2.5, 3});
    row("a decimal point, whatever the user writes", "1.5,-2.25e3\n", 2, {1.5, -2250});
    row("a comma separates, whatever the user writes", "1,5\n", 2, {1, 5});
    row("no groups of digits", "1.234.567,1'000\n", 2, {0, 0});
    row("what is no number is 0", "a,1x,0x10,--1,1 2\n", 5, {0, 0, 0, 0, 0});
    row("other separators make no number", "1;2\n", 1, {0});
    row("infinity and no number", "inf,-inf,nan\n", 3, {infinity, -infinity, nan});
    row("a number past all numbers", "1e999,-1e999\n", 2, {infinity, -infinity});
    row("a number below all numbers", "1e-999\n", 1, {0});
    row("all digits count", "0.1,3.141592653589793\n", 2, {0.1, 3.141592653589793});
    row("an empty line alone is a row of one", "\n", 1, {0});
    row("an empty line in the middle of a column is a row", "1\n\n3\n", 1, {1, 0, 3});
    row("empty lines at the end of a column are rows", "1\n\n\n", 1, {1, 0, 0});
    row("UTF-8 with a byte order mark",
        "\xef\xbb\xbf"
        "1,2\n",
        2, {1, 2});
    row("UTF-16 with a byte order mark",
        QByteArray("\xff\xfe"
                   "1\0,\0"
                   "2\0\n\0",
                   10),
        2, {1, 2});
    row("bytes that are no text", "\xfa\xfb\xff,2\n", 2, {0, 2});
    row("zero bytes", QByteArray("1\0,2\n", 5), 2, {0, 2});
    row("a carriage return alone ends no line", "1\r2\n", 1, {0});
    row("one number", "42", 1, {42});
    row("a byte order mark alone is a line", "\xff\xfe", 1, {0});
}

void ReadTextImageTest::readsNumbers()
{
    QFETCH(QByteArray, content);
    QFETCH(int, width);
    QFETCH(Numbers, numbers);
    ep::CxScopedBuffer image;
    QString message;
    QVERIFY2(load(write(content), image.image(), &message), qPrintable(message));
    QCOMPARE(image->width, width);
    const Numbers read = numbersOf(image.image());
    QStringList texts;
    for (double number : read)
        texts << QString::number(number);
    QVERIFY2(same(read, numbers), qPrintable(texts.join(QLatin1Char(' '))));
}

void ReadTextImageTest::describesTheImage()
{
    for (const char* name : {"image.txt", "IMAGE.TXT", "a.b.Txt"}) {
        ep::CxScopedBuffer image;
        QVERIFY(load(write("1,2,3\n4,5,6\n", name), image.image()));
        QCOMPARE(image->width, 3);
        QCOMPARE(image->height, 2);
        QCOMPARE(image->stride, 24);
        QCOMPARE(image->channels, 1);
        QCOMPARE(image->bitDepth, 64);
        QCOMPARE(image->dataType, ep::DataTypeDouble);
    }
}

void ReadTextImageTest::keepsTheOtherFields()
{
    ep::SxImageBuf image{};
    image.layout = ep::LayoutPlanar;
    image.formatCode = 77;
    image.bayerGrid = ep::BayerGridGBRG;
    image.reserved = 78;
    image.patternWidth = 79;
    image.patternHeight = 80;
    image.stride = 12345;
    image.channels = 99;
    QVERIFY(load(write("1,2\n"), image));
    QCOMPARE(image.layout, ep::LayoutPlanar);
    QCOMPARE(image.formatCode, 77);
    QCOMPARE(image.bayerGrid, ep::BayerGridGBRG);
    QCOMPARE(image.reserved, 78);
    QCOMPARE(image.patternWidth, 79);
    QCOMPARE(image.patternHeight, 80);
    QCOMPARE(image.stride, 16);
    QCOMPARE(image.channels, 1);
    ep::FreeBuffer(image);
}

void ReadTextImageTest::anUnknownLayoutIsRefused()
{
    ep::SxImageBuf image{};
    image.layout = ep::ExImageLayout(7);
    QVERIFY(!load(write("1,2\n"), image));
    QVERIFY(!image.data);
}

void ReadTextImageTest::refuses_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("an empty file") << QByteArray();
    QTest::newRow("fewer numbers in the second line") << QByteArray("1,2,3\n4,5\n");
    QTest::newRow("more numbers in the second line") << QByteArray("1,2,3\n4,5,6,7\n");
    QTest::newRow("more numbers in the last line") << QByteArray("1\n2\n3\n4,5");
    QTest::newRow("an empty line in the middle") << QByteArray("1,2\n\n3,4\n");
    QTest::newRow("an empty line at the end") << QByteArray("1,2\n3,4\n\n");
    QTest::newRow("an empty line at the start") << QByteArray("\n1,2\n");
}

void ReadTextImageTest::refuses()
{
    QFETCH(QByteArray, content);
    const QString path = write(content);
    QString message;
    ep::SxImageBuf image{};
    QVERIFY(!load(path, image, &message));
    QVERIFY(!image.data);
    QCOMPARE(message, QStringLiteral("Cannot load the %1.").arg(path));
}

void ReadTextImageTest::hostileFilesAreRefusedSoon_data()
{
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<qint64>("bytes");
    QTest::newRow("a terabyte of zeros on one line") << QByteArray() << (qint64(1) << 40);
    QTest::newRow("a line of commas, and a terabyte after it") << QByteArray(1000, ',') + '\n' << (qint64(1) << 40);
    QTest::newRow("many short lines, then a terabyte on one")
        << QByteArray("1\n").repeated(100000) << (qint64(1) << 40);
}

void ReadTextImageTest::hostileFilesAreRefusedSoon()
{
    QFETCH(QByteArray, start);
    QFETCH(qint64, bytes);
    const QString path = write(start);
    QFile file(path);
    if (!file.resize(bytes))
        QSKIP("this file system has no files of that size");
    constexpr qint64 limit = qint64(64) << 20;
    ep::CxImageFormatManager::instance()->setMemoryLimit(limit);
    ep::SxImageBuf image{};
    QElapsedTimer timer;
    timer.start();
    const testing::AllocationWatch watch;
    QVERIFY(!load(path, image));
    QVERIFY2(testing::AllocationWatch::largest() <= size_t(limit), QByteArray::number(quint64(watch.largest())));
    QVERIFY(!image.data);
    QVERIFY2(timer.elapsed() < 20000, "a small part of the file is enough to see what it is");
}

void ReadTextImageTest::theLimitIsThatOfTheManager_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("fits");
    // A limit of 8000 bytes: 1000 samples, and lines of less than 1000 characters.
    QTest::newRow("as many rows as fit") << QByteArray("1\n").repeated(1000) << true;
    QTest::newRow("a row more") << QByteArray("1\n").repeated(1001) << false;
    QTest::newRow("rows of several numbers") << QByteArray("1,2,3,4\n").repeated(250) << true;
    QTest::newRow("a row of several numbers more") << QByteArray("1,2,3,4\n").repeated(251) << false;
    QTest::newRow("empty lines count") << QByteArray("\n").repeated(1001) << false;
    QTest::newRow("a long line") << QByteArray(999, '1') << true;
    QTest::newRow("a line that is too long") << QByteArray(1000, '1') << false;
    QTest::newRow("a line that is too long at the end") << "1\n" + QByteArray(1000, '1') << false;
}

void ReadTextImageTest::theLimitIsThatOfTheManager()
{
    QFETCH(QByteArray, content);
    const QString path = write(content);
    ep::CxImageFormatManager::instance()->setMemoryLimit(8000);
    ep::CxScopedBuffer image;
    QTEST(load(path, image.image()), "fits");
    QTEST(image->data != nullptr, "fits");
}

void ReadTextImageTest::doesNotWaitForAPipe()
{
    const QString path = m_folder.filePath(QStringLiteral("pipe.txt"));
    QCOMPARE(::mkfifo(qPrintable(path), 0600), 0);
    const QString endless = m_folder.filePath(QStringLiteral("endless.txt"));
    QCOMPARE(::symlink("/dev/zero", qPrintable(endless)), 0);
    ep::SxImageBuf image{};
    QVERIFY(!load(path, image));
    QVERIFY(!load(endless, image));
}

void ReadTextImageTest::agreesWithALoopOfItsOwn()
{
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        const int width = 1 + int(random() % 40);
        const int height = 1 + int(random() % 40);
        Numbers numbers;
        QByteArray content;
        for (int i = 0; i < width * height; ++i) {
            const double number = std::ldexp(double(random()) - 2147483648.0, int(random() % 200) - 100);
            numbers << number;
            char text[32];
            std::snprintf(text, sizeof(text), "%.17g", number);
            content += QByteArray(text) + (i % width == width - 1 ? '\n' : ',');
        }
        ep::CxScopedBuffer image;
        QVERIFY(load(write(content), image.image()));
        QCOMPARE(image->width, width);
        QCOMPARE(image->height, height);
        QVERIFY(same(numbersOf(image.image()), numbers));
    }
}

void ReadTextImageTest::whatTheRecordHeldIsForgottenOnSuccess()
{
    const ep::SxImageBuf held = testing::ownedImage();
    ep::SxImageBuf image = held;
    QVERIFY(load(write("1,2\n"), image));
    QCOMPARE(testing::ownedStorages(), 1);
    ep::FreeBuffer(image);
    ep::SxImageBuf mine = held;
    ep::FreeBuffer(mine);
    QCOMPARE(testing::ownedStorages(), 0);
}

QTEST_GUILESS_MAIN(ReadTextImageTest)
#include "ReadTextImageTest.moc"
