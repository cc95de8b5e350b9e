#include <ep/IxDataSaver.h>

#include <ep/CxCommonImageMetadata.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/** A saver that implements only what it must. */
class BareSaver : public ep::IxDataSaver {
    Q_OBJECT
public:
    bool save(const ep::IxData*, int) override
    {
        setExpectedFileSize(12);
        setError(ep::ExFileError::Refused, QStringLiteral("no reason"));
        return false;
    }
    QList<QPair<QString, int>> formats() const override { return {}; }
    void setFileName(const QString& name) override { m_name = name; }
    QString fileName() const override { return m_name; }
    void setOptions(const QMap<QString, QVariant>&) override {}

private:
    QString m_name;
};

class IxDataSaverTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    static ep::CxMetadata metadata()
    {
        ep::CxMetadata metadata;
        auto* item = new ep::CxCommonImageMetadata;
        item->cameraMake = QString::fromUtf8("é");
        metadata.addMetadata(item);
        return metadata;
    }

private slots:
    void saversOfStillsHaveNothingToPrepare()
    {
        BareSaver saver;
        QVERIFY(saver.open());
        QVERIFY(saver.close());
        QVERIFY(!saver.isSequenceSaver());
        saver.setSequenceSize(7);
        QVERIFY(saver.acceptsInterleavedChannels());
    }

    void buffersAreNotSupported()
    {
        BareSaver saver;
        QByteArray content("old");
        QVERIFY(!saver.supportsSaveToBuffer());
        QVERIFY(!saver.saveToBuffer(nullptr, content));
        QCOMPARE(content, QByteArray("old"));
    }

    void dialogGivesTheOptionsBack()
    {
        BareSaver saver;
        const QMap<QString, QVariant> options{{QStringLiteral("key"), 7}};
        QCOMPARE(saver.optionsFromSaveDlg(options), options);
    }

    void errorAndExpectedSizeAreKept()
    {
        BareSaver saver;
        QVERIFY(!saver.lastError());
        QCOMPARE(saver.expectedFileSize(), 0);
        saver.save(nullptr, 0);
        QCOMPARE(saver.lastError().kind, ep::ExFileError::Refused);
        QCOMPARE(saver.lastError().reason, QStringLiteral("no reason"));
        QCOMPARE(saver.expectedFileSize(), 12);
    }

    void removeDeletesTheFile()
    {
        BareSaver saver;
        saver.setFileName(m_folder.filePath(QStringLiteral("file")));
        QVERIFY(!saver.remove());
        QFile file(saver.fileName());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QVERIFY(saver.remove());
        QVERIFY(!file.exists());
    }

    void metadataGoesToTheSideFile()
    {
        BareSaver saver;
        saver.setFileName(m_folder.filePath(QStringLiteral("image.dat")));
        QVERIFY(saver.exportMetadata(metadata()));
        saver.setMetadataSubdir(QStringLiteral("made/for it"));
        QCOMPARE(saver.metadataSubdir(), QStringLiteral("made/for it"));
        QVERIFY(saver.exportMetadata(metadata()));
        for (const char* name : {"image.dat.xml", "made/for it/image.dat.xml"}) {
            QFile file(m_folder.filePath(QLatin1String(name)));
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), metadata().saveToXml(2).toLatin1());
        }
    }

    void sideFileThatCannotBeWrittenIsAnError()
    {
        QFile obstacle(m_folder.filePath(QStringLiteral("obstacle")));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        BareSaver saver;
        saver.setFileName(m_folder.filePath(QStringLiteral("obstacle/image.dat")));
        QVERIFY(!saver.exportMetadata(metadata()));
        QCOMPARE(saver.lastError().kind, ep::ExFileError::Unwritable);
        QVERIFY(!saver.lastError().reason.isEmpty());
    }
};

QTEST_GUILESS_MAIN(IxDataSaverTest)
#include "IxDataSaverTest.moc"
