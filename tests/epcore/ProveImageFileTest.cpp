// No file takes its target's place before it is proved to hold the image.

#include <ep/CxImageFormatManager.h>

#include "DumpFormat.h"
#include "TestImages.h"

#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <stdexcept>

using ep::ExFileError;
using ep::SxFileError;
using Manager = ep::CxImageFormatManager;
using Formats = QList<QPair<QString, int>>;

/** Reads dumps. */
class DumpReader : public testing::DumpLoader {
    Q_OBJECT
public:
    Q_INVOKABLE DumpReader() = default;
};

/** Writes dumps and then does to the file what the test says. */
class SpoilingSaver : public testing::DumpSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Spoiling Saver")
    Q_PROPERTY(bool lossy READ isLossy)
public:
    Q_INVOKABLE SpoilingSaver() = default;
    Formats formats() const override
    {
        return {{QStringLiteral("Dump (*.dump)"), 1}, {QStringLiteral("Never read (*.blind)"), 1}};
    }
    bool isLossy() const { return lossy; }
    bool saveImage(const ep::IxData* data) override { return DumpSaver::saveImage(data) && afterwards(*this); }
    using DumpSaver::fail;
    using IxDataSaver::setExpectedFileSize;

    static inline std::function<bool(SpoilingSaver&)> afterwards;
    static inline bool lossy = false;
};

/** What a saver does to the file that it has written, and what it then says. */
using Afterwards = std::function<bool(SpoilingSaver&)>;
Q_DECLARE_METATYPE(Afterwards)

class ProveImageFileTest : public QObject {
    Q_OBJECT

private:
    static QByteArray content(const QString& name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    static void write(const QString& name, const QByteArray& content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test file");
    }
    /** Turns the last byte of the file that @p saver has written. */
    static void spoil(const SpoilingSaver& saver)
    {
        QByteArray bytes = content(saver.fileName());
        bytes[bytes.size() - 1] = char(~bytes.at(bytes.size() - 1));
        write(saver.fileName(), bytes);
    }

private slots:
    void initTestCase()
    {
        testing::registerLoader<DumpReader>();
        testing::registerSaver<SpoilingSaver>();
    }

    void whatIsNotProvedIsNotKept_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Afterwards>("afterwards");
        QTest::addColumn<QString>("reason");  // empty: it is kept
        const auto row = [](const char* title, const char* name, const char* reason, const Afterwards& afterwards) {
            QTest::newRow(title) << QString::fromUtf8(name) << afterwards << QString::fromUtf8(reason);
        };
        constexpr int right = sizeof(ep::SxImageInfo) + 5 * 3 * 2;
        const char* const different = "what was written is not what was to be written";
        row("a byte too many is not looked at", "image.dump", "", [](SpoilingSaver& saver) {
            write(saver.fileName(), content(saver.fileName()) + "x");
            return true;
        });
        row("another sample", "image.dump", different, [](SpoilingSaver& saver) {
            spoil(saver);
            return true;
        });
        row("another sample where that is to be expected", "image.dump", "", [](SpoilingSaver& saver) {
            spoil(saver);
            return SpoilingSaver::lossy = true;
        });
        row("other sizes even there", "image.dump", different, [](SpoilingSaver& saver) {
            QByteArray bytes = content(saver.fileName());
            qint32 sizes[] = {3, 5, 6};  // columns, rows, bytes per row: turned
            std::memcpy(bytes.data(), sizes, sizeof(sizes));
            write(saver.fileName(), bytes);
            return SpoilingSaver::lossy = true;
        });
        row("half of it", "image.dump", "what was written cannot be read back: the dump ends too early",
            [](SpoilingSaver& saver) { return QFile::resize(saver.fileName(), right / 2 + 20); });
        row("nothing", "image.dump", "what was written cannot be read back: there is no dump in it",
            [](SpoilingSaver& saver) { return QFile::resize(saver.fileName(), 0); });
        row("the file is gone", "image.dump", "what was written cannot be read back: the file does not exist",
            [](SpoilingSaver& saver) { return QFile::remove(saver.fileName()); });
        row("another size than it should have", "image.dump", "only 78 of 79 bytes could be written",
            [](SpoilingSaver& saver) {
                saver.setExpectedFileSize(right + 1);
                return true;
            });
        row("the size that it should have", "image.dump", "", [](SpoilingSaver& saver) {
            saver.setExpectedFileSize(right);
            return true;
        });
        row("the right size with another sample", "image.dump", different, [](SpoilingSaver& saver) {
            saver.setExpectedFileSize(right);
            spoil(saver);
            return true;
        });
        row("nobody can read it, and the size is not known", "image.blind",
            "what was written cannot be read back: the format is not known", [](SpoilingSaver&) { return true; });
        row("nobody can read it, and the size is right", "image.blind", "", [](SpoilingSaver& saver) {
            saver.setExpectedFileSize(right);
            return true;
        });
        row("nobody can read it, and the size is wrong", "image.blind", "only 78 of 77 bytes could be written",
            [](SpoilingSaver& saver) {
                saver.setExpectedFileSize(right - 1);
                return true;
            });
        row("the saver failed", "image.dump", "it is blue",
            [](SpoilingSaver& saver) { return saver.fail(ExFileError::Unwritable, QStringLiteral("it is blue")); });
        row("the saver failed without a reason", "image.dump", "Spoiling Saver could not write it",
            [](SpoilingSaver&) { return false; });
        row("the saver says true, with a reason why not", "image.dump", "it is blue", [](SpoilingSaver& saver) {
            saver.fail(ExFileError::Unwritable, QStringLiteral("it is blue"));
            return true;
        });
        row("the saver threw", "image.dump", "thrown away",
            [](SpoilingSaver&) -> bool { throw std::runtime_error("thrown away"); });
    }

    void whatIsNotProvedIsNotKept()
    {
        QFETCH(QString, name);
        QFETCH(Afterwards, afterwards);
        QFETCH(QString, reason);
        SpoilingSaver::afterwards = afterwards;
        const QTemporaryDir folder;
        const QString target = folder.filePath(name);
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 5, 3));
        for (const QByteArray& old : {QByteArray(), QByteArray("old")}) {
            SpoilingSaver::lossy = false;
            if (!old.isEmpty())
                write(target, old);
            SxFileError error;
            QCOMPARE(Manager::saveImageToFile(target, image.image(), nullptr, nullptr, false, QString(), &error),
                     reason.isEmpty());
            const QStringList entries =
                QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
            QCOMPARE(error.reason, reason);
            QCOMPARE(error.kind, reason.isEmpty() ? ExFileError::None : ExFileError::Unwritable);
            if (!reason.isEmpty() && old.isEmpty()) {
                QVERIFY(entries.isEmpty());
            } else {
                QCOMPARE(entries, QStringList{name});
                QCOMPARE(content(target) == old, !reason.isEmpty());
            }
        }
    }
};

QTEST_GUILESS_MAIN(ProveImageFileTest)
#include "ProveImageFileTest.moc"
