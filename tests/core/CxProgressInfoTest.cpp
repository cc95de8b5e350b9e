#include <orn/CxProgressInfo.h>

#include <QMetaMethod>
#include <QtTest>

#include <cmath>
#include <functional>

using orn::CxProgressInfo;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/** What a watcher is told. */
struct Info {
    explicit Info(CxProgressInfo& progress) { progress.getInfo(total, totalMessage, task, taskMessage); }
    double total = -1;
    QString totalMessage = QStringLiteral("none");
    double task = -1;
    QString taskMessage = QStringLiteral("none");
};

QString text(const char* message)
{
    return QLatin1String(message);
}

/** Equal, with NaN equal to itself. */
bool same(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

}  // namespace

Q_DECLARE_METATYPE(std::function<void(CxProgressInfo&)>)

class CxProgressInfoTest : public QObject {
    Q_OBJECT

private slots:
    void startsAtNothing();
    void boundsProgress_data();
    void boundsProgress();
    void addsTheTaskToTheTotal_data();
    void addsTheTaskToTheTotal();
    void ignoresARatioThatIsNone_data();
    void ignoresARatioThatIsNone();
    void messagesGoWithTheirProgress();
    void signalsOnce_data();
    void signalsOnce();
    void resetGoesBackToTheStart();
    void slotsMayCallBack();
    void cancelIsASlot();
    void metaObjectIsThatOfTheContract();
};

void CxProgressInfoTest::startsAtNothing()
{
    CxProgressInfo progress;
    const Info info(progress);
    QCOMPARE(info.total, 0.0);
    QCOMPARE(info.task, 0.0);
    QVERIFY(info.totalMessage.isNull());
    QVERIFY(info.taskMessage.isNull());
    QVERIFY(!progress.isCanceled());
    QVERIFY(!progress.parent());
    // The ratio is 1.
    progress.setTaskProgress(50, QString());
    QCOMPARE(Info(progress).total, 50.0);
}

void CxProgressInfoTest::boundsProgress_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("stored");
    QTest::newRow("150 becomes 100") << 150.0 << 100.0;
    QTest::newRow("-5 becomes 0") << -5.0 << 0.0;
    QTest::newRow("0") << 0.0 << 0.0;
    QTest::newRow("100") << 100.0 << 100.0;
    QTest::newRow("a little more than 100") << std::nextafter(100.0, 101.0) << 100.0;
    QTest::newRow("a little less than 100") << std::nextafter(100.0, 99.0) << std::nextafter(100.0, 99.0);
    QTest::newRow("infinity becomes 100") << infinity << 100.0;
    QTest::newRow("minus infinity becomes 0") << -infinity << 0.0;
    QTest::newRow("a NaN stays one") << notANumber << notANumber;
}

void CxProgressInfoTest::boundsProgress()
{
    QFETCH(double, value);
    QFETCH(double, stored);
    CxProgressInfo total;
    total.setTotalProgress(value, text("m"));
    QVERIFY(same(Info(total).total, stored));
    CxProgressInfo task;
    task.setTaskProgress(value, text("m"));
    QVERIFY(same(Info(task).task, stored));
}

void CxProgressInfoTest::addsTheTaskToTheTotal_data()
{
    QTest::addColumn<double>("ratio");
    QTest::addColumn<double>("total");
    QTest::addColumn<double>("task");
    QTest::addColumn<double>("toldTotal");
    QTest::addColumn<double>("toldTask");
    QTest::newRow("a quarter of the task") << 0.25 << 40.0 << 50.0 << 52.5 << 50.0;
    QTest::newRow("a finished total shows a full task") << 1.0 << 100.0 << 30.0 << 100.0 << 100.0;
    QTest::newRow("a finished total, whatever the ratio") << 0.1 << 100.0 << 0.0 << 100.0 << 100.0;
    QTest::newRow("the sum is not bounded") << 1.0 << 90.0 << 50.0 << 140.0 << 50.0;
    QTest::newRow("almost finished is not finished") << 1.0 << std::nextafter(100.0, 0.0) << 30.0 << 130.0 << 30.0;
    QTest::newRow("a sum of 100 shows the task as it is") << 0.5 << 75.0 << 50.0 << 100.0 << 50.0;
    QTest::newRow("a total that is no number") << 1.0 << notANumber << 50.0 << notANumber << 50.0;
}

void CxProgressInfoTest::addsTheTaskToTheTotal()
{
    QFETCH(double, ratio);
    QFETCH(double, total);
    QFETCH(double, task);
    QFETCH(double, toldTotal);
    QFETCH(double, toldTask);
    CxProgressInfo progress;
    progress.setTaskRatio(ratio);
    progress.setTotalProgress(total, QString());
    progress.setTaskProgress(task, QString());
    const Info info(progress);
    QVERIFY(same(info.total, toldTotal));
    QVERIFY(same(info.task, toldTask));
}

void CxProgressInfoTest::ignoresARatioThatIsNone_data()
{
    QTest::addColumn<double>("ratio");
    QTest::addColumn<double>("kept");
    QTest::newRow("0 is ignored") << 0.0 << 0.5;
    QTest::newRow("1.5 is ignored") << 1.5 << 0.5;
    QTest::newRow("-1 is ignored") << -1.0 << 0.5;
    QTest::newRow("a NaN is ignored") << notANumber << 0.5;
    QTest::newRow("infinity is ignored") << infinity << 0.5;
    QTest::newRow("a little more than 1 is ignored") << std::nextafter(1.0, 2.0) << 0.5;
    QTest::newRow("1 is taken") << 1.0 << 1.0;
    QTest::newRow("the smallest number is taken") << 4.9406564584124654e-324 << 0.0;
}

void CxProgressInfoTest::ignoresARatioThatIsNone()
{
    QFETCH(double, ratio);
    QFETCH(double, kept);
    CxProgressInfo progress;
    progress.setTaskRatio(0.5);
    progress.setTaskRatio(ratio);
    progress.setTaskProgress(100, QString());
    QVERIFY(std::fabs(Info(progress).total - kept * 100) < 1e-9);
}

void CxProgressInfoTest::messagesGoWithTheirProgress()
{
    CxProgressInfo progress;
    progress.setTotalProgress(10, text("total"));
    progress.setTaskProgress(20, text("task"));
    QCOMPARE(Info(progress).totalMessage, text("total"));
    QCOMPARE(Info(progress).taskMessage, text("task"));
    progress.setTotalMessage(text("another total"));
    progress.setTaskMessage(text("another task"));
    const Info info(progress);
    QCOMPARE(info.totalMessage, text("another total"));
    QCOMPARE(info.taskMessage, text("another task"));
    QCOMPARE(info.total, 30.0);
    QCOMPARE(info.task, 20.0);
}

void CxProgressInfoTest::signalsOnce_data()
{
    using Call = std::function<void(CxProgressInfo&)>;
    QTest::addColumn<Call>("call");
    QTest::addColumn<int>("updates");
    QTest::addColumn<int>("cancels");
    QTest::newRow("setTotalProgress") << Call([](CxProgressInfo& p) { p.setTotalProgress(1, QString()); }) << 1 << 0;
    QTest::newRow("setTotalProgress out of range")
        << Call([](CxProgressInfo& p) { p.setTotalProgress(-1, QString()); }) << 1 << 0;
    QTest::newRow("setTotalMessage") << Call([](CxProgressInfo& p) { p.setTotalMessage(QString()); }) << 1 << 0;
    QTest::newRow("setTaskProgress") << Call([](CxProgressInfo& p) { p.setTaskProgress(1, QString()); }) << 1 << 0;
    QTest::newRow("setTaskMessage") << Call([](CxProgressInfo& p) { p.setTaskMessage(QString()); }) << 1 << 0;
    QTest::newRow("reset") << Call([](CxProgressInfo& p) { p.reset(); }) << 1 << 0;
    QTest::newRow("cancel") << Call([](CxProgressInfo& p) { p.cancel(); }) << 0 << 1;
    QTest::newRow("setTaskRatio says nothing") << Call([](CxProgressInfo& p) { p.setTaskRatio(0.5); }) << 0 << 0;
    QTest::newRow("isCanceled says nothing") << Call([](CxProgressInfo& p) { p.isCanceled(); }) << 0 << 0;
    QTest::newRow("getInfo says nothing") << Call([](CxProgressInfo& p) { Info info(p); }) << 0 << 0;
}

void CxProgressInfoTest::signalsOnce()
{
    QFETCH(std::function<void(CxProgressInfo&)>, call);
    CxProgressInfo progress;
    QSignalSpy updated(&progress, &CxProgressInfo::updated);
    QSignalSpy canceled(&progress, &CxProgressInfo::canceled);
    call(progress);
    QTEST(updated.size(), "updates");
    QTEST(canceled.size(), "cancels");
}

void CxProgressInfoTest::resetGoesBackToTheStart()
{
    CxProgressInfo progress;
    progress.setTaskRatio(0.5);
    progress.setTotalProgress(10, text("total"));
    progress.setTaskProgress(20, text("task"));
    progress.cancel();
    QVERIFY(progress.isCanceled());
    progress.reset();
    QVERIFY(!progress.isCanceled());
    const Info info(progress);
    QCOMPARE(info.total, 0.0);
    QCOMPARE(info.task, 0.0);
    QVERIFY(info.totalMessage.isEmpty() && !info.totalMessage.isNull());
    QVERIFY(info.taskMessage.isEmpty() && !info.taskMessage.isNull());
    progress.setTaskProgress(100, QString());
    QCOMPARE(Info(progress).total, 50.0);  // the ratio stays
}

void CxProgressInfoTest::slotsMayCallBack()
{
    CxProgressInfo progress;
    double seen = 0;
    connect(&progress, &CxProgressInfo::updated, this, [&] {
        seen = Info(progress).total;
        if (seen == 30)
            progress.cancel();
    });
    connect(&progress, &CxProgressInfo::canceled, this, [&] {
        if (progress.isCanceled())
            progress.setTotalProgress(40, QString());
    });
    progress.setTotalProgress(30, QString());
    QCOMPARE(seen, 40.0);
    QVERIFY(progress.isCanceled());
}

void CxProgressInfoTest::cancelIsASlot()
{
    CxProgressInfo progress;
    QVERIFY(QMetaObject::invokeMethod(&progress, "cancel", Qt::DirectConnection));
    QVERIFY(progress.isCanceled());
}

void CxProgressInfoTest::metaObjectIsThatOfTheContract()
{
    const QMetaObject& type = CxProgressInfo::staticMetaObject;
    QCOMPARE(type.className(), "orn::CxProgressInfo");
    QCOMPARE(type.superClass(), &QObject::staticMetaObject);
    QCOMPARE(type.propertyCount() - type.propertyOffset(), 0);
    QCOMPARE(type.classInfoCount() - type.classInfoOffset(), 0);
    QStringList methods;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i)
        methods << QStringLiteral("%1 %2").arg(type.method(i).methodType()).arg(text(type.method(i).methodSignature()));
    const QStringList expected{QStringLiteral("1 updated()"), QStringLiteral("1 canceled()"),
                               QStringLiteral("2 cancel()")};
    QCOMPARE(methods, expected);
}

QTEST_GUILESS_MAIN(CxProgressInfoTest)
#include "CxProgressInfoTest.moc"
