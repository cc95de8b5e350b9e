#include <ep/SxImageBuf.h>

#include <QtTest>

#include <cstddef>

using ep::SxImageBuf;
using ep::SxImageInfo;

namespace {

// The record derives from the description and is still laid out as one run of fields; only the compiler
// calls that conditionally supported.
size_t offsetIn(const SxImageBuf& image, const void* field)
{
    return static_cast<size_t>(static_cast<const char*>(field) - reinterpret_cast<const char*>(&image));
}

}  // namespace

class SxImageBufTest : public QObject {
    Q_OBJECT

private slots:
    void laysOutTheDescription_data();
    void laysOutTheDescription();
    void beginsWithTheDescription();
    void startsZeroed();
    void startsWithoutGridForLoaders();
};

void SxImageBufTest::laysOutTheDescription_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("place");
    int place = 0;
    const auto add = [&place](const char* name, size_t offset, size_t size) {
        QTest::newRow(name) << int(offset) << int(size) << place++;
    };
    add("width", offsetof(SxImageInfo, width), sizeof(SxImageInfo::width));
    add("height", offsetof(SxImageInfo, height), sizeof(SxImageInfo::height));
    add("stride", offsetof(SxImageInfo, stride), sizeof(SxImageInfo::stride));
    add("channels", offsetof(SxImageInfo, channels), sizeof(SxImageInfo::channels));
    add("bitDepth", offsetof(SxImageInfo, bitDepth), sizeof(SxImageInfo::bitDepth));
    add("dataType", offsetof(SxImageInfo, dataType), sizeof(SxImageInfo::dataType));
    add("layout", offsetof(SxImageInfo, layout), sizeof(SxImageInfo::layout));
    add("formatCode", offsetof(SxImageInfo, formatCode), sizeof(SxImageInfo::formatCode));
    add("bayerGrid", offsetof(SxImageInfo, bayerGrid), sizeof(SxImageInfo::bayerGrid));
    add("reserved", offsetof(SxImageInfo, reserved), sizeof(SxImageInfo::reserved));
    add("patternWidth", offsetof(SxImageInfo, patternWidth), sizeof(SxImageInfo::patternWidth));
    add("patternHeight", offsetof(SxImageInfo, patternHeight), sizeof(SxImageInfo::patternHeight));
}

void SxImageBufTest::laysOutTheDescription()
{
    QFETCH(int, place);
    QTEST(4 * place, "offset");
    QTEST(4, "size");
}

void SxImageBufTest::beginsWithTheDescription()
{
    const SxImageBuf image{};
    QCOMPARE(static_cast<const void*>(static_cast<const SxImageInfo*>(&image)), static_cast<const void*>(&image));
    QCOMPARE(sizeof(SxImageInfo), size_t(48));
    QCOMPARE(offsetIn(image, &image.data), size_t(48));
    QCOMPARE(offsetIn(image, &image.bookkeeping), size_t(56));
    QCOMPARE(sizeof(image.bookkeeping), 5 * sizeof(quint64));
    QCOMPARE(sizeof(SxImageBuf), size_t(96));
}

void SxImageBufTest::startsZeroed()
{
    SxImageBuf image{};
    const QByteArray bytes(reinterpret_cast<const char*>(&image), sizeof(image));
    QCOMPARE(bytes, QByteArray(int(sizeof(image)), '\0'));
}

void SxImageBufTest::startsWithoutGridForLoaders()
{
    const SxImageBuf image = ep::emptyImage();
    QVERIFY(!image.data);
    QCOMPARE(image.formatCode, 1);
    QCOMPARE(int(image.bayerGrid), 4);
    QCOMPARE(image.patternWidth, 0);
    QCOMPARE(image.patternHeight, 0);
}

QTEST_GUILESS_MAIN(SxImageBufTest)
#include "SxImageBufTest.moc"
