// Memory that runs out at any request of what this library exports: a failure, inputs as they were, nothing leaked.

#include "LowMemory.h"

#include "FullMetadata.h"
#include "LowMemoryClasses.h"
#include "TestImages.h"

#include <ep/epcore.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

std::vector<Operation> buffers()
{
    return {
        {"AllocBuffer, FreeBuffer",
         [](Scene& s) { return ok((s.made = ep::CxScopedBuffer(s.photo.image())).allocate(true)); }},
        {"AllocAndCopyBuffer", [](Scene& s) { return ok(ep::AllocAndCopyBuffer(s.photo.image(), s.made.image())); }},
        {"ConvertPackPixelToPlanar",
         [](Scene& s) {
             s.made = ep::CxScopedBuffer(describe(ep::DataTypeUInt8, Scene::columns, Scene::rows, 3, ep::LayoutPlanar));
             return ok(s.made.allocate()) && ok(ep::ConvertPackPixelToPlanar(s.photo.image(), s.made.image()));
         }},
        {"ConvertPlanarRawToRaw",
         [](Scene& s) {
             s.made = ep::CxScopedBuffer(describe(ep::DataTypeUInt16, 2 * Scene::columns, 2 * Scene::rows));
             s.made->patternWidth = s.made->patternHeight = 2;
             return ok(s.made.allocate())
                    && ok(ep::ConvertPlanarRawToRaw(s.planes.image(), s.made.image(), ep::BayerGridRGGB));
         }},
        {"Transpose",
         [](Scene& s) {
             s.made = ep::CxScopedBuffer(describe(ep::DataTypeDouble, Scene::rows, Scene::columns));
             return ok(s.made.allocate()) && ok(ep::Transpose(s.doubles.image(), s.made.image()));
         }},
        {"SetChannel, SampleRange, DetectColorBitDepth, SameSamples, RawChannelsOffsets, "
         "ChannelIndexLogicalToPhysical, sampleFacts",
         [](Scene& s) {
             qint32 bits = 0, red = 0, green1 = 0, blue = 0, green2 = 0;
             double low = 0, high = 0;
             const bool done = ok(ep::DetectColorBitDepth(s.mosaic.image(), bits))
                               && ok(ep::SampleRange(s.doubles.image(), 0, low, high))
                               && ep::RawChannelsOffsets(s.mosaic.image(), red, green1, blue, green2)
                               && ep::SameSamples(s.mosaic.image(), s.changed.image())
                               && ok(ep::SetChannel(s.changed.image(), 0, 7));
             return done && ep::ChannelIndexLogicalToPhysical(1, s.photo.image()) == 1
                    && ep::sampleFacts(ep::DataTypeFloat).bytes == 4;
         },
         Fails::Never},
        {"ReverseRowOrder", [](Scene& s) { return ok(ep::ReverseRowOrder(s.changed.image())); }, Fails::Never},
        {"CxImageHistogram.CxImageHistogram, CxImageHistogram.operator=, CxImageHistogram.resize, "
         "CxImageHistogram.clear, HistogramMasked",
         [](Scene& s) {
             ep::CxImageHistogram histogram;
             histogram.resize(3, 256);
             const bool done = ok(ep::HistogramMasked(s.photo.image(), s.mask.image(), histogram));
             s.say(histogram.counts[1][7]);
             ep::CxImageHistogram other(std::move(histogram));
             histogram = std::move(other);
             histogram.clear();
             return done;
         },
         Fails::ByThrowing},
    };
}

std::vector<Operation> containers(const QString& xml)
{
    return {
        {"CxMetadata.CxMetadata, CxMetadata.operator=, CxMetadata.addMetadata, CxMetadata.items, CxMetadata.findItem, "
         "CxMetadata.isEmpty, CxMetadata.clear, CxCommonImageMetadata.CxCommonImageMetadata, "
         "CxCommonImageMetadata.clone, IxMetadataItem.IxMetadataItem",
         [](Scene& s) {
             ep::CxMetadata copy(s.metadata);
             copy.addMetadata(new ep::CxCommonImageMetadata);
             copy = s.metadata;
             s.say(copy.items().size());
             ep::CxMetadata moved(std::move(copy));
             copy = std::move(moved);
             const bool done = !copy.isEmpty() && copy.findItem(ep::CxCommonImageMetadata::staticMetaObject);
             copy.clear();
             return done;
         },
         Fails::ByThrowing},
        {"CxMetadata.saveToXml",
         [](Scene& s) {
             s.said = s.metadata.saveToXml(2).toLatin1();
             return true;
         },
         Fails::ByThrowing, Requests::Everything},
        {"CxMetadata.loadFromXml",
         [xml](Scene& s) {
             ep::CxMetadata again;
             const bool done = again.loadFromXml(xml);
             s.say(again.items().size());
             return done;
         },
         Fails::ByThrowing, Requests::Everything},
        {"CxImageData.CxImageData, CxImageData.setImageShallow, CxImageData.setMetadata, CxImageData.takeImage, "
         "IxData.IxData",
         [](Scene& s) {
             ep::CxImageData data;
             data.setMetadata(s.metadata);
             data.setMetadata(ep::CxMetadata(s.metadata));
             ep::SxImageBuf copy = ep::emptyImage();
             const bool done = ok(ep::AllocAndCopyBuffer(s.photo.image(), copy));
             data.setImageShallow(copy, 0, 0, QDateTime());
             s.made.reset(data.takeImage());
             return done;
         },
         Fails::ByThrowing},
        {"CxImageData.clone", [](Scene& s) { return takeInto(s, SampleLoader::shared().held().clone(0)); }},
    };
}

std::vector<Operation> registering()
{
    return {
        {"CxRtti.CxRtti, CxRtti.instance, CxRtti.classes, CxRtti.interfaces, CxRtti.plugin, CxRtti.displayName",
         [](Scene& s) {
             const ep::CxRtti& registry = *ep::CxRtti::instance();
             const QMetaObject& type = ep::CxCommonImageMetadata::staticMetaObject;
             const QString name = QStringLiteral("IxMetadata");
             s.said = registry.displayName(type).toUtf8();
             return registry.classes(name).contains(&type) && registry.interfaces().contains(name)
                    && !registry.plugin(type, name);
         },
         Fails::ByThrowing},
        {"CxRtti.registerClass, CxPlugin.CxPlugin",
         [](Scene&) {
             SamplePlugin plugin;
             // Never taken back, and the plug-in is not kept: it is not the first of the class.
             const QString name = QStringLiteral("IxImageDataLoader");
             ep::CxRtti::instance()->registerClass(&plugin, SampleLoader::staticMetaObject, name);
             return ep::CxRtti::instance()->plugin(SampleLoader::staticMetaObject, name) == nullptr;
         },
         Fails::ByThrowing},
        {"IxMetadataLoader.IxMetadataLoader, IxMetadataSaver.IxMetadataSaver",
         [](Scene&) {
             SampleMetadataLoader loader;
             SampleMetadataSaver saver;
             return loader.supportedClasses().isEmpty() && saver.supportedClasses().isEmpty();
         },
         Fails::ByThrowing},
        {"CxImageFormatManager.CxImageFormatManager, CxImageFormatManager.instance, CxImageFormatManager.memoryLimit, "
         "CxImageFormatManager.setMemoryLimit, CxImageFormatManager.trustsFiles, CxImageFormatManager.setTrustsFiles",
         [](Scene& s) {
             Manager& manager = *Manager::instance();
             manager.setMemoryLimit(1 << 20);
             s.say(double(manager.memoryLimit()));
             manager.setMemoryLimit(0);
             manager.setTrustsFiles(true);
             return manager.trustsFiles();
         },
         Fails::Never},
        {"CxImageFormatManager.formats",
         [](Scene& s) {
             s.say(Manager::instance()->formats().size());
             return true;
         },
         Fails::ByThrowing},
    };
}

std::vector<Operation> loading()
{
    return {
        {"IxDataLoader.IxDataLoader, IxDataLoader.frameName, IxDataLoader.frameText, IxDataLoader.index, "
         "IxDataLoader.internalLoader, IxDataLoader.isMultiFileSequence, IxDataLoader.memoryLimit, "
         "IxDataLoader.metadataSubdir, IxDataLoader.setMetadataSubdir, IxDataLoader.seqFileFrameExtension, "
         "IxDataLoader.sequenceFiles, IxDataLoader.setBuffer, IxDataLoader.supportsLoadFromBuffer, "
         "IxImageDataLoader.IxImageDataLoader, IxImageDataLoader.frameRate, IxImageDataLoader.hasRandomAccess",
         [](Scene& s) {
             SampleLoader loader;
             loader.setMetadataSubdir(QStringLiteral("folder"));
             s.said = (loader.frameName(0) + loader.frameText(0) + loader.metadataSubdir()
                       + loader.seqFileFrameExtension() + loader.sequenceFiles().join(QLatin1Char(' ')))
                          .toUtf8();
             return loader.index(loader.frameName(0)) == 0 && !loader.internalLoader() && !loader.isMultiFileSequence()
                    && loader.memoryLimit() > 0 && !loader.supportsLoadFromBuffer()
                    && !loader.setBuffer(QByteArray(), QString()) && loader.frameRate() == 0
                    && loader.hasRandomAccess();
         },
         Fails::ByThrowing},
        {"IxImageDataLoader.data", [](Scene& s) { return takeInto(s, SampleLoader::shared().data(0)); }},
        {"IxImageDataLoader.dataRoi",
         [](Scene& s) {
             return takeInto(s, SampleLoader::shared().dataRoi({2, 2, 9, 8}, 0));
         }},
        {"IxImageDataLoader.loadThumbnail",
         [](Scene& s) {
             return takeInto(s, SampleLoader::shared().loadThumbnail(0, {9, 9}));
         }},
        {"IxImageDataLoader.loadRoi",
         [](Scene& s) {
             return SampleLoader::shared().loadRoi({2, 2, 9, 8}, 0, s.made.image());
         }},
        {"IxImageDataLoader.loadHistogram",
         [](Scene& s) {
             ep::CxImageHistogram histogram;
             const bool done = SampleLoader::shared().loadHistogram(0, histogram);
             s.say(histogram.levelCount);
             return done;
         }},
        {"IxImageDataLoader.loadMetadata, IxImageDataLoader.globalMetadata",
         [](Scene& s) {
             ep::CxMetadata metadata;
             const bool done =
                 SampleLoader::shared().loadMetadata(0, metadata) && SampleLoader::shared().globalMetadata(metadata);
             s.say(metadata.items().size());
             return done;
         }},
        {"IxDataLoader.importMetadata",
         [](Scene&) {
             ep::CxMetadata metadata;
             return SampleLoader::shared().importMetadata(metadata) && !metadata.isEmpty();
         },
         Fails::ByResult, Requests::Everything},
    };
}

std::vector<Operation> saving()
{
    return {
        {"IxDataSaver.IxDataSaver, IxDataSaver.acceptsInterleavedChannels, IxDataSaver.open, IxDataSaver.close, "
         "IxDataSaver.isSequenceSaver, IxDataSaver.metadataSubdir, IxDataSaver.setMetadataSubdir, "
         "IxDataSaver.optionsFromSaveDlg, IxDataSaver.setSequenceSize, IxDataSaver.supportsSaveToBuffer, "
         "IxDataSaver.saveToBuffer, IxImageDataSaver.IxImageDataSaver, IxImageDataSaver.defaultOptions, "
         "IxImageDataSaver.save, IxImageDataSaver.setGlobalMetadata",
         [](Scene& s) {
             SampleSaver saver;
             QByteArray bytes;
             saver.setSequenceSize(1);
             saver.setMetadataSubdir(QStringLiteral("folder"));
             saver.setGlobalMetadata(s.metadata);
             s.said = saver.metadataSubdir().toUtf8();
             return saver.open() && saver.close() && saver.acceptsInterleavedChannels() && !saver.isSequenceSaver()
                    && saver.optionsFromSaveDlg({}).isEmpty() && saver.defaultOptions().isEmpty()
                    && !saver.supportsSaveToBuffer() && !saver.saveToBuffer(nullptr, bytes) && !saver.save(nullptr, 0);
         },
         Fails::ByThrowing},
        {"IxDataSaver.exportMetadata", [](Scene& s) { return SampleSaver::shared().exportMetadata(s.metadata); },
         Fails::ByResult, Requests::Everything, SampleSaver::shared().fileName() + QStringLiteral(".xml")},
        {"IxImageDataSaver.saveMetadata, IxImageDataSaver.saveGlobalMetadata",
         [](Scene& s) {
             return SampleSaver::shared().saveMetadata(s.metadata, 0) && SampleSaver::shared().saveGlobalMetadata();
         }},
        {"IxDataSaver.remove", [](Scene&) { return !SampleSaver().remove(); }, Fails::ByThrowing},
    };
}

std::vector<Operation> files(const QString& folder)
{
    const QString file = folder + QStringLiteral("/written.sample");
    const QString read = folder + QStringLiteral("/read.sample");
    return {
        {"CxSafeFile.CxSafeFile, CxSafeFile.create, CxSafeFile.commit (after one that is given up)",
         [file](Scene&) {
             ep::SxFileError error;
             ep::CxSafeFile safe(file);
             return ep::CxSafeFile(file).create(error) && safe.create(error) && safe.commit(false, error);
         },
         Fails::ByResult, Requests::Everything, file},
        {"CxImageFormatManager.saveImageToFile",
         [file](Scene& s) {
             return Manager::saveImageToFile(file, s.mask.image(), &s.metadata, nullptr, false, QString());
         },
         Fails::ByResult, Requests::Everything, file},
        {"CxImageFormatManager.loadImageFromFile",
         [read](Scene& s) {
             ep::CxMetadata metadata;
             return Manager::loadImageFromFile(read, s.made.image(), &metadata);
         }},
        {"CxImageFormatManager.addPluginFolder",
         [folder](Scene&) {
             Manager::instance()->addPluginFolder(folder);
             return true;
         },
         Fails::ByThrowing},
        // The last one: nothing is saved in this process any more.
        {"CxSafeFile.abandonAll",
         [](Scene&) {
             ep::CxSafeFile::abandonAll();
             return true;
         },
         Fails::Never},
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
    void theTestSeesALeak();
    void cleanupTestCase() { qInfo("%s", qPrintable(lowMemoryFigures())); }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<ep::CxSafeFile> m_unfinished;
    std::vector<Operation> m_operations;
};

void LowMemoryTest::initTestCase()
{
    const Scene scene;
    ep::CxRtti& registry = *ep::CxRtti::instance();
    registry.registerClass(nullptr, SampleLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    registry.registerClass(nullptr, SampleSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
    const QString file = m_folder.filePath(QStringLiteral("read.sample"));
    QVERIFY(Manager::saveImageToFile(file, scene.mask.image(), nullptr, nullptr, false, QString()));
    SampleLoader::shared().setFileName(file);
    QVERIFY(SampleLoader::shared().open());
    SampleSaver::shared().setFileName(file);
    SampleSaver::shared().setGlobalMetadata(fullMetadata());
    QVERIFY(SampleSaver::shared().saveGlobalMetadata());
    ep::SxFileError error;
    m_unfinished = std::make_unique<ep::CxSafeFile>(m_folder.filePath(QStringLiteral("unfinished")));
    QVERIFY(m_unfinished->create(error));
    for (const auto& more : {buffers(), containers(fullMetadata().saveToXml(2)), registering(), loading(), saving(),
                             files(m_folder.path())})
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
    // Kernels for the other libraries of this system, whose operations call them.
    const QStringList excluded{QStringLiteral("internal.")};
    QCOMPARE(unlisted(QStringLiteral(ORN_LIBRARY), QStringLiteral("ep::"), m_operations, excluded), QStringList());
}

void LowMemoryTest::theTestSeesALeak()
{
    if (!areAllRequestsSeen)
        QSKIP("the sanitizer sees leaks");
    for (const Requests requests : {Requests::Images, Requests::Ours, Requests::Everything}) {
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
