#include <ep/IxDataLoader.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/IxData.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

/** A loader that implements only what it must. */
class BareLoader : public ep::IxDataLoader {
    Q_OBJECT
public:
    bool open() override
    {
        setError(ep::ExFileError::Unsupported, QStringLiteral("no reason"));
        return false;
    }
    bool isOpen() const override { return false; }
    void close() override { setError(ep::ExFileError::None); }
    int frameCount() const override { return 3; }
    ep::IxData* data(int) override { return nullptr; }
    QString fileName() const override { return m_name; }
    void setFileName(const QString& name) override { m_name = name; }
    QList<QPair<QString, int>> formats() const override { return {}; }

private:
    QString m_name;
};

/** Frames with names of their own. */
class NamingLoader : public BareLoader {
    Q_OBJECT
public:
    QString frameName(int frame) override { return QStringLiteral("frame %1").arg(frame); }
};

class IxDataLoaderTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    void write(const QString& name, const QByteArray& content) const
    {
        QDir().mkpath(QFileInfo(m_folder.filePath(name)).path());
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test file");
    }

private slots:
    void framesAreNamedAfterTheFile()
    {
        BareLoader loader;
        loader.setFileName(QStringLiteral("/some/where/image.tar.gz"));
        QCOMPARE(loader.frameName(0), QStringLiteral("image.tar.gz"));
        QCOMPARE(loader.index(QStringLiteral("image.tar.gz")), 0);
        QCOMPARE(loader.index(QStringLiteral("image")), -1);
        QCOMPARE(loader.frameText(0), QString());
        NamingLoader naming;
        QCOMPARE(naming.index(QStringLiteral("frame 2")), 2);
        QCOMPARE(naming.index(QStringLiteral("frame 3")), -1);
    }

    void oneFileIsTheWholeSequence()
    {
        BareLoader loader;
        loader.setFileName(QStringLiteral("/some/where/image.mat"));
        QVERIFY(!loader.isMultiFileSequence());
        QCOMPARE(loader.sequenceFiles(), QStringList{QStringLiteral("/some/where/image.mat")});
        QCOMPARE(loader.seqFileFrameExtension(), QStringLiteral("mat"));
        QVERIFY(!loader.internalLoader());
    }

    void buffersAreNotSupported()
    {
        BareLoader loader;
        QVERIFY(!loader.supportsLoadFromBuffer());
        QVERIFY(!loader.setBuffer(QByteArray("x"), QStringLiteral("x.mat")));
    }

    void errorOptionsAndLimitAreKept()
    {
        BareLoader loader;
        QVERIFY(!loader.lastError());
        loader.open();
        QCOMPARE(loader.lastError().kind, ep::ExFileError::Unsupported);
        QCOMPARE(loader.lastError().reason, QStringLiteral("no reason"));
        loader.close();
        QVERIFY(!loader.lastError());
        QVERIFY(loader.options().isEmpty());
        loader.setOptions({{QStringLiteral("key"), 7}});
        QCOMPARE(loader.options().value(QStringLiteral("key")).toInt(), 7);

        const qint64 machine = qint64(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
        QVERIFY(qAbs(loader.memoryLimit() - machine / 2) <= sysconf(_SC_PAGESIZE));
        loader.setMemoryLimit(1000);
        QCOMPARE(loader.memoryLimit(), 1000);
        loader.setMemoryLimit(0);
        QVERIFY(loader.memoryLimit() > 1000);
    }

    void metadataComesFromTheSideFile_data()
    {
        QTest::addColumn<QString>("subdir");
        QTest::addColumn<QString>("sideFile");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isRead");
        const QByteArray xml = "<metadata><item class=\"ep::CxCommonImageMetadata\"><camera_make>\xc3\xa9</camera_make>"
                               "</item></metadata>";
        const QString beside = QStringLiteral("image.dat.xml");
        QTest::newRow("beside the file") << QString() << beside << xml << true;
        QTest::newRow("in its own folder")
            << QStringLiteral("meta/data") << QStringLiteral("meta/data/image.dat.xml") << xml << true;
        QTest::newRow("in a neighbouring folder")
            << QStringLiteral("../other") << QStringLiteral("../other/image.dat.xml") << xml << true;
        QTest::newRow("missing") << QString() << QStringLiteral("other.xml") << xml << false;
        QTest::newRow("unsound") << QString() << beside << xml.left(50) << false;
        QTest::newRow("a folder of that name") << QString() << QStringLiteral("image.dat.xml/file") << xml << false;
    }

    void metadataComesFromTheSideFile()
    {
        QFETCH(QString, subdir);
        QFETCH(QString, sideFile);
        QFETCH(QByteArray, content);
        QFETCH(bool, isRead);
        const QString folder = QString::fromLatin1(QTest::currentDataTag()) + QLatin1String("/images/");
        write(folder + sideFile, content);
        BareLoader loader;
        loader.setFileName(m_folder.filePath(folder + QLatin1String("image.dat")));
        QCOMPARE(loader.metadataSubdir(), QString());
        loader.setMetadataSubdir(subdir);
        QCOMPARE(loader.metadataSubdir(), subdir);
        ep::CxMetadata metadata;
        QCOMPARE(loader.importMetadata(metadata), isRead);
        QCOMPARE(metadata.items().size(), isRead ? 1 : 0);
        if (isRead)
            QCOMPARE(qobject_cast<ep::CxCommonImageMetadata*>(metadata.items().first())->cameraMake,
                     QString::fromUtf8("é"));
    }
};

QTEST_GUILESS_MAIN(IxDataLoaderTest)
#include "IxDataLoaderTest.moc"
