// MAT files that other programs load and save again are still the same images with the same metadata.

#include <orn/Init.h>

#include "FullMetadata.h"
#include "OwnMat.h"
#include "SavedMat.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QDomDocument>
#include <QtTest>

#include <map>

using Manager = ep::CxImageFormatManager;

namespace {

// Each program gets the folder of our files, and writes each file of it anew into two others.
const char* const sciPy = R"(
import glob, os, sys
from scipy.io import loadmat, savemat
source, plain, compressed = sys.argv[1:]
for path in glob.glob(os.path.join(source, '*.mat')):
    variables = {k: v for k, v in loadmat(path).items() if not k.startswith('__')}
    savemat(os.path.join(plain, os.path.basename(path)), variables)
    savemat(os.path.join(compressed, os.path.basename(path)), variables, do_compression=True)
)";

const char* const octave = R"(
folders = argv();
files = glob(fullfile(folders{1}, '*.mat'));
for i = 1:numel(files)
    [~, name, extension] = fileparts(files{i});
    variables = load(files{i});
    save('-v6', fullfile(folders{2}, [name extension]), '-struct', 'variables');
    save('-v7', fullfile(folders{3}, [name extension]), '-struct', 'variables');
end
)";

}  // namespace

class MatStrangersTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void sameImageAndMetadata_data();
    void sameImageAndMetadata();

private:
    void runOnOurs(const char* program, const char* name, const char* script, const QStringList& folders);
    void addImage(const QString& name, const ep::SxImageInfo& info);
    void writeTextAsItIs(const QString& name);
    QString folder(const char* name) const { return m_folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir m_folder;
    std::map<QString, ep::CxScopedBuffer> m_images;
};

void MatStrangersTest::addImage(const QString& name, const ep::SxImageInfo& info)
{
    m_images.emplace(name, testing::plainNumbers(info));
}

/** Saves an image anew with metadata that is not kept to ASCII. */
void MatStrangersTest::writeTextAsItIs(const QString& name)
{
    const QString path = folder("ours/%1.mat").arg(name);
    QDomDocument document;
    QVERIFY(document.setContent(testing::SavedMat(path).text(QStringLiteral("ep_image_metadata"))));
    const QString xml = document.toString(-1);
    QVERIFY(xml.toUtf8().size() > xml.size() + 10);
    testing::MatWriter file(path);
    QVERIFY(file.add(m_images.at(name).image(), true) && file.addMetadata(xml));
}

void MatStrangersTest::initTestCase()
{
    orn::Init();
    for (const char* name : {"ours", "scipy plain", "scipy compressed", "octave v6", "octave v7"})
        QVERIFY(QDir(m_folder.path()).mkdir(QString::fromLatin1(name)));
    for (int type = ep::DataTypeInt8; type <= ep::DataTypeDouble; ++type) {
        const QString name = QString::fromLatin1(ep::sampleFacts(type).name);
        addImage(name + QStringLiteral(" one plane"), testing::describe(ep::ExImageDataType(type), 7, 5));
        addImage(name + QStringLiteral(" three planes"),
                 testing::describe(ep::ExImageDataType(type), 7, 5, 3, ep::LayoutPlanar));
        ep::SxImageInfo mosaic = testing::describe(ep::ExImageDataType(type), 8, 6);
        mosaic.bayerGrid = ep::BayerGridGBRG;
        addImage(name + QStringLiteral(" mosaic"), mosaic);
    }
    const QString nonAscii = QStringLiteral("text as it is");
    addImage(nonAscii, testing::describe(ep::DataTypeUInt16, 7, 5, 3, ep::LayoutPlanar));
    addImage(QStringLiteral("one row"), testing::describe(ep::DataTypeUInt16, 9, 1));
    addImage(QStringLiteral("one column"), testing::describe(ep::DataTypeUInt16, 1, 9));
    addImage(QStringLiteral("one sample"), testing::describe(ep::DataTypeDouble, 1, 1));

    const ep::CxMetadata metadata = testing::fullMetadata();
    for (const auto& entry : m_images) {
        ep::SxFileError error;
        QVERIFY2(Manager::saveImageToFile(folder("ours/%1.mat").arg(entry.first), entry.second.image(), &metadata,
                                          nullptr, false, QString(), &error),
                 qPrintable(error.reason));
    }
    writeTextAsItIs(nonAscii);
    runOnOurs(ORN_PYTHON, "judge.py", sciPy, {folder("scipy plain"), folder("scipy compressed")});
    runOnOurs(ORN_OCTAVE, "judge.m", octave, {folder("octave v6"), folder("octave v7")});
}

void MatStrangersTest::runOnOurs(const char* program, const char* name, const char* script, const QStringList& folders)
{
    QFile file(folder(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(script), qint64(qstrlen(script)));
    file.close();
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QString::fromLocal8Bit(program), QStringList{file.fileName(), folder("ours")} + folders);
    QVERIFY2(process.waitForFinished(240000), qPrintable(process.errorString()));
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, process.readAll().constData());
}

void MatStrangersTest::sameImageAndMetadata_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("name");
    for (const char* program : {"scipy plain", "scipy compressed", "octave v6", "octave v7"})
        for (const auto& entry : m_images)
            QTest::newRow((QByteArray(program) + ", " + entry.first.toLatin1()).constData())
                << QString::fromLatin1(program) << entry.first;
}

void MatStrangersTest::sameImageAndMetadata()
{
    QFETCH(QString, program);
    QFETCH(QString, name);
    const QString ours = folder("ours/%1.mat").arg(name);
    const QString theirs = m_folder.filePath(QStringLiteral("%1/%2.mat").arg(program, name));
    const ep::SxImageBuf& image = m_images.at(name).image();

    ep::SxFileError error;
    ep::CxScopedBuffer read;
    ep::CxMetadata metadata;
    QVERIFY2(Manager::loadImageFromFile(theirs, read.image(), &metadata, nullptr, &error), qPrintable(error.reason));
    QVERIFY(ep::SameSamples(read.image(), image));
    ep::CxScopedBuffer direct;
    ep::CxMetadata directMetadata;
    QVERIFY2(Manager::loadImageFromFile(ours, direct.image(), &directMetadata, nullptr, &error),
             qPrintable(error.reason));
    QCOMPARE(int(read->layout), int(direct->layout));
    QCOMPARE(int(read->bayerGrid), int(direct->bayerGrid));
    QCOMPARE(read->bitDepth, direct->bitDepth);
    QCOMPARE(metadata.saveToXml(1), directMetadata.saveToXml(1));
    QVERIFY(!metadata.isEmpty());
}

QTEST_GUILESS_MAIN(MatStrangersTest)
#include "MatStrangersTest.moc"
