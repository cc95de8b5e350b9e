// HEIF files whose headers state what their pictures are not, and damaged pictures.
#include "Files.h"
#include "FormatPlugin.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <libheif/heif.h>

#include <malloc.h>
#include <memory>
#include <random>

using namespace testing;

namespace {

constexpr char loaderName[] = "ep::oiio::CxOiioImageLoader";

/** The sample of a smooth picture. */
int wanted(int x, int y, int channel, int first)
{
    return first + 3 * x + 2 * y + 10 * channel;
}

/** A HEIF file with a picture for each of @p firsts, its darkest sample. */
QByteArray heifFile(const QVector<int>& firsts, int side = 64, int bits = 8)
{
    const QTemporaryDir folder;
    const QByteArray path = QFile::encodeName(folder.filePath(QStringLiteral("made.heic")));
    const std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(), heif_context_free);
    heif_encoder* encoder = nullptr;
    bool isMade = !heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC, &encoder).code;
    heif_encoder_set_parameter_string(encoder, "preset", "ultrafast");
    const int bytes = bits > 8 ? 2 : 1;
    for (const int first : firsts) {
        heif_image* image = nullptr;
        isMade =
            isMade
            && !heif_image_create(side, side, heif_colorspace_RGB,
                                  bits > 8 ? heif_chroma_interleaved_RRGGBB_LE : heif_chroma_interleaved_RGB, &image)
                    .code
            && !heif_image_add_plane(image, heif_channel_interleaved, side, side, bits).code;
        int stride = 0;
        uint8_t* row = isMade ? heif_image_get_plane(image, heif_channel_interleaved, &stride) : nullptr;
        for (int y = 0; row && y < side; ++y, row += stride)
            for (int i = 0; i < 3 * side; ++i)
                for (int byte = 0; byte < bytes; ++byte)
                    row[i * bytes + byte] = static_cast<uint8_t>(wanted(i / 3, y, i % 3, first) >> 8 * byte);
        isMade = isMade && !heif_context_encode_image(context.get(), image, encoder, nullptr, nullptr).code;
        heif_image_release(image);
    }
    isMade = isMade && !heif_context_write_to_file(context.get(), path.constData()).code;
    heif_encoder_release(encoder);
    if (!isMade)
        qFatal("cannot make a HEIF file");
    return readFile(QFile::decodeName(path));
}

/** A HEIF file as the saver writes it: of tiles when @p width or @p height is small. */
QByteArray savedFile(int width, int height)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("saved.heic"));
    const auto image = randomImage(describe(ep::DataTypeUInt8, width, height, 3));
    if (!ep::CxImageFormatManager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()))
        qFatal("cannot save a HEIF file");
    return readFile(path);
}

/** Has the last size that @p file states be another. */
void stateSize(QByteArray& file, quint32 width, quint32 height)
{
    const int at = file.lastIndexOf("ispe") + 8;
    qToBigEndian(width, file.data() + at);
    qToBigEndian(height, file.data() + at + 4);
}

/** How a file says that one tile makes up a picture of this size. */
QByteArray tilesOf(quint16 width, quint16 height)
{
    QByteArray words(8, '\0');
    qToBigEndian(width, words.data() + 4);
    qToBigEndian(height, words.data() + 6);
    return words;
}

}  // namespace

class HeifInputTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path() const { return m_folder.filePath(QStringLiteral("file.heic")); }

    LoadedFrame load(const QByteArray& file, int frame = 0, qint64 memoryLimit = 0)
    {
        writeFile(path(), file);
        return loadFrame(loaderName, path(), frame, memoryLimit);
    }

    /** The samples of @p file when new memory starts with @p byte; empty when it is refused. */
    QByteArray samples(const QByteArray& file, int byte)
    {
        mallopt(M_PERTURB, byte ^ 0xff);
        const LoadedFrame loaded = load(file);
        return loaded.data
                   ? QByteArray(static_cast<const char*>(loaded.image().data), int(storageBytes(loaded.image())))
                   : QByteArray();
    }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("oiio")); }
    void cleanup() { mallopt(M_PERTURB, 0); }

    void aSizeThatIsNotThePicturesIsRefused_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<quint32>("width");
        QTest::addColumn<quint32>("height");
        const QByteArray plain = heifFile({0});
        const QByteArray tiled = savedFile(40, 34);
        QTest::newRow("a picture that is narrower") << plain << 4000u << 64u;
        QTest::newRow("a picture that is lower") << plain << 64u << 4000u;
        QTest::newRow("a picture that is wider") << plain << 63u << 64u;
        QTest::newRow("tiles that are narrower") << tiled << 165u << 34u;
        QTest::newRow("tiles that are smaller") << tiled << 4000u << 4000u;
    }

    void aSizeThatIsNotThePicturesIsRefused()
    {
        QFETCH(QByteArray, file);
        QFETCH(quint32, width);
        QFETCH(quint32, height);
        QVERIFY(load(file).data);
        stateSize(file, width, height);
        const LoadedFrame loaded = load(file);
        QVERIFY(!loaded.data);
        const QString stated = QStringLiteral("its header states %1 x %2 pixels").arg(width).arg(height);
        QVERIFY2(loaded.loader->lastError().reason.contains(stated), qPrintable(loaded.loader->lastError().reason));
    }

    void sizesPastTheLimitAreNamed()
    {
        const QByteArray file = heifFile({0}, 512);
        const LoadedFrame loaded = load(file, 0, 256 << 10);
        QVERIFY(!loaded.data);
        QCOMPARE(int(loaded.loader->lastError().kind), int(ep::ExFileError::TooLarge));
        QVERIFY(loaded.loader->lastError().reason.contains(QString::number(3 * 512 * 512)));
    }

    // Were it decoded, its size would be told.
    void picturesPastTheLimitAreNotDecodedWhateverTheirHeaderSays()
    {
        QByteArray file = heifFile({0}, 512);
        stateSize(file, 64, 64);
        const LoadedFrame loaded = load(file, 0, 256 << 10);
        QVERIFY(!loaded.data);
        const QString reason = loaded.loader->lastError().reason;
        QVERIFY2(!reason.isEmpty() && !reason.contains(QLatin1String("512")), qPrintable(reason));
    }

    void picturesMuchLargerThanTheirHeaderSaysAreNotDecoded_data()
    {
        QTest::addColumn<QByteArray>("sound");
        QTest::addColumn<QByteArray>("damaged");
        const QByteArray large = heifFile({0}, 2560);
        QByteArray belittled = large;
        stateSize(belittled, 64, 64);
        QTest::newRow("one picture") << large << belittled;
        const QByteArray tiled = savedFile(40, 34);
        QTest::newRow("tiles") << tiled << QByteArray(tiled).replace(tilesOf(40, 34), tilesOf(40 << 8, 34 << 8));
    }

    void picturesMuchLargerThanTheirHeaderSaysAreNotDecoded()
    {
        QFETCH(QByteArray, sound);
        QFETCH(QByteArray, damaged);
        QVERIFY(damaged != sound);
        QVERIFY(load(sound).data);
        const LoadedFrame loaded = load(damaged);
        QVERIFY(!loaded.data);
        const QString reason = loaded.loader->lastError().reason;
        QVERIFY2(reason.contains(QLatin1String("and its picture is larger")), qPrintable(reason));
    }

    void eachPictureIsAFrame()
    {
        const QByteArray file = heifFile({0, 20, 40});
        for (int frame = 0; frame < 3; ++frame) {
            const LoadedFrame loaded = load(file, frame);
            QVERIFY(loaded.data);
            QCOMPARE(loaded.loader->frameCount(), 3);
            const int expected = wanted(5, 7, 0, 20 * frame);
            QVERIFY(qAbs(sampleAt<quint8>(loaded.image(), 5, 7, 0) - expected) <= 6);
        }
    }

    void samplesOfTenBitsComeAsEight()
    {
        const LoadedFrame loaded = load(heifFile({400}, 64, 10));
        QVERIFY(loaded.data);
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 64; ++x)
                QVERIFY(qAbs(sampleAt<quint8>(loaded.image(), x, y, 1) - wanted(x, y, 1, 400) / 4) <= 4);
    }

    // Some of these pictures end early, and nothing sets the rest.
    void damagedPicturesDoNotShowWhatMemoryHeld()
    {
        const QByteArray sound = savedFile(96, 96);
        const int begin = sound.indexOf("mdat") + 40;
        constexpr int mutants = 150;
        std::mt19937 random(3);
        int refused = 0;
        for (int i = 0; i < mutants; ++i) {
            QByteArray file = sound;
            const int at = begin + static_cast<int>(random() % static_cast<quint32>((file.size() - begin) / 2));
            file[at] = static_cast<char>(file.at(at) ^ (1 + random() % 255));
            const QByteArray first = samples(file, 0x55);
            QCOMPARE(samples(file, 0xaa), first);
            refused += first.isEmpty();
        }
        // Damage that the decoder notices, and such as it cannot notice.
        QVERIFY(refused > 0 && refused < mutants);
    }
};

QTEST_GUILESS_MAIN(HeifInputTest)
#include "HeifInputTest.moc"
