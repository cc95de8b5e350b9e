// The code of docs/library.md is that of the example host, which is built and run where the package is tested.

#include "Files.h"

#include <QRegularExpression>
#include <QtTest>

using testing::readFile;

class LibraryPageTest : public QObject {
    Q_OBJECT
private slots:
    void showsTheExample_data();
    void showsTheExample();
};

void LibraryPageTest::showsTheExample_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("blocks");
    QTest::newRow("C++") << "cpp"
                         << "main.cpp" << 5;
    QTest::newRow("CMake") << "cmake"
                           << "CMakeLists.txt" << 1;
}

void LibraryPageTest::showsTheExample()
{
    QFETCH(QString, language);
    QFETCH(QString, file);
    QFETCH(int, blocks);
    const QString page = QString::fromUtf8(readFile(QStringLiteral(ORN_DOCS "/library.md")));
    const QString example = QString::fromUtf8(readFile(QStringLiteral(ORN_DOCS "/../examples/host/") + file));
    QVERIFY(!example.isEmpty());
    const QRegularExpression block(QStringLiteral("^```%1\n(.*?)^```$").arg(language),
                                   QRegularExpression::MultilineOption
                                       | QRegularExpression::DotMatchesEverythingOption);
    int found = 0;
    auto match = block.globalMatch(page);
    for (; match.hasNext(); ++found) {
        const QString code = match.next().captured(1);
        QVERIFY2(example.contains(code), qPrintable(code));
    }
    QCOMPARE(found, blocks);
}

QTEST_GUILESS_MAIN(LibraryPageTest)
#include "LibraryPageTest.moc"
