#include <orn/Init.h>

#include <orn/matlab/CxMatlabImageLoader.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/CxMatlabImageSaver.h>
#include <orn/matlab/CxMatlabMetadataLoader.h>
#include <orn/matlab/CxMatlabMetadataSaver.h>

#include <ep/CxRtti.h>

#include <QtTest>

#include <memory>

Q_DECLARE_METATYPE(const QMetaObject*)

namespace {

using Entry = QPair<QString, const QMetaObject*>;

/** Everything in the registry, by interface. */
QList<Entry> registered()
{
    QList<Entry> entries;
    const ep::CxRtti* registry = ep::CxRtti::instance();
    for (const QString& interfaceName : registry->interfaces())
        for (const QMetaObject* metaObject : registry->classes(interfaceName))
            entries.append({interfaceName, metaObject});
    return entries;
}

}  // namespace

class InitTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void exactlyFiveClassesAreAdded();
    void aSecondInitAddsNothing();
    void finishLeavesTheRegistryAsItIs();
    void eachClass_data();
    void eachClass();
    void theFileImageLoaderIsNotRegistered();

private:
    QList<Entry> m_before;
    QList<Entry> m_after;
};

void InitTest::initTestCase()
{
    m_before = registered();
    QCOMPARE(orn::Init(), true);
    m_after = registered();
}

void InitTest::exactlyFiveClassesAreAdded()
{
    QList<Entry> added = m_after;
    for (const Entry& entry : m_before)
        QVERIFY(added.removeOne(entry));
    const QList<Entry> expected{
        {QStringLiteral("IxImageDataLoader"), &orn::matlab::CxMatlabImageLoader::staticMetaObject},
        {QStringLiteral("IxImageDataSaver"), &orn::matlab::CxMatlabImageSaver::staticMetaObject},
        {QStringLiteral("IxMetadataLoader"), &orn::matlab::CxMatlabMetadataLoader::staticMetaObject},
        {QStringLiteral("IxMetadataSaver"), &orn::matlab::CxMatlabMetadataSaver::staticMetaObject},
        {QStringLiteral("IxMetadata"), &orn::matlab::CxMatlabImageMetadata::staticMetaObject}};
    QCOMPARE(added.size(), expected.size());
    for (const Entry& entry : expected)
        QVERIFY2(added.contains(entry), entry.second->className());
    const QList<QString> interfaces = ep::CxRtti::instance()->interfaces();
    QVERIFY(interfaces.indexOf(QStringLiteral("IxImageDataLoader"))
            < interfaces.indexOf(QStringLiteral("IxImageDataSaver")));
}

void InitTest::aSecondInitAddsNothing()
{
    QCOMPARE(orn::Init(), true);
    QCOMPARE(registered(), m_after);
}

void InitTest::finishLeavesTheRegistryAsItIs()
{
    QCOMPARE(orn::Finish(), true);
    QCOMPARE(registered(), m_after);
}

void InitTest::eachClass_data()
{
    QTest::addColumn<QString>("interfaceName");
    QTest::addColumn<const QMetaObject*>("metaObject");
    QTest::addColumn<QByteArray>("className");
    QTest::addColumn<QByteArray>("baseName");
    QTest::addColumn<QString>("displayName");
    QTest::newRow("image loader") << QStringLiteral("IxImageDataLoader")
                                  << &orn::matlab::CxMatlabImageLoader::staticMetaObject
                                  << QByteArray("orn::matlab::CxMatlabImageLoader")
                                  << QByteArray("ep::IxImageDataLoader") << QStringLiteral("Matlab Image Loader");
    QTest::newRow("image saver") << QStringLiteral("IxImageDataSaver")
                                 << &orn::matlab::CxMatlabImageSaver::staticMetaObject
                                 << QByteArray("orn::matlab::CxMatlabImageSaver") << QByteArray("ep::IxImageDataSaver")
                                 << QStringLiteral("Matlab Image Saver");
    QTest::newRow("metadata loader") << QStringLiteral("IxMetadataLoader")
                                     << &orn::matlab::CxMatlabMetadataLoader::staticMetaObject
                                     << QByteArray("orn::matlab::CxMatlabMetadataLoader")
                                     << QByteArray("ep::IxMetadataLoader")
                                     << QStringLiteral("Matlab Image Metadata Loader");
    QTest::newRow("metadata saver, alone in upper case")
        << QStringLiteral("IxMetadataSaver") << &orn::matlab::CxMatlabMetadataSaver::staticMetaObject
        << QByteArray("orn::matlab::CxMatlabMetadataSaver") << QByteArray("ep::IxMetadataSaver")
        << QStringLiteral("MATLAB Image Metadata Saver");
    QTest::newRow("metadata item, not under the name of its base")
        << QStringLiteral("IxMetadata") << &orn::matlab::CxMatlabImageMetadata::staticMetaObject
        << QByteArray("orn::matlab::CxMatlabImageMetadata") << QByteArray("ep::IxMetadataItem")
        << QStringLiteral("Matlab Image Metadata");
}

void InitTest::eachClass()
{
    QFETCH(QString, interfaceName);
    QFETCH(const QMetaObject*, metaObject);
    QFETCH(QByteArray, className);
    QFETCH(QByteArray, baseName);
    QFETCH(QString, displayName);

    const ep::CxRtti* registry = ep::CxRtti::instance();
    QVERIFY(registry->classes(interfaceName).contains(metaObject));
    QVERIFY(!registry->plugin(*metaObject, interfaceName));

    QCOMPARE(QByteArray(metaObject->className()), className);
    QCOMPARE(QByteArray(metaObject->superClass()->className()), baseName);
    QCOMPARE(metaObject->classInfoCount() - metaObject->classInfoOffset(), 1);
    const QMetaClassInfo info = metaObject->classInfo(metaObject->classInfoOffset());
    QCOMPARE(QByteArray(info.name()), QByteArray("CustomName"));
    QCOMPARE(QString::fromUtf8(info.value()), displayName);
    QCOMPARE(metaObject->methodCount(), metaObject->methodOffset());
    QCOMPARE(metaObject->propertyCount(), metaObject->propertyOffset());
    QCOMPARE(metaObject->enumeratorCount(), metaObject->enumeratorOffset());

    QCOMPARE(metaObject->constructorCount(), 1);
    QCOMPARE(metaObject->constructor(0).parameterCount(), 0);
    QCOMPARE(metaObject->constructor(0).access(), QMetaMethod::Public);
    const std::unique_ptr<QObject> object(metaObject->newInstance());
    QVERIFY(object);
    QVERIFY(!object->parent());
    QCOMPARE(object->metaObject(), metaObject);
    QCOMPARE(object->qt_metacast(className.constData()), static_cast<void*>(object.get()));
    QVERIFY(object->qt_metacast(baseName.constData()));
    QVERIFY(!object->qt_metacast("orn::matlab::Unknown"));
    QVERIFY(!object->qt_metacast(nullptr));
}

void InitTest::theFileImageLoaderIsNotRegistered()
{
    for (const Entry& entry : m_after)
        QVERIFY(qstrcmp(entry.second->className(), "orn::FileImageLoader") != 0);
}

QTEST_GUILESS_MAIN(InitTest)
#include "InitTest.moc"
