// Memory that runs out at any request for the samples of a picture: a failure, and nothing leaked. What Qt's drawing
// asks for never fails here: it goes on without what it did not get.

#include "LowMemory.h"
#include "ModuleTesting.h"

#include <QtTest>

using namespace testing;

class LowMemoryTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyRequestFails_data() { addRows(m_operations); }
    void everyRequestFails();

private:
    std::unique_ptr<charts::IxCharts> m_charts;
    std::vector<Operation> m_operations;
};

void LowMemoryTest::initTestCase()
{
    m_charts = startCharts();
    QVERIFY(m_charts);
    m_operations = {
        {"a contact sheet",
         [this](Scene& s) {
             const std::unique_ptr<charts::IxContactSheet> sheet = m_charts->newContactSheet();
             sheet->addPicture(s.photo.image(), QStringLiteral("photo"));
             sheet->addPlaceholder(QStringLiteral("no picture"), QStringLiteral("other"));
             return sheet->draw(s.made);
         },
         Fails::ByResult, Requests::Images},
    };
}

void LowMemoryTest::everyRequestFails()
{
    QFETCH(int, index);
    const QString flaw = flawOf(m_operations[size_t(index)]);
    QVERIFY2(flaw.isEmpty(), qPrintable(flaw));
}

QTEST_GUILESS_MAIN(LowMemoryTest)
#include "LowMemoryTest.moc"
