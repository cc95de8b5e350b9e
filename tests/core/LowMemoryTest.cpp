// Memory that runs out at any request of any operation: its failure result, inputs as they were, nothing leaked.

#include "CameraImages.h"
#include "FailingAllocation.h"
#include "Files.h"

#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <new>
#include <vector>

using namespace testing;
using ep::CxScopedBuffer;
using Manager = ep::CxImageFormatManager;

namespace {

constexpr int columns = 24;
constexpr int rows = 22;

/** What an operation is given, and what it made of it. */
struct Scene {
    CxScopedBuffer mosaic = cameraMosaic(ep::BayerGridRGGB, columns, rows, 12);
    CxScopedBuffer photo = randomImage(describe(ep::DataTypeUInt8, columns, rows, 3), 2);
    CxScopedBuffer planes = randomImage(describe(ep::DataTypeUInt16, columns, rows, 4, ep::LayoutPlanar), 3);
    CxScopedBuffer doubles = plainNumbers(describe(ep::DataTypeDouble, columns, rows));
    CxScopedBuffer mask = randomImage(describe(ep::DataTypeUInt8, columns, rows), 4);

    ep::CxMetadata metadata = cameraMetadata(mosaic.image());
    CxScopedBuffer changed = copyOf(mosaic.image());  // what is changed in place; a failure may leave it half done
    CxScopedBuffer made;
    QByteArray said;
    bool isSound = true;  // false: a failure broke another promise of the operation

    QByteArray inputs() const
    {
        QByteArray all;
        for (const CxScopedBuffer* image : {&mosaic, &photo, &planes, &doubles, &mask})
            all += bytesOf(*image);
        return all;
    }
    QByteArray results() const { return bytesOf(made) + bytesOf(changed) + said; }

    static QByteArray bytesOf(const CxScopedBuffer& image)
    {
        return QByteArray(reinterpret_cast<const char*>(&image.image()), sizeof(ep::SxImageInfo))
               + (image->data ? QByteArray(static_cast<const char*>(image->data), int(storageBytes(image.image())))
                              : QByteArray());
    }
};

struct Operation {
    const char* name;
    std::function<bool(Scene&)> run;
    Requests requests = Requests::Everything;
    bool mayLeak = false;  // Qt's DOM loses a node that it has no memory for
};

bool ok(unsigned int status)
{
    return !ep::failed(status);
}

const QVector<orn::SxDefect> oneDefect{{5, 6, orn::DefectHot, 0}};

std::vector<Operation> imageServices()
{
    return {
        {"AllocBuffer", [](Scene& s) { return ok((s.made = CxScopedBuffer(s.photo.image())).allocate(true)); }},
        {"AllocAndCopyBuffer", [](Scene& s) { return ok(ep::AllocAndCopyBuffer(s.photo.image(), s.made.image())); }},
        {"DetectColorBitDepth",
         [](Scene& s) {
             qint32 bits = 0;
             const bool done = ok(ep::DetectColorBitDepth(s.mosaic.image(), bits));
             s.said.setNum(bits);
             return done;
         }},
        {"HistogramMasked",
         [](Scene& s) {
             ep::CxImageHistogram histogram;
             histogram.resize(3, 256);
             return ok(ep::HistogramMasked(s.photo.image(), s.mask.image(), histogram));
         }},
        {"CxMetadata as text and back",
         [](Scene& s) {
             const QString text = s.metadata.saveToXml(2);
             ep::CxMetadata again;
             const bool done = again.loadFromXml(text);
             s.said = text.toUtf8();
             return done && !again.isEmpty();
         },
         Requests::Everything, true},
    };
}

std::vector<Operation> operations()
{
    return {
        {"EnlargeImage", [](Scene& s) { return ok(orn::EnlargeImage(s.photo.image(), 2, s.made)); }},
        {"PreviewImage",
         [](Scene& s) {
             orn::SxPreviewFacts facts;
             return ok(orn::PreviewImage(s.mosaic.image(), nullptr, {}, s.made, facts));
         }},
        {"HistogramBins, HistogramChannel",
         [](Scene& s) {
             orn::SxHistogramBins bins;
             orn::SxChannelHistogram histogram;
             const bool done = ok(orn::HistogramBins(s.doubles.image(), 64, bins))
                               && ok(orn::HistogramChannel(s.doubles.image(), 0, bins, histogram));
             s.said.setNum(histogram.counts.size());
             return done;
         }},
        {"DifferencePicture",
         [](Scene& s) { return ok(orn::DifferencePicture(s.mosaic.image(), s.doubles.image(), s.made)); }},
        {"SubtractImages",
         [](Scene& s) { return ok(orn::SubtractImages(s.mosaic.image(), s.doubles.image(), s.made)); }},
        {"OrientImage", [](Scene& s) { return ok(orn::OrientImage(s.changed, 6)); }},
        {"MarkPixels",
         [](Scene& s) {
             return ok(orn::MarkPixels(s.photo.image(), {{3, 4}}, 2, s.made));
         }},
        {"NonZeroPixels",
         [](Scene& s) {
             QVector<QPoint> pixels;
             const bool done = ok(orn::NonZeroPixels(s.mask.image(), pixels));
             s.said.setNum(pixels.size());
             return done;
         }},
        {"DefectMap, DefectsOfMap",
         [](Scene& s) {
             QVector<orn::SxDefect> defects;
             const bool done =
                 ok(orn::DefectMap(columns, rows, oneDefect, s.made)) && ok(orn::DefectsOfMap(s.made.image(), defects));
             s.said.setNum(defects.size());
             return done;
         }},
        {"CxDefectSearch",
         [](Scene& s) {
             orn::CxDefectSearch search;
             QVector<orn::SxDefect> defects;
             QVector<orn::SxDefectPlane> planes;
             const bool done = ok(search.addFrame(s.mosaic.image())) && ok(search.addFrame(s.mosaic.image()))
                               && ok(search.result({}, defects, planes));
             s.said = QByteArray::number(defects.size()) + ' ' + QByteArray::number(planes.size());
             return done;
         }},
        {"SplitToPlusMinus",
         [](Scene& s) {
             CxScopedBuffer plus(s.doubles.image());
             return ok(plus.allocate()) && ok((s.made = CxScopedBuffer(s.doubles.image())).allocate())
                    && orn::SplitToPlusMinus(s.doubles.image(), plus.image(), s.made.image(), true);
         }},
        {"uniteDefects",
         [](Scene& s) {
             s.said.setNum(orn::uniteDefects(oneDefect, oneDefect).size());
             return true;
         }},
    };
}

std::vector<Operation> repairs()
{
    return {
        {"GetLevelsToRepair",
         [](Scene& s) {
             static bool table[1 << 12];
             bool* tables[] = {table};
             int low[] = {20};
             int high[] = {4000};
             const bool done = orn::GetLevelsToRepair(s.mosaic.image(), s.mask.image(), low, high, tables);
             s.said.setNum(qint64(std::count(std::begin(table), std::end(table), true)));
             return done;
         }},
        {"RepairImage",
         [](Scene& s) {
             const unsigned short range[] = {100, 4000};
             const unsigned short* ranges[] = {range};
             QVector<orn::InvalidPixel> repaired;
             const bool done = orn::RepairImage(s.changed.image(), ranges, repaired);
             s.said.setNum(repaired.size());
             s.changed.reset();  // neighbours are chosen by chance
             return done;
         }},
        {"RepairPlanes",
         [](Scene& s) {
             orn::SxRepairRequest request;
             request.levels = {{100, 4000, 100, 100}};
             request.places = {{3, 4}};
             QVector<orn::SxRepairedSample> repaired;
             qint32 without = -1;
             const bool done = ok(orn::RepairPlanes(s.changed.image(), ep::emptyImage(), request, repaired, without));
             s.isSound = done || sameStorage(s.changed.image(), s.mosaic.image());
             s.said.setNum(repaired.size());
             s.changed.reset();
             return done;
         }},
        {"ReplayRepairs",
         [](Scene& s) {
             const int value = sampleAt<quint16>(s.mosaic.image(), 3, 4);
             int wrong = -1;
             return ok(orn::ReplayRepairs(s.changed.image(), {{3, 4, 1, value, 7}}, wrong));
         }},
    };
}

}  // namespace

class LowMemoryTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyRequestFailsOnce_data();
    void everyRequestFailsOnce();
    void theTestSeesALeak();

private:
    std::vector<Operation> files() const;
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    static bool runOnce(const Operation& operation, Scene& scene, int failing, int& requests);

    QTemporaryDir m_folder;
    std::vector<Operation> m_operations;
};

/** Reading and writing: the storage of images alone, because foreign libraries ask for memory as well. */
std::vector<Operation> LowMemoryTest::files() const
{
    std::vector<Operation> all;
    for (const char* suffix : {"mat", "tif", "dng", "fits", "pam", "png", "exr"}) {
        const QString in = path("in.") + QLatin1String(suffix);
        const QString out = path("out.") + QLatin1String(suffix);
        all.push_back({suffix, [in, out](Scene& s) {
                           ep::CxMetadata metadata;
                           QFile::remove(out);
                           return Manager::loadImageFromFile(in, s.made.image(), &metadata)
                                  && Manager::saveImageToFile(out, s.made.image(), &metadata, nullptr, false,
                                                              QString());
                       }});
    }
    all.push_back({"a packed photograph as MAT", [this](Scene& s) {
                       return orn::SaveImageToFile(path("photo.mat"), s.photo.image(), nullptr, nullptr);
                   }});
    all.push_back({"LoadImageFromMat", [this](Scene& s) {
                       bool isEntropy = false;
                       return orn::matlab::LoadImageFromMat(path("in.mat"), s.made.image(), isEntropy, nullptr)
                              && s.made->channels == 1;
                   }});
    all.push_back({"SaveEntropyImageToMat, LoadEntropyImageFromMat", [this](Scene& s) {
                       const QString prefix = QStringLiteral("PIG");
                       return orn::matlab::SaveEntropyImageToMat(s.doubles.image(), prefix, path("pig.mat"), false)
                              && orn::matlab::LoadEntropyImageFromMat(prefix, path("pig.mat"), s.made.image());
                   }});
    all.push_back({"a text image", [this](Scene& s) {
                       return orn::FileImageLoader().loadImage({{QStringLiteral("filename"), path("numbers.txt")}},
                                                               s.made.image(), nullptr);
                   }});
    for (Operation& operation : all)
        operation.requests = Requests::Images;
    return all;
}

void LowMemoryTest::initTestCase()
{
    orn::Init();
    const Scene scene;
    const CxScopedBuffer floats = plainNumbers(describe(ep::DataTypeFloat, columns, rows));
    for (const char* name : {"in.mat", "in.tif", "in.dng", "in.fits", "in.pam", "in.png", "in.exr"}) {
        const ep::SxImageBuf& image =
            QLatin1String(name) == QLatin1String("in.exr") ? floats.image() : scene.mosaic.image();
        const ep::CxMetadata metadata = cameraMetadata(scene.mosaic.image());
        QVERIFY2(Manager::saveImageToFile(path(name), image, &metadata, nullptr, false, QString()), name);
    }
    QVERIFY(writeFile(path("numbers.txt"), "1,2\n3,4\n"));
    m_operations = imageServices();
    for (const auto& more : {operations(), repairs(), files()})
        m_operations.insert(m_operations.end(), more.begin(), more.end());
}

void LowMemoryTest::everyRequestFailsOnce_data()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Operation& operation : m_operations)
        QTest::newRow(operation.name) << index++;
}

/** False when the operation says that it failed, or throws what the C++ library throws without memory. */
bool LowMemoryTest::runOnce(const Operation& operation, Scene& scene, int failing, int& requests)
{
    bool done = false;
    const FailingAllocation allocation(operation.requests, failing);
    try {
        done = operation.run(scene);
    } catch (const std::bad_alloc&) {
        done = false;
    }
    requests = allocation.count();
    return done;
}

void LowMemoryTest::everyRequestFailsOnce()
{
    QFETCH(int, index);
    const Operation& operation = m_operations[size_t(index)];
    int requests = 0;
    QByteArray inputs, results;
    for (int warmUp = 0; warmUp < 2; ++warmUp) {
        Scene scene;
        inputs = scene.inputs();
        QVERIFY(runOnce(operation, scene, 0, requests));
        results = scene.results();
    }
    if (requests == 0 && !areAllRequestsSeen)
        QSKIP("it asks for no storage of images, and all else is the sanitizer's");
    QVERIFY(requests > 0);
    for (int failing = 1; failing <= requests; ++failing) {
        const QByteArray place = QByteArray("request ") + QByteArray::number(failing);
        qint64 blocks = 0;
        // What is only made once, such as the data of a locale, is there the second time.
        for (int turn = 0; turn < 3; ++turn) {
            const qint64 before = liveBlocks(operation.requests);
            {
                Scene scene;
                int ignored = 0;
                const bool done = runOnce(operation, scene, failing, ignored);
                QVERIFY2(scene.inputs() == inputs && scene.isSound, place);
                if (done)
                    QVERIFY2(scene.results() == results, place);
            }
            blocks = liveBlocks(operation.requests) - before;
        }
        QVERIFY2(blocks == 0 || operation.mayLeak, place + " leaks");
    }
}

void LowMemoryTest::theTestSeesALeak()
{
    if (!areAllRequestsSeen)
        QSKIP("the sanitizer sees leaks");
    for (const Requests requests : {Requests::Images, Requests::Everything}) {
        const FailingAllocation allocation(requests, 0);
        const qint64 before = liveBlocks(requests);
        ep::SxImageBuf image = ep::emptyImage();
        QVERIFY(ok(ep::AllocBuffer(describe(ep::DataTypeUInt8, 3, 2), image, false, nullptr, nullptr, nullptr)));
        QCOMPARE(liveBlocks(requests) - before, qint64(1));
        ep::FreeBuffer(image);
        QCOMPARE(liveBlocks(requests) - before, qint64(0));
    }
}

QTEST_GUILESS_MAIN(LowMemoryTest)
#include "LowMemoryTest.moc"
