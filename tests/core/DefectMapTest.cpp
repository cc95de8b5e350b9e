#include <orn/DefectMap.h>
#include <orn/Init.h>

#include "Files.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QtTest>

using namespace testing;

namespace {

const QVector<orn::SxDefect> someDefects{
    {3, 0, orn::DefectHot, 5}, {0, 2, orn::DefectDead, 0}, {4, 2, orn::DefectStuck, 0}, {6, 4, orn::DefectUntold, 0}};

QString placesOf(const QVector<orn::SxDefect>& defects)
{
    QString text;
    for (const orn::SxDefect& defect : defects)
        text += QStringLiteral("%1,%2:%3 ").arg(defect.x).arg(defect.y).arg(defect.kind);
    return text.trimmed();
}

}  // namespace

class DefectMapTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(m_folder.isValid()); }
    void showsEveryKind();
    void givesTheDefectsBack();
    void takesAnyImageForAMask_data();
    void takesAnyImageForAMask();
    void refuses();
    void namesTellListsFromMaps_data();
    void namesTellListsFromMaps();
    void readsEither();

private:
    QTemporaryDir m_folder;
};

void DefectMapTest::showsEveryKind()
{
    ep::CxScopedBuffer map;
    const QVector<orn::SxDefect> outside{{-1, 0, 1, 0}, {7, 0, 1, 0}, {0, -1, 1, 0}, {0, 5, 1, 0}};
    QCOMPARE(orn::DefectMap(7, 5, someDefects + outside, map), unsigned(ep::StatusOk));
    QCOMPARE(map->dataType, ep::DataTypeUInt8);
    QCOMPARE(map->bitDepth, 8);
    QCOMPARE(map->channels, 1);
    int defects = 0;
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            defects += sampleAt<quint8>(map.image(), x, y) != 0;
    QCOMPARE(defects, 4);
    QCOMPARE(int(sampleAt<quint8>(map.image(), 3, 0)), 255);
    QCOMPARE(int(sampleAt<quint8>(map.image(), 0, 2)), 85);
    QCOMPARE(int(sampleAt<quint8>(map.image(), 4, 2)), 170);
    QCOMPARE(int(sampleAt<quint8>(map.image(), 6, 4)), 255);
}

void DefectMapTest::givesTheDefectsBack()
{
    ep::CxScopedBuffer map;
    QVector<orn::SxDefect> back;
    QCOMPARE(orn::DefectMap(7, 5, someDefects, map), unsigned(ep::StatusOk));
    QCOMPARE(orn::DefectsOfMap(map.image(), back), unsigned(ep::StatusOk));
    QCOMPARE(placesOf(back), QStringLiteral("3,0:1 0,2:2 4,2:3 6,4:1"));
}

void DefectMapTest::takesAnyImageForAMask_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("layout");
    QTest::newRow("8 bits, a channel of three") << int(ep::DataTypeUInt8) << 3 << int(ep::LayoutPacked);
    QTest::newRow("8 bits, a plane of three") << int(ep::DataTypeUInt8) << 3 << int(ep::LayoutPlanar);
    QTest::newRow("16 bits") << int(ep::DataTypeUInt16) << 1 << int(ep::LayoutPacked);
    QTest::newRow("floats") << int(ep::DataTypeFloat) << 1 << int(ep::LayoutPacked);
    QTest::newRow("doubles, a channel of two") << int(ep::DataTypeDouble) << 2 << int(ep::LayoutPacked);
}

void DefectMapTest::takesAnyImageForAMask()
{
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(int, layout);
    ep::CxScopedBuffer map(describe(ep::ExImageDataType(type), 9, 4, channels, ep::ExImageLayout(layout)));
    QCOMPARE(map.allocate(true), unsigned(ep::StatusOk));
    const auto bytes = static_cast<size_t>(ep::sampleFacts(map->dataType).bytes);
    std::memset(address(map.image(), 8, 3, channels - 1), 0x3f, bytes);
    std::memset(address(map.image(), 0, 1, 0), 0x3f, bytes);
    QVector<orn::SxDefect> defects;
    QCOMPARE(orn::DefectsOfMap(map.image(), defects), unsigned(ep::StatusOk));
    QCOMPARE(placesOf(defects), QStringLiteral("0,1:0 8,3:0"));
}

void DefectMapTest::refuses()
{
    ep::CxScopedBuffer map;
    QCOMPARE(orn::DefectMap(0, 5, {}, map), unsigned(ep::StatusInvalidArgument));
    QVERIFY(!map->data);
    QVector<orn::SxDefect> defects = someDefects;
    QCOMPARE(orn::DefectsOfMap(map.image(), defects), unsigned(ep::StatusInvalidArgument));
    QCOMPARE(orn::DefectsOfMap(randomImage(describe(ep::DataTypeComplex, 4, 4)).image(), defects),
             unsigned(ep::StatusUnsupportedType));
    const ep::CxScopedBuffer noise = randomImage(describe(ep::DataTypeDouble, 3000, 2800));
    QCOMPARE(orn::DefectsOfMap(noise.image(), defects), unsigned(ep::StatusSizeOverflow));
    QCOMPARE(defects.size(), someDefects.size());
}

void DefectMapTest::namesTellListsFromMaps_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isList");
    const auto row = [](const char* name, bool isList) { QTest::newRow(name) << QString::fromLatin1(name) << isList; };
    row("bad.txt", true);
    row("BAD.TXT", true);
    row("bad.lst", true);
    row("bad.list", true);
    row(".badpixels", true);
    row("folder.png/bad", true);
    row("bad.png", false);
    row("bad.txt.tif", false);
}

void DefectMapTest::namesTellListsFromMaps()
{
    QFETCH(QString, name);
    QFETCH(bool, isList);
    QCOMPARE(orn::isDefectListName(name), isList);
}

void DefectMapTest::readsEither()
{
    orn::SxDefectList list;
    ep::SxFileError error;
    const QString text = m_folder.filePath(QStringLiteral("a.txt"));
    QVERIFY(writeFile(text, "# coordinates: image\n3 0 5 # hot\n"));
    QVERIFY(orn::readDefects(text, list, error));
    QCOMPARE(placesOf(list.defects), QStringLiteral("3,0:1"));

    ep::CxScopedBuffer map;
    QCOMPARE(orn::DefectMap(30, 20, someDefects, map), unsigned(ep::StatusOk));
    orn::Init();  // of all formats, MAT needs no plug-in
    const QString image = m_folder.filePath(QStringLiteral("a.mat"));
    QVERIFY(ep::CxImageFormatManager::saveImageToFile(image, map.image(), nullptr, nullptr, false, QString(), &error));
    QVERIFY(orn::readDefects(image, list, error));
    QCOMPARE(placesOf(list.defects), QStringLiteral("3,0:1 0,2:2 4,2:3 6,4:1"));
    QVERIFY(!list.origin.isKnown);

    QVERIFY(!orn::readDefects(m_folder.filePath(QStringLiteral("none.png")), list, error));
    QCOMPARE(error.kind, ep::ExFileError::Unreadable);
    QCOMPARE(list.defects.size(), 4);
}

QTEST_GUILESS_MAIN(DefectMapTest)
#include "DefectMapTest.moc"
