#include "Program.h"

#include <QJsonArray>
#include <QtTest>

using namespace testing;

/** `orn plugins` and `orn formats`. */
class RegistryCommandsTest : public QObject {
    Q_OBJECT
private slots:
    void listsTheMatClasses_data();
    void listsTheMatClasses();
    void listsPlugInsThatAreNotLoaded();
    void listsFormats_data();
    void listsFormats();
    void listsFormatsForPeople();
    void loadsNoPlugInForThat();
};

void RegistryCommandsTest::listsTheMatClasses_data()
{
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("className");
    QTest::newRow("loader") << "IxImageDataLoader"
                            << "Matlab Image Loader"
                            << "orn::matlab::CxMatlabImageLoader";
    QTest::newRow("saver") << "IxImageDataSaver"
                           << "Matlab Image Saver"
                           << "orn::matlab::CxMatlabImageSaver";
    QTest::newRow("item") << "IxMetadata"
                          << "Matlab Image Metadata"
                          << "orn::matlab::CxMatlabImageMetadata";
    QTest::newRow("metadata saver") << "IxMetadataSaver"
                                    << "MATLAB Image Metadata Saver"
                                    << "orn::matlab::CxMatlabMetadataSaver";
    QTest::newRow("metadata loader") << "IxMetadataLoader"
                                     << "Matlab Image Metadata Loader"
                                     << "orn::matlab::CxMatlabMetadataLoader";
}

void RegistryCommandsTest::listsTheMatClasses()
{
    QFETCH(QString, interface);
    QFETCH(QString, name);
    QFETCH(QString, className);
    const ProgramRun json = runOrn({QStringLiteral("plugins"), QStringLiteral("--json")});
    QVERIFY2(json.code == 0 && json.err.isEmpty(), json.all());
    QCOMPARE(json.json()[QStringLiteral("schema")].toInt(), 1);
    bool found = false;
    for (const QJsonValue& value : json.json()[QStringLiteral("classes")].toArray()) {
        const QJsonObject entry = value.toObject();
        found = found
                || (entry[QStringLiteral("interface")].toString()
                        == interface && entry[QStringLiteral("name")].toString() == name
                    && entry[QStringLiteral("class")].toString() == className);
    }
    QVERIFY2(found, json.all());

    const ProgramRun text = runOrn({QStringLiteral("plugins")});
    QCOMPARE(text.code, 0);
    const QString line = QStringLiteral("%1 +%2 +%3\n").arg(interface, name, className);
    QVERIFY2(QRegularExpression(line).match(text.out).hasMatch(), text.all());
}

void RegistryCommandsTest::listsPlugInsThatAreNotLoaded()
{
    const ProgramRun json = runOrn({QStringLiteral("plugins"), QStringLiteral("--json")});
    const QJsonArray files = json.json()[QStringLiteral("notLoaded")].toArray();
    QVERIFY2(files.size() >= 2, json.all());
    const ProgramRun text = runOrn({QStringLiteral("plugins")});
    for (const QJsonValue& file : files) {
        QVERIFY2(file.toString().contains(QStringLiteral("epformat_")), json.all());
        QVERIFY2(text.out.contains(file.toString() + QLatin1Char('\n')), text.all());
    }
}

void RegistryCommandsTest::listsFormats_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<bool>("reads");
    QTest::addColumn<bool>("writes");
    QTest::newRow("MAT") << "mat" << true << true;
    QTest::newRow("TIFF") << "tif" << true << true;
    QTest::newRow("DNG") << "dng" << true << true;
}

void RegistryCommandsTest::listsFormats()
{
    QFETCH(QString, suffix);
    QFETCH(bool, reads);
    QFETCH(bool, writes);
    const ProgramRun run = runOrn({QStringLiteral("formats"), QStringLiteral("--json")});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QCOMPARE(run.json()[QStringLiteral("schema")].toInt(), 1);
    bool canRead = false;
    bool canWrite = false;
    for (const QJsonValue& value : run.json()[QStringLiteral("formats")].toArray()) {
        const QJsonObject format = value.toObject();
        if (!format[QStringLiteral("suffixes")].toArray().contains(suffix))
            continue;
        QVERIFY2(format[QStringLiteral("filter")].toString().contains(QStringLiteral("*.") + suffix), run.all());
        canRead = canRead || format[QStringLiteral("reads")].toBool();
        canWrite = canWrite || format[QStringLiteral("writes")].toBool();
    }
    QCOMPARE(canRead, reads);
    QCOMPARE(canWrite, writes);
}

void RegistryCommandsTest::listsFormatsForPeople()
{
    const ProgramRun run = runOrn({QStringLiteral("formats")});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    for (const char* line : {"\nMATLAB matrix +rw +int8 uint8 +any +yes +yes +Matlab Image +\\.mat\n",
                             "\nDigital negative +rw +uint8 uint16 +1 +yes +yes +tiff +\\.dng\n",
                             "\nPortable float map +rw +float +1, 3 +no +no +pnm +\\.pfm\n"})
        QVERIFY2(QRegularExpression(QLatin1String(line)).match(run.out).hasMatch(), run.all());
    for (const QString& line : run.out.split(QLatin1Char('\n')))
        QVERIFY2(line.size() <= 100, qPrintable(line));
}

void RegistryCommandsTest::loadsNoPlugInForThat()
{
    for (const char* command : {"plugins", "formats"}) {
        const ProgramRun run =
            runOrn({QLatin1String(command)}, {{QStringLiteral("LD_DEBUG"), QStringLiteral("files")}});
        QCOMPARE(run.code, 0);
        QVERIFY2(run.err.contains(QStringLiteral("liborn_core")), "the loader says which files it opens");
        QVERIFY2(!run.err.contains(QStringLiteral("epformat_")), command);
    }
}

QTEST_GUILESS_MAIN(RegistryCommandsTest)
#include "RegistryCommandsTest.moc"
