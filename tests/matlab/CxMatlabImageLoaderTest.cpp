#include <orn/matlab/CxMatlabImageLoader.h>

#include <orn/Init.h>
#include <orn/matlab/AddImage.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/CxMatlabImageSaver.h>
#include <orn/matlab/EntropyImage.h>
#include <orn/matlab/MatFile.h>

#include "TestImages.h"

#include <ep/CxImageData.h>
#include <ep/SameSamples.h>

#include <QtTest>

#include <functional>
#include <memory>

using orn::matlab::CxMatlabImageLoader;

namespace {

using ImageData = std::unique_ptr<ep::CxImageData>;

/** Creates the MAT file @p path and lets @p write fill it. */
bool makeMat(const QString& path, const std::function<bool(void*)>& write)
{
    void* mat = orn::matlab::MatOpenWrite(path);
    const bool written = mat && write(mat);
    return orn::matlab::MatClose(mat) && written;
}

/** Stores @p image with its metadata, as the saver of MAT files does. */
bool saveMat(const QString& path, ep::CxScopedBuffer image)
{
    ep::CxImageData data;
    data.setImageShallow(image.take(), 0, 0, QDateTime());
    orn::matlab::CxMatlabImageSaver saver;
    saver.setFileName(path);
    return saver.saveImage(&data);
}

}  // namespace

class CxMatlabImageLoaderTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void aNewLoaderIsClosed();
    void itServesMatFiles();
    void answersOfAStill();
    void aMissingFileIsNotOpened();
    void aFailedOpenKeepsTheEarlierImage();
    void aFileWithoutAMatrixIsOpenWithoutAnImage_data();
    void aFileWithoutAMatrixIsOpenWithoutAnImage();
    void failuresSayWhy_data();
    void failuresSayWhy();
    void theMemoryLimitIsForTheImageAlone();
    void aPlanarImageIsHandedOverAsItIs_data();
    void aPlanarImageIsHandedOverAsItIs();
    void copiesBelongToTheCaller();
    void setFileNameDoesNotReload();
    void closing();
    void theOptionNamesTheVariables();

private:
    QString path(const char* name) const { return m_folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir m_folder;
};

void CxMatlabImageLoaderTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    orn::Init();
}

void CxMatlabImageLoaderTest::aNewLoaderIsClosed()
{
    CxMatlabImageLoader loader;
    QVERIFY(!loader.isOpen());
    QCOMPARE(loader.fileName(), QString());
    QVERIFY(!loader.imageData(0));
    QVERIFY(!loader.lastError());
    loader.setFileName(QStringLiteral("any.mat"));
    QCOMPARE(loader.fileName(), QStringLiteral("any.mat"));
    QVERIFY(!loader.isOpen());
}

void CxMatlabImageLoaderTest::itServesMatFiles()
{
    const QList<QPair<QString, int>> expected{{QStringLiteral("MATLAB matrix (*.mat)"), 1}};
    QCOMPARE(CxMatlabImageLoader().formats(), expected);
}

void CxMatlabImageLoaderTest::answersOfAStill()
{
    const QString file = path("still.mat");
    QVERIFY(saveMat(file, testing::randomImage(testing::describe(ep::DataTypeUInt8, 5, 3))));
    CxMatlabImageLoader loader;
    loader.setFileName(file);
    for (const bool open : {false, true}) {
        QCOMPARE(loader.isOpen(), open);
        QCOMPARE(loader.frameCount(), 1);
        QCOMPARE(loader.frameRate(), 0.0);
        QCOMPARE(loader.hasRandomAccess(), true);
        QVERIFY(loader.open());
    }
}

void CxMatlabImageLoaderTest::aMissingFileIsNotOpened()
{
    CxMatlabImageLoader loader;
    loader.setFileName(path("missing.mat"));
    QCOMPARE(loader.open(), true);
    QVERIFY(!loader.isOpen());
    QVERIFY(!loader.imageData(0));
    QVERIFY(loader.lastError().kind == ep::ExFileError::Unreadable);
    QVERIFY(!loader.lastError().reason.isEmpty());
}

void CxMatlabImageLoaderTest::aFailedOpenKeepsTheEarlierImage()
{
    const QString file = path("earlier.mat");
    const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeFloat, 4, 6));
    QVERIFY(saveMat(file, testing::randomImage(testing::describe(ep::DataTypeFloat, 4, 6))));
    CxMatlabImageLoader loader;
    loader.setFileName(file);
    QVERIFY(loader.open());
    loader.setFileName(path("missing.mat"));
    QCOMPARE(loader.open(), true);
    QVERIFY(loader.isOpen());
    QVERIFY(loader.lastError().kind == ep::ExFileError::Unreadable);
    const ImageData kept(loader.imageData(0));
    QVERIFY(kept);
    QVERIFY(ep::SameSamples(kept->image(), image.image()));
    QVERIFY(!kept->metadata().isEmpty());

    loader.setFileName(file);
    QVERIFY(loader.open());
    QVERIFY(!loader.lastError());
}

void CxMatlabImageLoaderTest::aFileWithoutAMatrixIsOpenWithoutAnImage_data()
{
    QTest::addColumn<bool>("wasOpen");
    QTest::newRow("of a new loader") << false;
    QTest::newRow("of a loader that held an image, which is gone then") << true;
}

void CxMatlabImageLoaderTest::aFileWithoutAMatrixIsOpenWithoutAnImage()
{
    QFETCH(bool, wasOpen);
    const QString file = path("text.mat");
    QVERIFY(makeMat(
        file, [](void* mat) { return orn::matlab::AddVar(mat, QStringLiteral("only text"), QStringLiteral("note")); }));
    CxMatlabImageLoader loader;
    if (wasOpen) {
        QVERIFY(saveMat(path("before.mat"), testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2))));
        loader.setFileName(path("before.mat"));
        QVERIFY(loader.open());
        QVERIFY(ImageData(loader.imageData(0)));
    }
    loader.setFileName(file);
    QCOMPARE(loader.open(), true);
    QVERIFY(loader.isOpen());
    QVERIFY(!loader.imageData(0));
    QVERIFY(loader.lastError());
    QVERIFY(!loader.lastError().reason.isEmpty());
}

void CxMatlabImageLoaderTest::failuresSayWhy_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<qint64>("memoryLimit");
    QTest::addColumn<int>("kind");
    QTest::newRow("signed 64-bit integers are not served")
        << int(ep::DataTypeInt64) << qint64(0) << int(ep::ExFileError::Unsupported);
    QTest::newRow("unsigned 64-bit integers are not served")
        << int(ep::DataTypeUInt64) << qint64(0) << int(ep::ExFileError::Unsupported);
    QTest::newRow("an image past the memory limit is too large")
        << int(ep::DataTypeDouble) << qint64(8 * 40 * 30 - 1) << int(ep::ExFileError::TooLarge);
    QTest::newRow("an image at the memory limit is read")
        << int(ep::DataTypeDouble) << qint64(8 * 40 * 30) << int(ep::ExFileError::None);
}

void CxMatlabImageLoaderTest::failuresSayWhy()
{
    QFETCH(int, type);
    QFETCH(qint64, memoryLimit);
    QFETCH(int, kind);
    const QString file = path("limits.mat");
    QVERIFY(saveMat(file, testing::randomImage(testing::describe(ep::ExImageDataType(type), 40, 30))));
    CxMatlabImageLoader loader;
    loader.setFileName(file);
    loader.setMemoryLimit(memoryLimit);
    QCOMPARE(loader.open(), true);
    QCOMPARE(int(loader.lastError().kind), kind);
    const bool failed = kind != int(ep::ExFileError::None);
    QCOMPARE(loader.lastError().reason.isEmpty(), !failed);
    QCOMPARE(loader.isOpen(), !failed);
}

// Less than the text of the metadata takes, without which the rows would be reversed.
void CxMatlabImageLoaderTest::theMemoryLimitIsForTheImageAlone()
{
    const ep::SxImageInfo info = testing::describe(ep::DataTypeUInt8, 3, 2);
    QVERIFY(saveMat(path("tiny.mat"), testing::randomImage(info)));
    CxMatlabImageLoader loader;
    loader.setFileName(path("tiny.mat"));
    loader.setMemoryLimit(3 * 2);
    QVERIFY(loader.open());
    const ImageData data(loader.imageData(0));
    QVERIFY(data);
    QVERIFY(ep::SameSamples(data->image(), testing::randomImage(info).image()));
    QVERIFY(!data->metadata().isEmpty());
}

void CxMatlabImageLoaderTest::aPlanarImageIsHandedOverAsItIs_data()
{
    QTest::addColumn<int>("channels");
    QTest::newRow("one plane") << 1;
    QTest::newRow("three planes, which would be packed were they entropies") << 3;
    QTest::newRow("four planes, which would be a mosaic were they entropies") << 4;
}

void CxMatlabImageLoaderTest::aPlanarImageIsHandedOverAsItIs()
{
    QFETCH(int, channels);
    const ep::SxImageInfo info = testing::describe(ep::DataTypeDouble, 6, 4, channels, ep::LayoutPlanar);
    const ep::CxScopedBuffer image = testing::randomImage(info);
    QVERIFY(saveMat(path("planar.mat"), testing::randomImage(info)));
    CxMatlabImageLoader loader;
    loader.setFileName(path("planar.mat"));
    QVERIFY(loader.open());
    const ImageData data(loader.imageData(0));
    QVERIFY(data);
    QVERIFY(data->image().layout == ep::LayoutPlanar);
    QCOMPARE(data->image().channels, channels);
    QVERIFY(ep::SameSamples(data->image(), image.image()));
}

void CxMatlabImageLoaderTest::copiesBelongToTheCaller()
{
    QVERIFY(saveMat(path("copies.mat"), testing::randomImage(testing::describe(ep::DataTypeUInt16, 7, 5))));
    CxMatlabImageLoader loader;
    loader.setFileName(path("copies.mat"));
    const QDateTime before = QDateTime::currentDateTime();
    QVERIFY(loader.open());
    const QDateTime after = QDateTime::currentDateTime();

    // The frame number is not looked at.
    const ImageData first(loader.imageData(0));
    const ImageData second(loader.imageData(-7));
    QVERIFY(first && second);
    QVERIFY(first != second);
    QVERIFY(first->image().data != second->image().data);
    QVERIFY(ep::SameSamples(first->image(), second->image()));
    QVERIFY(!first->parent());
    QCOMPARE(first->frame(), 0);
    QCOMPARE(first->timestamp(), qint64(0));
    QVERIFY(before <= first->dateTime() && first->dateTime() <= after);
    const auto* item = qobject_cast<const orn::matlab::CxMatlabImageMetadata*>(
        first->metadata().findItem(orn::matlab::CxMatlabImageMetadata::staticMetaObject));
    QVERIFY(item);
    QCOMPARE(item->savedChannels, 1);

    loader.close();
    QVERIFY(ep::SameSamples(first->image(), second->image()));
}

void CxMatlabImageLoaderTest::setFileNameDoesNotReload()
{
    QVERIFY(saveMat(path("one.mat"), testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2), 1)));
    double numbers[] = {1, 2, 3, 4, 5, 6};
    QVERIFY(makeMat(path("two.mat"),
                    [&numbers](void* mat) { return orn::matlab::AddVar(mat, numbers, 2, 3, QStringLiteral("A")); }));
    CxMatlabImageLoader loader;
    loader.setFileName(path("one.mat"));
    QVERIFY(loader.open());
    loader.setFileName(path("two.mat"));
    QCOMPARE(loader.fileName(), path("two.mat"));
    QVERIFY(loader.isOpen());
    QCOMPARE(int(ImageData(loader.imageData(0))->image().dataType), int(ep::DataTypeUInt8));

    QVERIFY(loader.open());
    const ImageData data(loader.imageData(0));
    QCOMPARE(int(data->image().dataType), int(ep::DataTypeDouble));
    QCOMPARE(testing::sampleAt<double>(data->image(), 2, 0), 5.0);
    // The second file has no metadata: that of the first is gone.
    QVERIFY(data->metadata().isEmpty());
}

void CxMatlabImageLoaderTest::closing()
{
    QVERIFY(saveMat(path("closing.mat"), testing::randomImage(testing::describe(ep::DataTypeInt16, 3, 2))));
    CxMatlabImageLoader loader;
    loader.close();
    QVERIFY(!loader.isOpen());
    loader.setFileName(path("closing.mat"));
    for (int round = 0; round < 2; ++round) {
        QVERIFY(loader.open());
        QVERIFY(loader.isOpen());
        loader.close();
        QVERIFY(!loader.isOpen());
        QVERIFY(!loader.imageData(0));
    }
    QCOMPARE(loader.fileName(), path("closing.mat"));
}

void CxMatlabImageLoaderTest::theOptionNamesTheVariables()
{
    const ep::SxImageInfo info = testing::describe(ep::DataTypeUInt8, 5, 4, 2, ep::LayoutPlanar);
    const ep::CxScopedBuffer image = testing::randomImage(info);
    ep::CxImageData data;
    data.setImageShallow(testing::randomImage(info).take(), 0, 0, QDateTime());
    orn::matlab::CxMatlabImageSaver saver;
    saver.setFileName(path("named.mat"));
    saver.setOptions({{QStringLiteral("matname"), QStringLiteral("scene")}});
    QVERIFY(saver.saveImage(&data));

    CxMatlabImageLoader loader;
    loader.setFileName(path("named.mat"));
    QVERIFY(loader.open());
    QVERIFY(!loader.isOpen());
    loader.setOptions({{QStringLiteral("matname"), QStringLiteral("scene")}});
    QVERIFY(loader.open());
    const ImageData read(loader.imageData(0));
    QVERIFY(read);
    QVERIFY(ep::SameSamples(read->image(), image.image()));
}

QTEST_GUILESS_MAIN(CxMatlabImageLoaderTest)
#include "CxMatlabImageLoaderTest.moc"
