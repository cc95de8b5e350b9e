// Which loaders and savers the format manager asks for a file, and in which order.

#include <ep/CxImageFormatManager.h>

#include "DumpFormat.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>

using ep::ExFileError;
using ep::SxFormatInfo;
using Manager = ep::CxImageFormatManager;
using Formats = QList<QPair<QString, int>>;

namespace {

QStringList asked;   // who was asked to read or write, in order
QString successful;  // who does it; the others fail
bool isRefusing;     // savers that fail refuse the image, instead of being unable to write it

QString nameOf(const QObject& object)
{
    return ep::CxRtti::displayName(*object.metaObject());
}

/** Says that it was asked, and opens the file when it is the successful one. */
class AskedLoader : public testing::DumpLoader {
public:
    bool open() override
    {
        asked << nameOf(*this);
        return nameOf(*this) == successful ? DumpLoader::open()
                                           : fail(ExFileError::Unreadable, QLatin1String("said by ") + nameOf(*this));
    }
};

/** Says that it was asked, and writes the file when it is the successful one. */
class AskedSaver : public testing::DumpSaver {
public:
    bool saveImage(const ep::IxData* data) override
    {
        asked << nameOf(*this);
        if (nameOf(*this) == successful)
            return DumpSaver::saveImage(data);
        return fail(isRefusing ? ExFileError::Refused : ExFileError::Unwritable,
                    QLatin1String("said by ") + nameOf(*this));
    }
};

}  // namespace

class LowLoader : public AskedLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "low")
public:
    Q_INVOKABLE LowLoader() = default;
    Formats formats() const override { return {{QStringLiteral("Dump (*.dump *.DMP)"), 1}}; }
};

class HighLoader : public AskedLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "high")
public:
    Q_INVOKABLE HighLoader() = default;
    Formats formats() const override { return {{QStringLiteral("High dump (*.dump)"), 5}}; }
};

class EqualLoader : public AskedLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "equal")
public:
    Q_INVOKABLE EqualLoader() = default;
    Formats formats() const override { return {{QStringLiteral("Equal dump (*.dump)"), 5}}; }
};

class TwoListsLoader : public AskedLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "two lists")
public:
    Q_INVOKABLE TwoListsLoader() = default;
    Formats formats() const override
    {
        return {{QStringLiteral("One (*.one)"), 2},
                {QStringLiteral("Other (*.other *.dump)"), -3},
                {QStringLiteral("Once more (*.one)"), 7}};
    }
};

class PackedLoader : public AskedLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "two suffixes")
public:
    Q_INVOKABLE PackedLoader() = default;
    Formats formats() const override { return {{QStringLiteral("Packed dump (*.dump.gz)"), 1}}; }
};

class NothingLoader : public AskedLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "nothing")
public:
    Q_INVOKABLE NothingLoader() = default;
    Formats formats() const override
    {
        return {{QStringLiteral("a filter without patterns"), 9},
                {QStringLiteral("Empty ()"), 9},
                {QStringLiteral("Open (*.dump"), 9}};
    }
};

class AnyLoader : public AskedLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "any")
public:
    Q_INVOKABLE AnyLoader() = default;
    Formats formats() const override { return {{QStringLiteral("Any file (*)"), -10}}; }
};

class LowSaver : public AskedSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "low saver")
public:
    Q_INVOKABLE LowSaver() = default;
};

class HighSaver : public AskedSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "high saver")
public:
    Q_INVOKABLE HighSaver() = default;
    Formats formats() const override { return {{QStringLiteral("High dump (*.dump *.one)"), 2}}; }
};

/** Cannot be made by the manager. */
class HiddenLoader : public AskedLoader {
    Q_OBJECT
public:
    explicit HiddenLoader(int) {}
    Formats formats() const override { return {{QStringLiteral("Hidden (*.dump)"), 100}}; }
};

class SameFilterSaver : public AskedSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "same filter")
public:
    Q_INVOKABLE SameFilterSaver() = default;
    Formats formats() const override { return {{QStringLiteral("Dump (*.dump *.DMP)"), 3}}; }
};

class CxImageFormatManagerChoiceTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    static const SxFormatInfo* find(const QList<SxFormatInfo>& formats, const char* filter)
    {
        const auto found = std::find_if(formats.cbegin(), formats.cend(), [&](const SxFormatInfo& format) {
            return format.filter == QLatin1String(filter);
        });
        return found == formats.cend() ? nullptr : &*found;
    }

private slots:
    void initTestCase()
    {
        using namespace testing;
        registerLoader<HiddenLoader>();
        registerLoader<LowLoader>();
        registerLoader<HighLoader>();
        registerLoader<EqualLoader>();
        registerLoader<TwoListsLoader>();
        registerLoader<PackedLoader>();
        registerLoader<NothingLoader>();
        registerLoader<AnyLoader>();
        registerSaver<LowSaver>();
        registerSaver<HighSaver>();
    }
    void init()
    {
        asked.clear();
        successful.clear();
        isRefusing = false;
    }

    void loadersAreAskedByRank_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");
        const QString all = QStringLiteral("high,equal,low,two lists,any");
        QTest::newRow("of equals the first registered, the rest by rank") << QStringLiteral("a.dump") << all;
        QTest::newRow("letters of any case") << QStringLiteral("a.DuMp") << all;
        QTest::newRow("nothing but the suffix") << QStringLiteral(".dump") << all;
        QTest::newRow("a filter in capitals") << QStringLiteral("a.dmp") << QStringLiteral("low,any");
        QTest::newRow("a suffix of two parts") << QStringLiteral("a.dump.gz") << QStringLiteral("two suffixes,any");
        QTest::newRow("the best rank of one that serves a suffix twice")
            << QStringLiteral("a.one") << QStringLiteral("two lists,any");
        QTest::newRow("the end of a suffix is not it") << QStringLiteral("a.xdump") << QStringLiteral("any");
        QTest::newRow("a name that is the suffix") << QStringLiteral("dump") << QStringLiteral("any");
        QTest::newRow("a dot at the end") << QStringLiteral("a.dump.") << QStringLiteral("any");
        QTest::newRow("a folder's name is not the file's") << QStringLiteral("folder.dump/a") << QStringLiteral("any");
    }

    void loadersAreAskedByRank()
    {
        QFETCH(QString, file);
        QFETCH(QString, expected);
        const QString path = m_folder.filePath(file);
        QDir().mkpath(QFileInfo(path).path());
        QFile content(path);
        QVERIFY(content.open(QIODevice::WriteOnly) && content.write("x") == 1);
        content.close();
        ep::CxScopedBuffer image;
        ep::SxFileError error;
        QVERIFY(!Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error));
        QCOMPARE(asked, expected.split(QLatin1Char(',')));
        QCOMPARE(error.reason, QLatin1String("said by ") + asked.first());
        QCOMPARE(error.kind, ExFileError::Unreadable);
    }

    void firstLoaderThatOpensTheFileIsTheLast()
    {
        const QString path = m_folder.filePath(QStringLiteral("image.dump"));
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
        successful = QStringLiteral("high saver");
        QVERIFY(!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()));  // nobody reads it
        successful = QStringLiteral("equal");
        QVERIFY(saveDirectly(path, image.image()));
        asked.clear();
        ep::CxScopedBuffer read;
        ep::SxFileError error{ExFileError::Unreadable, QStringLiteral("of before")};
        QVERIFY(Manager::loadImageFromFile(path, read.image(), nullptr, nullptr, &error));
        QVERIFY(!error);
        QVERIFY(error.reason.isEmpty());
        QVERIFY(ep::SameSamples(read.image(), image.image()));
        QCOMPARE(asked, QStringList() << QStringLiteral("high") << QStringLiteral("equal"));
    }

    void saversAreAskedUntilOneDoesNotRefuse_data()
    {
        QTest::addColumn<bool>("refusing");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("kind");
        QTest::newRow("one that refuses is followed by the next")
            << true << QStringLiteral("high saver,low saver") << int(ExFileError::Refused);
        QTest::newRow("one that cannot write is the last, for the next could not either")
            << false << QStringLiteral("high saver") << int(ExFileError::Unwritable);
    }

    void saversAreAskedUntilOneDoesNotRefuse()
    {
        QFETCH(bool, refusing);
        QFETCH(QString, expected);
        QFETCH(int, kind);
        isRefusing = refusing;
        const QString path = m_folder.filePath(QStringLiteral("refused.dump"));
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
        ep::SxFileError error;
        QVERIFY(!Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error));
        QCOMPARE(asked, expected.split(QLatin1Char(',')));
        QCOMPARE(int(error.kind), kind);
        QCOMPARE(error.reason, QStringLiteral("said by high saver"));
        QVERIFY(!QFileInfo::exists(path));
    }

    void unknownSuffixIsNotSaved_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("format");
        QTest::newRow("of the file") << QStringLiteral("image.nobody") << QString();
        QTest::newRow("none") << QStringLiteral("image") << QString();
        QTest::newRow("forced, whatever the file's own is") << QStringLiteral("image.dump") << QStringLiteral("nobody");
        QTest::newRow("one that is only read") << QStringLiteral("image.dmp") << QString();
    }

    void unknownSuffixIsNotSaved()
    {
        QFETCH(QString, file);
        QFETCH(QString, format);
        const QTemporaryDir folder;
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
        ep::SxFileError error;
        QVERIFY(
            !Manager::saveImageToFile(folder.filePath(file), image.image(), nullptr, nullptr, false, format, &error));
        QCOMPARE(error.kind, ExFileError::Unsupported);
        QCOMPARE(error.reason, QStringLiteral("the format is not known"));
        QVERIFY(asked.isEmpty());
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void formatsTellWhoServesWhat()
    {
        const QList<SxFormatInfo> formats = Manager::instance()->formats();
        const SxFormatInfo* shared = find(formats, "High dump (*.dump)");
        QVERIFY(shared && shared->reads && !shared->writes);
        QCOMPARE(shared->provider, QStringLiteral("high"));
        QCOMPARE(shared->rank, 5);
        const SxFormatInfo* capitals = find(formats, "Dump (*.dump *.DMP)");
        QVERIFY(capitals);
        QCOMPARE(capitals->suffixes, QStringList() << QStringLiteral("dump") << QStringLiteral("dmp"));
        const SxFormatInfo* any = find(formats, "Any file (*)");
        QVERIFY(any);
        QCOMPARE(any->suffixes, QStringList{QStringLiteral("*")});
        QVERIFY(!find(formats, "Hidden (*.dump)"));
        QVERIFY(std::is_sorted(formats.cbegin(), formats.cend(),
                               [](const SxFormatInfo& a, const SxFormatInfo& b) { return a.filter < b.filter; }));
    }

    void formatThatIsReadAndWrittenIsOneEntry()
    {
        testing::registerSaver<SameFilterSaver>();
        const QList<SxFormatInfo> formats = Manager::instance()->formats();
        const SxFormatInfo* both = find(formats, "Dump (*.dump *.DMP)");
        QVERIFY(both && both->reads && both->writes);
        QCOMPARE(both->rank, 3);
        QCOMPARE(both->provider, QStringLiteral("low"));
    }

private:
    static bool saveDirectly(const QString& path, const ep::SxImageBuf& image)
    {
        ep::SxImageBuf borrowed = image;
        std::fill(std::begin(borrowed.bookkeeping), std::end(borrowed.bookkeeping), 0);
        ep::CxImageData data;
        data.setImageShallow(borrowed, 0, 0, QDateTime());
        SameFilterSaver saver;
        saver.setFileName(path);
        return saver.DumpSaver::saveImage(&data);
    }
};

QTEST_GUILESS_MAIN(CxImageFormatManagerChoiceTest)
#include "CxImageFormatManagerChoiceTest.moc"
