#include <ep/SetChannel.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

#include <ep/internal/SampleVisitor.h>

#include <limits>

namespace {

// The bytes that a sample of the type takes for a value.
QByteArray sampleBytes(ep::ExImageDataType type, quint64 value)
{
    QByteArray bytes;
    ep::internal::visitSampleType(type, [&](auto tag) {
        const auto sample = static_cast<typename decltype(tag)::Type>(value);
        bytes = QByteArray(reinterpret_cast<const char*>(&sample), int(sizeof(sample)));
    });
    return bytes;
}

}  // namespace

class SetChannelTest : public QObject {
    Q_OBJECT

private slots:
    void setsOneChannelAndNothingElse_data() { testing::addImageKinds(); }
    void setsOneChannelAndNothingElse();
    void convertsTheValue_data();
    void convertsTheValue();
    void makesAnAllOnesMask();
    void refusesAChannelOutOfRange_data();
    void refusesAChannelOutOfRange();
    void refusesTheSixteenByteType();
    void refuses_data() { testing::addUnsoundImages(); }
    void refuses();
};

void SetChannelTest::setsOneChannelAndNothingElse()
{
    const testing::ImageKind kind = testing::currentImageKind();
    if (kind.type == ep::DataTypeComplex)
        return;  // refused, see below
    const QByteArray sample = sampleBytes(kind.type, 0x1234567890abcdef);
    testing::forEveryShape([&](int width, int height, int padding) {
        ep::CxScopedBuffer image = testing::randomImage(kind.describe(width, height, padding));
        const ep::CxScopedBuffer expected = testing::copyOf(image.image());
        const int channel = (width + height) % kind.channels;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                std::memcpy(testing::address(expected.image(), x, y, channel), sample.data(), size_t(sample.size()));
        QCOMPARE(ep::SetChannel(image.image(), channel, 0x1234567890abcdef), 0u);
        QVERIFY2(testing::sameStorage(image.image(), expected.image()), testing::shapeName(width, height, padding));
    });
}

void SetChannelTest::convertsTheValue_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<quint64>("value");
    QTest::addColumn<QByteArray>("bytes");
    const quint64 all = std::numeric_limits<quint64>::max();
    const auto row = [](const char* name, int type, quint64 value, auto sample) {
        QTest::newRow(name) << type << value << QByteArray(reinterpret_cast<const char*>(&sample), sizeof(sample));
    };
    row("uint8 keeps the low bits", ep::DataTypeUInt8, 0x1ff, quint8(255));
    row("int8 keeps the low bits", ep::DataTypeInt8, 0x1ff, qint8(-1));
    row("uint16 keeps the low bits", ep::DataTypeUInt16, 0x12345, quint16(0x2345));
    row("int16 keeps the low bits", ep::DataTypeInt16, 0x18000, qint16(-32768));
    row("uint32 keeps the low bits", ep::DataTypeUInt32, 0x100000007, quint32(7));
    row("int32 keeps the low bits", ep::DataTypeInt32, all, qint32(-1));
    row("int64 keeps all bits", ep::DataTypeInt64, all, qint64(-1));
    row("uint64 keeps all bits", ep::DataTypeUInt64, all, all);
    row("float takes the number 1", ep::DataTypeFloat, 1, 1.0f);
    row("float takes a large number, rounded", ep::DataTypeFloat, 16777217, 16777216.0f);
    row("double takes the number 1", ep::DataTypeDouble, 1, 1.0);
    row("double takes the largest number, rounded", ep::DataTypeDouble, all, 18446744073709551616.0);
}

void SetChannelTest::convertsTheValue()
{
    QFETCH(int, type);
    QFETCH(quint64, value);
    QFETCH(QByteArray, bytes);
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::ExImageDataType(type), 2, 2));
    QCOMPARE(ep::SetChannel(image.image(), 0, value), 0u);
    QCOMPARE(QByteArray(static_cast<const char*>(image->data), bytes.size()), bytes);
    QCOMPARE(QByteArray(reinterpret_cast<char*>(testing::address(image.image(), 1, 1, 0)), bytes.size()), bytes);
}

void SetChannelTest::makesAnAllOnesMask()
{
    ep::CxScopedBuffer mask = testing::randomImage(testing::describe(ep::DataTypeUInt8, 13, 7));
    QCOMPARE(ep::SetChannel(mask.image(), 0, 1), 0u);
    QCOMPARE(QByteArray(static_cast<const char*>(mask->data), 13 * 7), QByteArray(13 * 7, '\1'));
}

void SetChannelTest::refusesAChannelOutOfRange_data()
{
    QTest::addColumn<int>("channel");
    QTest::newRow("negative") << -1;
    QTest::newRow("the number of channels") << 3;
    QTest::newRow("the largest number") << std::numeric_limits<int>::max();
}

void SetChannelTest::refusesAChannelOutOfRange()
{
    QFETCH(int, channel);
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 4, 4, 3));
    const ep::CxScopedBuffer before = testing::copyOf(image.image());
    QCOMPARE(ep::SetChannel(image.image(), channel, 1), quint32(ep::StatusInvalidArgument));
    QVERIFY(testing::sameStorage(image.image(), before.image()));
}

void SetChannelTest::refusesTheSixteenByteType()
{
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeComplex, 4, 4));
    const ep::CxScopedBuffer before = testing::copyOf(image.image());
    QCOMPARE(ep::SetChannel(image.image(), 0, 1), quint32(ep::StatusUnsupportedType));
    QVERIFY(testing::sameStorage(image.image(), before.image()));
}

void SetChannelTest::refuses()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    const ep::CxScopedBuffer before = testing::copyOf(sound.image());
    ep::SxImageBuf image = sound.image();
    unsound.spoil(image);
    QCOMPARE(ep::SetChannel(image, 0, 1), unsound.status);
    QVERIFY(testing::sameStorage(sound.image(), before.image()));
}

QTEST_GUILESS_MAIN(SetChannelTest)
#include "SetChannelTest.moc"
