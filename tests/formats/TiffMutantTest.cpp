// TIFF files of every kind with some bytes changed or cut off do no harm: nothing undefined, huge or printed.

#include "Files.h"
#include "FormatPlugin.h"
#include "StandardErrorCapture.h"
#include "TiffSeeds.h"

#include <QtEndian>
#include <QtTest>

#include <random>

using namespace testing;

namespace {

constexpr qint64 memoryLimit = 16 << 20;

// The sanitizers hold freed memory back, so that what a process ever had tells nothing of what it had at once.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool peakTells = false;
#else
constexpr bool peakTells = true;
#endif

/** Where the first directory of the file @p bytes stands. */
quint32 directoryOf(const QByteArray& bytes)
{
    const bool isBig = bytes[2] == 43 || bytes[3] == 43;
    const char* offset = bytes.constData() + (isBig ? 8 : 4);
    if (bytes[0] == 'M')
        return isBig ? static_cast<quint32>(qFromBigEndian<quint64>(offset)) : qFromBigEndian<quint32>(offset);
    return isBig ? static_cast<quint32>(qFromLittleEndian<quint64>(offset)) : qFromLittleEndian<quint32>(offset);
}

/** The file @p bytes hurt in up to six places or cut; every other one where its tags stand. */
QByteArray mutant(QByteArray bytes, quint32 seed)
{
    std::mt19937 random(seed);
    const auto size = static_cast<quint32>(bytes.size());
    const quint32 first = seed % 2 == 0 ? qMin(directoryOf(bytes), size - 1) : 0;
    for (quint32 i = 0, n = 1 + random() % 6; i < n; ++i)
        bytes[static_cast<int>(first + random() % (size - first))] = static_cast<char>(random() % 3 ? random() : 0xff);
    return seed % 16 == 15 ? bytes.left(static_cast<int>(random() % size)) : bytes;
}

/** The most address space that this process ever had, in bytes. */
qint64 peakAddressSpace()
{
    for (const QByteArray& line : readFile(QStringLiteral("/proc/self/status")).split('\n'))
        if (line.startsWith("VmPeak:"))
            return line.mid(7).trimmed().split(' ').first().toLongLong() * 1024;
    return 0;
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

class TiffMutantTest : public QObject {
    Q_OBJECT

    /** Loads every page; true when what came out is sound. */
    static bool loadsSoundly(const QString& path)
    {
        LoadedFrame loaded = loadFrame("ep::tiff::CxTiffImageLoader", path, 0, memoryLimit);
        if (loaded.loader->isOpen() != (loaded.data != nullptr)
            || loaded.loader->isOpen() != loaded.loader->lastError().reason.isEmpty())
            return false;
        for (int frame = 1; loaded.data; ++frame) {
            if (qint64(storageBytes(loaded.image())) > memoryLimit)
                return false;
            m_sum += sumOfBytes(loaded.image());
            loaded.data.reset(frame < 4 ? loaded.loader->imageData(frame) : nullptr);
        }
        return true;
    }

    static inline quint32 m_sum = 0;

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }
    void cleanupTestCase() { qInfo("sum of all samples: %u", m_sum); }

    void mutantsDoNoHarm_data()
    {
        QTest::addColumn<QByteArray>("sound");
        for (const TiffSeed& seed : tiffSeeds())
            QTest::newRow(seed.kind) << seed.bytes;
    }

    void mutantsDoNoHarm()
    {
        QFETCH(QByteArray, sound);
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("file.tif"));
        QVERIFY(writeFile(path, sound));
        QVERIFY(loadFrame("ep::tiff::CxTiffImageLoader", path, 0, memoryLimit).data);
        const qint64 peakBefore = peakAddressSpace();
        StandardErrorCapture standardError;
        for (quint32 seed = 0; seed < 400; ++seed) {
            QVERIFY(writeFile(path, mutant(sound, seed)));
            QVERIFY2(loadsSoundly(path), qPrintable(QString::number(seed)));
        }
        QCOMPARE(standardError.text(), QByteArray());
        // An image, a tile or strip, and a decoder's own memory.
        QVERIFY2(!peakTells || peakAddressSpace() - peakBefore <= 4 * memoryLimit,
                 qPrintable(QString::number(peakAddressSpace() - peakBefore)));
    }
};

QTEST_GUILESS_MAIN(TiffMutantTest)
#include "TiffMutantTest.moc"
