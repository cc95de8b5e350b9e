// Memory that runs out at any request of any operation: its failure result, inputs as they were, nothing leaked.

#include "LowMemory.h"
#include "Files.h"
#include "TestImages.h"

#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using ep::CxScopedBuffer;

namespace {

const QVector<orn::SxDefect> oneDefect{{5, 6, orn::DefectHot, 0}};
const QVector<QPoint> onePixel{{3, 4}};

/** A new search; null when there is no memory for one. */
std::unique_ptr<orn::CxDefectSearch> newSearch()
{
    try {
        return std::make_unique<orn::CxDefectSearch>();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

std::vector<Operation> pictures()
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
             s.say(histogram.counts.size());
             return done;
         }},
        {"DifferencePicture",
         [](Scene& s) { return ok(orn::DifferencePicture(s.mosaic.image(), s.doubles.image(), s.made)); }},
        {"SubtractImages",
         [](Scene& s) { return ok(orn::SubtractImages(s.mosaic.image(), s.doubles.image(), s.made)); }},
        {"OrientImage", [](Scene& s) { return ok(orn::OrientImage(s.changed, 6)); }},
        {"MarkPixels", [](Scene& s) { return ok(orn::MarkPixels(s.photo.image(), onePixel, 2, s.made)); }},
        {"NonZeroPixels",
         [](Scene& s) {
             QVector<QPoint> pixels;
             const bool done = ok(orn::NonZeroPixels(s.mask.image(), pixels));
             s.say(pixels.size());
             return done;
         }},
        {"CompareChannel",
         [](Scene& s) {
             orn::SxChannelComparison comparison{};
             return ok(orn::CompareChannel(s.mosaic.image(), s.changed.image(), 0, 0, comparison));
         }},
        {"SplitToPlusMinus",
         [](Scene& s) {
             CxScopedBuffer plus(s.doubles.image());
             return ok(plus.allocate()) && ok((s.made = CxScopedBuffer(s.doubles.image())).allocate())
                    && orn::SplitToPlusMinus(s.doubles.image(), plus.image(), s.made.image(), true);
         }},
    };
}

std::vector<Operation> defects()
{
    const auto twoFrames = std::make_shared<orn::CxDefectSearch>();
    const Scene scene;
    twoFrames->addFrame(scene.mosaic.image());
    twoFrames->addFrame(scene.mosaic.image());
    return {
        {"DefectMap, DefectsOfMap",
         [](Scene& s) {
             QVector<orn::SxDefect> found;
             const bool done = ok(orn::DefectMap(Scene::columns, Scene::rows, oneDefect, s.made))
                               && ok(orn::DefectsOfMap(s.made.image(), found));
             s.say(found.size());
             return done;
         }},
        {"CxDefectSearch.CxDefectSearch, CxDefectSearch.frames",
         [](Scene&) { return orn::CxDefectSearch().frames() == 0; }, Fails::ByThrowing},
        {"CxDefectSearch.addFrame",
         [](Scene& s) {
             const auto search = newSearch();
             const bool done =
                 search && ok(search->addFrame(s.mosaic.image())) && ok(search->addFrame(s.changed.image()));
             s.isSound = !search || search->frames() <= 2;
             return done;
         }},
        {"CxDefectSearch.result",
         [twoFrames](Scene& s) {
             QVector<orn::SxDefect> found;
             QVector<orn::SxDefectPlane> planes;
             const bool done = ok(twoFrames->result({}, found, planes));
             s.say(found.size());
             s.say(planes.size());
             return done;
         }},
    };
}

std::vector<Operation> repairs()
{
    orn::SxRepairRequest request;
    request.levels = {{100, 4000, 100, 100}};
    request.places = onePixel;
    const int value = sampleAt<quint16>(Scene().mosaic.image(), 3, 4);
    const QVector<orn::SxRepairedSample> records{{3, 4, 1, value, 7}};
    return {
        {"GetLevelsToRepair",
         [](Scene& s) {
             static bool table[1 << 12];
             bool* tables[] = {table};
             int low[] = {20};
             int high[] = {4000};
             const bool done = orn::GetLevelsToRepair(s.mosaic.image(), s.mask.image(), low, high, tables);
             s.say(double(std::count(std::begin(table), std::end(table), true)));
             return done;
         }},
        {"RepairImage",
         [](Scene& s) {
             const unsigned short range[] = {100, 4000};
             const unsigned short* ranges[] = {range};
             QVector<orn::InvalidPixel> repaired;
             const bool done = orn::RepairImage(s.changed.image(), ranges, repaired);
             s.say(repaired.size());
             s.changed.reset();  // neighbours are chosen by chance
             return done;
         }},
        {"RepairPlanes",
         [request](Scene& s) {
             QVector<orn::SxRepairedSample> repaired;
             qint32 without = -1;
             const bool done = ok(orn::RepairPlanes(s.changed.image(), ep::emptyImage(), request, repaired, without));
             s.isSound = done || sameStorage(s.changed.image(), s.mosaic.image());
             s.say(repaired.size());
             s.changed.reset();
             return done;
         }},
        {"ReplayRepairs",
         [records](Scene& s) {
             int wrong = -1;
             return ok(orn::ReplayRepairs(s.changed.image(), records, wrong));
         }},
    };
}

std::vector<Operation> numbers()
{
    return {
        {"peakSignalToNoise, SampleBits, placeOfSamples, bytesPerSample, imageByteSize, "
         "PointsDistance, SegmentsIntersection, Finish",
         [](Scene& s) {
             orn::SxSampleBits bits{};
             QPointF crossing;
             return orn::peakSignalToNoise(2, 255) > 0 && orn::PointsDistance({0, 0}, {3, 4}) == 5
                    && orn::bytesPerSample(ep::DataTypeUInt16) == 2 && orn::imageByteSize(s.photo.image()) > 0
                    && ok(orn::SampleBits(s.mosaic.image(), bits))
                    && orn::placeOfSamples(bits, 12) == orn::SamplesAtLowEnd
                    && orn::SegmentsIntersection({0, 0}, {2, 2}, {0, 2}, {2, 0}, crossing) && orn::Finish();
         },
         Fails::Never},
        {"ImagePlanes, uniteDefects, defectsSeenFrom, sensorOrigin, defectKindName, isDefectListName",
         [](Scene& s) {
             s.say(orn::ImagePlanes(s.mosaic.image()).size());
             s.say(orn::uniteDefects(oneDefect, oneDefect).size());
             s.say(orn::defectsSeenFrom({true, 2, 2}, {oneDefect, {true, 1, 1}}).size());
             s.said += orn::defectKindName(orn::DefectStuck).toLatin1();
             return !orn::sensorOrigin(s.metadata).isKnown && orn::isDefectListName(QStringLiteral("list.txt"));
         },
         Fails::ByThrowing},
    };
}

std::vector<Operation> reporting(const QString& folder)
{
    const QString file = folder + QStringLiteral("/protocol");
    const QStringList names{QStringLiteral("in.*")};
    return {
        {"Protocol.Protocol, Protocol.addMessage, Protocol.getLastMessage, Protocol.getMessage, Protocol.getProtocol, "
         "Protocol.isEmpty, Protocol.reset, Protocol.updated",
         [](Scene& s) {
             orn::Protocol protocol;
             const QString message = QStringLiteral("message");
             protocol.addMessage(message);
             s.say(protocol.getProtocol().size());
             const bool done = protocol.getLastMessage().endsWith(message) && protocol.getMessage(0).endsWith(message)
                               && !protocol.isEmpty();
             protocol.reset();
             return done && protocol.isEmpty();
         },
         Fails::ByThrowing},
        {"Protocol.save",
         [file](Scene&) {
             static orn::Protocol protocol;
             if (protocol.isEmpty())
                 protocol.addMessage(QStringLiteral("message"));
             return protocol.save(file);
         }},
        {"CxProgressInfo.CxProgressInfo, CxProgressInfo.setTotalProgress, CxProgressInfo.setTotalMessage, "
         "CxProgressInfo.setTaskProgress, CxProgressInfo.setTaskMessage, CxProgressInfo.setTaskRatio, "
         "CxProgressInfo.getInfo, CxProgressInfo.reset, CxProgressInfo.isCanceled, CxProgressInfo.cancel, "
         "CxProgressInfo.updated, CxProgressInfo.canceled",
         [](Scene& s) {
             orn::CxProgressInfo progress;
             const QString message = QString::number(7);
             progress.setTaskRatio(0.5);
             progress.setTotalProgress(10, message);
             progress.setTotalMessage(message);
             progress.setTaskProgress(20, message);
             progress.setTaskMessage(message);
             progress.cancel();
             double total = 0, task = 0;
             QString totalMessage, taskMessage;
             progress.getInfo(total, totalMessage, task, taskMessage);
             s.say(total);
             const bool done = progress.isCanceled() && totalMessage == message && taskMessage == message;
             progress.reset();
             return done;
         },
         Fails::ByThrowing},
        {"GetColorBitDepthFromDir",
         [folder, names](Scene& s) {
             static orn::Protocol protocol;
             static orn::CxProgressInfo progress;
             protocol.reset();
             int bits = 0;
             ep::ExImageDataType type = ep::DataTypeNone;
             const bool done = ok(orn::GetColorBitDepthFromDir(folder, names, &bits, &type, &protocol, &progress));
             protocol.reset();
             s.say(bits);
             return done;
         }},
    };
}

/** Reading and writing in formats of which this system reads every byte itself. */
std::vector<Operation> files(const QString& folder)
{
    const QString image = folder + QStringLiteral("/in.pam");
    const QString list = folder + QStringLiteral("/list.txt");
    const QString map = folder + QStringLiteral("/map.pgm");
    const QString out = folder + QStringLiteral("/out.pam");
    const QString outList = folder + QStringLiteral("/out.txt");
    const QString text = folder + QStringLiteral("/numbers.txt");
    const orn::SxDefectList one{oneDefect, {}};
    const auto load = [](const QString& file) {
        const QMap<QString, QVariant> parameters{{QStringLiteral("filename"), file}};
        return [parameters](Scene& s) {
            static orn::FileImageLoader loader;
            return loader.loadImage(parameters, s.made.image(), nullptr);
        };
    };
    const auto read = [](const QString& file) {
        return [file](Scene& s) {
            orn::SxDefectList defects;
            ep::SxFileError error;
            const bool done = orn::readDefects(file, defects, error);
            s.say(defects.defects.size());
            return done;
        };
    };
    return {
        {"LoadImageFromFile", [image](Scene& s) { return orn::LoadImageFromFile(image, s.made.image(), nullptr); }},
        {"SaveImageToFile", [out](Scene& s) { return orn::SaveImageToFile(out, s.photo.image(), nullptr, nullptr); },
         Fails::ByResult, Requests::Everything, out},
        {"FileImageLoader.FileImageLoader, ImageLoader.instance",
         [](Scene&) { return std::unique_ptr<orn::ImageLoader>(orn::ImageLoader::instance()) != nullptr; },
         Fails::ByThrowing},
        // Qt's text streams go on without the memory that they did not get.
        {"FileImageLoader.loadImage (text)", load(text), Fails::ByResult, Requests::Images},
        {"FileImageLoader.loadImage (a portable map)", load(image)},
        {"readDefects, readDefectList", read(list)},
        {"readDefects (a map)", read(map)},
        {"writeDefectList",
         [outList, one](Scene&) {
             ep::SxFileError error;
             return orn::writeDefectList(outList, one, orn::DefectCoordinatesImage, false, error);
         },
         Fails::ByResult, Requests::Everything, outList},
    };
}

}  // namespace

class LowMemoryTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyRequestFails_data() { addRows(m_operations); }
    void everyRequestFails();
    void everythingExportedIsTried();
    void cleanupTestCase() { qInfo("%s", qPrintable(lowMemoryFigures())); }

private:
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

    QTemporaryDir m_folder;
    std::vector<Operation> m_operations;
};

void LowMemoryTest::initTestCase()
{
    Operation init{"Init", [](Scene&) { return orn::Init(); }, Fails::ByThrowing};
    // Before anything else in this process needs the registry.
    const QString flaw = areAllRequestsSeen ? flawOfFirstUse(init) : QString();
    QVERIFY2(flaw.isEmpty(), qPrintable(flaw));
    orn::Init();
    init.fails = Fails::Never;  // everything is registered

    const Scene scene;
    QVERIFY(orn::SaveImageToFile(path("in.pam"), scene.photo.image(), nullptr, nullptr));
    QVERIFY(orn::SaveImageToFile(path("map.pgm"), scene.mask.image(), nullptr, nullptr));
    QVERIFY(writeFile(path("numbers.txt"), "1,2\n3,4\n"));
    QVERIFY(writeFile(path("list.txt"), "# coordinates: image\n16 50 0  # hot\n90 61 1700000000  # dead\n"));
    for (const auto& more : {pictures(), defects(), repairs(), numbers(), reporting(m_folder.path()),
                             files(m_folder.path()), std::vector<Operation>{init}})
        m_operations.insert(m_operations.end(), more.begin(), more.end());
}

void LowMemoryTest::everyRequestFails()
{
    QFETCH(int, index);
    const QString flaw = flawOf(m_operations[size_t(index)]);
    QVERIFY2(flaw.isEmpty(), qPrintable(flaw));
}

void LowMemoryTest::everythingExportedIsTried()
{
    // tests/matlab has these.
    const QStringList excluded{QStringLiteral("matlab.")};
    QCOMPARE(unlisted(QStringLiteral(ORN_LIBRARY), QStringLiteral("orn::"), m_operations, excluded), QStringList());
}

QTEST_GUILESS_MAIN(LowMemoryTest)
#include "LowMemoryTest.moc"
