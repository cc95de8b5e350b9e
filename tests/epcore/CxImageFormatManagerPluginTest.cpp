// Format plug-ins: what is known of them before they are loaded, and when that happens.

#include <ep/CxImageFormatManager.h>
#include <ep/CxRtti.h>

#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>

using ep::ExFileError;
using ep::SxFormatInfo;
using Manager = ep::CxImageFormatManager;

namespace {

QString modulePath(const char* name)
{
    return QStringLiteral(TEST_PLUGINS "/") + QLatin1String(name) + QStringLiteral(".so");
}

/** The entry of @p suffix in the list of formats; without filter when there is none. */
SxFormatInfo formatOf(const char* suffix)
{
    for (const SxFormatInfo& format : Manager::instance()->formats())
        if (format.suffixes.contains(QLatin1String(suffix)))
            return format;
    return {};
}

/** True when the late plug-in's classes are there. */
bool isLoaded()
{
    const auto classes = ep::CxRtti::instance()->classes(QStringLiteral("IxImageDataLoader"));
    return std::any_of(classes.cbegin(), classes.cend(), [](const QMetaObject* metaObject) {
        return qstrcmp(metaObject->className(), "LateLoader") == 0;
    });
}

ep::SxFileError load(const QString& path)
{
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    if (Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error) != !error)
        qFatal("the result and the error contradict each other");
    return error;
}

ep::SxFileError save(const QString& path, const ep::SxImageBuf& image)
{
    ep::SxFileError error;
    if (Manager::saveImageToFile(path, image, nullptr, nullptr, false, QString(), &error) != !error)
        qFatal("the result and the error contradict each other");
    return error;
}

}  // namespace

// Each test goes on from the one before: a plug-in is loaded once in the life of the process.
class CxImageFormatManagerPluginTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_plugins;

    QString write(const char* name, const QByteArray& content) const
    {
        QFile file(m_folder.filePath(QLatin1String(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test file");
        return file.fileName();
    }

private slots:
    void initTestCase()
    {
        for (const char* name : {"Late", "Unusable", "Strange"})
            QVERIFY(QFile::link(modulePath(name), m_plugins.filePath(QLatin1String(name) + QStringLiteral(".so"))));
        for (const char* name : {"broken.so", "notes.txt"}) {
            QFile file(m_plugins.filePath(QLatin1String(name)));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("not a plug-in");
        }
        QVERIFY(QDir(m_plugins.path()).mkdir(QStringLiteral("folder.so")));
    }

    void nothingIsKnownBefore()
    {
        QVERIFY(formatOf("late").filter.isEmpty());
        QCOMPARE(load(write("image.late", "x")).kind, ExFileError::Unsupported);
    }

    void folderIsReadWithoutLoading()
    {
        Manager::instance()->addPluginFolder(m_plugins.path());
        const SxFormatInfo late = formatOf("late");
        QCOMPARE(late.filter, QStringLiteral("Late image (*.late *.both)"));
        QCOMPARE(late.provider, QStringLiteral("Late"));
        QCOMPARE(late.rank, 4);
        QVERIFY(late.reads && late.writes);
        const SxFormatInfo announced = formatOf("announced");
        QVERIFY(announced.reads && !announced.writes);
        QVERIFY(!formatOf("unusable").filter.isEmpty());
        QVERIFY(formatOf("strange").filter.isEmpty());
        QVERIFY(!isLoaded());
    }

    void folderThatIsMissingOrKnownAddsNothing()
    {
        const int before = Manager::instance()->formats().size();
        Manager::instance()->addPluginFolder(m_plugins.filePath(QStringLiteral("missing")));
        Manager::instance()->addPluginFolder(QString());
        Manager::instance()->addPluginFolder(m_plugins.path());
        Manager::instance()->addPluginFolder(QStringLiteral(TEST_PLUGINS));  // other files of the same names
        QCOMPARE(Manager::instance()->formats().size(), before);
    }

    void otherFilesLeaveItAlone()
    {
        QCOMPARE(load(write("image.other", "x")).kind, ExFileError::Unsupported);
        QCOMPARE(load(m_folder.filePath(QStringLiteral("missing.late"))).kind, ExFileError::Unreadable);
        QCOMPARE(load(m_folder.path()).kind, ExFileError::Unreadable);
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
        // The plug-in only reads this one.
        QCOMPARE(save(m_folder.filePath(QStringLiteral("image.announced")), image.image()).kind,
                 ExFileError::Unsupported);
        QVERIFY(!isLoaded());
    }

    void unusablePluginIsNamedInTheError()
    {
        const ep::SxFileError error = load(write("image.unusable", "x"));
        QCOMPARE(error.kind, ExFileError::Unsupported);
        QVERIFY2(error.reason.contains(QStringLiteral("Unusable")), qPrintable(error.reason));
        QVERIFY(formatOf("unusable").filter.isEmpty());  // what cannot be used is not offered again
        QVERIFY(!isLoaded());
    }

    void nextBestPluginIsLoadedByTheFirstFileThatNeedsIt()
    {
        QTest::ignoreMessage(QtInfoMsg, "the late plug-in is loaded");
        const QString path = m_folder.filePath(QStringLiteral("image.both"));
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
        const ep::SxFileError error = save(path, image.image());
        QVERIFY2(!error, qPrintable(error.reason));
        QVERIFY(isLoaded());
        ep::CxScopedBuffer read;
        QVERIFY(Manager::loadImageFromFile(path, read.image(), nullptr));
        QVERIFY(ep::SameSamples(read.image(), image.image()));
    }

    void loadedPluginIsAFormatAsAnyOther()
    {
        const SxFormatInfo late = formatOf("late");
        QCOMPARE(late.provider, QStringLiteral("Late Loader"));
        QVERIFY(late.reads && late.writes);
        const auto classes = ep::CxRtti::instance()->classes(QStringLiteral("IxImageDataLoader"));
        QVERIFY(ep::CxRtti::instance()->plugin(*classes.last(), QStringLiteral("IxImageDataLoader")));
        QCOMPARE(load(write("damaged.late", "x")).reason, QStringLiteral("there is no dump in it"));
    }

    void formatThatWasOnlyAnnouncedIsUnknown()
    {
        QVERIFY(formatOf("announced").filter.isEmpty());
        QCOMPARE(load(write("image.announced", "x")).kind, ExFileError::Unsupported);
    }
};

QTEST_GUILESS_MAIN(CxImageFormatManagerPluginTest)
#include "CxImageFormatManagerPluginTest.moc"
