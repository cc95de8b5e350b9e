// What the MAT image saver answers when it cannot save. A matio that refuses single variables is played by the
// Mat_VarCreate of this program, which the library then calls instead of matio's.

#include <orn/matlab/CxMatlabImageSaver.h>

#include <orn/Init.h>

#include "LogCapture.h"
#include "SavedMat.h"
#include "TestImages.h"

#include <ep/CxImageData.h>

#include <QtTest>

#include <dlfcn.h>

#include <matio.h>

namespace {

const char* refusedVariable = nullptr;

/** Lets matio refuse the variable of one name while it lives. */
class Refusal {
public:
    explicit Refusal(const char* name) { refusedVariable = name; }
    ~Refusal() { refusedVariable = nullptr; }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;
};

}  // namespace

extern "C" Q_DECL_EXPORT matvar_t* Mat_VarCreate(const char* name, enum matio_classes matClass, enum matio_types type,
                                                 int rank, size_t* dims, void* data, int options)
{
    static const auto create = reinterpret_cast<decltype(&Mat_VarCreate)>(dlsym(RTLD_NEXT, "Mat_VarCreate"));
    if (refusedVariable && qstrcmp(name, refusedVariable) == 0)
        return nullptr;
    return create(name, matClass, type, rank, dims, data, options);
}

using orn::matlab::CxMatlabImageSaver;

namespace {

/** Data that is not an image. */
class OtherData : public ep::IxData {
    Q_OBJECT
public:
    ep::IxData* clone(int) const override { return new OtherData; }
};

std::unique_ptr<ep::CxImageData> dataOf(const ep::SxImageInfo& info)
{
    auto data = std::make_unique<ep::CxImageData>();
    data->setImageShallow(testing::randomImage(info).take(), 0, 0, QDateTime());
    return data;
}

}  // namespace

class CxMatlabImageSaverFailuresTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void whatIsNoImageIsRefused_data();
    void whatIsNoImageIsRefused();
    void aFileThatCannotBeCreated_data();
    void aFileThatCannotBeCreated();
    void imagesThatMatCannotHold_data();
    void imagesThatMatCannotHold();
    void metadataThatCannotBeWritten();
    void aPlaneThatCannotBeWritten();
    void aFullDiskIsNoticedThoughTheSaveSucceeds();
    void aSuccessForgetsTheFailureBefore();

private:
    QString path(const char* name) const { return m_folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir m_folder;
};

void CxMatlabImageSaverFailuresTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    orn::Init();
}

void CxMatlabImageSaverFailuresTest::whatIsNoImageIsRefused_data()
{
    QTest::addColumn<bool>("isNull");
    QTest::newRow("null") << true;
    QTest::newRow("data of another kind") << false;
}

void CxMatlabImageSaverFailuresTest::whatIsNoImageIsRefused()
{
    QFETCH(bool, isNull);
    const OtherData other;
    testing::LogCapture log;
    CxMatlabImageSaver saver;
    saver.setFileName(path("none.mat"));
    QCOMPARE(saver.saveImage(isNull ? nullptr : &other), false);
    QVERIFY(saver.lastError().kind == ep::ExFileError::Refused);
    QVERIFY(!saver.lastError().reason.isEmpty());
    QCOMPARE(saver.expectedFileSize(), qint64(0));
    QVERIFY(!QFileInfo::exists(path("none.mat")));
    QCOMPARE(log.criticals(), QStringList());
}

void CxMatlabImageSaverFailuresTest::aFileThatCannotBeCreated_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("no name") << QString();
    QTest::newRow("a folder that is not there") << QStringLiteral("missing/image.mat");
    QTest::newRow("a folder") << QStringLiteral(".");
}

void CxMatlabImageSaverFailuresTest::aFileThatCannotBeCreated()
{
    QFETCH(QString, file);
    const auto data = dataOf(testing::describe(ep::DataTypeUInt8, 3, 2));
    testing::LogCapture log;
    CxMatlabImageSaver saver;
    saver.setFileName(file.isEmpty() ? file : m_folder.filePath(file));
    QCOMPARE(saver.saveImage(data.get()), false);
    QVERIFY(saver.lastError().kind == ep::ExFileError::Unwritable);
    QVERIFY(!saver.lastError().reason.isEmpty());
    QCOMPARE(log.criticals(), QStringList());
}

void CxMatlabImageSaverFailuresTest::imagesThatMatCannotHold_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("grid");
    QTest::newRow("complex samples") << int(ep::DataTypeComplex) << int(ep::BayerGridNone);
    QTest::newRow("a cell without width") << int(ep::DataTypeUInt8) << int(ep::BayerGridCell);
    QTest::newRow("no image at all") << int(ep::DataTypeNone) << int(ep::BayerGridNone);
}

void CxMatlabImageSaverFailuresTest::imagesThatMatCannotHold()
{
    QFETCH(int, type);
    QFETCH(int, grid);
    ep::CxImageData data;
    if (type != ep::DataTypeNone) {
        ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::ExImageDataType(type), 4, 4));
        image->bayerGrid = ep::ExBayerGrid(grid);
        data.setImageShallow(image.take(), 0, 0, QDateTime());
    }
    testing::LogCapture log;
    CxMatlabImageSaver saver;
    saver.setFileName(path("refused.mat"));
    QCOMPARE(saver.saveImage(&data), false);
    QVERIFY(saver.lastError().kind == ep::ExFileError::Refused);
    QVERIFY(!saver.lastError().reason.isEmpty());
    QCOMPARE(saver.expectedFileSize(), qint64(0));
    QCOMPARE(log.criticals(), QStringList());
    // The file was created, and is closed without a variable.
    QVERIFY(QFileInfo::exists(path("refused.mat")));
    QCOMPARE(testing::SavedMat(path("refused.mat")).names(), QStringList());
}

void CxMatlabImageSaverFailuresTest::metadataThatCannotBeWritten()
{
    const auto data = dataOf(testing::describe(ep::DataTypeUInt8, 3, 2));
    testing::LogCapture log;
    const Refusal refusal("ep_image_metadata");
    CxMatlabImageSaver saver;
    saver.setFileName(path("bare.mat"));
    QCOMPARE(saver.saveImage(data.get()), true);
    QCOMPARE(log.criticals(),
             QStringList(testing::LogCapture::errorLine(QStringLiteral("Failed to save the image metadata."))));
    QVERIFY(!log.namesSources());
    QVERIFY(saver.lastError().kind == ep::ExFileError::Unwritable);
    QCOMPARE(testing::SavedMat(path("bare.mat")).names(), QStringList(QStringLiteral("ep_image_channel_1")));
}

void CxMatlabImageSaverFailuresTest::aPlaneThatCannotBeWritten()
{
    const auto data = dataOf(testing::describe(ep::DataTypeUInt8, 3, 2, 3, ep::LayoutPlanar));
    testing::LogCapture log;
    const Refusal refusal("ep_image_channel_2");
    CxMatlabImageSaver saver;
    saver.setFileName(path("part.mat"));
    QCOMPARE(saver.saveImage(data.get()), false);
    QVERIFY(saver.lastError());
    QCOMPARE(log.criticals(), QStringList());
    QCOMPARE(testing::SavedMat(path("part.mat")).names(), QStringList(QStringLiteral("ep_image_channel_1")));
}

void CxMatlabImageSaverFailuresTest::aFullDiskIsNoticedThoughTheSaveSucceeds()
{
    const auto data = dataOf(testing::describe(ep::DataTypeDouble, 100, 100));
    CxMatlabImageSaver saver;
    saver.setFileName(QStringLiteral("/dev/full"));
    QCOMPARE(saver.saveImage(data.get()), true);
    QVERIFY(saver.lastError().kind == ep::ExFileError::Unwritable);
    QVERIFY(!saver.lastError().reason.isEmpty());
    QVERIFY(saver.expectedFileSize() > 8 * 100 * 100);
}

void CxMatlabImageSaverFailuresTest::aSuccessForgetsTheFailureBefore()
{
    CxMatlabImageSaver saver;
    QVERIFY(!saver.saveImage(nullptr));
    QVERIFY(saver.lastError());
    saver.setFileName(path("good.mat"));
    QVERIFY(saver.saveImage(dataOf(testing::describe(ep::DataTypeUInt8, 3, 2)).get()));
    QVERIFY(!saver.lastError());
    QVERIFY(saver.expectedFileSize() > 0);
}

QTEST_GUILESS_MAIN(CxMatlabImageSaverFailuresTest)
#include "CxMatlabImageSaverFailuresTest.moc"
