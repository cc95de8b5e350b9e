#include <ep/IxImageDataSaver.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/** A saver that implements only what it must, and says whether it was asked. */
class BareImageSaver : public ep::IxImageDataSaver {
    Q_OBJECT
public:
    bool saveImage(const ep::IxData* data) override
    {
        ++asked;
        return data != nullptr;
    }
    QList<QPair<QString, int>> formats() const override { return {}; }
    void setFileName(const QString& name) override { m_name = name; }
    QString fileName() const override { return m_name; }
    void setOptions(const QMap<QString, QVariant>&) override {}

    int asked = 0;

private:
    QString m_name;
};

class IxImageDataSaverTest : public QObject {
    Q_OBJECT

private:
    static ep::CxMetadata metadata(double iso)
    {
        ep::CxMetadata metadata;
        auto* item = new ep::CxCommonImageMetadata;
        item->iso = iso;
        metadata.addMetadata(item);
        return metadata;
    }
    static QString content(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
    }

private slots:
    void onlyTheFirstFrameIsSaved()
    {
        BareImageSaver saver;
        const ep::CxImageData data;
        QVERIFY(saver.save(&data, 0));
        QVERIFY(!saver.save(nullptr, 0));
        QCOMPARE(saver.asked, 2);
        QVERIFY(!saver.save(&data, 1));
        QVERIFY(!saver.save(&data, -1));
        QCOMPARE(saver.asked, 2);
    }

    void thereAreNoOptionsByDefault() { QVERIFY(BareImageSaver().defaultOptions().isEmpty()); }

    void metadataGoesToTheSideFile()
    {
        const QTemporaryDir folder;
        BareImageSaver saver;
        saver.setFileName(folder.filePath(QStringLiteral("image.dat")));
        const QString side = folder.filePath(QStringLiteral("image.dat.xml"));
        QVERIFY(saver.saveMetadata(metadata(100), 0));
        QVERIFY(content(side).contains(QStringLiteral("<iso>100</iso>")));
        saver.setGlobalMetadata(metadata(200));
        QVERIFY(saver.saveGlobalMetadata());
        QVERIFY(content(side).contains(QStringLiteral("<iso>200</iso>")));
        QVERIFY(!content(side).contains(QStringLiteral("<iso>100</iso>")));
    }
};

QTEST_GUILESS_MAIN(IxImageDataSaverTest)
#include "IxImageDataSaverTest.moc"
