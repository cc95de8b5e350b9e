// What reading costs: bytes read grow with the file, not with planes times variables.

#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatVariables.h>

#include <orn/Init.h>

#include "MatBytes.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <QTemporaryDir>
#include <QtTest>

using testing::MatVariableBytes;
using testing::numbers;

namespace {

constexpr qint64 buffer = 4096;  // what the C library reads to see a few bytes

/** Bytes that this process has read from files so far; negative where the system does not count them. */
qint64 bytesReadSoFar()
{
    QFile counters(QStringLiteral("/proc/self/io"));
    if (!counters.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = counters.readAll();
    const int start = text.indexOf("rchar: ");
    return start < 0 ? -1 : text.mid(start + 7, text.indexOf('\n', start) - start - 7).toLongLong();
}

MatVariableBytes foreign(int number)
{
    return {"foreign_" + QByteArray::number(number), 1, 0, numbers<qint32>({1, 1}), MatVariableBytes().bytes()};
}

}  // namespace

class MatReadCostTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path() const { return m_folder.filePath(QStringLiteral("cost.mat")); }
    // Bytes read while the file is loaded, and while it is listed.
    std::pair<qint64, qint64> cost() const;

private slots:
    void initTestCase();
    void planesAmongForeignVariables_data();
    void planesAmongForeignVariables();
    void foreignVariables_data();
    void foreignVariables();
};

void MatReadCostTest::initTestCase()
{
    orn::Init();
    if (bytesReadSoFar() < 0)
        QSKIP("this system does not count the bytes that a process reads");
}

std::pair<qint64, qint64> MatReadCostTest::cost() const
{
    ep::CxScopedBuffer image;
    bool isEntropy = false;
    const qint64 start = bytesReadSoFar();
    const bool isLoaded = orn::matlab::LoadImageFromMat(path(), image.image(), isEntropy, nullptr);
    const qint64 middle = bytesReadSoFar();
    QVector<orn::matlab::MatVariable> variables;
    const bool isListed = orn::matlab::ListMatVariables(path(), variables, nullptr);
    const qint64 end = bytesReadSoFar();
    if (!isLoaded || !image->data || !isListed)
        return {-1, -1};
    return {middle - start, end - middle};
}

void MatReadCostTest::planesAmongForeignVariables_data()
{
    QTest::addColumn<int>("planes");
    QTest::addColumn<int>("foreignVariables");
    QTest::addColumn<bool>("isCompressed");
    for (const bool isCompressed : {false, true}) {
        const char* const how = isCompressed ? ", compressed" : "";
        QTest::addRow("36 planes%s", how) << 36 << 0 << isCompressed;
        QTest::addRow("36 planes behind 1,000 foreign variables%s", how) << 36 << 1000 << isCompressed;
        QTest::addRow("300 planes behind 300 foreign variables%s", how) << 300 << 300 << isCompressed;
    }
}

// Planes of 64 KB stand in for large ones; their order is the worst.
void MatReadCostTest::planesAmongForeignVariables()
{
    QFETCH(int, planes);
    QFETCH(int, foreignVariables);
    QFETCH(bool, isCompressed);
    const auto stored = [isCompressed](const QByteArray& element) {
        return isCompressed ? testing::matCompressed(element) : element;
    };
    const ep::CxScopedBuffer noise = testing::randomImage(testing::describe(ep::DataTypeUInt8, 256, 256));
    const QByteArray samples(static_cast<const char*>(noise->data), 256 * 256);
    QByteArray file = testing::matHeader();
    for (int i = 0; i < foreignVariables; ++i)
        file += stored(foreign(i).bytes());
    for (int plane = planes; plane > 0; --plane)
        file += stored(MatVariableBytes{"ep_image_channel_" + QByteArray::number(plane), 9, 0,
                                        numbers<qint32>({256, 256}), testing::matElement(testing::MatUInt8, samples)}
                           .bytes());
    file += stored(testing::matText("ep_image_metadata", testing::OwnMetadata{planes}.xml().toUtf8()).bytes());
    QVERIFY(testing::writeBytes(path(), file));

    const auto [loading, listing] = cost();
    QVERIFY(loading > 0);
    // Each variable costs some buffers of the C library; the data of a plane is read once, that of a compressed one
    // also by the check.
    const qint64 headers = (planes + foreignVariables + 1) * 6 * buffer;
    const QByteArray text =
        QByteArray::number(loading) + " and " + QByteArray::number(listing) + " of " + QByteArray::number(file.size());
    QVERIFY2(loading < 2 * file.size() + headers, text.constData());
    QVERIFY2(listing < file.size() + headers, text.constData());
}

void MatReadCostTest::foreignVariables_data()
{
    QTest::addColumn<bool>("isCompressed");
    QTest::newRow("plain") << false;
    QTest::newRow("compressed") << true;
}

void MatReadCostTest::foreignVariables()
{
    QFETCH(bool, isCompressed);
    for (const int variables : {1000, 10000}) {
        QByteArray file = testing::matHeader();
        for (int i = 0; i <= variables; ++i) {
            const QByteArray element = i == variables ? MatVariableBytes().bytes() : foreign(i).bytes();
            file += isCompressed ? testing::matCompressed(element) : element;
        }
        QVERIFY(testing::writeBytes(path(), file));
        const auto [loading, listing] = cost();
        QVERIFY(loading > 0);
        // However many there are, each costs a few buffers of the C library.
        QVERIFY2(loading < variables * 4 * buffer, QByteArray::number(loading).constData());
        QVERIFY2(listing < variables * 4 * buffer, QByteArray::number(listing).constData());
    }
}

QTEST_GUILESS_MAIN(MatReadCostTest)
#include "MatReadCostTest.moc"
