#include "MatReading.h"

#include <orn/matlab/MatFile.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <limits>

using namespace orn::matlab;
using testing::readVariables;
using testing::StoredVariable;

class MatFileTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path(const char* name = "file.mat") const { return m_folder.filePath(QLatin1String(name)); }
    QByteArray content() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void writtenFileIsVersion5()
    {
        void* mat = MatOpenWrite(path());
        QVERIFY(mat);
        double value = 1;
        QVERIFY(AddVar(mat, &value, 1, 1, QStringLiteral("x")));
        QVERIFY(MatClose(mat));
        const QByteArray bytes = content();
        QVERIFY(bytes.startsWith("MATLAB 5.0 MAT-file"));
        QCOMPARE(bytes.mid(124, 4), QByteArray("\x00\x01IM", 4));
        // The first element is a plain matrix (14), not a compressed one (15).
        QCOMPARE(bytes.mid(128, 4), QByteArray("\x0e\x00\x00\x00", 4));
        QVERIFY(!readVariables(path()).first().isCompressed);
    }

    void existingFileIsReplaced()
    {
        QFile old(path());
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(10000, 'x'));
        old.close();
        QVERIFY(MatClose(MatOpenWrite(path())));
        QCOMPARE(content().size(), 128);
    }

    void whatCannotBeOpenedGivesNull()
    {
        QVERIFY(!MatOpenRead(path("missing.mat")));
        QVERIFY(!MatOpenWrite(path("no such folder/file.mat")));
        QVERIFY(!MatOpenRead(QString()));
        QVERIFY(!MatOpenWrite(QString()));
    }

    void writtenFileOpensForReading()
    {
        QVERIFY(MatClose(MatOpenWrite(path())));
        void* mat = MatOpenRead(path());
        QVERIFY(mat);
        QVERIFY(MatClose(mat));
    }

    void nullHandleIsRefused()
    {
        double value = 1;
        QVERIFY(!MatClose(nullptr));
        QVERIFY(!AddVar(nullptr, QStringLiteral("text"), QStringLiteral("t")));
        QVERIFY(!AddVar(nullptr, &value, 1, 1, QStringLiteral("x")));
    }

    void pathIsLocal8Bit()
    {
        const QString name = m_folder.filePath(QString::fromUtf8("Bild \xc3\xa4\xe2\x82\xac.mat"));
        QVERIFY(MatClose(MatOpenWrite(name)));
        QVERIFY(QFile::exists(name));
        QVERIFY(MatClose(MatOpenRead(name)));
    }

    void text_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("plain text is one byte per column") << QStringLiteral("hello");
        QTest::newRow("a single character") << QStringLiteral("x");
        QTest::newRow("an empty text is 1 x 0") << QString();
        QTest::newRow("umlauts take two columns each") << QString::fromUtf8("a\xc3\xa4\xc3\xb6z");
        QTest::newRow("only three-byte characters") << QString::fromUtf8("\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac");
        QTest::newRow("characters past the basic plane") << QString::fromUtf8("\xf0\x9d\x84\x9e\xf0\x9d\x84\x9e");
        QTest::newRow("a long text with one umlaut at its end")
            << QString(5000, QLatin1Char('a')) + QString::fromUtf8("\xc3\xa4");
    }
    void text()
    {
        QFETCH(QString, text);
        void* mat = MatOpenWrite(path());
        QVERIFY(AddVar(mat, text, QStringLiteral("note")));
        QVERIFY(MatClose(mat));

        const auto variables = readVariables(path());
        QCOMPARE(variables.size(), 1);
        const StoredVariable& stored = variables.first();
        const QByteArray utf8 = text.toUtf8();
        QCOMPARE(stored.name, QStringLiteral("note"));
        QCOMPARE(stored.matClass, MAT_C_CHAR);
        QCOMPARE(stored.matType, MAT_T_UTF8);
        QCOMPARE(stored.dimensions, (QVector<size_t>{1, static_cast<size_t>(utf8.size())}));
        QVERIFY(stored.data.startsWith(utf8));
        // matio stores a byte more for each byte that continues a character: zeros, and nothing else.
        QCOMPARE(stored.data.mid(utf8.size()), QByteArray(stored.data.size() - utf8.size(), '\0'));
    }

    void textWithoutNameIsRefusedBeforeAnythingElse()
    {
        void* mat = MatOpenWrite(path());
        QVERIFY(!AddVar(mat, QStringLiteral("text"), QString()));
        QVERIFY(MatClose(mat));
        QCOMPARE(content().size(), 128);
        // Not even the handle is looked at.
        char noHandle = 0;
        QVERIFY(!AddVar(&noHandle, QStringLiteral("text"), QString()));
    }

    void everyVersionOpensForReading_data()
    {
        QTest::addColumn<int>("version");
        QTest::newRow("version 4") << int(MAT_FT_MAT4);
        QTest::newRow("version 5") << int(MAT_FT_MAT5);
        QTest::newRow("version 7.3") << int(MAT_FT_MAT73);
    }
    void everyVersionOpensForReading()
    {
        QFETCH(int, version);
        double value = 1;
        mat_t* written = Mat_CreateVer(path().toLocal8Bit().constData(), nullptr, mat_ft(version));
        QVERIFY(AddVar(written, &value, 1, 1, QStringLiteral("x")));
        QCOMPARE(Mat_Close(written), 0);
        void* mat = MatOpenRead(path());
        QVERIFY(mat);
        QCOMPARE(int(Mat_GetVersion(static_cast<mat_t*>(mat))), version);
        QVERIFY(MatClose(mat));
    }

    void matrixLiesColumnByColumn()
    {
        double data[] = {1, 2, 3, 4, 5, 6};
        void* mat = MatOpenWrite(path());
        QVERIFY(AddVar(mat, data, 2, 3, QStringLiteral("m")));
        QVERIFY(MatClose(mat));
        const StoredVariable stored = readVariables(path()).first();
        QCOMPARE(stored.matClass, MAT_C_DOUBLE);
        QCOMPARE(stored.matType, MAT_T_DOUBLE);
        QCOMPARE(stored.dimensions, (QVector<size_t>{2, 3}));
        QVERIFY(!stored.isComplex);
        QCOMPARE(stored.data, QByteArray(reinterpret_cast<const char*>(data), sizeof(data)));
    }

    void matrixArguments_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("cols");
        QTest::addColumn<bool>("hasData");
        QTest::addColumn<bool>("isWritten");
        QTest::newRow("an empty matrix is written") << 0 << 0 << true << true;
        QTest::newRow("an empty matrix needs no data") << 0 << 3 << false << true;
        QTest::newRow("missing data is refused") << 2 << 2 << false << false;
        QTest::newRow("negative rows are refused") << -1 << 2 << true << false;
        QTest::newRow("negative columns are refused") << 2 << -1 << true << false;
        QTest::newRow("two negative counts are refused") << -1 << -1 << true << false;
        QTest::newRow("more than the format holds is refused") << 20000 << 20000 << true << false;
        QTest::newRow("a product past 64 bits is refused")
            << std::numeric_limits<int>::max() << std::numeric_limits<int>::max() << true << false;
    }
    void matrixArguments()
    {
        QFETCH(int, rows);
        QFETCH(int, cols);
        QFETCH(bool, hasData);
        QFETCH(bool, isWritten);
        double data[4] = {};
        void* mat = MatOpenWrite(path());
        QCOMPARE(AddVar(mat, hasData ? data : nullptr, rows, cols, QStringLiteral("m")), isWritten);
        QVERIFY(MatClose(mat));
        QCOMPARE(readVariables(path()).size(), isWritten ? 1 : 0);
    }

    void matrixNameMayBeEmpty()
    {
        double value = 7;
        void* mat = MatOpenWrite(path());
        QVERIFY(AddVar(mat, &value, 1, 1, QString()));
        QVERIFY(MatClose(mat));
        const auto variables = readVariables(path());
        QCOMPARE(variables.size(), 1);
        QCOMPARE(variables.first().name, QString());
    }

    void namesAreLatin1()
    {
        double value = 7;
        void* mat = MatOpenWrite(path());
        QVERIFY(AddVar(mat, &value, 1, 1,
                       QString::fromUtf8("gr\xc3\xb6\xc3\x9f"
                                         "e")));
        QVERIFY(MatClose(mat));
        QVERIFY(content().contains("gr\xf6\xdf"
                                   "e"));
    }

    void writingIntoAFileOpenedForReadingStillCountsAsWritten()
    {
        QVERIFY(MatClose(MatOpenWrite(path())));
        void* mat = MatOpenRead(path());
        QVERIFY(AddVar(mat, QStringLiteral("text"), QStringLiteral("t")));
        MatClose(mat);
        QCOMPARE(content().size(), 128);
    }

    void variablesKeepTheirOrder()
    {
        double value = 7;
        void* mat = MatOpenWrite(path());
        QVERIFY(AddVar(mat, QStringLiteral("text"), QStringLiteral("z")));
        QVERIFY(AddVar(mat, &value, 1, 1, QStringLiteral("a")));
        QVERIFY(AddVar(mat, QStringLiteral("text"), QStringLiteral("m")));
        QVERIFY(MatClose(mat));
        QCOMPARE(testing::variableNames(path()),
                 (QStringList{QStringLiteral("z"), QStringLiteral("a"), QStringLiteral("m")}));
    }
};

QTEST_GUILESS_MAIN(MatFileTest)
#include "MatFileTest.moc"
