#include <ep/ExImageDataType.h>

#include <QtTest>

#include <limits>

class ExImageDataTypeTest : public QObject {
    Q_OBJECT

private slots:
    void tellsTheFactsOfEachCode_data();
    void tellsTheFactsOfEachCode();
    void treatsUnknownCodesAsNone_data();
    void treatsUnknownCodesAsNone();
};

void ExImageDataTypeTest::tellsTheFactsOfEachCode_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("bits");
    QTest::addColumn<bool>("isSigned");
    QTest::addColumn<bool>("isFloat");
    QTest::newRow("none") << 0 << 0 << 0 << false << false;
    QTest::newRow("int8") << 1 << 1 << 8 << true << false;
    QTest::newRow("uint8") << 2 << 1 << 8 << false << false;
    QTest::newRow("int16") << 3 << 2 << 16 << true << false;
    QTest::newRow("uint16") << 4 << 2 << 16 << false << false;
    QTest::newRow("int32") << 5 << 4 << 32 << true << false;
    QTest::newRow("uint32") << 6 << 4 << 32 << false << false;
    QTest::newRow("float") << 7 << 4 << 32 << true << true;
    QTest::newRow("double") << 8 << 8 << 64 << true << true;
    QTest::newRow("complex") << 9 << 16 << 64 << true << false;
    QTest::newRow("int64") << 10 << 8 << 64 << true << false;
    QTest::newRow("uint64") << 11 << 8 << 64 << false << false;
}

void ExImageDataTypeTest::tellsTheFactsOfEachCode()
{
    QFETCH(int, code);
    const ep::SxSampleFacts& facts = ep::sampleFacts(code);
    QCOMPARE(int(facts.type), code);
    QTEST(facts.bytes, "bytes");
    QTEST(facts.bits, "bits");
    QTEST(facts.isSigned, "isSigned");
    QTEST(facts.isFloat, "isFloat");
    QCOMPARE(facts.name, QTest::currentDataTag());
}

void ExImageDataTypeTest::treatsUnknownCodesAsNone_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("the code after the last") << 12;
    QTest::newRow("a negative code") << -1;
    QTest::newRow("the largest code") << std::numeric_limits<int>::max();
    QTest::newRow("the smallest code") << std::numeric_limits<int>::min();
}

void ExImageDataTypeTest::treatsUnknownCodesAsNone()
{
    QFETCH(int, code);
    QCOMPARE(&ep::sampleFacts(code), &ep::sampleFacts(ep::DataTypeNone));
    QCOMPARE(ep::sampleFacts(code).bytes, 0);
}

QTEST_GUILESS_MAIN(ExImageDataTypeTest)
#include "ExImageDataTypeTest.moc"
