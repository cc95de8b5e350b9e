#include <ep/AllocAndCopyBuffer.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

#include <cstdlib>

namespace {

struct CopyCall {
    size_t rowBytes;
    size_t rows;
    size_t stride;
};

int allocations = 0;
int releases = 0;
QVector<CopyCall> copies;
bool copyWorks = true;
bool allocationWorks = true;

void* countingAllocate(size_t bytes)
{
    ++allocations;
    // A byte past what malloc gives: no storage is aligned.
    char* storage = allocationWorks ? static_cast<char*>(std::malloc(bytes + 1)) : nullptr;
    return storage ? storage + 1 : nullptr;
}

void countingFree(void* storage)
{
    ++releases;
    std::free(static_cast<char*>(storage) - 1);
}

bool recordingCopy(void* destination, const void* source, size_t rowBytes, size_t rows, size_t stride)
{
    copies.append({rowBytes, rows, stride});
    for (size_t y = 0; y < rows; ++y)
        std::memcpy(static_cast<char*>(destination) + y * stride, static_cast<const char*>(source) + y * stride,
                    rowBytes);
    return copyWorks;
}

bool isEmpty(const ep::SxImageBuf& image)
{
    quint64 words = 0;
    for (const quint64 word : image.bookkeeping)
        words |= word;
    return !image.data && words == 0;
}

bool sameSamples(const ep::SxImageBuf& a, const ep::SxImageBuf& b)
{
    for (int c = 0; c < a.channels; ++c)
        for (int y = 0; y < a.height; ++y)
            for (int x = 0; x < a.width; ++x)
                if (!testing::sameSample(a, x, y, c, b, x, y, c))
                    return false;
    return true;
}

}  // namespace

class AllocAndCopyBufferTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void copiesDescriptionAndSamples_data() { testing::addImageKinds(); }
    void copiesDescriptionAndSamples();
    void copiesTheCallersOwnMemory();
    void readsNothingPastTheLastRow();
    void usesTheSourcesOwnFunctions_data();
    void usesTheSourcesOwnFunctions();
    void failsWithTheSourcesCopyFunction();
    void failsWithTheSourcesAllocator();
    void makesADuplicateOfItself();
    void refuses_data();
    void refuses();
    void refusesAStride_data();
    void refusesAStride();
};

void AllocAndCopyBufferTest::init()
{
    allocations = 0;
    releases = 0;
    copies.clear();
    copyWorks = true;
    allocationWorks = true;
}

void AllocAndCopyBufferTest::copiesDescriptionAndSamples()
{
    const testing::ImageKind kind = testing::currentImageKind();
    testing::forEachShape(kind.type, [&](int width, int height, int padding) {
        ep::SxImageInfo info = kind.describe(width, height, padding);
        info.bitDepth = 5;
        info.formatCode = 77;
        info.bayerGrid = ep::BayerGridCell;
        info.reserved = 1;
        info.patternWidth = 3;
        info.patternHeight = 2;
        const ep::CxScopedBuffer source = testing::randomImage(info);
        ep::CxScopedBuffer copy;
        QCOMPARE(ep::AllocAndCopyBuffer(source.image(), copy.image()), 0u);
        QVERIFY(copy->data != source->data);
        QCOMPARE(std::memcmp(&copy.image(), &source.image(), sizeof(ep::SxImageInfo)), 0);
        QVERIFY2(sameSamples(source.image(), copy.image()), testing::shapeName(width, height, padding));
    });
}

void AllocAndCopyBufferTest::copiesTheCallersOwnMemory()
{
    quint16 samples[6] = {1, 2, 3, 4, 5, 6};
    ep::SxImageBuf source{};
    static_cast<ep::SxImageInfo&>(source) = testing::describe(ep::DataTypeUInt16, 3, 2);
    source.stride = 6;
    source.data = samples;
    ep::CxScopedBuffer copy;
    QCOMPARE(ep::AllocAndCopyBuffer(source, copy.image()), 0u);
    QVERIFY(sameSamples(source, copy.image()));
}

void AllocAndCopyBufferTest::readsNothingPastTheLastRow()
{
    // A window of a larger image: its last row ends where the memory ends.
    const ep::CxScopedBuffer whole = testing::randomImage(testing::describe(ep::DataTypeUInt8, 10, 6));
    ep::SxImageBuf window = whole.image();
    std::memset(window.bookkeeping, 0, sizeof(window.bookkeeping));
    window.data = testing::address(whole.image(), 4, 2, 0);
    window.width = 6;
    window.height = 4;
    ep::CxScopedBuffer copy;
    QCOMPARE(ep::AllocAndCopyBuffer(window, copy.image()), 0u);
    QCOMPARE(copy->stride, 10);
    QVERIFY(sameSamples(window, copy.image()));
}

void AllocAndCopyBufferTest::usesTheSourcesOwnFunctions_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("rowBytes");
    QTest::addColumn<int>("rows");
    QTest::newRow("packed: one row holds all channels") << 0 << 30 << 4;
    QTest::newRow("planar: the rows of all planes") << 1 << 10 << 12;
}

void AllocAndCopyBufferTest::usesTheSourcesOwnFunctions()
{
    QFETCH(int, layout);
    QFETCH(int, rowBytes);
    QFETCH(int, rows);
    ep::SxImageBuf source = ep::emptyImage();
    static_cast<ep::SxImageInfo&>(source) =
        testing::describe(ep::DataTypeUInt16, 5, 4, 3, ep::ExImageLayout(layout), 1);
    QCOMPARE(ep::AllocBuffer(source, source, true, &countingAllocate, &countingFree, &recordingCopy), 0u);
    testing::fillRandom(source, 3);
    ep::SxImageBuf copy{};
    QCOMPARE(ep::AllocAndCopyBuffer(source, copy), 0u);
    QCOMPARE(allocations, 2);
    QCOMPARE(reinterpret_cast<quintptr>(copy.data) % 64, quintptr(0));
    QCOMPARE(copies.size(), 1);
    QCOMPARE(copies[0].rowBytes, size_t(rowBytes));
    QCOMPARE(copies[0].rows, size_t(rows));
    QCOMPARE(copies[0].stride, size_t(source.stride));
    QVERIFY(sameSamples(source, copy));
    ep::FreeBuffer(copy);
    ep::FreeBuffer(source);
    QCOMPARE(releases, 2);
}

void AllocAndCopyBufferTest::failsWithTheSourcesCopyFunction()
{
    ep::SxImageBuf source = ep::emptyImage();
    static_cast<ep::SxImageInfo&>(source) = testing::describe(ep::DataTypeUInt8, 5, 4);
    QCOMPARE(ep::AllocBuffer(source, source, true, &countingAllocate, &countingFree, &recordingCopy), 0u);
    copyWorks = false;
    ep::SxImageBuf copy{};
    QCOMPARE(ep::AllocAndCopyBuffer(source, copy), quint32(ep::StatusCopyFailed));
    QVERIFY(isEmpty(copy));
    QCOMPARE(releases, 1);
    ep::FreeBuffer(source);
}

void AllocAndCopyBufferTest::failsWithTheSourcesAllocator()
{
    ep::SxImageBuf source = ep::emptyImage();
    static_cast<ep::SxImageInfo&>(source) = testing::describe(ep::DataTypeUInt8, 5, 4);
    QCOMPARE(ep::AllocBuffer(source, source, true, &countingAllocate, &countingFree, &recordingCopy), 0u);
    allocationWorks = false;
    ep::SxImageBuf copy{};
    QCOMPARE(ep::AllocAndCopyBuffer(source, copy), quint32(ep::StatusOutOfMemory));
    QVERIFY(isEmpty(copy));
    QCOMPARE(copies.size(), 0);
    ep::FreeBuffer(source);
}

void AllocAndCopyBufferTest::makesADuplicateOfItself()
{
    const ep::CxScopedBuffer original = testing::randomImage(testing::describe(ep::DataTypeUInt16, 5, 4));
    ep::SxImageBuf image = original.image();
    QCOMPARE(ep::AllocAndCopyBuffer(image, image), 0u);
    QVERIFY(image.data != original->data);
    QVERIFY(sameSamples(image, original.image()));
    ep::FreeBuffer(image);
}

void AllocAndCopyBufferTest::refuses_data()
{
    testing::addUnsoundImages();
}

void AllocAndCopyBufferTest::refuses()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 5, 4));
    ep::SxImageBuf source = sound.image();
    unsound.spoil(source);
    ep::SxImageBuf copy{};
    copy.data = &copy;
    copy.bookkeeping[4] = 1;
    QCOMPARE(ep::AllocAndCopyBuffer(source, copy), unsound.status);
    QVERIFY(isEmpty(copy));
}

void AllocAndCopyBufferTest::refusesAStride_data()
{
    QTest::addColumn<int>("stride");
    QTest::newRow("shorter than a row") << 9;
    QTest::newRow("none: an image that has samples has a stride") << 0;
    QTest::newRow("negative") << -10;
}

void AllocAndCopyBufferTest::refusesAStride()
{
    QFETCH(int, stride);
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 5, 4));
    ep::SxImageBuf source = sound.image();
    source.stride = stride;
    ep::SxImageBuf copy{};
    QCOMPARE(ep::AllocAndCopyBuffer(source, copy), quint32(ep::StatusInvalidArgument));
    QVERIFY(isEmpty(copy));
}

QTEST_GUILESS_MAIN(AllocAndCopyBufferTest)
#include "AllocAndCopyBufferTest.moc"
