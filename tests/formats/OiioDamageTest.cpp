// Damaged, truncated, foreign and missing files of the formats of OpenImageIO: an error, never a crash.
#include "FormatPlugin.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <cstdio>
#include <random>
#include <sys/resource.h>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

constexpr int mutants = 300;
constexpr int width = 48;
constexpr int height = 40;

/** The content of a sound file of suffix @p suffix. */
QByteArray soundFile(const QString& suffix, ep::ExImageDataType type, int channels)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("sound.") + suffix);
    ep::CxScopedBuffer image = randomImage(describe(type, width, height, channels));
    if (type == ep::DataTypeFloat)
        for (int i = 0; i < width * height * channels; ++i)
            setSample(image.image(), i / channels % width, i / channels / width, i % channels,
                      static_cast<float>(i) / 3);
    ep::SxFileError error;
    if (!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error))
        qFatal("cannot write a %s file: %s", qPrintable(suffix), qPrintable(error.reason));
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write a test file");
}

/** @p content with a few bytes changed, most of them near the beginning, where headers are. */
QByteArray mutant(QByteArray content, std::mt19937& random)
{
    const int changes = 1 + static_cast<int>(random() % 8);
    for (int i = 0; i < changes; ++i) {
        const quint32 range = random() % 2 ? 128u : static_cast<quint32>(content.size());
        const int place = static_cast<int>(random() % std::min(range, static_cast<quint32>(content.size())));
        const int kind = static_cast<int>(random() % 3);
        content[place] = kind == 0   ? '\0'
                         : kind == 1 ? '\xff'
                                     : static_cast<char>(content.at(place) ^ (1 << random() % 8));
    }
    return random() % 4 ? content : content.left(static_cast<int>(random() % static_cast<quint32>(content.size())));
}

/** Loads files one after another in a process of its own; says the name of each before and how it went after. */
int loadAll(const QStringList& paths)
{
    // A header that lies about its size must not take the machine's memory. Sanitizers reserve more than there is.
#if !defined(__SANITIZE_ADDRESS__)
    const rlimit limit{rlim_t(3) << 30, rlim_t(3) << 30};
    setrlimit(RLIMIT_AS, &limit);
#endif
    Manager::instance()->setMemoryLimit(64 << 20);
    for (const QString& path : paths) {
        std::printf("%s", qPrintable(path));
        std::fflush(stdout);
        ep::CxScopedBuffer image;
        ep::SxFileError error;
        const bool isLoaded = Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error);
        std::printf(" %s\n", isLoaded ? "image" : error.reason.isEmpty() ? "silence" : "error");
    }
    return 0;
}

}  // namespace

class OiioDamageTest : public QObject {
    Q_OBJECT
private slots:
    void mutantsNeverCrash_data();
    void mutantsNeverCrash();
    void truncatedFilesAreRefused_data();
    void truncatedFilesAreRefused();
    void whatIsNoFileOfItsFormatIsRefused_data();
    void whatIsNoFileOfItsFormatIsRefused();
    void largeImagesAreRefusedByTheirHeader();
    void largeScreensOfGifFilesAreRefused();
    void dpxFilesThatLackSamplesAreRefused_data();
    void dpxFilesThatLackSamplesAreRefused();
    void whatIsAnnouncedPastTheFileIsRefused_data();
    void whatIsAnnouncedPastTheFileIsRefused();
    void blocksOfOpenExrKeepToTheMemoryLimit();
    void dwaIsRefused_data();
    void dwaIsRefused();
};

namespace {

void addFormats()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    const int byte = ep::DataTypeUInt8, word = ep::DataTypeUInt16, real = ep::DataTypeFloat;
    QTest::newRow("PNG") << "png" << word << 3;
    QTest::newRow("JPEG") << "jpg" << byte << 3;
    QTest::newRow("JPEG 2000") << "jp2" << word << 1;
    QTest::newRow("OpenEXR") << "exr" << real << 3;
    QTest::newRow("WebP") << "webp" << byte << 3;
    QTest::newRow("HEIF") << "heic" << byte << 3;
    QTest::newRow("BMP") << "bmp" << byte << 3;
    QTest::newRow("Targa") << "tga" << byte << 4;
    QTest::newRow("DPX") << "dpx" << word << 3;
    QTest::newRow("GIF") << "gif" << byte << 4;
    QTest::newRow("icon") << "ico" << byte << 4;
    QTest::newRow("Radiance") << "hdr" << real << 3;
}

}  // namespace

void OiioDamageTest::mutantsNeverCrash_data()
{
    addFormats();
}

void OiioDamageTest::mutantsNeverCrash()
{
    QFETCH(QString, suffix);
    QFETCH(int, type);
    QFETCH(int, channels);
    const QByteArray content = soundFile(suffix, ep::ExImageDataType(type), channels);
    QTemporaryDir folder;
    std::mt19937 random(1);
    QStringList paths;
    for (int i = 0; i < mutants; ++i) {
        paths << folder.filePath(QStringLiteral("%1.%2").arg(i).arg(suffix));
        writeFile(paths.last(), mutant(content, random));
    }
    QProcess process;
    // What the libraries leave behind when a damaged file stops them is theirs.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), QStringList{QStringLiteral("--load")} + paths);
    const bool ended = process.waitForFinished(240000);
    const QByteArray out = process.readAllStandardOutput();
    const QByteArray last = out.mid(out.lastIndexOf('\n', -2) + 1);
    QVERIFY2(ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
             (last + '\n' + process.readAllStandardError().right(3000)).constData());
    QCOMPARE(out.count('\n'), mutants);
    QVERIFY(!out.contains(" silence"));
    QVERIFY(out.contains(" error"));
}

void OiioDamageTest::truncatedFilesAreRefused_data()
{
    addFormats();
}

void OiioDamageTest::truncatedFilesAreRefused()
{
    QFETCH(QString, suffix);
    QFETCH(int, type);
    QFETCH(int, channels);
    const QByteArray content = soundFile(suffix, ep::ExImageDataType(type), channels);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("short.") + suffix);
    for (const int percent : {1, 5, 20, 50, 80}) {
        writeFile(path, content.left(content.size() * percent / 100));
        ep::CxScopedBuffer image;
        ep::SxFileError error;
        QVERIFY2(!Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error),
                 QByteArray::number(percent).constData());
        QVERIFY(!error.reason.isEmpty());
        QVERIFY2(!error.reason.contains(folder.path()), qPrintable(error.reason));
    }
}

void OiioDamageTest::whatIsNoFileOfItsFormatIsRefused_data()
{
    QTest::addColumn<QString>("suffix");
    for (const char* suffix :
         {"png", "jpg", "jp2", "exr", "webp", "heic", "bmp", "tga", "dpx", "dcm", "gif", "hdr", "ico", "rla"})
        QTest::newRow(suffix) << QString::fromLatin1(suffix);
}

void OiioDamageTest::whatIsNoFileOfItsFormatIsRefused()
{
    QFETCH(QString, suffix);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file.") + suffix);
    const auto isRefused = [&] {
        ep::CxScopedBuffer image;
        ep::SxFileError error;
        return !Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error) && !image->data
               && !error.reason.isEmpty();
    };
    QVERIFY(isRefused());  // there is no file
    writeFile(path, QByteArray());
    QVERIFY(isRefused());
    writeFile(path, "P5 2 2 255 no image of that name\n" + QByteArray(5000, 'x'));
    QVERIFY(isRefused());
    QFile::remove(path);
    QDir(folder.path()).mkdir(QFileInfo(path).fileName());
    QVERIFY(isRefused());
    loadFormatPlugin(QStringLiteral("oiio"));
    QVERIFY(!loadFrame("ep::oiio::CxOiioImageLoader", path).data);
}

void OiioDamageTest::largeImagesAreRefusedByTheirHeader()
{
    QByteArray content = soundFile(QStringLiteral("tga"), ep::DataTypeUInt8, 3);
    content.replace(12, 4, "\xff\x7f\xff\x7f");
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("large.tga"));
    writeFile(path, content);
    loadFormatPlugin(QStringLiteral("oiio"));
    LoadedFrame loaded = loadFrame("ep::oiio::CxOiioImageLoader", path, 0, 1 << 20);
    QVERIFY(!loaded.data);
    QVERIFY(!loaded.loader->lastError().reason.isEmpty());
    loaded = loadFrame("ep::oiio::CxOiioImageLoader", path);
    QVERIFY(!loaded.data);
    QVERIFY(!loaded.loader->lastError().reason.isEmpty());
}

void OiioDamageTest::largeScreensOfGifFilesAreRefused()
{
    QByteArray content = soundFile(QStringLiteral("gif"), ep::DataTypeUInt8, 4);
    content.replace(6, 4, "\xff\x7f\xff\x7f");
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("large.gif"));
    writeFile(path, content);
    loadFormatPlugin(QStringLiteral("oiio"));
    const LoadedFrame loaded = loadFrame("ep::oiio::CxOiioImageLoader", path, 0, 64 << 20);
    QVERIFY(!loaded.data);
    const ep::SxFileError error = loaded.loader->lastError();
    QCOMPARE(int(error.kind), int(ep::ExFileError::TooLarge));
    QVERIFY2(error.reason.contains(QString::number(4ll * 32767 * 32767)), qPrintable(error.reason));
}

void OiioDamageTest::dpxFilesThatLackSamplesAreRefused_data()
{
    QTest::addColumn<int>("bits");
    QTest::addColumn<QString>("told");
    QTest::newRow("doubles") << 64 << "too short for its samples";
    QTest::newRow("samples of no bits") << 0 << "samples of 0 bits";
    QTest::newRow("samples of 200 bits") << 200 << "samples of 200 bits";
}

void OiioDamageTest::dpxFilesThatLackSamplesAreRefused()
{
    QFETCH(int, bits);
    QFETCH(QString, told);
    // One column of doubles, a fraction of which the file has: the rest would be what memory held.
    QByteArray content = soundFile(QStringLiteral("dpx"), ep::DataTypeUInt16, 3);
    const bool isLittle = content.startsWith("XPDS");
    const auto set = [&](int at, quint32 number) {
        isLittle ? qToLittleEndian(number, content.data() + at) : qToBigEndian(number, content.data() + at);
    };
    constexpr int widthAt = 772, heightAt = 776, descriptorAt = 800, bitsAt = 803;
    set(widthAt, 1);
    set(heightAt, 8192);
    content[descriptorAt] = 0;
    content[bitsAt] = static_cast<char>(bits);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("short.dpx"));
    writeFile(path, content);
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY(!Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error));
    QVERIFY2(error.reason.contains(told), qPrintable(error.reason));
}

void OiioDamageTest::whatIsAnnouncedPastTheFileIsRefused_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<int>("at");
    QTest::addColumn<QByteArray>("size");
    const QByteArray attribute("comments\0string\0", 16);
    const int behind = attribute.size();
    const QString exr = QStringLiteral("exr");
    QTest::newRow("an attribute of OpenEXR of a gigabyte") << exr << attribute << behind << QByteArray("\0\0\0\x40", 4);
    QTest::newRow("one of a negative size") << exr << attribute << behind << QByteArray("\xf0\xff\xff\xff", 4);
    const QString png = QStringLiteral("png");
    constexpr int before = -4;
    QTest::newRow("a text of PNG of a gigabyte") << png << QByteArray("tEXt") << before << QByteArray("\x40\0\0\0", 4);
    QTest::newRow("one past 31 bits") << png << QByteArray("tEXt") << before << QByteArray("\xff\xff\xff\xff", 4);
    QTest::newRow("a first chunk past the file") << png << QByteArray("IHDR") << before << QByteArray("\0\1\0\0", 4);
}

void OiioDamageTest::whatIsAnnouncedPastTheFileIsRefused()
{
    QFETCH(QString, suffix);
    QFETCH(QByteArray, before);
    QFETCH(int, at);
    QFETCH(QByteArray, size);
    QByteArray content = soundFile(suffix, suffix == QLatin1String("exr") ? ep::DataTypeFloat : ep::DataTypeUInt16, 3);
    QVERIFY(content.contains(before));
    content.replace(content.indexOf(before) + at, size.size(), size);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("greedy.") + suffix);
    writeFile(path, content);
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY(!Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error));
    QVERIFY2(error.reason.contains(QLatin1String("more than the file has")), qPrintable(error.reason));
}

// A block of lines is decompressed at once, and the reader asks for its memory before anybody sees how wide it is.
void OiioDamageTest::blocksOfOpenExrKeepToTheMemoryLimit()
{
    QByteArray content = soundFile(QStringLiteral("exr"), ep::DataTypeFloat, 3);
    const QByteArray before("dataWindow\0box2i\0\x10\0\0\0", 21);
    constexpr int rightAt = 8;
    constexpr qint32 right = 999;
    QVERIFY(content.contains(before));
    qToLittleEndian(right, content.data() + content.indexOf(before) + before.size() + rightAt);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("wide.exr"));
    writeFile(path, content);
    const qint64 block = 16 * qint64(right + 1) * 3 * 4;  // as ZIP compresses lines
    const auto reasonUnder = [&](qint64 limit) {
        return loadFrame("ep::oiio::CxOiioImageLoader", path, 0, limit).loader->lastError();
    };
    const ep::SxFileError refused = reasonUnder(block - 1);
    QCOMPARE(int(refused.kind), int(ep::ExFileError::TooLarge));
    QVERIFY2(refused.reason.contains(QString::number(block)), qPrintable(refused.reason));
    // Then it is found out that the lines are not there.
    QCOMPARE(int(reasonUnder(10 * block).kind), int(ep::ExFileError::Unreadable));
}

void OiioDamageTest::dwaIsRefused_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("DWAA") << 8;
    QTest::newRow("DWAB") << 9;
}

void OiioDamageTest::dwaIsRefused()
{
    QFETCH(int, code);
    QByteArray content = soundFile(QStringLiteral("exr"), ep::DataTypeFloat, 3);
    const QByteArray before("compression\0compression\0\1\0\0\0", 28);
    QVERIFY(content.contains(before));
    content[content.indexOf(before) + before.size()] = char(code);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("dwa.exr"));
    writeFile(path, content);
    const ep::SxFileError error = loadFrame("ep::oiio::CxOiioImageLoader", path).loader->lastError();
    QCOMPARE(int(error.kind), int(ep::ExFileError::Unsupported));
    QVERIFY2(error.reason.contains(QLatin1String("DWA")), qPrintable(error.reason));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments().mid(1);
    if (!arguments.isEmpty() && arguments.first() == QLatin1String("--load"))
        return loadAll(arguments.mid(1));
    OiioDamageTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "OiioDamageTest.moc"
