// Ten thousand damaged files: none crashes, asks for much memory, leaks, or hands out memory that nobody wrote.

#include <orn/matlab/EntropyImage.h>
#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatVariables.h>

#include <orn/Init.h>

#include "AllocationWatch.h"
#include "MatBytes.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QtTest>

#include <random>

#include <malloc.h>

using testing::matCompressed;
using testing::matElement;
using testing::MatVariableBytes;
using testing::numbers;

namespace {

constexpr int mutations = 10000;

// Some ten times what the worst of the files takes; sizes that a file claims are far beyond.
constexpr size_t largestRequest = 1 << 20;
constexpr size_t allRequests = 32 << 20;

/** A sound file: a header and elements, which may be compressed after they were damaged. */
struct Seed {
    QByteArray header;
    QVector<QByteArray> elements;
    bool isCompressed;

    QByteArray bytes() const
    {
        QByteArray result = header;
        for (const QByteArray& element : elements)
            result += isCompressed ? matCompressed(element) : element;
        return result;
    }
};

QByteArray planeBytes(const char* name)
{
    return MatVariableBytes{name, 11, 0, numbers<qint32>({4, 5}), matElement(testing::MatUInt16, QByteArray(40, 'p'))}
        .bytes();
}

QVector<QByteArray> ownFile(int planes, const testing::OwnMetadata& metadata)
{
    QVector<QByteArray> elements;
    for (int plane = 1; plane <= planes; ++plane)
        elements << planeBytes(("ep_image_channel_" + QByteArray::number(plane)).constData());
    return elements << testing::matText("ep_image_metadata", metadata.xml().toUtf8()).bytes();
}

QVector<QByteArray> zoo()
{
    const QByteArray doubles = matElement(9, numbers<double>({1, 2, 3, 4, 5, 6}));
    const QByteArray matrix = MatVariableBytes{"A", 6, 0, numbers<qint32>({2, 3}), doubles}.bytes();
    const QByteArray names =
        numbers<quint32>({4 << 16 | 5, 8}) + matElement(1, QByteArray("one\0\0\0\0\0two\0\0\0\0\0", 16));
    const QByteArray shortNames = numbers<quint32>({4 << 16 | 5, 2, 4 << 16 | 1}) + QByteArray("x\0y\0", 4);
    const QByteArray sparse =
        MatVariableBytes{"", 5, 0, numbers<qint32>({2, 2}),
                         matElement(5, numbers<qint32>({0})) + matElement(5, numbers<qint32>({0, 1, 1}))
                             + matElement(9, numbers<double>({3}))}
            .bytes();
    return {
        testing::matText("text", "text").bytes(),
        MatVariableBytes{"short", 2, 0, numbers<qint32>({1, 1}), shortNames + sparse + matrix}.bytes(),
        MatVariableBytes{"wide", 4, 0, numbers<qint32>({1, 3}), matElement(4, numbers<quint16>({65, 0x4e2d, 67}))}
            .bytes(),
        MatVariableBytes{"cells", 1, 0, numbers<qint32>({1, 2}), matrix + testing::matText("", "in").bytes()}.bytes(),
        MatVariableBytes{"fields", 2, 0, numbers<qint32>({1, 1}), names + matrix + matrix}.bytes(),
        MatVariableBytes{
            "inner", 1, 0, numbers<qint32>({1, 2}),
            sparse + MatVariableBytes{"", 2, 0, numbers<qint32>({1, 1}), shortNames + matrix + sparse}.bytes()}
            .bytes(),
        matElement(14, matElement(6, numbers<quint32>({17, 0})) + matElement(1, "my_string")
                           + numbers<quint32>({4 << 16 | 1}) + "MCOS" + matElement(1, "string") + matrix),
        MatVariableBytes{"handle", 16, 0, numbers<qint32>({1, 1}), matrix}.bytes(),
        MatVariableBytes{"sparse", 5, 0, numbers<qint32>({2, 2}),
                         matElement(5, numbers<qint32>({0})) + matElement(5, numbers<qint32>({0, 1, 1}))
                             + matElement(9, numbers<double>({3}))}
            .bytes(),
        MatVariableBytes{"cube", 6, 0, numbers<qint32>({1, 2, 3}), doubles}.bytes(),
        MatVariableBytes{"narrow", 6, 0, numbers<qint32>({1, 4}), numbers<quint32>({4 << 16 | 2}) + "abcd"}.bytes(),
        MatVariableBytes{"complex", 6, 0x0800, numbers<qint32>({2, 3}), doubles + doubles}.bytes()};
}

QVector<Seed> seeds()
{
    const QVector<QVector<QByteArray>> files = {
        ownFile(4, {4, true, 1, 0, 12}),
        ownFile(2, {2, false, 4, 1, 16}),
        zoo(),
        zoo().mid(3, 5) + ownFile(1, {1}),
        {MatVariableBytes{"PIG_channel_1"}.bytes(), MatVariableBytes{"PIG_channel_2"}.bytes()}};
    QVector<Seed> result;
    for (const auto& elements : files)
        for (const bool isCompressed : {false, true})
            result.append({testing::matHeader(), elements, isCompressed});
    const QByteArray swapped = testing::otherByteOrder();
    result.append({swapped.left(128), {swapped.mid(128)}, false});
    const QByteArray version4 = numbers<qint32>({0, 2, 3, 0, 2}) + QByteArray("A\0", 2) + QByteArray(48, 'd');
    result.append({version4, {version4}, false});
    return result;
}

/** Makes damage from one sequence of numbers. */
class Damage {
public:
    explicit Damage(quint32 seed) : m_random(seed) {}
    int below(int count) { return count > 0 ? int(m_random() % quint32(count)) : 0; }
    void spoil(QByteArray& bytes)
    {
        if (bytes.isEmpty())
            return;
        const int times = 1 + below(3);
        for (int i = 0; i < times; ++i)
            once(bytes);
    }

private:
    void once(QByteArray& bytes)
    {
        const int at = below(bytes.size());
        switch (below(6)) {
        case 0: bytes.truncate(at); break;
        case 1: bytes.insert(at, bytes.mid(below(bytes.size()), 8 * below(12))); break;
        case 2: bytes.remove(at, 8 * below(12)); break;
        case 3: word(bytes, at / 4 * 4); break;
        default:
            if (at < bytes.size())
                bytes.data()[at] = char(m_random());
        }
    }
    void word(QByteArray& bytes, int at)
    {
        const quint32 values[] = {0,
                                  1,
                                  2,
                                  6,
                                  8,
                                  14,
                                  15,
                                  16,
                                  0x7fffffff,
                                  0x80000000,
                                  0xffffffff,
                                  0x10000,
                                  0x40001,
                                  0x20000002,
                                  quint32(bytes.size()),
                                  quint32(m_random())};
        if (at + 4 <= bytes.size())
            std::memcpy(bytes.data() + at, &values[below(16)], 4);
    }

    std::mt19937 m_random;
};

QByteArray mutated(Seed seed, quint32 number)
{
    Damage damage(number);
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
    for (const Seed& seed : seeds()) {
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
    const QVector<Seed> all = seeds();
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
