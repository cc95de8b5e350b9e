// The metadata variable, in the forms that other programs give it, and unsound ones.

#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>

#include "LogCapture.h"
#include "MatBytes.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <QTemporaryDir>
#include <QtTest>

using testing::matElement;
using testing::MatVariableBytes;
using testing::numbers;
using testing::OwnMetadata;

namespace {

const char* const metadataName = "ep_image_metadata";
const QString failure = testing::LogCapture::errorLine(QStringLiteral("Failed to load the image metadata."));

QByteArray twoPlanes()
{
    QByteArray bytes;
    for (const char* name : {"ep_image_channel_1", "ep_image_channel_2"})
        bytes += MatVariableBytes{name, 9, 0, numbers<qint32>({2, 1}), matElement(2, "ab")}.bytes();
    return bytes;
}

/** Metadata of two planes with a maker whose name is @p make, as text that is not kept to ASCII. */
QString xmlWith(const QString& make)
{
    ep::CxMetadata metadata = OwnMetadata{2}.metadata();
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraMake = QStringLiteral("MAKE");
    metadata.addMetadata(common);
    return metadata.saveToXml(-1).replace(QStringLiteral("MAKE"), make);
}

QByteArray utf16(const QString& text)
{
    return QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
}

MatVariableBytes charVariable(qint32 columns, quint32 type, const QByteArray& data, qint32 rows = 1)
{
    return {metadataName, 4, 0, numbers<qint32>({rows, columns}), matElement(type, data)};
}

}  // namespace

class MatMetadataTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::CxScopedBuffer m_image;
    ep::CxMetadata m_metadata;

    bool load(const QByteArray& variable)
    {
        const QString path = m_folder.filePath(QStringLiteral("image.mat"));
        bool isEntropy = true;
        m_metadata.clear();
        return testing::writeBytes(path, testing::matHeader() + twoPlanes() + variable)
               && orn::matlab::LoadImageFromMat(path, m_image.image(), isEntropy, &m_metadata) && !isEntropy;
    }
    QString make() const
    {
        const auto* item = qobject_cast<const ep::CxCommonImageMetadata*>(
            m_metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
        return item ? item->cameraMake : QString();
    }

private slots:
    void initTestCase() { orn::Init(); }
    void forms_data();
    void forms();
    void unsoundTextIsToldAndTheFirstMatrixIsLoaded_data();
    void unsoundTextIsToldAndTheFirstMatrixIsLoaded();
    void otherVariablesAreNoMetadata_data();
    void otherVariablesAreNoMetadata();
    void whatCouldBeReadIsHandedOver();
};

void MatMetadataTest::forms_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("make");
    const QString name = QString::fromUtf8("Gr\xc3\xb6\xc3\x9f"
                                           "e \xe7\x9b\xb8\xe6\xa9\x9f \xf0\x9f\x93\xb7");
    const QString xml = xmlWith(name);
    const QByteArray utf8 = xml.toUtf8();
    const auto row = [&](const char* fact, const MatVariableBytes& variable, const QString& make) {
        QTest::newRow(fact) << variable.bytes() << make;
        QTest::addRow("%s, compressed", fact) << testing::matCompressed(variable.bytes()) << make;
    };
    row("ASCII, one column per byte", testing::matText(metadataName, xmlWith(QStringLiteral("Maker")).toUtf8()),
        QStringLiteral("Maker"));
    row("UTF-8, one column per byte", charVariable(utf8.size(), testing::MatUtf8, utf8), name);
    row("UTF-8, one column per character", charVariable(xml.toUcs4().size(), testing::MatUtf8, utf8), name);
    row("UTF-8, one column per UTF-16 unit", charVariable(xml.size(), testing::MatUtf8, utf8), name);
    row("UTF-8 with zeros behind", charVariable(utf8.size() + 6, testing::MatUtf8, utf8 + QByteArray(6, '\0')), name);
    row("bytes", charVariable(utf8.size(), testing::MatUInt8, utf8), name);
    row("16-bit units", charVariable(xml.size(), testing::MatUInt16, utf16(xml)), name);
    row("UTF-16", charVariable(xml.size(), testing::MatUtf16, utf16(xml)), name);
    row("one column instead of one row", charVariable(1, testing::MatUtf8, utf8, utf8.size()), name);
}

void MatMetadataTest::forms()
{
    QFETCH(QByteArray, variable);
    QFETCH(QString, make);
    testing::LogCapture log;
    QVERIFY(load(variable));
    QCOMPARE(log.criticals(), QStringList());
    QCOMPARE(m_image->channels, 2);
    QCOMPARE(this->make(), make);
}

void MatMetadataTest::unsoundTextIsToldAndTheFirstMatrixIsLoaded_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray good = OwnMetadata{2}.xml().toUtf8();
    QTest::newRow("no XML") << QByteArray("Dear reader,");
    QTest::newRow("one blank") << QByteArray(" ");
    QTest::newRow("a NUL at once") << QByteArray("\0", 1) + good;
    QTest::newRow("XML that is cut") << good.chopped(5);
    QTest::newRow("another root element") << QByteArray("<other/>");
    QTest::newRow("bytes that are no UTF-8") << QByteArray("<\xff\xfe>");
    QTest::newRow("100,000 levels") << QByteArray("<a>").repeated(100000) + QByteArray("</a>").repeated(100000);
    QTest::newRow("a document type") << QByteArray("<!DOCTYPE a [<!ENTITY b \"bb\">]>") + good;
}

void MatMetadataTest::unsoundTextIsToldAndTheFirstMatrixIsLoaded()
{
    QFETCH(QByteArray, text);
    testing::LogCapture log;
    QVERIFY(load(testing::matText(metadataName, text).bytes()));
    QCOMPARE(log.criticals(), QStringList{failure});
    QVERIFY(!log.namesSources());
    QCOMPARE(m_image->channels, 1);
    QCOMPARE(int(m_image->layout), int(ep::LayoutPacked));
    QCOMPARE(testing::sampleAt<char>(m_image.image(), 0, 1), 'b');
}

void MatMetadataTest::otherVariablesAreNoMetadata_data()
{
    QTest::addColumn<QByteArray>("variable");
    const QByteArray xml = OwnMetadata{2}.xml().toUtf8();
    MatVariableBytes cube = testing::matText(metadataName, xml);
    cube.dimensions = numbers<qint32>({1, xml.size(), 1});
    QTest::newRow("none at all") << QByteArray();
    QTest::newRow("empty text") << testing::matText(metadataName, "").bytes();
    QTest::newRow("text of three dimensions") << cube.bytes();
    QTest::newRow("bytes instead of text")
        << MatVariableBytes{metadataName, 9, 0, numbers<qint32>({1, xml.size()}), matElement(2, xml)}.bytes();
    QTest::newRow("a cell array with the text in it")
        << MatVariableBytes{metadataName, 1, 0, numbers<qint32>({1, 1}), testing::matText("", xml).bytes()}.bytes();
    QTest::newRow("another name") << testing::matText("ep_image_Metadata", xml).bytes();
}

void MatMetadataTest::otherVariablesAreNoMetadata()
{
    QFETCH(QByteArray, variable);
    testing::LogCapture log;
    QVERIFY(load(variable));
    QCOMPARE(log.criticals(), QStringList());
    QVERIFY(m_metadata.isEmpty());
    QCOMPARE(m_image->channels, 1);
}

void MatMetadataTest::whatCouldBeReadIsHandedOver()
{
    // The second item is damaged: the count of the first one no longer counts, the rest is used and handed over.
    ep::CxMetadata metadata;
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraMake = QStringLiteral("Maker");
    metadata.addMetadata(common);
    auto* own = new orn::matlab::CxMatlabImageMetadata;
    own->reverseRows = true;
    own->savedChannels = 2;
    metadata.addMetadata(own);
    QString xml = metadata.saveToXml(-1);
    xml.replace(QStringLiteral("orig_channels"), QStringLiteral("other_channels"));
    testing::LogCapture log;
    QVERIFY(load(testing::matText(metadataName, xml.toUtf8()).bytes()));
    QCOMPARE(log.criticals().last(), failure);
    QCOMPARE(m_image->channels, 1);
    QCOMPARE(make(), QStringLiteral("Maker"));
    // The rows are turned: the file's first is the image's last.
    QCOMPARE(testing::sampleAt<char>(m_image.image(), 0, 0), 'b');
}

QTEST_GUILESS_MAIN(MatMetadataTest)
#include "MatMetadataTest.moc"
