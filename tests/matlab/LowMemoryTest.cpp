// Memory that runs out at any request of what is exported for MAT files: a failure, inputs as they were, nothing
// leaked. The requests are those of this system and of Qt: matio reads and writes through what it did not get.

#include "LowMemory.h"

#include "FullMetadata.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <orn/orn_core.h>

#include <ep/CxImageData.h>

#include <QDomDocument>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using namespace orn::matlab;

namespace {

constexpr Requests ours = Requests::Ours;

/** The files in the folder of the test. */
struct Files {
    QString image;    // several planes, with metadata
    QString mosaic;   // four planes that become one
    QString foreign;  // without metadata
    QString entropy;  // three planes
    QString out;
};

std::vector<Operation> functions(const Files& files)
{
    return {
        {"MatOpenWrite, AddImage, AddVar, MatClose",
         [file = files.out](Scene& s) {
             double numbers[] = {1, 2, 3, 4};
             ep::SxImageInfo written{};
             void* const mat = MatOpenWrite(file);
             if (!mat)
                 return false;
             const bool done = AddImage(mat, s.planes.image(), QStringLiteral("image"), true, written, false)
                               && AddImage(mat, s.mosaic.image(), QStringLiteral("mosaic"), false, written, false)
                               && AddVar(mat, QStringLiteral("text"), QStringLiteral("a_text"))
                               && AddVar(mat, numbers, 2, 2, QStringLiteral("some_numbers"));
             return MatClose(mat) && done;
         },
         Fails::ByResult, ours},
        {"MatOpenRead", [file = files.image](Scene&) { return MatClose(MatOpenRead(file)); }, Fails::ByResult, ours},
        {"SaveEntropyImageToMat",
         [file = files.out](Scene& s) {
             return SaveEntropyImageToMat(s.doubles.image(), QStringLiteral("PIG"), file, false);
         },
         Fails::ByResult, ours},
        {"LoadEntropyImageFromMat",
         [file = files.entropy](Scene& s) {
             return LoadEntropyImageFromMat(QStringLiteral("PIG"), file, s.made.image());
         },
         Fails::ByResult, ours},
        {"ListMatVariables",
         [file = files.image](Scene& s) {
             QVector<MatVariable> variables;
             const bool done = ListMatVariables(file, variables, nullptr);
             s.say(variables.size());
             return done;
         },
         Fails::ByResult, ours},
    };
}

std::vector<Operation> loading(const Files& files)
{
    const auto load = [](const QString& file, int channels) {
        return [file, channels](Scene& s) {
            bool isEntropy = false;
            ep::CxMetadata metadata;
            const bool done = LoadImageFromMat(file, s.made.image(), isEntropy, &metadata);
            // Without memory for the whole mosaic its planes are handed out.
            return done && s.made->channels == channels;
        };
    };
    return {
        {"LoadImageFromMat (planes)", load(files.image, 3), Fails::ByResult, ours},
        {"LoadImageFromMat (a mosaic)", load(files.mosaic, 1), Fails::ByResult, ours},
        {"LoadImageFromMat (a foreign file)", load(files.foreign, 1), Fails::ByResult, ours},
        {"LoadImageFromMat (an entropy image)", load(files.entropy, 1), Fails::ByResult, ours},
        {"CxMatlabImageLoader.CxMatlabImageLoader, CxMatlabImageLoader.formats, CxMatlabImageLoader.fileName, "
         "CxMatlabImageLoader.setFileName, CxMatlabImageLoader.frameCount, CxMatlabImageLoader.frameRate, "
         "CxMatlabImageLoader.hasRandomAccess, CxMatlabImageLoader.isOpen, CxMatlabImageLoader.close",
         [file = files.image](Scene& s) {
             CxMatlabImageLoader loader;
             loader.setFileName(file);
             s.say(loader.formats().size());
             const bool done = loader.fileName() == file && loader.frameCount() == 1 && loader.frameRate() == 0
                               && loader.hasRandomAccess() && !loader.isOpen();
             loader.close();
             return done;
         },
         Fails::ByThrowing},
        {"CxMatlabImageLoader.open, CxMatlabImageLoader.imageData",
         [file = files.image](Scene& s) {
             static CxMatlabImageLoader loader;
             loader.close();
             loader.setFileName(file);
             loader.open();
             const bool isOpen = loader.isOpen() && !loader.lastError();
             const std::unique_ptr<ep::CxImageData> data(isOpen ? loader.imageData(0) : nullptr);
             loader.close();
             if (data)
                 s.made.reset(data->takeImage());
             return data != nullptr;
         },
         Fails::ByResult, ours},
    };
}

std::vector<Operation> saving(const Files& files)
{
    const auto data = std::make_shared<ep::CxImageData>();
    data->setImageShallow(copyOf(Scene().planes.image()).take(), 0, 0, QDateTime());
    data->setMetadata(fullMetadata());
    return {
        {"CxMatlabImageSaver.CxMatlabImageSaver, CxMatlabImageSaver.formats, CxMatlabImageSaver.fileName, "
         "CxMatlabImageSaver.setFileName, CxMatlabImageSaver.setOptions, CxMatlabImageSaver.defaultOptions, "
         "CxMatlabImageSaver.acceptsInterleavedChannels",
         [file = files.out](Scene& s) {
             CxMatlabImageSaver saver;
             saver.setFileName(file);
             saver.setOptions(saver.defaultOptions());
             s.say(saver.formats().size());
             return saver.fileName() == file && !saver.acceptsInterleavedChannels();
         },
         Fails::ByThrowing},
        {"CxMatlabImageSaver.saveImage",
         [data, file = files.out](Scene&) {
             static CxMatlabImageSaver saver;
             saver.setFileName(file);
             return saver.saveImage(data.get()) && !saver.lastError();
         },
         Fails::ByResult, ours},
    };
}

std::vector<Operation> metadata()
{
    return {
        {"CxMatlabImageMetadata.CxMatlabImageMetadata, CxMatlabImageMetadata.clone",
         [](Scene& s) {
             CxMatlabImageMetadata item;
             item.origChannels = 3;
             const std::unique_ptr<ep::IxMetadataItem> copy(item.clone());
             s.say(static_cast<CxMatlabImageMetadata&>(*copy).origChannels);
             return true;
         },
         Fails::ByThrowing},
        {"CxMatlabMetadataSaver.CxMatlabMetadataSaver, CxMatlabMetadataSaver.save, "
         "CxMatlabMetadataSaver.supportedClasses, CxMatlabMetadataLoader.CxMatlabMetadataLoader, "
         "CxMatlabMetadataLoader.load, CxMatlabMetadataLoader.supportedClasses",
         [](Scene& s) {
             CxMatlabMetadataSaver saver;
             CxMatlabMetadataLoader loader;
             CxMatlabImageMetadata item;
             item.savedChannels = 4;
             QDomDocument document;
             QDomElement element = document.createElement(QStringLiteral("item"));
             CxMatlabImageMetadata again;
             const bool done = saver.save(document, element, &item) && loader.load(element, &again);
             s.say(again.savedChannels);
             return done && saver.supportedClasses() == loader.supportedClasses();
         },
         Fails::ByThrowing},
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
    orn::Init();
    const Scene scene;
    const Files files{path("image.mat"), path("mosaic.mat"), path("foreign.mat"), path("entropy.mat"), path("out.mat")};
    const ep::CxMetadata full = fullMetadata();
    QVERIFY(orn::SaveImageToFile(files.image, scene.photo.image(), &full, nullptr));
    QVERIFY(orn::SaveImageToFile(files.mosaic, scene.mosaic.image(), &full, nullptr));
    QVERIFY(MatWriter(files.foreign).add(scene.doubles.image(), false, false, QStringLiteral("matrix")));
    QVERIFY(SaveEntropyImageToMat(scene.doubles.image(), QStringLiteral("PIG"), files.entropy, false));
    for (const auto& more : {functions(files), loading(files), saving(files), metadata()})
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
    QCOMPARE(unlisted(QStringLiteral(ORN_LIBRARY), QStringLiteral("orn::matlab::"), m_operations, {}), QStringList());
}

QTEST_GUILESS_MAIN(LowMemoryTest)
#include "LowMemoryTest.moc"
