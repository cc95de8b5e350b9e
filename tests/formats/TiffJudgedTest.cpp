// TIFF files that the saver writes hold, for other programs, the samples and the tags that it was given.

#include "Files.h"
#include "FormatPlugin.h"
#include "PythonScript.h"
#include "TestImages.h"

#include <QtTest>

using namespace testing;

namespace {

/**
 * Judges a folder: every file of "list" against NAME.raw, its samples as this machine's numbers, pixel by pixel. The
 * directories are read by a program that knows TIFF by itself, the strips are decoded here, and where a second
 * program knows the sample type it must agree.
 */
const char judge[] = R"PYTHON(
import sys, zlib
import numpy as np, OpenImageIO as oiio, tifffile

def lzw(data):
    bits, held, at, out, table, width, last = 0, 0, 0, bytearray(), None, 9, None
    while True:
        while held < width:
            bits, held, at = bits << 8 | data[at], held + 8, at + 1
        held -= width
        code, bits = bits >> held, bits & (1 << held) - 1
        if code == 257:
            return bytes(out)
        if code == 256:
            table, width, last = [bytes([i]) for i in range(256)] + [b'', b''], 9, None
            continue
        word = table[code] if code < len(table) else last + last[:1]
        out += word
        if last is not None:
            table.append(last + word[:1])
        last, width = word, max(9, (len(table) + 1).bit_length())

def decode(data, compression, predictor, kind, width, channels):
    data = {1: bytes, 8: zlib.decompress, 5: lzw}[compression](data)
    if predictor == 3:
        rows = np.frombuffer(data, 'u1').reshape(-1, width * kind.itemsize, channels)
        rows = np.cumsum(rows, axis=1, dtype='u1').reshape(-1, kind.itemsize, width * channels)
        return rows.transpose(0, 2, 1).copy().view(kind.newbyteorder('>')).astype(kind).reshape(-1, width, channels)
    rows = np.frombuffer(data, kind).reshape(-1, width, channels)
    return np.cumsum(rows, axis=1, dtype=kind) if predictor == 2 else rows

def strips(page, path, kind, width, channels, planar):
    content, tag = open(path, 'rb').read(), lambda name, other: page.tags[name].value if name in page.tags else other
    parts = [decode(content[o:o + n], tag('Compression', 1), tag('Predictor', 1), kind, width, 1 if planar else channels)
             for o, n in zip(tag('StripOffsets', ()), tag('StripByteCounts', ()))]
    if not planar:
        return np.concatenate(parts)
    each = len(parts) // channels
    return np.concatenate([np.concatenate(parts[i * each:(i + 1) * each]) for i in range(channels)], axis=2)

folder, second = sys.argv[1], 0
for line in open(folder + '/list'):
    name, kind, width, height, channels, planar, big = line.rstrip('\n').split('\t')
    kind, width, height, channels = np.dtype(kind), int(width), int(height), int(channels)
    path, where = f'{folder}/{name}.tif', name + ': '
    expected = np.fromfile(f'{folder}/{name}.raw', kind).reshape(height, width, channels)
    with tifffile.TiffFile(path) as file:
        page = file.pages[0]
        assert len(file.pages) == 1 and file.is_bigtiff == (big == '1'), where + 'another kind of file'
        assert page.dtype == kind and page.imagewidth == width and page.imagelength == height, where + 'another record'
        assert page.samplesperpixel == channels and page.photometric == (2 if channels in (3, 4) else 1), where + 'colour'
        assert page.planarconfig == (2 if planar == '1' and channels > 1 else page.planarconfig), where + 'layout'
        extra = channels - (3 if channels in (3, 4) else 1)
        assert len(page.extrasamples) == extra, where + 'extra samples'
        found = strips(page, path, kind, width, channels, page.planarconfig == 2)
        assert found.tobytes() == expected.tobytes(), where + 'other samples'
        if page.compression == 1:
            whole = page.asarray().reshape((channels, height, width) if page.planarconfig == 2 else expected.shape)
            whole = whole.transpose(1, 2, 0) if page.planarconfig == 2 else whole
            assert whole.tobytes() == expected.tobytes(), where + 'other samples for the first program'
    if kind.itemsize < 8 or kind.kind == 'f':
        file = oiio.ImageInput.open(path)
        second += 1
        assert file, where + oiio.geterror()
        whole = file.read_image(str(kind))
        assert whole is not None and whole.dtype == kind, where + 'not for the second program'
        assert whole.tobytes() == expected.tobytes(), where + 'other samples for the second program'
print('agreed', second)
)PYTHON";

const char printTags[] = R"PYTHON(
import sys, tifffile
with tifffile.TiffFile(sys.argv[1]) as file:
    tags = file.pages[0].tags
    known = {tag.name: tag.value for tag in tags.values()}
    known.update(known.pop('ExifTag'))
    description = known.pop('ImageDescription')
    assert description.startswith('<metadata') and description.isascii()
    for name in ('StripOffsets', 'StripByteCounts', 'RowsPerStrip', 'Compression', 'PlanarConfiguration'):
        known.pop(name)
    for name in sorted(known):
        value = known[name]
        print(name, value.value if hasattr(value, 'value') else value)
)PYTHON";

constexpr ep::ExImageDataType writtenTypes[] = {
    ep::DataTypeInt8,   ep::DataTypeUInt8, ep::DataTypeInt16,  ep::DataTypeUInt16, ep::DataTypeInt32,
    ep::DataTypeUInt32, ep::DataTypeFloat, ep::DataTypeDouble, ep::DataTypeInt64,  ep::DataTypeUInt64};

QByteArray numpyType(ep::ExImageDataType type)
{
    const ep::SxSampleFacts& facts = ep::sampleFacts(type);
    return (facts.isFloat ? "f" : facts.isSigned ? "i" : "u") + QByteArray::number(facts.bytes);
}

/** Random numbers; no float is a NaN, which programs may change when they move it. */
ep::CxScopedBuffer numbers(const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image = randomImage(info);
    std::mt19937 random(5);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            for (int c = 0; c < info.channels; ++c) {
                const double number = (double(random()) - 2e9) / 3.0;
                if (info.dataType == ep::DataTypeFloat)
                    setSample(image.image(), x, y, c, static_cast<float>(number));
                if (info.dataType == ep::DataTypeDouble)
                    setSample(image.image(), x, y, c, number);
            }
    return image;
}

}  // namespace

class TiffJudgedTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QByteArray m_list;

    static bool save(const QString& path, const ep::CxImageData& data, const QString& compression, bool isBig)
    {
        const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::tiff::CxTiffImageSaver", "IxImageDataSaver");
        saver->setFileName(path);
        saver->setOptions({{QStringLiteral("compression"), compression}, {QStringLiteral("bigtiff"), isBig}});
        return saver->saveImage(&data);
    }

    void add(const ep::SxImageInfo& info, const char* compression, bool isBig)
    {
        const ep::CxScopedBuffer image = numbers(info);
        const QByteArray type = numpyType(info.dataType);
        const QString name =
            QStringLiteral("%1 %2 %3 %4 %5x%6%7")
                .arg(QString::fromLatin1(type))
                .arg(info.channels)
                .arg(info.layout == ep::LayoutPlanar ? QLatin1String("planes") : QLatin1String("packed"))
                .arg(QLatin1String(compression))
                .arg(info.width)
                .arg(info.height)
                .arg(isBig ? QLatin1String(" big") : QLatin1String(""));
        const QString path = m_folder.filePath(name);
        QByteArray raw;
        for (int y = 0; y < info.height; ++y)
            for (int x = 0; x < info.width; ++x)
                for (int c = 0; c < info.channels; ++c)
                    raw.append(reinterpret_cast<const char*>(address(image.image(), x, y, c)),
                               ep::sampleFacts(info.dataType).bytes);
        QVERIFY(save(path + QStringLiteral(".tif"), *imageDataOf(copyOf(image.image())), QLatin1String(compression),
                     isBig));
        QVERIFY(writeFile(path + QStringLiteral(".raw"), raw));
        const QList<QByteArray> words{name.toLatin1(),
                                      type,
                                      QByteArray::number(info.width),
                                      QByteArray::number(info.height),
                                      QByteArray::number(info.channels),
                                      info.layout == ep::LayoutPlanar ? "1" : "0",
                                      isBig ? "1" : "0"};
        m_list += words.join('\t') + '\n';
    }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }

    // Every type, layout and compression; 1 to 5 channels; one strip and many; padded rows; classic and BigTIFF.
    void otherProgramsFindTheSamples()
    {
        for (ep::ExImageDataType type : writtenTypes)
            for (ep::ExImageLayout layout : allLayouts)
                for (const char* compression : {"none", "deflate", "lzw"})
                    for (int channels = 1; channels <= 5; ++channels)
                        add(describe(type, 13, 7, channels, layout, 3), compression, channels % 2 == 0);
        for (ep::ExImageLayout layout : allLayouts)
            for (const char* compression : {"none", "deflate", "lzw"})
                add(describe(ep::DataTypeUInt16, 601, 450, 3, layout), compression, false);
        QVERIFY(!QTest::currentTestFailed());
        QVERIFY(writeFile(m_folder.filePath(QStringLiteral("list")), m_list));
        const ScriptRun run = runPython(judge, {m_folder.path()});
        QVERIFY2(run.isDone, run.output.constData());
        QCOMPARE(run.output, QByteArray("agreed 246\n"));
    }

    void otherProgramsFindTheTags()
    {
        auto* common = new ep::CxCommonImageMetadata;
        common->cameraMake = QStringLiteral("Make");
        common->cameraModel = QStringLiteral("Model 7");
        common->exposureTime = 0.25;
        common->aperture = 2.5;
        common->iso = 800;
        common->focalLength = 35.5;
        common->orientation = 6;
        common->captureTime = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58, 7), Qt::OffsetFromUTC, 19800);
        common->attributes.insert(QStringLiteral("LensModel"), QStringLiteral("35/2"));
        common->attributes.insert(QStringLiteral("Software"), QStringLiteral("tests"));
        ep::SxImageInfo info = describe(ep::DataTypeUInt16, 4, 4);
        info.bitDepth = 12;
        info.bayerGrid = ep::BayerGridGBRG;
        ep::CxScopedBuffer image(info);
        QVERIFY(!ep::failed(image.allocate(true)));
        const QString path = m_folder.filePath(QStringLiteral("tags.tif"));
        QVERIFY(save(path, *imageDataOf(std::move(image), common), QStringLiteral("none"), false));
        const ScriptRun run = runPython(printTags, {path});
        QVERIFY2(run.isDone, run.output.constData());
        const QList<QByteArray> expected{"BitsPerSample 16",
                                         "CFAPattern b'\\x01\\x02\\x00\\x01'",
                                         "CFARepeatPatternDim (2, 2)",
                                         "DateTime 2024:02:29 23:59:58",
                                         "DateTimeOriginal 2024:02:29 23:59:58",
                                         "ExifVersion 0231",
                                         "ExposureTime (1, 4)",
                                         "FNumber (5, 2)",
                                         "FocalLength (71, 2)",
                                         "ISOSpeedRatings 800",
                                         "ImageLength 4",
                                         "ImageWidth 4",
                                         "LensModel 35/2",
                                         "Make Make",
                                         "MaxSampleValue 4095",
                                         "Model Model 7",
                                         "OffsetTimeOriginal +05:30",
                                         "Orientation 6",
                                         "PhotometricInterpretation 1",
                                         "SampleFormat 1",
                                         "SamplesPerPixel 1",
                                         "Software tests",
                                         "SubsecTimeOriginal 007",
                                         ""};
        QCOMPARE(run.output.split('\n'), expected);
    }
};

QTEST_GUILESS_MAIN(TiffJudgedTest)
#include "TiffJudgedTest.moc"
