// Whatever goes wrong while an image is written, the file that was there is still whole.

#include <ep/CxImageFormatManager.h>

#include "DumpFormat.h"
#include "FileSizeLimit.h"
#include "TestImages.h"
#include "TinyDisk.h"

#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

using ep::ExFileError;
using Manager = ep::CxImageFormatManager;
using Formats = QList<QPair<QString, int>>;

/** Reads dumps. */
class DumpReader : public testing::DumpLoader {
    Q_OBJECT
public:
    Q_INVOKABLE DumpReader() = default;
    Formats formats() const override
    {
        return {{QStringLiteral("Dump (*.dump)"), 1},
                {QStringLiteral("Careless dump (*.careless)"), 1},
                {QStringLiteral("Deadly dump (*.deadly)"), 1}};
    }
};

/** Writes dumps. */
class DumpWriter : public testing::DumpSaver {
    Q_OBJECT
public:
    Q_INVOKABLE DumpWriter() = default;
};

/** Writes dumps and never looks whether that worked. */
class CarelessWriter : public testing::DumpSaver {
    Q_OBJECT
public:
    Q_INVOKABLE CarelessWriter() = default;
    Formats formats() const override { return {{QStringLiteral("Careless dump (*.careless)"), 1}}; }
    bool saveImage(const ep::IxData* data) override
    {
        DumpSaver::saveImage(data);
        setError(ExFileError::None);
        return true;
    }
};

/** Is killed when the file is written and not yet put in place. */
class DeadlyWriter : public testing::DumpSaver {
    Q_OBJECT
public:
    Q_INVOKABLE DeadlyWriter() = default;
    Formats formats() const override { return {{QStringLiteral("Deadly dump (*.deadly)"), 1}}; }
    bool saveImage(const ep::IxData* data) override
    {
        const bool done = DumpSaver::saveImage(data);
        kill(getpid(), SIGKILL);
        return done;
    }
};

class CxImageFormatManagerOldFileTest : public QObject {
    Q_OBJECT

private:
    /** A file for the saver that looks whether writing works, and one for the saver that does not. */
    static QStringList savedNames() { return {QStringLiteral("image.dump"), QStringLiteral("image.careless")}; }
    static QByteArray content(const QString& name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    static void writeOldFile(const QString& name)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write("old") != 3)
            qFatal("cannot write a test file");
    }
    static QStringList entries(const QString& name)
    {
        return QFileInfo(name).dir().entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    static ep::CxScopedBuffer squareImage(int side)
    {
        return testing::randomImage(testing::describe(ep::DataTypeUInt8, side, side));
    }
    /** Saving a square image fails, and the folder is as it was. */
    static void failToSave(const QString& target, int side, const QString& reason)
    {
        const QByteArray before = content(target);
        const QStringList entriesBefore = entries(target);
        ep::SxFileError error;
        QVERIFY(
            !Manager::saveImageToFile(target, squareImage(side).image(), nullptr, nullptr, false, QString(), &error));
        QCOMPARE(error.kind, ExFileError::Unwritable);
        if (reason.isEmpty())
            QVERIFY(!error.reason.isEmpty());
        else
            QCOMPARE(error.reason, reason);
        QCOMPARE(content(target), before);
        QCOMPARE(entries(target), entriesBefore);
    }

private slots:
    void initTestCase()
    {
        testing::registerLoader<DumpReader>();
        testing::registerSaver<DumpWriter>();
        testing::registerSaver<CarelessWriter>();
        testing::registerSaver<DeadlyWriter>();
    }

    void fullDisk_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("side");
        QTest::addColumn<bool>("fits");
        for (const QString& name : savedNames()) {
            const QByteArray saver = name.toLatin1();
            QTest::newRow(saver + " far too large") << name << 400 << false;
            QTest::newRow(saver + " with room for it, but not beside the old file") << name << 230 << false;
            QTest::newRow(saver + " with room for both") << name << 100 << true;
        }
    }

    void fullDisk()
    {
        QFETCH(QString, name);
        QFETCH(int, side);
        QFETCH(bool, fits);
        const testing::TinyDisk disk;
        if (!disk.isMounted())
            QSKIP("this system lets nobody but root mount a file system; the files that may not grow are tested");
        const QString target = disk.filePath(name.toLatin1());
        // The old file takes a third of the disk.
        QVERIFY(Manager::saveImageToFile(target, squareImage(150).image(), nullptr, nullptr, false, QString()));
        if (fits)
            QVERIFY(Manager::saveImageToFile(target, squareImage(side).image(), nullptr, nullptr, false, QString()));
        else
            failToSave(target, side, QStringLiteral("the disk is full"));
    }

    void fileThatMayNotGrow_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("missingBytes");
        for (const QString& name : savedNames())
            for (const int missingBytes : {1, 500, 1000, 1030, 0})
                QTest::newRow(name.toLatin1() + ' ' + QByteArray::number(missingBytes) + " bytes short")
                    << name << missingBytes;
    }

    void fileThatMayNotGrow()
    {
        QFETCH(QString, name);
        QFETCH(int, missingBytes);
        const QTemporaryDir folder;
        const QString target = folder.filePath(name);
        writeOldFile(target);
        constexpr int side = 32;
        const testing::FileSizeLimit limit(qint64(sizeof(ep::SxImageInfo)) + side * side - missingBytes);
        if (missingBytes > 0)
            failToSave(target, side, QString());
        else
            QVERIFY(Manager::saveImageToFile(target, squareImage(side).image(), nullptr, nullptr, false, QString()));
    }

    void killedProcess()
    {
        const QTemporaryDir folder;
        const QString target = folder.filePath(QStringLiteral("image.deadly"));
        writeOldFile(target);
        const ep::CxScopedBuffer image = squareImage(32);
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            Manager::saveImageToFile(target, image.image(), nullptr, nullptr, false, QString());
            _exit(0);  // not reached
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        QCOMPARE(content(target), QByteArray("old"));
    }
};

QTEST_GUILESS_MAIN(CxImageFormatManagerOldFileTest)
#include "CxImageFormatManagerOldFileTest.moc"
