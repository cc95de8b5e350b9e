// Files of other programs: the first two-dimensional array of numbers is the image.

#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>

#include "LogCapture.h"
#include "MatBytes.h"
#include "MatReading.h"
#include "TestImages.h"

#include <QTemporaryDir>
#include <QtTest>

using testing::matCompressed;
using testing::matElement;
using testing::MatVariableBytes;
using testing::numbers;

namespace {

/** The numbers 1 to @p rows x @p cols, as doubles. */
MatVariableBytes matrix(const char* name, int rows, int cols)
{
    QByteArray data;
    for (double value = 1; value <= rows * cols; ++value)
        data += numbers<double>({value});
    return {name, 6, 0, numbers<qint32>({rows, cols}), matElement(testing::MatDouble, data)};
}

/** A cell array or structure around @p inner. */
MatVariableBytes cell(const char* name, const QByteArray& inner)
{
    return {name, 1, 0, numbers<qint32>({1, 1}), inner};
}

MatVariableBytes structure(const char* name, const QByteArray& inner)
{
    const QByteArray nameLength = numbers<quint32>({4 << 16 | 5, 8});
    return {name, 2, 0, numbers<qint32>({1, 1}),
            nameLength + matElement(testing::MatInt8, QByteArray("field\0\0\0", 8)) + inner};
}

MatVariableBytes sparse(const char* name)
{
    return {name, 5, 0, numbers<qint32>({2, 2}),
            matElement(testing::MatInt32, numbers<qint32>({0}))
                + matElement(testing::MatInt32, numbers<qint32>({0, 1, 1}))
                + matElement(testing::MatDouble, numbers<double>({3}))};
}

}  // namespace

class LoadForeignMatTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::CxScopedBuffer m_image;
    QString path() const { return m_folder.filePath(QStringLiteral("foreign.mat")); }
    bool load()
    {
        bool isEntropy = true;
        return orn::matlab::LoadImageFromMat(path(), m_image.image(), isEntropy, nullptr) && !isEntropy;
    }

private slots:
    void initTestCase() { orn::Init(); }
    void init() { m_image.reset(); }
    void textThenAMatrix();
    void passedOver_data();
    void passedOver();
    void refused_data();
    void refused();
    void nothingServes_data();
    void nothingServes();
    void classes_data();
    void classes();
    void storedOtherwise_data();
    void storedOtherwise();
    void otherVersions_data();
    void otherVersions();
    void duplicateNames();
    void narrowPlanesAreOfOneClass();
    void largeMatrixStoredInBytes();
};

void LoadForeignMatTest::textThenAMatrix()
{
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + testing::matText("note", "ten chars!").bytes()
                                            + matrix("A", 4, 5).bytes()));
    testing::LogCapture log;
    QVERIFY(load());
    QCOMPARE(m_image->width, 5);
    QCOMPARE(m_image->height, 4);
    QCOMPARE(m_image->channels, 1);
    QCOMPARE(int(m_image->layout), int(ep::LayoutPacked));
    QCOMPARE(int(m_image->dataType), int(ep::DataTypeDouble));
    QCOMPARE(m_image->bitDepth, 64);
    for (int x = 0; x < 5; ++x)
        for (int y = 0; y < 4; ++y)
            QCOMPARE(testing::sampleAt<double>(m_image.image(), x, y), 1.0 + x * 4 + y);
    QCOMPARE(log.criticals(), QStringList());
}

void LoadForeignMatTest::passedOver_data()
{
    QTest::addColumn<QByteArray>("before");
    const QByteArray inner = matrix("", 3, 3).bytes();
    MatVariableBytes cube = matrix("cube", 2, 3);
    cube.dimensions = numbers<qint32>({2, 3, 1});
    const MatVariableBytes function = {"f", 16, 0, numbers<qint32>({1, 1}), matrix("", 1, 1).bytes()};
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("text") << testing::matText("t", "text").bytes();
    QTest::newRow("empty text") << testing::matText("t", "").bytes();
    QTest::newRow("a cell array with a matrix in it") << cell("c", inner).bytes();
    QTest::newRow("a structure with a matrix in it") << structure("s", inner).bytes();
    QTest::newRow("a sparse matrix") << sparse("sparse").bytes();
    QTest::newRow("three dimensions, the last of them 1") << cube.bytes();
    QTest::newRow("a function handle") << function.bytes();
    QTest::newRow("a function handle in a structure") << structure("s", function.bytes()).bytes();
    QTest::newRow("compressed ones of all kinds")
        << matCompressed(testing::matText("t", "text").bytes()) + matCompressed(cell("c", inner).bytes())
               + matCompressed(structure("s", inner).bytes()) + matCompressed(cube.bytes());
    QTest::newRow("planes without metadata count as any matrix") << cell("ep_image_channel_1", inner).bytes();
}

void LoadForeignMatTest::passedOver()
{
    QFETCH(QByteArray, before);
    QVERIFY(testing::writeBytes(path(),
                                testing::matHeader() + before + matrix("A", 2, 3).bytes() + matrix("B", 7, 7).bytes()));
    QVERIFY(load());
    QCOMPARE(m_image->width, 3);
    QCOMPARE(m_image->height, 2);
    QCOMPARE(testing::sampleAt<double>(m_image.image(), 2, 1), 6.0);
}

void LoadForeignMatTest::refused_data()
{
    QTest::addColumn<QByteArray>("first");
    const QByteArray doubles = matrix("", 1, 2).data;
    const auto row = [](const char* fact, const MatVariableBytes& first) { QTest::newRow(fact) << first.bytes(); };
    row("a 64-bit integer matrix", {"A", 14, 0, numbers<qint32>({1, 2}), matElement(12, numbers<qint64>({1, 2}))});
    row("an unsigned 64-bit integer matrix",
        {"A", 15, 0, numbers<qint32>({1, 2}), matElement(13, numbers<qint64>({1, 2}))});
    row("a complex matrix", {"A", 6, 0x0800, numbers<qint32>({1, 2}), doubles + doubles});
    row("a complex integer matrix",
        {"A", 9, 0x0800, numbers<qint32>({1, 2}), matElement(2, "ab") + matElement(2, "cd")});
    row("an empty matrix", {"A", 6, 0, numbers<qint32>({0, 0}), matElement(testing::MatDouble, QByteArray())});
    row("a matrix without columns", {"A", 6, 0, numbers<qint32>({4, 0}), matElement(testing::MatDouble, QByteArray())});
}

void LoadForeignMatTest::refused()
{
    QFETCH(QByteArray, first);
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + first + matrix("B", 2, 3).bytes()));
    m_image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2));
    QVERIFY(!load());
    QVERIFY(!m_image->data);
}

void LoadForeignMatTest::nothingServes_data()
{
    QTest::addColumn<QByteArray>("variables");
    QTest::newRow("no variables at all") << QByteArray();
    QTest::newRow("text alone") << testing::matText("t", "text").bytes();
    QTest::newRow("a structure alone") << structure("s", matrix("", 2, 2).bytes()).bytes();
}

void LoadForeignMatTest::nothingServes()
{
    QFETCH(QByteArray, variables);
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + variables));
    m_image = testing::randomImage(testing::describe(ep::DataTypeInt16, 3, 2));
    const ep::SxImageBuf before = m_image.image();
    QVERIFY(load());
    QCOMPARE(std::memcmp(&before, &m_image.image(), sizeof(before)), 0);
    // An empty record stays empty.
    m_image.reset();
    QVERIFY(load());
    QVERIFY(!m_image->data);
}

void LoadForeignMatTest::classes_data()
{
    QTest::addColumn<int>("matClass");
    QTest::addColumn<int>("flags");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("depth");
    QTest::newRow("double") << 6 << 0 << 9 << 8 << 64;
    QTest::newRow("single") << 7 << 0 << 7 << 7 << 32;
    QTest::newRow("int8") << 8 << 0 << 1 << 1 << 8;
    QTest::newRow("uint8") << 9 << 0 << 2 << 2 << 8;
    QTest::newRow("int16") << 10 << 0 << 3 << 3 << 16;
    QTest::newRow("uint16, of which the depth is detected") << 11 << 0 << 4 << 4 << 15;
    QTest::newRow("int32") << 12 << 0 << 5 << 5 << 32;
    QTest::newRow("uint32") << 13 << 0 << 6 << 6 << 32;
    QTest::newRow("logical is one byte each") << 9 << 0x0200 << 2 << 2 << 8;
}

void LoadForeignMatTest::classes()
{
    QFETCH(int, matClass);
    QFETCH(int, flags);
    QFETCH(int, type);
    QFETCH(int, dataType);
    QFETCH(int, depth);
    const int bytes = ep::sampleFacts(dataType).bytes;
    QByteArray data;
    for (int i = 0; i < 6 * bytes; ++i)
        data.append(char(0x41 + i));  // no NaN among them
    const MatVariableBytes variable = {"A", quint32(matClass), quint32(flags), numbers<qint32>({2, 3}),
                                       matElement(quint32(type), data)};
    for (const QByteArray& stored : {variable.bytes(), matCompressed(variable.bytes())}) {
        QVERIFY(testing::writeBytes(path(), testing::matHeader() + stored));
        QVERIFY(load());
        QCOMPARE(int(m_image->dataType), dataType);
        QCOMPARE(m_image->bitDepth, depth);
        for (int x = 0; x < 3; ++x)
            for (int y = 0; y < 2; ++y)
                QCOMPARE(std::memcmp(testing::address(m_image.image(), x, y, 0), data.constData() + (x * 2 + y) * bytes,
                                     size_t(bytes)),
                         0);
    }
}

void LoadForeignMatTest::storedOtherwise_data()
{
    QTest::addColumn<QByteArray>("file");
    const auto row = [](const char* fact, const QByteArray& variable) {
        QTest::newRow(fact) << testing::matHeader() + variable;
    };
    const QByteArray size = numbers<qint32>({1, 2});
    const QByteArray shortBytes = numbers<quint32>({2 << 16 | 2}) + QByteArray("\1\2\0\0", 4);
    row("doubles as bytes", MatVariableBytes{"A", 6, 0, size, matElement(2, "\1\2")}.bytes());
    row("doubles as bytes in a short element", MatVariableBytes{"A", 6, 0, size, shortBytes}.bytes());
    row("doubles as 16-bit numbers",
        MatVariableBytes{"A", 6, 0, size, matElement(4, numbers<quint16>({1, 2}))}.bytes());
    row("doubles as floats", MatVariableBytes{"A", 6, 0, size, matElement(7, numbers<float>({1, 2}))}.bytes());
    row("a long name", MatVariableBytes{QByteArray(60, 'n'), 6, 0, size, matElement(2, "\1\2")}.bytes());
    row("compressed", matCompressed(MatVariableBytes{"A", 6, 0, size, matElement(2, "\1\2")}.bytes()));
    QTest::newRow("in the other byte order") << testing::otherByteOrder();
}

void LoadForeignMatTest::storedOtherwise()
{
    QFETCH(QByteArray, file);
    QVERIFY(testing::writeBytes(path(), file));
    QVERIFY(load());
    QCOMPARE(int(m_image->dataType), int(ep::DataTypeDouble));
    QCOMPARE(m_image->width, 2);
    QCOMPARE(testing::sampleAt<double>(m_image.image(), 0, 0), 1.0);
    QCOMPARE(testing::sampleAt<double>(m_image.image(), 1, 0), 2.0);
}

void LoadForeignMatTest::otherVersions_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("isCompressed");
    QTest::newRow("version 4") << int(MAT_FT_MAT4) << false;
    QTest::newRow("version 5") << int(MAT_FT_MAT5) << false;
    QTest::newRow("version 5, compressed") << int(MAT_FT_MAT5) << true;
    QTest::newRow("version 7.3") << int(MAT_FT_MAT73) << false;
    QTest::newRow("version 7.3, compressed") << int(MAT_FT_MAT73) << true;
}

void LoadForeignMatTest::otherVersions()
{
    QFETCH(int, version);
    QFETCH(bool, isCompressed);
    QFile::remove(path());
    mat_t* mat = Mat_CreateVer(path().toLocal8Bit().constData(), nullptr, mat_ft(version));
    QVERIFY(mat);
    double values[] = {1, 2, 3, 4, 5, 6};
    size_t dimensions[] = {2, 3};
    matvar_t* variable = Mat_VarCreate("A", MAT_C_DOUBLE, MAT_T_DOUBLE, 2, dimensions, values, 0);
    QCOMPARE(Mat_VarWrite(mat, variable, isCompressed ? MAT_COMPRESSION_ZLIB : MAT_COMPRESSION_NONE), 0);
    Mat_VarFree(variable);
    Mat_Close(mat);
    QVERIFY(load());
    QCOMPARE(m_image->width, 3);
    QCOMPARE(m_image->height, 2);
    for (int i = 0; i < 6; ++i)
        QCOMPARE(testing::sampleAt<double>(m_image.image(), i / 2, i % 2), values[i]);
}

void LoadForeignMatTest::duplicateNames()
{
    // By name alone another variable would be found than the one that was met.
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + testing::matText("A", "text").bytes()
                                            + matrix("A", 2, 3).bytes() + matrix("A", 9, 9).bytes()));
    QVERIFY(load());
    QCOMPARE(m_image->width, 3);
    QCOMPARE(testing::sampleAt<double>(m_image.image(), 2, 1), 6.0);
}

void LoadForeignMatTest::narrowPlanesAreOfOneClass()
{
    const QByteArray xml = "<unsound";
    const MatVariableBytes narrow = {"PIG_channel_2", 6, 0, numbers<qint32>({1, 2}), matElement(2, "\5\6")};
    QVERIFY(testing::writeBytes(path(), testing::matHeader() + matrix("PIG_channel_1", 1, 2).bytes() + narrow.bytes()
                                            + testing::matText("ep_image_metadata", xml).bytes()));
    bool isEntropy = false;
    testing::LogCapture log;
    QVERIFY(orn::matlab::LoadImageFromMat(path(), m_image.image(), isEntropy, nullptr));
    QVERIFY(isEntropy);
    QCOMPARE(testing::sampleAt<double>(m_image.image(), 1, 0, 1), 6.0);
    // The metadata of entropy files is not even read.
    QCOMPARE(log.criticals(), QStringList());
}

void LoadForeignMatTest::largeMatrixStoredInBytes()
{
    QByteArray bytes;
    for (int i = 0; i < 701 * 500; ++i)
        bytes.append(char(i % 251));
    const MatVariableBytes wide = {"A", 6, 0, numbers<qint32>({701, 500}), matElement(2, bytes)};
    for (const QByteArray& stored : {wide.bytes(), matCompressed(wide.bytes())}) {
        QVERIFY(testing::writeBytes(path(), testing::matHeader() + stored));
        QVERIFY(load());
        for (int x = 0; x < 500; ++x)
            for (int y = 0; y < 701; ++y)
                if (testing::sampleAt<double>(m_image.image(), x, y) != (x * 701 + y) % 251)
                    QFAIL("another number");
    }
}

QTEST_GUILESS_MAIN(LoadForeignMatTest)
#include "LoadForeignMatTest.moc"
