// What the TIFF saver cannot hold or write is refused with a reason, and nothing that failed passes for written.

#include "Files.h"
#include "FormatPlugin.h"
#include "TestImages.h"
#include "WithoutPrivileges.h"

#include <ep/SameSamples.h>

#include <QtTest>

#include <csignal>
#include <sys/resource.h>

using namespace testing;

namespace {

/** Lets no file of this process grow past a size while it lives, as a full disk would. */
class FileSizeLimit {
public:
    explicit FileSizeLimit(qint64 bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_saved);
        rlimit limit = m_saved;
        limit.rlim_cur = static_cast<rlim_t>(bytes);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_saved); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_saved;
};

ep::CxCommonImageMetadata* someMetadata()
{
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraMake = QStringLiteral("Make");
    common->exposureTime = 0.25;
    common->attributes.insert(QStringLiteral("LensModel"), QStringLiteral("35/2"));
    return common;
}

}  // namespace

class TiffSaverTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString path() const { return m_folder.filePath(QStringLiteral("file.tif")); }

    /** Saves with a new saver and gives its error. */
    static ep::SxFileError save(const QString& path, const ep::IxData* data, const QMap<QString, QVariant>& options)
    {
        const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::tiff::CxTiffImageSaver", "IxImageDataSaver");
        saver->setFileName(path);
        saver->setOptions(options);
        const bool done = saver->saveImage(data);
        const ep::SxFileError error = saver->lastError();
        if (done == bool(error))
            qFatal("the result and the error disagree");
        return error;
    }

    static ep::SxFileError save(const QString& path, const ep::CxScopedBuffer& image,
                                const QMap<QString, QVariant>& options = {})
    {
        return save(path, imageDataOf(copyOf(image.image())).get(), options);
    }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }
    void cleanup() { QFile::remove(path()); }

    void whatTiffCannotHoldIsRefused_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("channels");
        QTest::addColumn<QString>("compression");
        QTest::addColumn<QString>("reason");
        const QString none = QStringLiteral("none");
        QTest::newRow("complex samples") << int(ep::DataTypeComplex) << 1 << none
                                         << QStringLiteral("complex samples are not written as TIFF");
        QTest::newRow("65,536 channels") << int(ep::DataTypeUInt8) << 65536 << none
                                         << QStringLiteral("TIFF has no room for 65536 channels");
        QTest::newRow("an unknown compression")
            << int(ep::DataTypeUInt8) << 1 << QStringLiteral("zip")
            << QStringLiteral("there is no compression \"zip\"; there are none, deflate and lzw");
    }

    void whatTiffCannotHoldIsRefused()
    {
        QFETCH(int, type);
        QFETCH(int, channels);
        QFETCH(QString, compression);
        QFETCH(QString, reason);
        const auto image = randomImage(describe(static_cast<ep::ExImageDataType>(type), 2, 2, channels));
        const ep::SxFileError error = save(path(), image, {{QStringLiteral("compression"), compression}});
        QCOMPARE(error.kind, ep::ExFileError::Refused);
        QCOMPARE(error.reason, reason);
        QVERIFY2(!QFile::exists(path()), "a refusal leaves no file");
    }

    void noImageIsRefused()
    {
        const ep::CxImageData empty;
        for (const ep::IxData* data : {static_cast<const ep::IxData*>(nullptr), static_cast<const ep::IxData*>(&empty)})
            QCOMPARE(save(path(), data, {}).reason, QStringLiteral("there is no image"));
        QVERIFY(!QFile::exists(path()));
    }

    void asManyChannelsAsTiffHasRoomForAreWritten()
    {
        const auto image = randomImage(describe(ep::DataTypeUInt8, 2, 1, 65535));
        QVERIFY(!save(path(), image));
        const LoadedFrame back = loadFrame("ep::tiff::CxTiffImageLoader", path());
        QVERIFY2(back.data, qPrintable(back.loader->lastError().reason));
        QVERIFY(ep::SameSamples(image.image(), back.image()));
    }

    void aTargetThatCannotBeWrittenIsSaid_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("in a folder that is not there") << QStringLiteral("absent/file.tif");
        QTest::newRow("a folder") << QStringLiteral(".");
        QTest::newRow("without permission") << QStringLiteral("file.tif");
        QTest::newRow("a full device") << QStringLiteral("/dev/full");
    }

    void aTargetThatCannotBeWrittenIsSaid()
    {
        QFETCH(QString, name);
        const WithoutPrivileges here(m_folder.path());
        const QString target = QDir(m_folder.path()).filePath(name);
        const ep::SxFileError error = save(target, randomImage(describe(ep::DataTypeUInt16, 9, 9)));
        QCOMPARE(error.kind, ep::ExFileError::Unwritable);
        QVERIFY(!error.reason.isEmpty());
        QVERIFY2(!error.reason.contains(QLatin1Char('/')), qPrintable(error.reason));
    }

    void aDiskThatFillsUpIsNoticedAtEveryByte_data()
    {
        QTest::addColumn<QString>("compression");
        for (const char* name : {"none", "deflate", "lzw"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void aDiskThatFillsUpIsNoticedAtEveryByte()
    {
        QFETCH(QString, compression);
        const QMap<QString, QVariant> options{{QStringLiteral("compression"), compression}};
        const auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt16, 9, 9)), someMetadata());
        QVERIFY(!save(path(), data.get(), options));
        const qint64 size = QFileInfo(path()).size();
        for (qint64 limit = 0; limit < size; ++limit) {
            QFile::remove(path());
            const FileSizeLimit full(limit);
            QVERIFY2(save(path(), data.get(), options).kind == ep::ExFileError::Unwritable,
                     qPrintable(QString::number(limit)));
        }
        QFile::remove(path());
        const FileSizeLimit justEnough(size);
        QVERIFY(!save(path(), data.get(), options));
    }

    // Its samples begin on a page of the file.
    void aDiskThatFillsUpIsNoticedWithALargeImage()
    {
        const auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt16, 600, 900)), someMetadata());
        QVERIFY(!save(path(), data.get(), {}));
        const qint64 size = QFileInfo(path()).size();
        for (qint64 limit : {qint64(7), qint64(300), qint64(4095), qint64(4096), size / 2, size - 1}) {
            QFile::remove(path());
            const FileSizeLimit full(limit);
            QVERIFY2(save(path(), data.get(), {}).kind == ep::ExFileError::Unwritable,
                     qPrintable(QString::number(limit)));
        }
        QFile::remove(path());
        const FileSizeLimit justEnough(size);
        QVERIFY(!save(path(), data.get(), {}));
    }

    void anOldFileIsReplacedWhole()
    {
        QVERIFY(!save(path(), randomImage(describe(ep::DataTypeDouble, 99, 99))));
        const auto small = randomImage(describe(ep::DataTypeUInt8, 3, 2));
        QVERIFY(!save(path(), small));
        QVERIFY(QFileInfo(path()).size() < 2000);
        const LoadedFrame back = loadFrame("ep::tiff::CxTiffImageLoader", path());
        QVERIFY(back.data);
        QVERIFY(ep::SameSamples(small.image(), back.image()));
    }
};

QTEST_GUILESS_MAIN(TiffSaverTest)
#include "TiffSaverTest.moc"
