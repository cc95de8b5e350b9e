#include "ConvertTesting.h"
#include "DefectSearch.h"

#include <QJsonArray>

using namespace testing;

/** `orn defects` on frames whose colour-filter cell has many places of a colour. */
class DefectsOfCellTest : public QObject {
    Q_OBJECT
private slots:
    void placesOfAColourAreAddedUp();
};

void DefectsOfCellTest::placesOfAColourAreAddedUp()
{
    constexpr int frames = 4;
    constexpr int width = 150;
    constexpr int height = 120;
    SensorKind kind;
    kind.width = width;
    kind.height = height;
    DefectiveSensor sensor(kind, 3);
    sensor.breakPixels(30, 2, frames, 30, 300);
    const ImageFolder folder;
    QStringList arguments{QStringLiteral("defects"), QStringLiteral("--json"), QStringLiteral("--out"),
                          folder.path("map.png")};
    for (int i = 0; i < frames; ++i) {
        ep::CxScopedBuffer frame = sensor.takeFrame();
        frame->bitDepth = 14;
        frame->bayerGrid = ep::BayerGridCell;
        frame->patternWidth = frame->patternHeight = 6;
        const QString name = QStringLiteral("dark-%1.dng").arg(i);
        QVERIFY(folder.save(name, frame));
        arguments << folder.path(name);
    }
    const ProgramRun run = runOrn(arguments);
    QVERIFY2(run.code == 0, run.all());
    QMap<QString, QJsonObject> parts;
    for (const QJsonValue& plane : run.json()[QStringLiteral("planes")].toArray())
        parts[plane[QStringLiteral("name")].toString()] = plane.toObject();
    QCOMPARE(parts.keys(), (QStringList{QStringLiteral("B"), QStringLiteral("G"), QStringLiteral("R")}));
    int hot[3] = {};
    int dead[3] = {};
    const QString colors = QStringLiteral("BGR");
    for (const orn::SxDefect& defect : sensor.defects()) {
        const int color = colors.indexOf(xTransColors().at(6 * (defect.y % 6) + defect.x % 6));
        ++(defect.kind == orn::DefectHot ? hot : dead)[color];
    }
    for (int color = 0; color < 3; ++color) {
        const QJsonObject part = parts[QString(colors[color])];
        // Of the 36 places of the cell 20 are green and 8 of each other colour.
        QCOMPARE(part[QStringLiteral("samples")].toInt(), width * height / 36 * (color == 1 ? 20 : 8));
        QCOMPARE(part[QStringLiteral("hot")].toInt(), hot[color]);
        QCOMPARE(part[QStringLiteral("dead")].toInt(), dead[color]);
        QVERIFY(std::abs(part[QStringLiteral("background")].toDouble() - kind.level) < 2);
    }
}

QTEST_GUILESS_MAIN(DefectsOfCellTest)
#include "DefectsOfCellTest.moc"
