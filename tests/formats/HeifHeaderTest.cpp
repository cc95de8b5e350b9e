// HEIF files whose pictures are made of each other.
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

QByteArray word(int number)
{
    QByteArray bytes(2, '\0');
    qToBigEndian(static_cast<quint16>(number), bytes.data());
    return bytes;
}

/** That picture @p from is made of, or belongs to, @p to. */
QByteArray reference(const char* kind, int from, const QVector<int>& to)
{
    QByteArray content = kind + word(from) + word(to.size());
    for (const int picture : to)
        content += word(picture);
    return word(0) + word(content.size() + 4) + content;
}

void enlarge(QByteArray& file, const char* box, int bytes)
{
    char* const size = file.data() + file.indexOf(box) - 4;
    qToBigEndian(qFromBigEndian<quint32>(size) + static_cast<quint32>(bytes), size);
}

/** A picture of one tile in a HEIF file with @p references besides. */
QByteArray fileWith(const QByteArray& references)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("tiles.heic"));
    const auto image = randomImage(describe(ep::DataTypeUInt8, 40, 34, 3));
    if (!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()))
        qFatal("cannot save a HEIF file");
    QByteArray file = readFile(path);
    file.insert(file.indexOf("iref") + 8, references);
    enlarge(file, "iref", references.size());
    enlarge(file, "meta", references.size());
    return file;
}

/** @p file with a box of references that tells its size behind its name. */
QByteArray withLongSize(QByteArray file)
{
    const int at = file.indexOf("iref") - 4;
    const quint64 bytes = qFromBigEndian<quint32>(file.constData() + at) + 8;
    file.insert(at + 8, QByteArray(8, '\0'));
    qToBigEndian(quint32(1), file.data() + at);
    qToBigEndian(bytes, file.data() + at + 8);
    enlarge(file, "meta", 8);
    return file;
}

constexpr int firstOfChain = 10;

/** @p length pictures, each made of the next, @p times over. */
QByteArray chain(int length, int times)
{
    QByteArray references;
    for (int picture = firstOfChain; picture < firstOfChain + length; ++picture)
        references += reference("dimg", picture, QVector<int>(times, picture + 1));
    return references;
}

}  // namespace

class HeifHeaderTest : public QObject {
    Q_OBJECT
private slots:
    void picturesOfTooManyOthersAreRefused_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("isRefused");
        const QByteArray itself = reference("dimg", 2, {2});
        QTest::newRow("a picture of itself") << fileWith(itself) << true;
        QTest::newRow("a picture of itself in a box with a long size") << withLongSize(fileWith(itself)) << true;
        const QByteArray back = reference("dimg", firstOfChain + 1, {firstOfChain});
        QTest::newRow("two pictures of each other") << fileWith(chain(1, 1) + back) << true;
        QTest::newRow("a mask of itself") << fileWith(reference("auxl", 2, {2})) << true;
        QTest::newRow("a hundred pictures in each other") << fileWith(chain(100, 1)) << true;
        QTest::newRow("ten pictures, each of ten of the next") << fileWith(chain(10, 10)) << true;
        const QByteArray tiles = reference("dimg", 2, QVector<int>(65535, 1));
        QTest::newRow("a million tiles") << fileWith(tiles.repeated(16)) << true;
        QTest::newRow("the most tiles that a picture has") << fileWith(tiles) << false;
        QTest::newRow("ten pictures in each other") << fileWith(chain(10, 1)) << false;
        QTest::newRow("a text about itself") << fileWith(reference("cdsc", 3, {3})) << false;
    }

    void picturesOfTooManyOthersAreRefused()
    {
        QFETCH(QByteArray, file);
        QFETCH(bool, isRefused);
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("file.heic"));
        QVERIFY(writeFile(path, file));
        const LoadedFrame loaded = loadFrame("ep::oiio::CxOiioImageLoader", path, 0, 0);
        QVERIFY(!loaded.data);
        // Those that are not refused for it lack what they are made of.
        const QString reason = QStringLiteral("its pictures are made of more others than can be decoded");
        QCOMPARE(loaded.loader->lastError().reason == reason, isRefused);
    }
};

QTEST_GUILESS_MAIN(HeifHeaderTest)
#include "HeifHeaderTest.moc"
