#include <ep/AllocBuffer.h>

#include "TestImages.h"

#include <QtTest>

#include <cstdlib>
#include <limits>

using ep::SxImageBuf;
using ep::SxImageInfo;

namespace {

constexpr int maximum = std::numeric_limits<int>::max();
constexpr size_t room = 63;  // what an allocator is asked for beyond the image

size_t askedBytes = 0;
int releases = 0;

// An allocator whose storage begins a chosen number of bytes past a 64-byte boundary.
size_t shift = 0;
QByteArray arena;
char* given = nullptr;
void* takenBack = nullptr;

void* countingAllocate(size_t bytes)
{
    askedBytes = bytes;
    return std::malloc(bytes);
}

void countingFree(void* storage)
{
    ++releases;
    std::free(storage);
}

void* allocateShifted(size_t bytes)
{
    askedBytes = bytes;
    arena.fill('x', int(bytes + 64 + shift));
    const auto past = reinterpret_cast<quintptr>(arena.data()) % 64;
    given = arena.data() + (past == 0 ? 0 : 64 - past) + shift;
    return given;
}

void takeBack(void* storage)
{
    ++releases;
    takenBack = storage;
}

void* allocateNothing(size_t bytes)
{
    askedBytes = bytes;
    return nullptr;
}

bool isEmpty(const SxImageBuf& image)
{
    quint64 words = 0;
    for (const quint64 word : image.bookkeeping)
        words |= word;
    return !image.data && words == 0;
}

SxImageBuf recordOf(const SxImageInfo& info)
{
    SxImageBuf image = ep::emptyImage();
    static_cast<SxImageInfo&>(image) = info;
    return image;
}

}  // namespace

class AllocBufferTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void choosesTightRows_data();
    void choosesTightRows();
    void honoursTheCallersStride_data();
    void honoursTheCallersStride();
    void takesOverTheDescription();
    void alignsStorage_data();
    void alignsStorage();
    void clearsWhenAsked_data();
    void clearsWhenAsked();
    void refuses_data();
    void refuses();
    void asksTheGivenAllocator();
    void alignsStorageOfAnyAllocator_data();
    void alignsStorageOfAnyAllocator();
    void failsWhenTheAllocatorGivesNothing();
    void wantsBothFunctionsOrNeither();
    void freesAnEmptyRecordSafely();
    void freesOnce();
    void neverFreesTheCallersOwnMemory();
    void freesNothingForNullData();
    void freesTheStorageWhereverDataPoints();
};

void AllocBufferTest::init()
{
    askedBytes = 0;
    releases = 0;
}

void AllocBufferTest::choosesTightRows_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("stride");
    QTest::addColumn<int>("bytes");
    for (const ep::ExImageDataType type : testing::allTypes) {
        const int b = ep::sampleFacts(type).bytes;
        const char* name = ep::sampleFacts(type).name;
        QTest::addRow("packed %s: all channels in a row", name) << int(type) << 0 << 15 * b << 45 * b;
        QTest::addRow("planar %s: one channel in a row", name) << int(type) << 1 << 5 * b << 45 * b;
    }
}

void AllocBufferTest::choosesTightRows()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, bytes);
    SxImageBuf image = recordOf(testing::describe(ep::ExImageDataType(type), 5, 3, 3, ep::ExImageLayout(layout)));
    QCOMPARE(ep::AllocBuffer(image, image, false, &countingAllocate, &countingFree, nullptr), 0u);
    QTEST(image.stride, "stride");
    QCOMPARE(askedBytes, size_t(bytes) + room);
    testing::fillRandom(image, 1);
    ep::FreeBuffer(image);
    QCOMPARE(releases, 1);
}

void AllocBufferTest::honoursTheCallersStride_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("stride");
    QTest::addColumn<int>("bytes");
    QTest::newRow("packed, exactly a row") << 0 << 30 << 90;
    QTest::newRow("packed, odd padding") << 0 << 37 << 111;
    QTest::newRow("planar, exactly a row") << 1 << 10 << 90;
    QTest::newRow("planar, odd padding") << 1 << 13 << 117;
}

void AllocBufferTest::honoursTheCallersStride()
{
    QFETCH(int, layout);
    QFETCH(int, stride);
    QFETCH(int, bytes);
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt16, 5, 3, 3, ep::ExImageLayout(layout)));
    image.stride = stride;
    QCOMPARE(ep::AllocBuffer(image, image, false, &countingAllocate, &countingFree, nullptr), 0u);
    QCOMPARE(image.stride, stride);
    QCOMPARE(askedBytes, size_t(bytes) + room);
    ep::FreeBuffer(image);
}

void AllocBufferTest::takesOverTheDescription()
{
    SxImageInfo info = testing::describe(ep::DataTypeUInt16, 12, 10);
    info.bitDepth = 12;
    info.formatCode = 2;
    info.bayerGrid = ep::BayerGridCell;
    info.reserved = 7;
    info.patternWidth = 6;
    info.patternHeight = 5;
    ep::CxScopedBuffer image;
    QCOMPARE(ep::AllocBuffer(info, image.image(), false, nullptr, nullptr, nullptr), 0u);
    QCOMPARE(info.stride, 0);  // the description itself is not written
    info.stride = 24;
    QCOMPARE(std::memcmp(&image.image(), &info, sizeof(info)), 0);
}

void AllocBufferTest::alignsStorage_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("alignment");
    QTest::newRow("one byte: 64") << 1 << 1 << 64;
    QTest::newRow("100 bytes: 64") << 10 << 10 << 64;
    QTest::newRow("one byte less than 4 MiB: 64") << (4 << 20) - 1 << 1 << 64;
    QTest::newRow("4 MiB: 2 MiB") << 4096 << 1024 << (2 << 20);
    QTest::newRow("past 4 MiB: 2 MiB") << 4099 << 1031 << (2 << 20);
}

void AllocBufferTest::alignsStorage()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, alignment);
    ep::CxScopedBuffer images[3];
    for (ep::CxScopedBuffer& scoped : images) {
        scoped = ep::CxScopedBuffer(testing::describe(ep::DataTypeUInt8, width, height));
        QCOMPARE(scoped.allocate(), 0u);
        QCOMPARE(reinterpret_cast<quintptr>(scoped->data) % quintptr(alignment), quintptr(0));
        testing::fillRandom(scoped.image(), 1);
    }
}

void AllocBufferTest::clearsWhenAsked_data()
{
    QTest::addColumn<int>("height");
    QTest::newRow("a small image") << 10;
    QTest::newRow("a large image") << 1100;
}

void AllocBufferTest::clearsWhenAsked()
{
    QFETCH(int, height);
    ep::CxScopedBuffer image(testing::describe(ep::DataTypeUInt16, 500, height, 4, ep::LayoutPlanar, 3));
    QCOMPARE(image.allocate(), 0u);
    testing::fillRandom(image.image(), 1);  // what the allocator may hand out again
    QCOMPARE(image.allocate(true), 0u);
    const QByteArray bytes =
        QByteArray::fromRawData(static_cast<const char*>(image->data), int(testing::storageBytes(image.image())));
    QCOMPARE(bytes.count('\0'), bytes.size());
}

void AllocBufferTest::refuses_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("stride");
    QTest::addColumn<quint32>("status");
    const quint32 invalid = ep::StatusInvalidArgument;
    const quint32 overflow = ep::StatusSizeOverflow;
    QTest::newRow("width 0") << 0 << 4 << 1 << 2 << 0 << 0 << invalid;
    QTest::newRow("negative width") << -4 << 4 << 1 << 2 << 0 << 0 << invalid;
    QTest::newRow("height 0") << 4 << 0 << 1 << 2 << 0 << 0 << invalid;
    QTest::newRow("negative height") << 4 << -1 << 1 << 2 << 0 << 0 << invalid;
    QTest::newRow("two negative sizes whose product is positive") << -4 << -4 << 1 << 2 << 0 << 0 << invalid;
    QTest::newRow("no channels") << 4 << 4 << 0 << 2 << 0 << 0 << invalid;
    QTest::newRow("negative channels") << 4 << 4 << -1 << 2 << 0 << 0 << invalid;
    QTest::newRow("sample type none") << 4 << 4 << 1 << 0 << 0 << 0 << quint32(ep::StatusUnsupportedType);
    QTest::newRow("sample type 12") << 4 << 4 << 1 << 12 << 0 << 0 << quint32(ep::StatusUnsupportedType);
    QTest::newRow("layout 2") << 4 << 4 << 1 << 2 << 2 << 0 << quint32(ep::StatusUnsupportedLayout);
    QTest::newRow("negative layout") << 4 << 4 << 1 << 2 << -1 << 0 << quint32(ep::StatusUnsupportedLayout);
    QTest::newRow("packed stride a byte short") << 4 << 4 << 3 << 4 << 0 << 23 << invalid;
    QTest::newRow("planar stride a byte short") << 4 << 4 << 3 << 4 << 1 << 7 << invalid;
    QTest::newRow("negative stride") << 4 << 4 << 3 << 4 << 1 << -8 << invalid;
    QTest::newRow("a row past 32 bits by width") << maximum << 1 << 1 << 4 << 0 << 0 << overflow;
    QTest::newRow("a row past 32 bits by channels") << 1 << 1 << maximum << 8 << 0 << 0 << overflow;
    QTest::newRow("a row past 64 bits") << maximum << 1 << maximum << 9 << 0 << 0 << overflow;
    QTest::newRow("an image past the address space") << maximum << maximum << 1 << 2 << 0 << 0 << overflow;
    QTest::newRow("an image past 64 bits") << maximum << maximum << maximum << 2 << 1 << 0 << overflow;
}

void AllocBufferTest::refuses()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, stride);
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(quint32, status);
    SxImageInfo info = ep::emptyImage();
    info.width = width;
    info.height = height;
    info.channels = channels;
    info.stride = stride;
    info.dataType = ep::ExImageDataType(type);
    info.layout = ep::ExImageLayout(layout);

    SxImageBuf image = recordOf(info);
    image.data = &image;  // what an earlier use may have left behind
    image.bookkeeping[1] = 1;
    QCOMPARE(ep::AllocBuffer(image, image, false, &countingAllocate, &countingFree, nullptr), status);
    QVERIFY(ep::failed(status));
    QVERIFY(isEmpty(image));
    QCOMPARE(askedBytes, size_t(0));
    QCOMPARE(image.stride, info.stride);
}

void AllocBufferTest::asksTheGivenAllocator()
{
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt8, 7, 3));
    QCOMPARE(ep::AllocBuffer(image, image, true, &countingAllocate, &countingFree, nullptr), 0u);
    QCOMPARE(askedBytes, 21 + room);
    QCOMPARE(testing::sampleAt<quint8>(image, 6, 2), quint8(0));
    ep::FreeBuffer(image);
    QCOMPARE(releases, 1);
    QVERIFY(isEmpty(image));
}

void AllocBufferTest::alignsStorageOfAnyAllocator_data()
{
    QTest::addColumn<int>("begin");
    QTest::addColumn<int>("offset");
    QTest::newRow("storage on the boundary is taken as it is") << 0 << 0;
    QTest::newRow("storage a byte past the boundary") << 1 << 63;
    QTest::newRow("storage aligned to 8") << 8 << 56;
    QTest::newRow("storage aligned to 16, as malloc gives it") << 16 << 48;
    QTest::newRow("storage in the middle") << 32 << 32;
    QTest::newRow("storage a byte before the boundary") << 63 << 1;
}

void AllocBufferTest::alignsStorageOfAnyAllocator()
{
    QFETCH(int, begin);
    QFETCH(int, offset);
    shift = size_t(begin);
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt16, 7, 3));
    QCOMPARE(ep::AllocBuffer(image, image, true, &allocateShifted, &takeBack, nullptr), 0u);
    QCOMPARE(askedBytes, 42 + room);
    QCOMPARE(reinterpret_cast<quintptr>(image.data) % 64, quintptr(0));
    QCOMPARE(static_cast<char*>(image.data), given + offset);
    // Nothing but the image is cleared.
    QCOMPARE(QByteArray(given, int(askedBytes)),
             QByteArray(offset, 'x') + QByteArray(42, '\0') + QByteArray(63 - offset, 'x'));
    ep::FreeBuffer(image);
    QCOMPARE(releases, 1);
    QCOMPARE(takenBack, static_cast<void*>(given));
}

void AllocBufferTest::failsWhenTheAllocatorGivesNothing()
{
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt8, 7, 3));
    QCOMPARE(ep::AllocBuffer(image, image, true, &allocateNothing, &countingFree, nullptr),
             quint32(ep::StatusOutOfMemory));
    QCOMPARE(askedBytes, 21 + room);
    QVERIFY(isEmpty(image));
    ep::FreeBuffer(image);
    QCOMPARE(releases, 0);
}

void AllocBufferTest::wantsBothFunctionsOrNeither()
{
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt8, 7, 3));
    QCOMPARE(ep::AllocBuffer(image, image, false, &countingAllocate, nullptr, nullptr),
             quint32(ep::StatusInvalidArgument));
    QCOMPARE(ep::AllocBuffer(image, image, false, nullptr, &countingFree, nullptr), quint32(ep::StatusInvalidArgument));
    QVERIFY(isEmpty(image));
    QCOMPARE(askedBytes, size_t(0));
}

void AllocBufferTest::freesAnEmptyRecordSafely()
{
    SxImageBuf image{};
    ep::FreeBuffer(image);
    QVERIFY(isEmpty(image));
}

void AllocBufferTest::freesOnce()
{
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt8, 7, 3));
    QCOMPARE(ep::AllocBuffer(image, image, false, &countingAllocate, &countingFree, nullptr), 0u);
    ep::FreeBuffer(image);
    ep::FreeBuffer(image);
    QCOMPARE(releases, 1);
    QCOMPARE(image.width, 7);  // the description stays
    QCOMPARE(image.stride, 7);
}

void AllocBufferTest::neverFreesTheCallersOwnMemory()
{
    quint8 samples[4] = {1, 2, 3, 4};
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt8, 2, 2));
    image.stride = 2;
    image.data = samples;
    ep::FreeBuffer(image);
    QVERIFY(!image.data);
    QCOMPARE(samples[3], quint8(4));
}

// A description is often taken over by copying the whole record.
void AllocBufferTest::freesNothingForNullData()
{
    const ep::CxScopedBuffer original = testing::randomImage(testing::describe(ep::DataTypeUInt8, 8, 8));
    const ep::CxScopedBuffer before = testing::copyOf(original.image());
    SxImageBuf copy = original.image();
    copy.data = nullptr;
    ep::FreeBuffer(copy);
    QVERIFY(isEmpty(copy));
    QVERIFY(testing::sameStorage(original.image(), before.image()));
}

void AllocBufferTest::freesTheStorageWhereverDataPoints()
{
    SxImageBuf image = recordOf(testing::describe(ep::DataTypeUInt8, 8, 8));
    QCOMPARE(ep::AllocBuffer(image, image, false, nullptr, nullptr, nullptr), 0u);
    image.data = static_cast<char*>(image.data) + image.stride;  // a view of all rows but the first
    image.height = 7;
    ep::FreeBuffer(image);
    QVERIFY(isEmpty(image));
}

QTEST_GUILESS_MAIN(AllocBufferTest)
#include "AllocBufferTest.moc"
