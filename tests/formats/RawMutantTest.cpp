// DNG files with some bytes changed or cut off do no harm to the loaders: nothing undefined, huge or printed.

#include "DngFiles.h"
#include "Files.h"
#include "StandardErrorCapture.h"

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <random>

using namespace testing;

namespace {

constexpr qint64 memoryLimit = 16 << 20;
constexpr int mutantsOfAKind = 300;

QByteArray saved(ep::ExBayerGrid grid, int bits, const QString& compression)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("capture.dng"));
    return saveDng(path, *capture(grid, 46, 38, bits), compression) ? QByteArray() : readFile(path);
}

/** The file @p bytes hurt in up to six places or cut; three of four where its tags stand. */
QByteArray mutant(QByteArray bytes, quint32 seed)
{
    std::mt19937 random(seed);
    const auto size = static_cast<quint32>(bytes.size());
    const quint32 tags = qMin(qFromLittleEndian<quint32>(bytes.constData() + 4), size - 1);
    const quint32 first = seed % 4 == 0 ? 0 : tags;
    for (quint32 i = 0, n = 1 + random() % 6; i < n; ++i)
        bytes[static_cast<int>(first + random() % (size - first))] = static_cast<char>(random() % 3 ? random() : 0xff);
    return seed % 16 == 15 ? bytes.left(static_cast<int>(random() % size)) : bytes;
}

/** Adds up every byte, so that a checker sees undefined or foreign ones. */
quint32 sumOfBytes(const ep::SxImageBuf& image)
{
    quint32 sum = 0;
    const auto* bytes = static_cast<const unsigned char*>(image.data);
    for (size_t i = 0; i < storageBytes(image); ++i)
        sum += bytes[i];
    return sum;
}

}  // namespace

class RawMutantTest : public QObject {
    Q_OBJECT

    /** Loads a file; true when what came out is sound. */
    static bool loadsSoundly(const char* loader, const QString& path)
    {
        const LoadedFrame loaded = loadFrame(loader, path, 0, memoryLimit);
        if (!loaded.data)
            return !loaded.loader->isOpen() && !loaded.loader->lastError().reason.isEmpty();
        const ep::SxImageBuf& image = loaded.image();
        volatile quint32 sum = sumOfBytes(image);
        Q_UNUSED(sum)
        const bool isGrid = image.bayerGrid >= ep::BayerGridBGGR && image.bayerGrid <= ep::BayerGridCell;
        return image.width > 0 && image.height > 0 && image.channels == 1 && isGrid
               && qint64(storageBytes(image)) <= memoryLimit && image.bitDepth >= 1
               && image.bitDepth <= ep::sampleFacts(image.dataType).bits && loaded.common()
               && !loaded.data->metadata().saveToXml(-1).isEmpty();
    }

private slots:
    void initTestCase() { loadDngPlugins(); }

    void mutantsDoNoHarm_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        for (const QString& compression : dngCompressions())
            for (const ep::ExBayerGrid grid : {ep::BayerGridRGGB, ep::BayerGridCell})
                for (const int bits : {12, 16})
                    QTest::addRow("%s of %d bits, %s", gridName(grid), bits, qPrintable(compression))
                        << saved(grid, bits, compression);
    }

    void mutantsDoNoHarm()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const QTemporaryDir folder;
        for (quint32 seed = 0; seed < mutantsOfAKind; ++seed) {
            // A new file each time, see writeFile().
            const QString path = folder.filePath(QStringLiteral("mutant%1.dng").arg(seed));
            QVERIFY(writeFile(path, mutant(bytes, seed)));
            for (const char* loader : {"ep::raw::CxRawImageLoader", "ep::tiff::CxDngImageLoader"}) {
                StandardErrorCapture printed;
                const bool isSound = loadsSoundly(loader, path);
                const QByteArray text = printed.text();
                QVERIFY2(isSound, qPrintable(QStringLiteral("seed %1").arg(seed)));
                QVERIFY2(text.isEmpty(), text);
            }
            QFile::remove(path);
        }
    }
};

QTEST_GUILESS_MAIN(RawMutantTest)
#include "RawMutantTest.moc"
