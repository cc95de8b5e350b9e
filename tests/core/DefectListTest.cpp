#include <orn/DefectList.h>

#include "Files.h"

#include <ep/CxCommonImageMetadata.h>

#include <QtTest>

#include <cstdio>

using namespace testing;

namespace {

bool operator==(const orn::SxDefect& a, const orn::SxDefect& b)
{
    return a.x == b.x && a.y == b.y && a.kind == b.kind && a.since == b.since;
}

bool sameDefects(const QVector<orn::SxDefect>& a, const QVector<orn::SxDefect>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const orn::SxDefect& left, const orn::SxDefect& right) { return left == right; });
}

const QVector<orn::SxDefect> threeDefects{
    {4, 42, orn::DefectHot, 0}, {90, 61, orn::DefectDead, 1700000000}, {5, 7, orn::DefectUntold, 3}};

}  // namespace

Q_DECLARE_METATYPE(orn::SxDefect)

class DefectListTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(m_folder.isValid()); }
    void reads_data();
    void reads();
    void statesWhatItCountsFrom_data();
    void statesWhatItCountsFrom();
    void refuses_data();
    void refuses();
    void endlessFilesAreRefused_data();
    void endlessFilesAreRefused();
    void comesBackAsWritten_data();
    void comesBackAsWritten();
    void otherReadersTakeIt();
    void writesNumbersInEveryLocale();
    void coordinatesOfTheSensorNeedAnOrigin();
    void leavesAnOldFileAlone();
    void isSeenFromAnotherImage_data();
    void isSeenFromAnotherImage();
    void unitesOldAndNew();
    void metadataSayWhereAnImageLies();

private:
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

    QTemporaryDir m_folder;
};

void DefectListTest::reads_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVector<orn::SxDefect>>("defects");
    const QVector<orn::SxDefect> none;
    const QVector<orn::SxDefect> plain{{12, 40, orn::DefectUntold, 0}};
    QTest::newRow("an empty file") << QByteArray() << none;
    QTest::newRow("comments alone") << QByteArray("# nothing\n\n  \t\n#\n") << none;
    QTest::newRow("column, row and time") << QByteArray("12 40 0\n") << plain;
    QTest::newRow("without a time") << QByteArray("12 40\n") << plain;
    QTest::newRow("without a line end") << QByteArray("12 40 0") << plain;
    QTest::newRow("with line ends of two characters") << QByteArray("# a\r\n12 40 0\r\n") << plain;
    QTest::newRow("with the mark of UTF-8") << QByteArray("\xEF\xBB\xBF"
                                                          "12 40 0\n")
                                            << plain;
    QTest::newRow("with a comment that is not ASCII") << QByteArray("12 40 0 # \xC3\xA4\n") << plain;
    QTest::newRow("with blanks and tabs") << QByteArray(" \t12\t 40  0 \t\n") << plain;
    QTest::newRow("with a comment that touches a number") << QByteArray("12 40#hot spot\n") << plain;
    QTest::newRow("a kind in the comment")
        << QByteArray("12 40 0 #dead\n") << QVector<orn::SxDefect>{{12, 40, orn::DefectDead, 0}};
    QTest::newRow("a late time") << QByteArray("1 2 1000000000000000 # stuck\n")
                                 << QVector<orn::SxDefect>{{1, 2, orn::DefectStuck, 1000000000000000}};
    QTest::newRow("places in the margins")
        << QByteArray("-1 -20 0\n") << QVector<orn::SxDefect>{{-1, -20, orn::DefectUntold, 0}};
    QTest::newRow("places twice, in any order")
        << QByteArray("12 40\n0 0\n12 40\n") << plain + QVector<orn::SxDefect>{{}} + plain;
}

void DefectListTest::reads()
{
    QFETCH(QByteArray, text);
    QFETCH(QVector<orn::SxDefect>, defects);
    QVERIFY(writeFile(path("list.txt"), text));
    orn::SxDefectList list;
    ep::SxFileError error;
    QVERIFY2(orn::readDefectList(path("list.txt"), list, error), qPrintable(error.reason));
    QVERIFY(sameDefects(list.defects, defects));
    QVERIFY(!list.origin.isKnown);
}

void DefectListTest::statesWhatItCountsFrom_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("known");
    QTest::addColumn<QPoint>("origin");
    QTest::addColumn<QPoint>("first");
    QTest::newRow("of the image, without an origin")
        << QByteArray("# coordinates: image\n5 6 0\n") << false << QPoint() << QPoint(5, 6);
    QTest::newRow("of the image, with an origin")
        << QByteArray("# image origin on the sensor: 12 8\n5 6 0\n") << true << QPoint(12, 8) << QPoint(5, 6);
    QTest::newRow("of the sensor, with an origin")
        << QByteArray("# coordinates: sensor\n# image origin on the sensor: 12 8\n5 6 0\n") << true << QPoint(12, 8)
        << QPoint(-7, -2);
    QTest::newRow("of the sensor, without an origin")
        << QByteArray("# coordinates: sensor\n5 6 0\n") << true << QPoint(0, 0) << QPoint(5, 6);
    QTest::newRow("said too late, it is a comment")
        << QByteArray("5 6 0\n# coordinates: sensor\n# image origin on the sensor: 1 1\n") << false << QPoint()
        << QPoint(5, 6);
}

void DefectListTest::statesWhatItCountsFrom()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, known);
    QFETCH(QPoint, origin);
    QFETCH(QPoint, first);
    QVERIFY(writeFile(path("list.txt"), text));
    orn::SxDefectList list;
    ep::SxFileError error;
    QVERIFY(orn::readDefectList(path("list.txt"), list, error));
    QCOMPARE(list.origin.isKnown, known);
    QCOMPARE(QPoint(list.origin.x, list.origin.y), origin);
    QCOMPARE(QPoint(list.defects.first().x, list.defects.first().y), first);
}

void DefectListTest::refuses_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const QByteArray& text, const char* reason) {
        QTest::newRow(name) << text << QString::fromLatin1(reason);
    };
    const char* const noPlace = "line 2: it does not begin with a column and a row";
    row("a word", "1 2\nhot\n", noPlace);
    row("a column alone", "1 2\n3\n", noPlace);
    row("commas", "1 2\n3,4,0\n", noPlace);
    row("fractions", "1 2\n3.5 4 0\n", noPlace);
    row("a zero byte", QByteArray("1 2\n3 4\0 0\n", 11), noPlace);
    row("text of two bytes a character",
        QByteArray("\xFF\xFE"
                   "1\0 \0",
                   6),
        "line 1: it does not begin with a column and a row");
    row("a column past every sensor", "1 2\n1073741825 1 0\n", noPlace);
    row("a column of a hundred digits", "1 2\n" + QByteArray(100, '9') + " 1 0\n", noPlace);
    row("a time before time", "1 2\n1 1 -5\n", "line 2: what follows the column and the row is not a time");
    row("a time that is a word", "1 2\n1 1 now\n", "line 2: what follows the column and the row is not a time");
    row("four numbers", "1 2\n1 1 0 1\n", "line 2: it has more than a column, a row and a time");
    row("a line without end", "1 2\n#" + QByteArray(100000, 'x'), "line 2: it is too long");
    row("unknown coordinates", "# coordinates: moon\n",
        "line 1: its coordinates are neither those of the sensor nor of the image");
    row("an origin outside of the sensor", "# image origin on the sensor: -5 1\n",
        "line 1: the origin of the image is not two numbers");
    row("an origin of one number", "#\n# image origin on the sensor: 5\n",
        "line 2: the origin of the image is not two numbers");
}

void DefectListTest::refuses()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, reason);
    QVERIFY(writeFile(path("list.txt"), text));
    orn::SxDefectList list;
    list.defects = threeDefects;
    ep::SxFileError error;
    QVERIFY(!orn::readDefectList(path("list.txt"), list, error));
    QCOMPARE(error.reason, reason);
    QCOMPARE(error.kind, ep::ExFileError::Unreadable);
    QVERIFY(sameDefects(list.defects, threeDefects));
}

void DefectListTest::endlessFilesAreRefused_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("kind");
    QFile huge(path("huge.txt"));
    QVERIFY(huge.open(QIODevice::WriteOnly));
    QVERIFY(huge.resize(qint64(10) << 30));
    QTest::newRow("ten gigabytes") << huge.fileName() << int(ep::ExFileError::TooLarge);
    QTest::newRow("a device without end") << QStringLiteral("/dev/zero") << int(ep::ExFileError::Unreadable);
    QTest::newRow("a folder") << m_folder.path() << int(ep::ExFileError::Unreadable);
    QTest::newRow("no file") << path("none.txt") << int(ep::ExFileError::Unreadable);
    QVERIFY(writeFile(path("many.txt"), QByteArray("1 1\n").repeated((1 << 23) + 1)));
    QTest::newRow("more defects than a list holds") << path("many.txt") << int(ep::ExFileError::Unreadable);
}

void DefectListTest::endlessFilesAreRefused()
{
    QFETCH(QString, file);
    QFETCH(int, kind);
    orn::SxDefectList list;
    ep::SxFileError error;
    QVERIFY(!orn::readDefectList(file, list, error));
    QCOMPARE(int(error.kind), kind);
    QVERIFY(!error.reason.isEmpty());
}

void DefectListTest::comesBackAsWritten_data()
{
    QTest::addColumn<bool>("known");
    QTest::addColumn<int>("coordinates");
    QTest::newRow("of an image") << false << int(orn::DefectCoordinatesImage);
    QTest::newRow("of an image with an origin") << true << int(orn::DefectCoordinatesImage);
    QTest::newRow("of a sensor") << true << int(orn::DefectCoordinatesSensor);
}

void DefectListTest::comesBackAsWritten()
{
    QFETCH(bool, known);
    QFETCH(int, coordinates);
    const orn::SxDefectList list{threeDefects, {known, known ? 12 : 0, known ? 8 : 0}};
    ep::SxFileError error;
    QVERIFY(orn::writeDefectList(path("back.txt"), list, orn::ExDefectCoordinates(coordinates), false, error));
    orn::SxDefectList back;
    QVERIFY2(orn::readDefectList(path("back.txt"), back, error), qPrintable(error.reason));
    QVERIFY(sameDefects(back.defects, list.defects));
    QCOMPARE(back.origin.isKnown, known);
    QCOMPARE(back.origin.x, list.origin.x);
    QCOMPARE(back.origin.y, list.origin.y);
}

/** They cut a line at the '#', read it into a buffer of 128 bytes and want three whole numbers. */
void DefectListTest::otherReadersTakeIt()
{
    ep::SxFileError error;
    QVERIFY(orn::writeDefectList(path("other.txt"), {threeDefects, {true, 12, 8}}, orn::DefectCoordinatesSensor, false,
                                 error));
    QVector<orn::SxDefect> found;
    for (QByteArray line : readFile(path("other.txt")).split('\n')) {
        QVERIFY(line.size() < 127);
        const int mark = line.indexOf('#');
        line = mark < 0 ? line : line.left(mark);
        orn::SxDefect defect;
        long time = 0;
        if (std::sscanf(line.constData(), "%d %d %ld", &defect.x, &defect.y, &time) == 3)
            found.append({defect.x, defect.y, orn::DefectUntold, time});
    }
    QVERIFY(sameDefects(found, {{16, 50, 0, 0}, {102, 69, 0, 1700000000}, {17, 15, 0, 3}}));
}

void DefectListTest::writesNumbersInEveryLocale()
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    ep::SxFileError error;
    const bool written = orn::writeDefectList(path("locale.txt"), {{{12345, 67890, 0, 1700000000}}, {}},
                                              orn::DefectCoordinatesImage, false, error);
    QLocale::setDefault(before);
    QVERIFY(written);
    QVERIFY(readFile(path("locale.txt")).endsWith("\n12345 67890 1700000000\n"));
}

void DefectListTest::coordinatesOfTheSensorNeedAnOrigin()
{
    ep::SxFileError error;
    QVERIFY(!orn::writeDefectList(path("unknown.txt"), {threeDefects, {}}, orn::DefectCoordinatesSensor, false, error));
    QCOMPARE(error.kind, ep::ExFileError::Refused);
    QVERIFY(!QFile::exists(path("unknown.txt")));
}

void DefectListTest::leavesAnOldFileAlone()
{
    QVERIFY(writeFile(path("old.txt"), "1 1 0\n"));
    ep::SxFileError error;
    QVERIFY(!orn::writeDefectList(path("old.txt"), {threeDefects, {}}, orn::DefectCoordinatesImage, true, error));
    QCOMPARE(error.kind, ep::ExFileError::Refused);
    QCOMPARE(readFile(path("old.txt")), QByteArray("1 1 0\n"));
    QVERIFY(
        !orn::writeDefectList(path("no/folder.txt"), {threeDefects, {}}, orn::DefectCoordinatesImage, false, error));
    QCOMPARE(error.kind, ep::ExFileError::Unwritable);
}

void DefectListTest::isSeenFromAnotherImage_data()
{
    QTest::addColumn<bool>("listKnown");
    QTest::addColumn<bool>("imageKnown");
    QTest::addColumn<QPoint>("first");
    QTest::newRow("both origins known") << true << true << QPoint(-6, 48);
    QTest::newRow("the image's not known") << true << false << QPoint(4, 42);
    QTest::newRow("the list's not known") << false << true << QPoint(4, 42);
}

void DefectListTest::isSeenFromAnotherImage()
{
    QFETCH(bool, listKnown);
    QFETCH(bool, imageKnown);
    QFETCH(QPoint, first);
    const orn::SxDefectList list{threeDefects, {listKnown, 10, 8}};
    const auto defects = orn::defectsSeenFrom({imageKnown, 20, 2}, list);
    QCOMPARE(defects.size(), 3);
    QCOMPARE(QPoint(defects.first().x, defects.first().y), first);
    QCOMPARE(defects[1].since, qint64(1700000000));
}

void DefectListTest::unitesOldAndNew()
{
    const QVector<orn::SxDefect> older{{5, 2, orn::DefectHot, 100}, {1, 1, orn::DefectUntold, 7}, {9, 1, 0, 8}};
    const QVector<orn::SxDefect> newer{{5, 2, orn::DefectUntold, 0}, {1, 1, orn::DefectDead, 50}, {0, 2, 1, 50}};
    QVERIFY(sameDefects(orn::uniteDefects(older, newer), {{1, 1, orn::DefectDead, 7},
                                                          {9, 1, orn::DefectUntold, 8},
                                                          {0, 2, orn::DefectHot, 50},
                                                          {5, 2, orn::DefectHot, 100}}));
    QVERIFY(orn::uniteDefects({}, {}).isEmpty());
    QCOMPARE(orn::uniteDefects(older, {}).size(), 3);
}

void DefectListTest::metadataSayWhereAnImageLies()
{
    ep::CxMetadata metadata;
    QVERIFY(!orn::sensorOrigin(metadata).isKnown);
    auto* common = new ep::CxCommonImageMetadata;
    metadata.addMetadata(common);
    QVERIFY(!orn::sensorOrigin(metadata).isKnown);
    common->sensorWidth = 100;
    common->sensorHeight = 50;
    common->leftMargin = 4;
    common->topMargin = 2;
    const orn::SxSensorOrigin origin = orn::sensorOrigin(metadata);
    QVERIFY(origin.isKnown);
    QCOMPARE(QPoint(origin.x, origin.y), QPoint(4, 2));
}

QTEST_GUILESS_MAIN(DefectListTest)
#include "DefectListTest.moc"
