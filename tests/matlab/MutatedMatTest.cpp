// Ten thousand damaged files: none crashes, asks for much memory, leaks, or hands out memory that nobody wrote.

#include <orn/matlab/EntropyImage.h>
#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatVariables.h>

#include <orn/Init.h>

#include "AllocationWatch.h"
#include "Damage.h"
#include "MatBytes.h"
#include "MatSeeds.h"
#include "TestImages.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QtTest>

#include <malloc.h>

using testing::MatSeed;

namespace {

constexpr int mutations = 10000;

// Some ten times what the worst of the files takes; sizes that a file claims are far beyond.
constexpr size_t largestRequest = 1 << 20;
constexpr size_t allRequests = 32 << 20;

QByteArray mutated(MatSeed seed, quint32 number)
{
    testing::Damage damage(number);
    if (seed.isCompressed && damage.below(3) > 0) {
        damage.spoil(seed.elements[damage.below(seed.elements.size())]);
        return seed.bytes();
    }
    QByteArray bytes = seed.bytes();
    damage.spoil(bytes);
    return bytes;
}

/** Everything that the functions hand out for a file, in one number. */
QByteArray outcome(const QString& path)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    const auto addImage = [&hash](bool isRead, const ep::SxImageBuf& image) {
        hash.addData(isRead ? "1" : "0");
        hash.addData(reinterpret_cast<const char*>(&image), sizeof(ep::SxImageInfo));
        if (image.data)
            hash.addData(static_cast<const char*>(image.data), int(testing::storageBytes(image)));
    };
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    bool isEntropy = false;
    addImage(orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, &metadata), image.image());
    hash.addData(metadata.saveToXml(-1).toUtf8());
    ep::CxScopedBuffer entropy;
    addImage(orn::matlab::LoadEntropyImageFromMat(QStringLiteral("PIG"), path, entropy.image()), entropy.image());
    QVector<orn::matlab::MatVariable> variables;
    QString reason;
    orn::matlab::ListMatVariables(path, variables, &reason);
    for (const auto& variable : variables)
        hash.addData((variable.name + variable.className + variable.role).toUtf8());
    return hash.result();
}

/** New memory starts with @p byte from here on, where the allocator can do so. */
void fillNewMemoryWith(int byte)
{
#if defined(M_PERTURB) && !defined(__SANITIZE_ADDRESS__)
    mallopt(M_PERTURB, byte);
#else
    Q_UNUSED(byte)
#endif
}

}  // namespace

class MutatedMatTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        orn::Init();
        // Unsound metadata is said in the log, thousands of times.
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    }
    void cleanupTestCase() { qInstallMessageHandler(nullptr); }
    void seedsAreSound();
    void mutatedFiles();
};

void MutatedMatTest::seedsAreSound()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("seed.mat"));
    for (const MatSeed& seed : testing::matSeeds()) {
        QVERIFY(testing::writeBytes(path, seed.bytes()));
        ep::CxScopedBuffer image;
        bool isEntropy = false;
        QVERIFY(seed.bytes().size() < 5000);
        QVERIFY(orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, nullptr));
        QVERIFY(image->data);
    }
}

void MutatedMatTest::mutatedFiles()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("mutated.mat"));
    const QVector<MatSeed> all = testing::matSeeds();
    size_t inUse = 0;
    for (int i = 0; i < mutations; ++i) {
        const QByteArray bytes = mutated(all[i % all.size()], quint32(i));
        const QByteArray number = QByteArray::number(i);
        QVERIFY(testing::writeBytes(path, bytes));
        const testing::AllocationWatch watch;
        fillNewMemoryWith(0x55);
        const QByteArray first = outcome(path);
        QVERIFY2(watch.largest() < largestRequest,
                 (number + " asked for " + QByteArray::number(qulonglong(watch.largest()))).constData());
        QVERIFY2(watch.total() < allRequests,
                 (number + " asked for " + QByteArray::number(qulonglong(watch.total()))).constData());
        fillNewMemoryWith(0xaa);
        QVERIFY2(outcome(path) == first, (number + " depends on memory that nobody wrote").constData());
        if (i == mutations / 10)
            inUse = mallinfo2().uordblks;
    }
    // What stays is what caches keep; a leak of one description per file would be megabytes.
    QVERIFY2(mallinfo2().uordblks < inUse + (256 << 10),
             QByteArray::number(qulonglong(mallinfo2().uordblks)).constData());
}

QTEST_GUILESS_MAIN(MutatedMatTest)
#include "MutatedMatTest.moc"
