#include "PnmMaker.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

namespace {

/**
 * A reader and writer of portable maps in NumPy, written from the definition of the formats and from nothing of this
 * project. It reads every file named in the list, compares it with the samples in NAME.raw (native bytes, packed, red
 * first), and writes its own file beside it as their-NAME.
 */
const char script[] = R"PYTHON(
import re, sys
import numpy as np

def header(data, count):
    words, at = [], 0
    while len(words) < count:
        match = re.compile(rb'(?:\s|#[^\n\r]*[\n\r])*([^\s#]+)').match(data, at)
        words.append(match.group(1)); at = match.end()
    return words, at + 1

def read(path):
    data = open(path, 'rb').read()
    magic = data[:2]
    if magic == b'P7':
        head, raster = data.split(b'\nENDHDR\n', 1)
        fields = dict(line.split(None, 1) for line in head.split(b'\n')[1:] if not line.startswith(b'#'))
        w, h, c, top = (int(fields[k]) for k in (b'WIDTH', b'HEIGHT', b'DEPTH', b'MAXVAL'))
        return top, np.frombuffer(raster, 'u1' if top < 256 else '>u2').reshape(h, w, c)
    if magic in (b'Pf', b'PF'):
        (_, w, h, scale), at = header(data, 4)
        kind = '<f4' if float(scale) < 0 else '>f4'
        return None, np.frombuffer(data[at:], kind).reshape(int(h), int(w), -1)[::-1]
    if magic in (b'P1', b'P4'):
        (_, w, h), at = header(data, 3)
        w, h = int(w), int(h)
        if magic == b'P1':
            text = re.sub(rb'\s|#[^\n]*\n', b'', data[at:])
            return 1, (np.frombuffer(text, 'u1') - ord('0')).reshape(h, w, 1)
        bits = np.unpackbits(np.frombuffer(data[at:], 'u1').reshape(h, -1), axis=1)
        assert not bits[:, w:].any(), 'filling bits are set'
        return 1, bits[:, :w].reshape(h, w, 1)
    (_, w, h, top), at = header(data, 4)
    w, h, top = int(w), int(h), int(top)
    kind = 'u1' if top < 256 else '>u2'
    if magic in (b'P2', b'P3'):
        return top, np.array([int(n) for n in data[at:].split()]).astype(kind).reshape(h, w, -1)
    return top, np.frombuffer(data[at:], kind).reshape(h, w, -1)

def write(path, magic, top, a):
    h, w, c = a.shape
    size = b'# made elsewhere\n%d %d\n' % (w, h)
    plain = lambda: b'\n'.join(b' '.join(b'%d' % n for n in row.ravel()) for row in a) + b'\n'
    binary = lambda: a.astype('u1' if top < 256 else '>u2').tobytes()
    if magic == b'P7':
        data = b'P7\nWIDTH %d\nHEIGHT %d\nDEPTH %d\nMAXVAL %d\nENDHDR\n' % (w, h, c, top) + binary()
    elif magic in (b'Pf', b'PF'):
        data = magic + b'\n%d %d\n1.0\n' % (w, h) + a[::-1].astype('>f4').tobytes()
    elif magic == b'P4':
        data = b'P4\n' + size + np.packbits(a[:, :, 0].astype('u1'), axis=1).tobytes()
    elif magic == b'P1':
        data = b'P1\n' + size + plain()
    else:
        data = magic + b'\n' + size + b'%d\n' % top + (plain() if magic in (b'P2', b'P3') else binary())
    open(path, 'wb').write(data)

folder = sys.argv[1]
names = open(folder + '/list').read().split('\n')
for line in names[:-1]:
    name, magic, kind, top, w, h, c = line.split()
    path = folder + '/' + name
    expected = np.fromfile(path + '.raw', kind).reshape(int(h), int(w), int(c))
    found_top, found = read(path)
    assert open(path, 'rb').read(2).decode() == magic, name + ': another kind'
    assert found_top is None or found_top == int(top), name + ': another largest sample'
    assert found.shape == expected.shape, name + ': another shape'
    assert np.array_equal(found.astype(kind).view('u1'), expected.view('u1')), name + ': other samples'
    write(folder + '/their-' + name, magic.encode(), int(top), expected)
print('judged', len(names) - 1)
)PYTHON";

struct Kind {
    const char* suffix;
    const char* magic;
    bool ascii;
    ep::ExImageDataType type;
    int channels;
    int depth;
};

constexpr Kind kinds[] = {
    {"pbm", "P4", false, ep::DataTypeUInt8, 1, 1},    {"pbm", "P1", true, ep::DataTypeUInt8, 1, 1},
    {"pgm", "P5", false, ep::DataTypeUInt8, 1, 8},    {"pgm", "P5", false, ep::DataTypeUInt8, 1, 3},
    {"pgm", "P5", false, ep::DataTypeUInt16, 1, 10},  {"pgm", "P5", false, ep::DataTypeUInt16, 1, 16},
    {"pgm", "P2", true, ep::DataTypeUInt8, 1, 8},     {"pgm", "P2", true, ep::DataTypeUInt16, 1, 12},
    {"ppm", "P6", false, ep::DataTypeUInt8, 3, 8},    {"ppm", "P6", false, ep::DataTypeUInt16, 3, 12},
    {"ppm", "P3", true, ep::DataTypeUInt8, 3, 8},     {"ppm", "P3", true, ep::DataTypeUInt16, 3, 16},
    {"pam", "P7", false, ep::DataTypeUInt8, 2, 8},    {"pam", "P7", false, ep::DataTypeUInt16, 4, 14},
    {"pam", "P7", false, ep::DataTypeUInt16, 37, 16}, {"pfm", "Pf", false, ep::DataTypeFloat, 1, 32},
    {"pfm", "PF", false, ep::DataTypeFloat, 3, 32},
};

struct Judged {
    QString name;
    std::unique_ptr<ep::CxImageData> data;
    int depth;
};

const char* numpyType(ep::ExImageDataType type)
{
    return type == ep::DataTypeUInt8 ? "u1" : type == ep::DataTypeUInt16 ? "u2" : "f4";
}

/** An image of @p kind with metadata, so that comments are in the way. */
std::unique_ptr<ep::CxImageData> makeImage(const Kind& kind, const QSize& size, ep::ExImageLayout layout)
{
    ep::CxScopedBuffer image =
        randomImage(describe(kind.type, size.width(), size.height(), kind.channels, layout, 3), 11);
    image->bitDepth = kind.depth;
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            for (int c = 0; c < kind.channels; ++c) {
                const int sample = kind.type == ep::DataTypeFloat ? 0 : numberAt(image.image(), x, y, c);
                const int cut = sample & ((1 << qMin(kind.depth, 16)) - 1);
                if (kind.type == ep::DataTypeUInt8)
                    setSample(image.image(), x, y, c, static_cast<quint8>(cut));
                else if (kind.type == ep::DataTypeUInt16)
                    setSample(image.image(), x, y, c, static_cast<quint16>(cut));
            }
    auto data = imageDataOf(std::move(image));
    ep::CxMetadata metadata;
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraModel = QStringLiteral("Model # 1") + QChar(0xe4);
    metadata.addMetadata(common);
    data->setMetadata(std::move(metadata));
    return data;
}

/** The samples side by side, row by row. */
QByteArray rawSamples(const ep::SxImageBuf& image)
{
    QByteArray raw;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c)
                raw.append(reinterpret_cast<const char*>(address(image, x, y, c)),
                           ep::sampleFacts(image.dataType).bytes);
    return raw;
}

}  // namespace

class PnmJudgeTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theyReadOurs();
    void weReadTheirs();

private:
    QString path(const QString& name) const { return m_folder.filePath(name); }
    static bool writeFile(const QString& path, const QByteArray& content);

    QTemporaryDir m_folder;
    std::vector<Judged> m_images;
};

bool PnmJudgeTest::writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

void PnmJudgeTest::initTestCase()
{
    QByteArray list;
    for (const Kind& kind : kinds)
        for (const ep::ExImageLayout layout : allLayouts)
            for (const QSize& size : {QSize(1, 1), QSize(17, 6), QSize(64, 3)}) {
                const QString name = QStringLiteral("%1.%2").arg(m_images.size()).arg(QLatin1String(kind.suffix));
                auto data = makeImage(kind, size, layout);
                const auto saver = pnmSaver();
                saver->setFileName(path(name));
                saver->setOptions({{QStringLiteral("ascii"), kind.ascii}});
                QVERIFY2(saver->saveImage(data.get()), qPrintable(saver->lastError().reason));
                QVERIFY(writeFile(path(name + QStringLiteral(".raw")), rawSamples(data->image())));
                const qint64 top = (qint64(1) << kind.depth) - 1;
                list += name.toLatin1() + ' ' + kind.magic + ' ' + numpyType(kind.type) + ' ' + QByteArray::number(top)
                        + ' ' + QByteArray::number(size.width()) + ' ' + QByteArray::number(size.height()) + ' '
                        + QByteArray::number(kind.channels) + '\n';
                m_images.push_back({name, std::move(data), kind.depth});
            }
    QVERIFY(writeFile(path(QStringLiteral("list")), list));
    QVERIFY(writeFile(path(QStringLiteral("judge.py")), script));
}

void PnmJudgeTest::theyReadOurs()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(ORN_PYTHON), {path(QStringLiteral("judge.py")), m_folder.path()});
    QVERIFY2(process.waitForFinished(120000), qPrintable(process.errorString()));
    const QByteArray told = process.readAll();
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, told.constData());
    QCOMPARE(told.trimmed(), "judged " + QByteArray::number(static_cast<int>(m_images.size())));
}

void PnmJudgeTest::weReadTheirs()
{
    for (const Judged& judged : m_images) {
        const auto loader = pnmLoader();
        loader->setFileName(path(QStringLiteral("their-") + judged.name));
        QVERIFY2(loader->open(), qPrintable(judged.name + loader->lastError().reason));
        const std::unique_ptr<ep::CxImageData> data(loader->imageData(0));
        QVERIFY(data);
        QCOMPARE(data->image().bitDepth, judged.depth);
        QCOMPARE(data->image().dataType, judged.data->image().dataType);
        QVERIFY2(rawSamples(data->image()) == rawSamples(judged.data->image()), qPrintable(judged.name));
    }
}

QTEST_GUILESS_MAIN(PnmJudgeTest)
#include "PnmJudgeTest.moc"
