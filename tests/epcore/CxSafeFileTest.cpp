#include <ep/CxSafeFile.h>

#include "TinyDisk.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using ep::CxSafeFile;
using ep::ExFileError;
using ep::SxFileError;

class CxSafeFileTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_folder;

    QString path(const QString& name) const { return m_folder->filePath(name); }
    static void write(const QString& name, const QByteArray& content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test file");
    }
    static QByteArray read(const QString& name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    QStringList entries() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    static mode_t permissions(const QString& name)
    {
        struct stat status = {};
        stat(QFile::encodeName(name), &status);
        return status.st_mode & 07777;
    }
    /** Puts @p content in place of @p target. */
    static bool replace(const QString& target, const QByteArray& content, bool refuseReplace, SxFileError& error)
    {
        CxSafeFile file(target);
        if (!file.create(error))
            return false;
        write(file.temporaryName(), content);
        return file.commit(refuseReplace, error);
    }

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void newFileAppearsAtTheCommit()
    {
        const QString target = path(QStringLiteral("photo.tar.tif"));
        SxFileError error;
        CxSafeFile file(target);
        QCOMPARE(file.temporaryName(), QString());
        QVERIFY(file.create(error));
        const QFileInfo temporary(file.temporaryName());
        QVERIFY(temporary.exists());
        QVERIFY(temporary.isHidden());
        QCOMPARE(temporary.suffix(), QStringLiteral("tif"));
        QCOMPARE(temporary.absolutePath(), m_folder->path());
        QVERIFY(!QFileInfo::exists(target));
        write(file.temporaryName(), "new");
        QVERIFY(file.commit(false, error));
        QVERIFY(!error);
        QCOMPARE(read(target), QByteArray("new"));
        QCOMPARE(entries(), QStringList{QStringLiteral("photo.tar.tif")});
    }

    void withoutCommitTheOldFileStays()
    {
        const QString target = path(QStringLiteral("photo"));
        write(target, "old");
        {
            SxFileError error;
            CxSafeFile file(target);
            QVERIFY(file.create(error));
            write(file.temporaryName(), "new");
            QCOMPARE(entries().size(), 2);
        }
        QCOMPARE(read(target), QByteArray("old"));
        QCOMPARE(entries(), QStringList{QStringLiteral("photo")});
    }

    void twoWritersOfOneTargetDoNotMeet()
    {
        const QString target = path(QStringLiteral("photo.tif"));
        SxFileError error;
        CxSafeFile first(target);
        CxSafeFile second(target);
        QVERIFY(first.create(error));
        QVERIFY(second.create(error));
        QVERIFY(first.temporaryName() != second.temporaryName());
    }

    void permissionsAreKept_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : {0600, 0444, 0775})
            QTest::newRow(qPrintable(QString::number(mode, 8))) << mode;
    }

    void permissionsAreKept()
    {
        QFETCH(int, mode);
        const QString target = path(QStringLiteral("photo"));
        write(target, "old");
        QCOMPARE(chmod(QFile::encodeName(target), static_cast<mode_t>(mode)), 0);
        SxFileError error;
        QVERIFY(replace(target, "new", false, error));
        QCOMPARE(read(target), QByteArray("new"));
        QCOMPARE(permissions(target), static_cast<mode_t>(mode));
    }

    void newFileGetsWhatTheProcessGives()
    {
        const mode_t before = umask(027);
        SxFileError error;
        const bool ok = replace(path(QStringLiteral("photo")), "new", false, error);
        umask(before);
        QVERIFY(ok);
        QCOMPARE(permissions(path(QStringLiteral("photo"))), mode_t(0640));
    }

    void existingFileIsRefusedWhenAsked()
    {
        const QString target = path(QStringLiteral("photo"));
        SxFileError error;
        QVERIFY(replace(target, "first", true, error));
        QVERIFY(!replace(target, "second", true, error));
        QCOMPARE(error.kind, ExFileError::Refused);
        QCOMPARE(error.reason, QStringLiteral("the file exists already"));
        QCOMPARE(read(target), QByteArray("first"));
        QCOMPARE(entries().size(), 1);
    }

    void fileThatCameToBeMeanwhileIsRefusedToo()
    {
        const QString target = path(QStringLiteral("photo"));
        SxFileError error;
        CxSafeFile file(target);
        QVERIFY(file.create(error));
        write(target, "other");
        QVERIFY(!file.commit(true, error));
        QCOMPARE(error.kind, ExFileError::Refused);
        QCOMPARE(read(target), QByteArray("other"));
        QVERIFY(file.commit(false, error));
        QCOMPARE(read(target), QByteArray());
    }

    void symbolicLinksAreWrittenThrough_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::newRow("to a file") << true;
        QTest::newRow("to a file that does not exist yet") << false;
    }

    void symbolicLinksAreWrittenThrough()
    {
        QFETCH(bool, exists);
        QDir(m_folder->path()).mkdir(QStringLiteral("real"));
        if (exists)
            write(path(QStringLiteral("real/photo.tif")), "old");
        QVERIFY(QFile::link(QStringLiteral("real/photo.tif"), path(QStringLiteral("second"))));
        QVERIFY(QFile::link(QStringLiteral("second"), path(QStringLiteral("first"))));
        SxFileError error;
        QVERIFY(replace(path(QStringLiteral("first")), "new", false, error));
        QCOMPARE(read(path(QStringLiteral("real/photo.tif"))), QByteArray("new"));
        QVERIFY(QFileInfo(path(QStringLiteral("first"))).isSymLink());
        QVERIFY(QFileInfo(path(QStringLiteral("second"))).isSymLink());
    }

    void namesOfEveryLengthWork_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("one letter") << QStringLiteral("a");
        QTest::newRow("only a suffix") << QStringLiteral(".tif");
        QTest::newRow("as long as a name may be") << QString(251, QLatin1Char('a')) + QLatin1String(".tif");
        QTest::newRow("long and not ASCII") << QString(125, QChar(0xE9)) + QLatin1String(".tif");
    }

    void namesOfEveryLengthWork()
    {
        QFETCH(QString, name);
        SxFileError error;
        QVERIFY2(replace(path(name), "new", false, error), qPrintable(error.reason));
        QCOMPARE(read(path(name)), QByteArray("new"));
    }

    void relativeNamesWork()
    {
        const QString before = QDir::currentPath();
        QDir::setCurrent(m_folder->path());
        SxFileError error;
        const bool ok = replace(QStringLiteral("photo"), "new", false, error);
        QDir::setCurrent(before);
        QVERIFY(ok);
        QCOMPARE(entries(), QStringList{QStringLiteral("photo")});
    }

    void impossibleTargetsAreErrors_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("reason");
        const QString folder = QStringLiteral("it is a folder, not a file");
        QTest::newRow("no name") << QString() << folder;
        QTest::newRow("a folder") << QStringLiteral("folder") << folder;
        QTest::newRow("a folder with a slash") << QStringLiteral("folder/") << folder;
        QTest::newRow("a missing folder")
            << QStringLiteral("missing/photo") << QStringLiteral("its folder does not exist");
        QTest::newRow("a file for a folder")
            << QStringLiteral("file/photo") << QStringLiteral("its folder does not exist");
        QTest::newRow("a pipe") << QStringLiteral("pipe") << QStringLiteral("it is not a regular file");
        QTest::newRow("a link to itself") << QStringLiteral("loop") << QStringLiteral("it is not a regular file");
        QTest::newRow("a device") << QStringLiteral("/dev/null") << QStringLiteral("it is not a regular file");
        QTest::newRow("a folder of the kernel's") << QStringLiteral("/proc/photo") << QString();
    }

    void impossibleTargetsAreErrors()
    {
        QFETCH(QString, target);
        QFETCH(QString, reason);
        QDir(m_folder->path()).mkdir(QStringLiteral("folder"));
        write(path(QStringLiteral("file")), "old");
        QCOMPARE(mkfifo(QFile::encodeName(path(QStringLiteral("pipe"))), 0600), 0);
        QVERIFY(QFile::link(QStringLiteral("loop"), path(QStringLiteral("loop"))));
        if (!target.isEmpty() && !target.startsWith(QLatin1Char('/')))
            target = m_folder->path() + QLatin1Char('/') + target;
        SxFileError error;
        CxSafeFile file(target);
        QVERIFY(!file.create(error));
        QCOMPARE(error.kind, ExFileError::Unwritable);
        QVERIFY(!error.reason.isEmpty());
        if (!reason.isEmpty())
            QCOMPARE(error.reason, reason);
        QCOMPARE(file.temporaryName(), QString());
        QVERIFY(!file.commit(false, error));
        QCOMPARE(entries().size(), 4);
        QCOMPARE(read(path(QStringLiteral("file"))), QByteArray("old"));
    }

    void lostTemporaryFileIsAnError()
    {
        const QString target = path(QStringLiteral("photo"));
        write(target, "old");
        SxFileError error;
        CxSafeFile file(target);
        QVERIFY(file.create(error));
        QVERIFY(QFile::remove(file.temporaryName()));
        QVERIFY(!file.commit(false, error));
        QCOMPARE(error.kind, ExFileError::Unwritable);
        QCOMPARE(read(target), QByteArray("old"));
    }

    void aFolderThatIsMovedAwayKeepsNothing()
    {
        QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("here")));
        write(path(QStringLiteral("here/photo")), "old");
        SxFileError error;
        {
            CxSafeFile file(path(QStringLiteral("here/photo")));
            QVERIFY(file.create(error));
            write(file.temporaryName(), "new");
            QVERIFY(QDir(m_folder->path()).rename(QStringLiteral("here"), QStringLiteral("there")));
            QVERIFY(!file.commit(false, error));
        }
        QCOMPARE(error.kind, ExFileError::Unwritable);
        QVERIFY(!error.reason.isEmpty());
        QCOMPARE(read(path(QStringLiteral("there/photo"))), QByteArray("old"));
        QCOMPARE(QDir(path(QStringLiteral("there"))).entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("photo")});
        QCOMPARE(entries(), QStringList{QStringLiteral("there")});
    }

    void fullDiskIsNamed()
    {
        const testing::TinyDisk disk;
        if (!disk.isMounted())
            QSKIP("this system lets nobody but root mount a file system");
        write(disk.filePath("photo"), "old");
        SxFileError error;
        std::vector<std::unique_ptr<CxSafeFile>> open;
        do {
            open.push_back(std::make_unique<CxSafeFile>(disk.filePath("photo")));
        } while (open.back()->create(error) && open.size() < testing::TinyDisk::mostFiles);
        QCOMPARE(error.kind, ExFileError::Unwritable);
        QCOMPARE(error.reason, QStringLiteral("the disk is full"));
        open.clear();
        QCOMPARE(read(disk.filePath("photo")), QByteArray("old"));
    }

    // Last, for it is how a program ends.
    void abandonedFilesAreGoneForGood()
    {
        write(path(QStringLiteral("photo")), "old");
        SxFileError error;
        CxSafeFile first(path(QStringLiteral("photo")));
        CxSafeFile second(path(QStringLiteral("other")));
        QVERIFY(first.create(error));
        QVERIFY(second.create(error));
        CxSafeFile::abandonAll();
        QCOMPARE(entries(), QStringList{QStringLiteral("photo")});
        QVERIFY(!first.commit(false, error));
        QVERIFY(!first.create(error));
        QCOMPARE(error.reason, QStringLiteral("the program is ending"));
        CxSafeFile late(path(QStringLiteral("late")));
        QVERIFY(!late.create(error));
        QCOMPARE(read(path(QStringLiteral("photo"))), QByteArray("old"));
        QCOMPARE(entries(), QStringList{QStringLiteral("photo")});
    }
};

QTEST_GUILESS_MAIN(CxSafeFileTest)
#include "CxSafeFileTest.moc"
