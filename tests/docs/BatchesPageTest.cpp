// The commands that docs/batches.md shows are run; its hosts are this machine.

#include "CameraImages.h"
#include "Files.h"
#include "Program.h"

#include <orn/orn_core.h>

#include <QDir>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

class BatchesPageTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyCommandDoesWhatThePageSays();
    void bothHostsWereAtWork();
    void theLogsHaveEveryFileOnce();

private:
    QTemporaryDir m_folder;
};

void BatchesPageTest::initTestCase()
{
    orn::Init();
    QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("captures")));
    for (int i = 1; i <= 10; ++i) {
        const auto mosaic = cameraMosaic(ep::BayerGridRGGB, 400, 300, 14, quint32(i));
        const ep::CxMetadata metadata = cameraMetadata(mosaic.image());
        QVERIFY(ep::CxImageFormatManager::saveImageToFile(m_folder.filePath(QStringLiteral("captures/a%1.dng").arg(i)),
                                                          mosaic.image(), &metadata, nullptr, false, QString()));
    }
    QVERIFY(writeFile(m_folder.filePath(QStringLiteral("captures/broken.dng")), "broken"));
    // Called as ssh is: "ssh HOST -- COMMAND". A host sets the user's shell, which parallel hands its commands to.
    QVERIFY(writeFile(m_folder.filePath(QStringLiteral("ssh")), "#!/bin/sh\n"
                                                                "export SHELL=/bin/sh\n"
                                                                "echo \"$1\" >> \"$HOSTS\"\n"
                                                                "shift\n"
                                                                "[ \"$1\" != -- ] || shift\n"
                                                                "exec sh -c \"$*\"\n"));
    QVERIFY(QFile::setPermissions(m_folder.filePath(QStringLiteral("ssh")),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

void BatchesPageTest::everyCommandDoesWhatThePageSays()
{
    const QString page = QStringLiteral(ORN_DOCS "/batches.md");
    const ProgramRun run =
        runShell(QStringLiteral("cd \"$1\" && PATH=$(dirname \"$ORN\"):$PATH && shift && exec \"$@\""),
                 {m_folder.path(), QStringLiteral(ORN_PYTHON), QStringLiteral(RUN_DOCUMENT), page},
                 {{QStringLiteral("HOME"), m_folder.path()},
                  {QStringLiteral("PARALLEL_SSH"), m_folder.filePath(QStringLiteral("ssh"))},
                  {QStringLiteral("HOSTS"), m_folder.filePath(QStringLiteral("hosts"))}});
    QVERIFY2(run.code == 0, run.all());
    const int blocks = QString::fromUtf8(readFile(page)).count(QStringLiteral("```console\n"));
    QVERIFY(blocks > 4);
    QCOMPARE(run.out, QStringLiteral("%1 blocks were run\n").arg(blocks));
}

void BatchesPageTest::bothHostsWereAtWork()
{
    const QList<QByteArray> hosts = readFile(m_folder.filePath(QStringLiteral("hosts"))).split('\n');
    QVERIFY(hosts.contains("alpha"));
    QVERIFY(hosts.contains("beta"));
}

void BatchesPageTest::theLogsHaveEveryFileOnce()
{
    QSet<QString> inputs;
    int lines = 0;
    for (int shard = 1; shard <= 4; ++shard)
        for (const QByteArray& line : readFile(m_folder.filePath(QStringLiteral("%1.jsonl").arg(shard))).split('\n')) {
            const QJsonObject answer = QJsonDocument::fromJson(line).object();
            if (!answer.contains(QStringLiteral("input")))
                continue;
            QCOMPARE(answer[QStringLiteral("status")].toString(), QStringLiteral("done"));
            inputs << answer[QStringLiteral("input")].toString();
            ++lines;
        }
    QCOMPARE(lines, 10);
    QCOMPARE(inputs.size(), 10);
}

QTEST_GUILESS_MAIN(BatchesPageTest)
#include "BatchesPageTest.moc"
