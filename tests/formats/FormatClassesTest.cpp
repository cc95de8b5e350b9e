// What every loader and saver answers besides its samples, asked the way hosts ask that do without the manager.
#include "CameraImages.h"
#include "Files.h"
#include "FormatPlugin.h"
#include "NumberedImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>
#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

constexpr char matLoader[] = "orn::matlab::CxMatlabImageLoader";

struct Format {
    const char* suffix;
    const char* loader;
    const char* saver;
    ep::ExImageDataType type;
    int channels;
};

constexpr Format formats[] = {
    {"mat", matLoader, "orn::matlab::CxMatlabImageSaver", ep::DataTypeUInt16, 1},
    {"tif", "ep::tiff::CxTiffImageLoader", "ep::tiff::CxTiffImageSaver", ep::DataTypeUInt16, 3},
    {"dng", "ep::tiff::CxDngImageLoader", "ep::tiff::CxDngImageSaver", ep::DataTypeUInt16, 1},
    {"dng", "ep::raw::CxRawImageLoader", "ep::tiff::CxDngImageSaver", ep::DataTypeUInt16, 1},
    {"fits", "ep::fits::CxFitsImageLoader", "ep::fits::CxFitsImageSaver", ep::DataTypeDouble, 1},
    {"pam", "ep::pnm::CxPnmImageLoader", "ep::pnm::CxPnmImageSaver", ep::DataTypeUInt16, 4},
    {"png", "ep::oiio::CxOiioImageLoader", "ep::oiio::CxOiioImageSaver", ep::DataTypeUInt16, 3},
    {"exr", "ep::oiio::CxOiioImageLoader", "ep::oiio::CxOiioImageSaver", ep::DataTypeFloat, 3},
};

/** One image whatever frame is asked for, and the count of frames is 1 also without a file. */
bool ignoresFrames(const Format& format)
{
    return qstrcmp(format.loader, matLoader) == 0;
}

std::unique_ptr<ep::IxImageDataLoader> loaderOf(const Format& format)
{
    return makeRegistered<ep::IxImageDataLoader>(format.loader, "IxImageDataLoader");
}

std::unique_ptr<ep::IxImageDataSaver> saverOf(const Format& format)
{
    return makeRegistered<ep::IxImageDataSaver>(format.saver, "IxImageDataSaver");
}

ep::CxScopedBuffer imageFor(const Format& format)
{
    ep::CxScopedBuffer image = noise(format.type, ep::sampleFacts(format.type).bits, format.channels);
    if (qstrcmp(format.suffix, "dng") == 0) {
        image->bayerGrid = ep::BayerGridGBRG;
        image->patternWidth = image->patternHeight = 2;
    }
    return image;
}

}  // namespace

class FormatClassesTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void anOpenLoaderTellsOfItsFile_data() { addFormats(); }
    void anOpenLoaderTellsOfItsFile();
    void aClosedLoaderHasNothing_data() { addFormats(); }
    void aClosedLoaderHasNothing();
    void aMissingFileIsAReason_data() { addFormats(); }
    void aMissingFileIsAReason();
    void aSaverSaysWhatItCan_data() { addFormats(); }
    void aSaverSaysWhatItCan();
    void nothingIsNotSaved_data() { addFormats(); }
    void nothingIsNotSaved();

private:
    static void addFormats();
    QString path(const Format& format) const
    {
        return m_folder.filePath(QStringLiteral("image.") + QLatin1String(format.suffix));
    }
    QTemporaryDir m_folder;
};

void FormatClassesTest::addFormats()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Format& format : formats)
        QTest::addRow("%s by %s", format.suffix, format.loader) << index++;
}

void FormatClassesTest::initTestCase()
{
    QVERIFY(orn::Init());
    for (const char* plugin : {"tiff", "raw", "fits", "pnm", "oiio"})
        loadFormatPlugin(QLatin1String(plugin));
    for (const Format& format : formats) {
        const ep::CxScopedBuffer image = imageFor(format);
        const ep::CxMetadata metadata = cameraMetadata(image.image());
        ep::SxFileError error;
        QVERIFY2(Manager::saveImageToFile(path(format), image.image(), &metadata, nullptr, false, QString(), &error),
                 qPrintable(error.reason));
    }
}

void FormatClassesTest::anOpenLoaderTellsOfItsFile()
{
    QFETCH(int, index);
    const auto loader = loaderOf(formats[index]);
    const QString file = path(formats[index]);
    const QString name = QFileInfo(file).fileName();
    loader->setFileName(file);
    loader->open();
    QVERIFY2(loader->isOpen(), qPrintable(loader->lastError().reason));
    QCOMPARE(loader->fileName(), file);
    QCOMPARE(loader->frameCount(), 1);
    QCOMPARE(loader->frameName(0), name);
    QCOMPARE(loader->index(name), 0);
    QCOMPARE(loader->index(QStringLiteral("another")), -1);
    QCOMPARE(loader->frameRate(), 0.0);
    QVERIFY(loader->hasRandomAccess());
    QVERIFY(!loader->isMultiFileSequence());
    for (const int frame : {-1, 1, 1000}) {
        const std::unique_ptr<ep::CxImageData> data(loader->imageData(frame));
        QCOMPARE(data != nullptr, ignoresFrames(formats[index]));
    }
    const ep::CxScopedBuffer saved = imageFor(formats[index]);
    // As often as it is asked for.
    for (int i = 0; i < 2; ++i) {
        const std::unique_ptr<ep::CxImageData> data(loader->imageData(0));
        QVERIFY(data);
        QVERIFY(ep::SameSamples(saved.image(), data->image()));
    }
    ep::CxMetadata ofImage;
    ep::CxMetadata ofFile;
    QVERIFY(loader->loadMetadata(0, ofImage) && !ofImage.isEmpty());
    QVERIFY(!loader->loadMetadata(1, ofImage));
    QVERIFY(loader->globalMetadata(ofFile) && !ofFile.isEmpty());
}

void FormatClassesTest::aClosedLoaderHasNothing()
{
    QFETCH(int, index);
    const auto loader = loaderOf(formats[index]);
    QVERIFY(!loader->isOpen());
    QVERIFY(!loader->imageData(0));
    QCOMPARE(loader->frameCount(), ignoresFrames(formats[index]) ? 1 : 0);
    loader->close();
    loader->setFileName(path(formats[index]));
    QVERIFY(!loader->isOpen());
    loader->open();
    QVERIFY(loader->isOpen());
    loader->setFileName(QStringLiteral("another"));
    QVERIFY(loader->isOpen());
    loader->close();
    QVERIFY(!loader->isOpen());
    QVERIFY(!loader->imageData(0));
    QCOMPARE(loader->frameCount(), ignoresFrames(formats[index]) ? 1 : 0);
}

void FormatClassesTest::aMissingFileIsAReason()
{
    QFETCH(int, index);
    const auto loader = loaderOf(formats[index]);
    loader->setFileName(m_folder.filePath(QStringLiteral("none.") + QLatin1String(formats[index].suffix)));
    loader->open();
    QVERIFY(!loader->isOpen());
    QCOMPARE(int(loader->lastError().kind), int(ep::ExFileError::Unreadable));
    QVERIFY(!loader->lastError().reason.isEmpty());
}

void FormatClassesTest::aSaverSaysWhatItCan()
{
    QFETCH(int, index);
    const auto saver = saverOf(formats[index]);
    const QString file = m_folder.filePath(QStringLiteral("again.") + QLatin1String(formats[index].suffix));
    saver->setFileName(file);
    QCOMPARE(saver->fileName(), file);
    QVERIFY(!saver->isSequenceSaver());
    // What a saver calls its defaults changes nothing.
    ep::CxScopedBuffer image = imageFor(formats[index]);
    ep::CxMetadata metadata = cameraMetadata(image.image());
    const auto data = imageDataOf(std::move(image));
    data->setMetadata(std::move(metadata));
    QVERIFY2(saver->save(data.get(), 0), qPrintable(saver->lastError().reason));
    const QByteArray written = readFile(file);
    saver->setOptions(saver->defaultOptions());
    QVERIFY2(saver->save(data.get(), 0), qPrintable(saver->lastError().reason));
    // The head of a MAT file and the tags of a DNG file may hold the time.
    QCOMPARE(readFile(file).size(), written.size());
    QByteArray inMemory;
    QCOMPARE(saver->saveToBuffer(data.get(), inMemory), saver->supportsSaveToBuffer());
    if (saver->supportsSaveToBuffer())
        QCOMPARE(inMemory, written);
    QVERIFY(saver->remove());
    QVERIFY(!QFile::exists(file));
}

void FormatClassesTest::nothingIsNotSaved()
{
    QFETCH(int, index);
    const auto saver = saverOf(formats[index]);
    const QString file = m_folder.filePath(QStringLiteral("nothing.") + QLatin1String(formats[index].suffix));
    saver->setFileName(file);
    const ep::CxImageData empty;
    QVERIFY(!saver->save(nullptr, 0));
    QVERIFY(!saver->save(&empty, 0));
    QByteArray content;
    QVERIFY(!saver->saveToBuffer(&empty, content));
    QVERIFY(content.isEmpty());
    // A MAT file is begun before its image is looked at.
    QCOMPARE(QFile::exists(file), ignoresFrames(formats[index]));
}

QTEST_GUILESS_MAIN(FormatClassesTest)
#include "FormatClassesTest.moc"
