#include "Files.h"
#include "Program.h"
#include "TestImages.h"

#include <orn/orn_core.h>

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

/** `orn info --depth`: container, declared and used bits of files whose bits are known. */
class InfoDepthTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { orn::Init(); }
    void tellsTheBitsApart_data();
    void tellsTheBitsApart();
    void saysThatRealNumbersHaveNone();
    void saysNothingUnasked();

private:
    QString path(const QString& name) const { return m_folder.filePath(name); }
    QTemporaryDir m_folder;
};

void InfoDepthTest::tellsTheBitsApart_data()
{
    QTest::addColumn<int>("maxval");
    QTest::addColumn<QList<int>>("samples");
    QTest::addColumn<QList<int>>("bits");  // container, declared, used, unused low
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("line");
    using Numbers = QList<int>;
    QTest::newRow("12 bits as measured") << 4095 << Numbers{1, 4095, 800} << Numbers{16, 12, 12, 0} << "low"
                                         << "low end";
    QTest::newRow("12 bits shifted by 4") << 65535 << Numbers{16, 65520, 800} << Numbers{16, 16, 12, 4} << "high"
                                          << "high end; the lowest 4 bits of every sample are 0";
    QTest::newRow("10 bits of 12") << 4095 << Numbers{1, 1023, 800} << Numbers{16, 12, 10, 0} << "low"
                                   << "low end";
    QTest::newRow("all of 16 bits") << 65535 << Numbers{1, 65535, 800} << Numbers{16, 16, 16, 0} << "fill"
                                    << "all of the container";
    QTest::newRow("all of 8 bits") << 255 << Numbers{1, 255, 8} << Numbers{8, 8, 8, 0} << "fill"
                                   << "all of the container";
    QTest::newRow("even numbers") << 4095 << Numbers{2, 4094, 800} << Numbers{16, 12, 11, 1} << "low"
                                  << "low end; the lowest bit of every sample is 0";
    QTest::newRow("black") << 4095 << Numbers{0, 0, 0} << Numbers{16, 12, 0, 0} << "none"
                           << "all samples are 0";
}

void InfoDepthTest::tellsTheBitsApart()
{
    QFETCH(int, maxval);
    QFETCH(QList<int>, samples);
    QFETCH(QList<int>, bits);
    QFETCH(QString, place);
    QFETCH(QString, line);
    QByteArray file = "P2\n3 1\n" + QByteArray::number(maxval) + '\n';
    for (int sample : samples)
        file += QByteArray::number(sample) + ' ';
    QVERIFY(writeFile(path(QStringLiteral("a.pgm")), file));
    const QStringList arguments{QStringLiteral("info"), QStringLiteral("--depth"), path(QStringLiteral("a.pgm"))};
    const ProgramRun text = runOrn(arguments);
    QVERIFY2(text.code == 0 && text.out.contains(line), text.all());
    const ProgramRun json = runOrn(arguments + QStringList{QStringLiteral("--json")});
    const QJsonObject answer = json.json()[QStringLiteral("files")].toArray().at(0).toObject();
    const QJsonObject told = answer[QStringLiteral("bits")].toObject();
    QList<int> numbers;
    for (const char* key : {"container", "declared", "used", "unusedLow"})
        numbers << told[QLatin1String(key)].toInt(-1);
    QVERIFY2(numbers == bits, json.all());
    QCOMPARE(told[QStringLiteral("place")].toString(), place);
}

void InfoDepthTest::saysThatRealNumbersHaveNone()
{
    const auto image = randomImage(describe(ep::DataTypeDouble, 3, 2));
    QVERIFY(orn::SaveImageToFile(path(QStringLiteral("real.mat")), image.image(), nullptr, nullptr));
    const QStringList arguments{QStringLiteral("info"), QStringLiteral("--depth"), path(QStringLiteral("real.mat"))};
    const ProgramRun text = runOrn(arguments);
    QVERIFY2(text.code == 0 && text.out.contains(QStringLiteral("the samples are no integers")), text.all());
    const ProgramRun json = runOrn(arguments + QStringList{QStringLiteral("--json")});
    const QJsonObject bits =
        json.json()[QStringLiteral("files")].toArray().at(0).toObject()[QStringLiteral("bits")].toObject();
    QCOMPARE(bits[QStringLiteral("container")].toInt(), 64);
    QVERIFY2(!bits.contains(QStringLiteral("used")), json.all());
}

void InfoDepthTest::saysNothingUnasked()
{
    QVERIFY(writeFile(path(QStringLiteral("b.pgm")), "P2\n1 1\n4095\n16\n"));
    const ProgramRun run = runOrn({QStringLiteral("info"), QStringLiteral("--json"), path(QStringLiteral("b.pgm"))});
    const QJsonObject answer = run.json()[QStringLiteral("files")].toArray().at(0).toObject();
    QVERIFY2(!answer.isEmpty() && !answer.contains(QStringLiteral("bits")), run.all());
}

QTEST_GUILESS_MAIN(InfoDepthTest)
#include "InfoDepthTest.moc"
