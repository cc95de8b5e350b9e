#include <ep/CxRtti.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/IxMetadataLoader.h>
#include <ep/IxMetadataSaver.h>

#include <QtTest>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using ep::CxRtti;

class FirstClass : public QObject {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "The First")
public:
    Q_INVOKABLE FirstClass() = default;
};

class SecondClass : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE SecondClass() = default;
};

class TestPlugin : public ep::CxPlugin {
    Q_OBJECT
public:
    bool init() override { return true; }
};

class CxRttiTest : public QObject {
    Q_OBJECT

private:
    static QStringList names(const char* interfaceName)
    {
        QStringList names;
        const auto classes = CxRtti::instance()->classes(QLatin1String(interfaceName));
        for (const QMetaObject* metaObject : classes)
            names << QLatin1String(metaObject->className());
        return names;
    }

private slots:
    void commonMetadataIsServedFromTheStart()
    {
        QCOMPARE(names("IxMetadata"), QStringList{QStringLiteral("ep::CxCommonImageMetadata")});
        for (const char* interfaceName : {"IxMetadata", "IxMetadataLoader", "IxMetadataSaver"}) {
            const auto classes = CxRtti::instance()->classes(QLatin1String(interfaceName));
            QCOMPARE(classes.size(), 1);
            const std::unique_ptr<QObject> object(classes.first()->newInstance());
            QVERIFY(object);
            QVERIFY(!CxRtti::instance()->plugin(*classes.first(), QLatin1String(interfaceName)));
        }
        const std::unique_ptr<QObject> loader(
            CxRtti::instance()->classes(QStringLiteral("IxMetadataLoader")).first()->newInstance());
        QCOMPARE(qobject_cast<ep::IxMetadataLoader*>(loader.get())->supportedClasses(), names("IxMetadata"));
        const std::unique_ptr<QObject> saver(
            CxRtti::instance()->classes(QStringLiteral("IxMetadataSaver")).first()->newInstance());
        QCOMPARE(qobject_cast<ep::IxMetadataSaver*>(saver.get())->supportedClasses(), names("IxMetadata"));
    }

    void thereIsOneRegistry() { QCOMPARE(CxRtti::instance(), CxRtti::instance()); }

    void unknownInterfaceHasNoClasses()
    {
        QVERIFY(CxRtti::instance()->classes(QStringLiteral("nothing")).isEmpty());
        QVERIFY(!CxRtti::instance()->interfaces().contains(QStringLiteral("nothing")));
    }

    void classesStandInTheOrderOfRegistration()
    {
        CxRtti::instance()->registerClass(nullptr, SecondClass::staticMetaObject, QStringLiteral("ordered"));
        CxRtti::instance()->registerClass(nullptr, FirstClass::staticMetaObject, QStringLiteral("ordered"));
        QCOMPARE(names("ordered"), QStringList() << QStringLiteral("SecondClass") << QStringLiteral("FirstClass"));
        QCOMPARE(CxRtti::instance()->interfaces().last(), QStringLiteral("ordered"));
    }

    void registeringAgainChangesNothing()
    {
        TestPlugin plugin;
        CxRtti* registry = CxRtti::instance();
        registry->registerClass(nullptr, FirstClass::staticMetaObject, QStringLiteral("twice"));
        registry->registerClass(&plugin, FirstClass::staticMetaObject, QStringLiteral("twice"));
        QCOMPARE(names("twice"), QStringList{QStringLiteral("FirstClass")});
        QVERIFY(!registry->plugin(FirstClass::staticMetaObject, QStringLiteral("twice")));
    }

    void oneClassMayImplementSeveralInterfaces()
    {
        static TestPlugin plugin;  // the registry keeps the pointer
        CxRtti* registry = CxRtti::instance();
        registry->registerClass(nullptr, FirstClass::staticMetaObject, QStringLiteral("one"));
        registry->registerClass(&plugin, FirstClass::staticMetaObject, QStringLiteral("other"));
        QVERIFY(!registry->plugin(FirstClass::staticMetaObject, QStringLiteral("one")));
        QCOMPARE(registry->plugin(FirstClass::staticMetaObject, QStringLiteral("other")), &plugin);
        QVERIFY(!registry->plugin(SecondClass::staticMetaObject, QStringLiteral("other")));
    }

    void displayNameIsTheCustomName()
    {
        QCOMPARE(CxRtti::displayName(FirstClass::staticMetaObject), QStringLiteral("The First"));
        QCOMPARE(CxRtti::displayName(SecondClass::staticMetaObject), QStringLiteral("SecondClass"));
    }

    void threadsRegisterAndListAtOnce()
    {
        constexpr int threadCount = 8;
        constexpr int rounds = 500;
        std::atomic<int> torn{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < threadCount; ++thread)
            threads.emplace_back([thread, &torn] {
                CxRtti* registry = CxRtti::instance();
                for (int round = 0; round < rounds; ++round) {
                    const QString name = QStringLiteral("thread %1").arg(round % 16);
                    const QMetaObject& metaObject =
                        thread % 2 == 0 ? FirstClass::staticMetaObject : SecondClass::staticMetaObject;
                    registry->registerClass(nullptr, metaObject, name);
                    const auto classes = registry->classes(name);
                    if (!classes.contains(&metaObject) || classes.size() > 2)
                        ++torn;
                    if (registry->plugin(metaObject, name) || registry->interfaces().isEmpty())
                        ++torn;
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(torn.load(), 0);
        QCOMPARE(names("thread 0").size(), 2);
    }
};

QTEST_GUILESS_MAIN(CxRttiTest)
#include "CxRttiTest.moc"
