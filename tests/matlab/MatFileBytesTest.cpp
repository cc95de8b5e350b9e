// Every byte of a saved MAT file is one that was meant.

#include <orn/matlab/CxMatlabImageSaver.h>

#include <orn/Init.h>

#include "SavedMat.h"
#include "TestImages.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>

#include <QtTest>

namespace {

/** The parts of a version 5 file, put together by the rules of the format. */
class FileBytes {
public:
    void matrix(const char* name, qint32 matClass, qint32 type, qint32 rows, qint32 columns, const QByteArray& data)
    {
        QByteArray content = element(6, words({matClass, 0})) + element(5, words({rows, columns}));
        content += element(1, name) + element(type, data);
        m_bytes += words({14, content.size()}) + content;
    }
    const QByteArray& bytes() const { return m_bytes; }

private:
    static QByteArray words(std::initializer_list<qint32> values)
    {
        QByteArray bytes;
        for (const qint32 value : values)
            bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
        return bytes;
    }
    static QByteArray padded(QByteArray bytes)
    {
        while (bytes.size() % 8 != 0)
            bytes.append('\0');
        return bytes;
    }
    static QByteArray element(qint32 type, const QByteArray& data) { return words({type, data.size()}) + padded(data); }
    QByteArray m_bytes;
};

/** The samples of the plane @p plane, column by column, the last row first. */
QByteArray reversedColumns(const ep::SxImageBuf& image, int plane)
{
    QByteArray bytes;
    for (int x = 0; x < image.width; ++x)
        for (int y = image.height - 1; y >= 0; --y)
            bytes.append(reinterpret_cast<const char*>(testing::address(image, x, y, plane)),
                         ep::sampleFacts(image.dataType).bytes);
    return bytes;
}

}  // namespace

class MatFileBytesTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyByteIsMeant_data();
    void everyByteIsMeant();
    void savingAndLoadingIsCleanUnderValgrind();

private:
    QTemporaryDir m_folder;
};

void MatFileBytesTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    orn::Init();
}

void MatFileBytesTest::everyByteIsMeant_data()
{
    QTest::addColumn<QString>("make");
    QTest::addColumn<QString>("baseName");
    QTest::newRow("text in ASCII") << QStringLiteral("Maker") << QStringLiteral("ep_image");
    QTest::newRow("text with umlauts") << QStringLiteral("Größe") << QStringLiteral("ep_image");
    QTest::newRow("text of every length in UTF-8") << QStringLiteral("Größe 相機 📷") << QStringLiteral("ep_image");
    QTest::newRow("a long base name") << QStringLiteral("相機") << QString(40, QLatin1Char('n'));
}

void MatFileBytesTest::everyByteIsMeant()
{
    QFETCH(QString, make);
    QFETCH(QString, baseName);
    const QString path = m_folder.filePath(QStringLiteral("bytes.mat"));
    const ep::SxImageInfo info = testing::describe(ep::DataTypeUInt16, 5, 3, 2, ep::LayoutPlanar);
    const ep::CxScopedBuffer image = testing::randomImage(info);
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraMake = make;
    ep::CxMetadata metadata;
    metadata.addMetadata(common);
    ep::CxImageData data;
    data.setImageShallow(testing::randomImage(info).take(), 0, 0, QDateTime());
    data.setMetadata(std::move(metadata));
    orn::matlab::CxMatlabImageSaver saver;
    saver.setFileName(path);
    saver.setOptions({{QStringLiteral("matname"), baseName}});
    QVERIFY(saver.saveImage(&data));

    const QByteArray xml = testing::SavedMat(path).text(QStringLiteral("ep_image_metadata"));
    FileBytes expected;
    for (int plane = 0; plane < 2; ++plane) {
        const QByteArray name = (baseName + QStringLiteral("_channel_%1").arg(plane + 1)).toLatin1();
        expected.matrix(name.constData(), MAT_C_UINT16, MAT_T_UINT16, 3, 5, reversedColumns(image.image(), plane));
    }
    expected.matrix("ep_image_metadata", MAT_C_CHAR, MAT_T_UTF8, 1, xml.size(), xml);

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray header = file.read(128);
    QVERIFY(header.startsWith("MATLAB 5.0 MAT-file"));
    QVERIFY(header.endsWith(QByteArray("\x00\x01IM", 4)));
    QCOMPARE(file.readAll(), expected.bytes());
    QCOMPARE(saver.expectedFileSize(), qint64(128 + expected.bytes().size()));

    // The text itself comes back, and stands in the file as ASCII.
    for (const char character : xml)
        QVERIFY(character > 0);
    const ep::CxMetadata read = testing::SavedMat(path).metadata();
    const auto* item =
        qobject_cast<const ep::CxCommonImageMetadata*>(read.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    QVERIFY(item);
    QCOMPARE(item->cameraMake, make);
}

void MatFileBytesTest::savingAndLoadingIsCleanUnderValgrind()
{
    if (qstrlen(ORN_SANITIZE) > 0)
        QSKIP("a sanitizer watches this build already");
    QProcess valgrind;
    valgrind.setProcessChannelMode(QProcess::MergedChannels);
    valgrind.start(QStringLiteral(ORN_VALGRIND),
                   {QStringLiteral("--quiet"), QStringLiteral("--error-exitcode=99"),
                    QStringLiteral("--leak-check=full"), QStringLiteral("--errors-for-leak-kinds=definite"),
                    QStringLiteral(ORN_NON_ASCII_TEXT), m_folder.filePath(QStringLiteral("checked.mat"))});
    QVERIFY2(valgrind.waitForFinished(240000), qPrintable(valgrind.errorString()));
    const QByteArray said = valgrind.readAll();
    QVERIFY2(valgrind.exitStatus() == QProcess::NormalExit && valgrind.exitCode() == 0, said.constData());
    QVERIFY(!testing::SavedMat(m_folder.filePath(QStringLiteral("checked.mat"))).names().isEmpty());
}

QTEST_GUILESS_MAIN(MatFileBytesTest)
#include "MatFileBytesTest.moc"
