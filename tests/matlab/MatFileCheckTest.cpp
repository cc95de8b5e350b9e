// Damaged files: each is told before matio reads it, and says what is wrong.

#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatVariables.h>

#include <orn/Init.h>

#include "MatBytes.h"
#include "TestImages.h"

#include <QTemporaryDir>
#include <QtTest>

#include <limits>

using testing::matCompressed;
using testing::matElement;
using testing::MatVariableBytes;
using testing::numbers;

namespace {

constexpr qint32 most = std::numeric_limits<qint32>::max();

/** A sound 2 x 3 matrix in which something is changed. */
template <typename Change>
MatVariableBytes changed(Change change)
{
    MatVariableBytes variable;
    change(variable);
    return variable;
}

MatVariableBytes sized(std::initializer_list<qint32> dimensions)
{
    return changed([&](MatVariableBytes& variable) { variable.dimensions = numbers<qint32>(dimensions); });
}

MatVariableBytes holding(const QByteArray& data)
{
    return changed([&](MatVariableBytes& variable) { variable.data = data; });
}

MatVariableBytes cells(std::initializer_list<qint32> dimensions, const QByteArray& content)
{
    return {"c", 1, 0, numbers<qint32>(dimensions), content};
}

MatVariableBytes structure(const QByteArray& fields, const QByteArray& content)
{
    return {"s", 2, 0, numbers<qint32>({1, 1}), fields + content};
}

QByteArray fieldNames(quint32 length, const QByteArray& names)
{
    return numbers<quint32>({4 << 16 | 5, length}) + matElement(testing::MatInt8, names);
}

/** A sparse matrix as what other variables hold. */
QByteArray sparse(const QByteArray& rows)
{
    const QByteArray columns = matElement(testing::MatInt32, numbers<qint32>({0, 1, 1}));
    return MatVariableBytes{"", 5, 0, numbers<qint32>({2, 2}),
                            rows + columns + matElement(testing::MatDouble, numbers<double>({3}))}
        .bytes();
}

QByteArray nested(int depth)
{
    QByteArray inner = MatVariableBytes().bytes();
    for (int i = 0; i < depth; ++i)
        inner = cells({1, 1}, inner).bytes();
    return inner;
}

/** A variable of version 4: its five numbers, then @p rest. */
QByteArray version4(std::initializer_list<qint32> header, const QByteArray& rest)
{
    return numbers<qint32>(header) + rest;
}

}  // namespace

class MatFileCheckTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QString m_reason;

    bool isSound(const QByteArray& file)
    {
        const QString path = m_folder.filePath(QStringLiteral("checked.mat"));
        QVector<orn::matlab::MatVariable> variables;
        m_reason.clear();
        const bool isListed =
            testing::writeBytes(path, file) && orn::matlab::ListMatVariables(path, variables, &m_reason);
        ep::CxScopedBuffer image;
        bool isEntropy = false;
        const bool isLoaded = orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, nullptr);
        return isListed && isLoaded;
    }

private slots:
    void initTestCase() { orn::Init(); }
    void sound_data();
    void sound();
    void damaged_data();
    void damaged();
    void damagedWhenCompressed_data();
    void damagedWhenCompressed();
    void cutAnywhere_data();
    void cutAnywhere();
    void anObjectHasNoGiantRank();
    void swappedBytesAreChecked();
    void version4_data();
    void version4();
};

void MatFileCheckTest::sound_data()
{
    QTest::addColumn<QByteArray>("variables");
    const QByteArray matrix = MatVariableBytes().bytes();
    const QByteArray one = matrix;
    QTest::newRow("no variable") << QByteArray();
    QTest::newRow("a matrix") << matrix;
    QTest::newRow("two matrices") << matrix + matrix;
    QTest::newRow("no name") << changed([](MatVariableBytes& v) { v.name.clear(); }).bytes();
    QTest::newRow("a matrix of 32 dimensions")
        << MatVariableBytes{"v", 9, 0, QByteArray("\1\0\0\0", 4).repeated(32), matElement(2, "a")}.bytes() + one;
    QTest::newRow("an empty cell array") << cells({0, 0}, QByteArray()).bytes() + one;
    QTest::newRow("a cell array with an empty element")
        << cells({1, 2}, numbers<quint32>({14, 0}) + matrix).bytes() + one;
    QTest::newRow("a structure") << structure(fieldNames(8, QByteArray(8, 'f')), matrix).bytes() + one;
    QTest::newRow("a structure without fields") << structure(fieldNames(8, ""), QByteArray()).bytes() + one;
    const QByteArray shortNames = numbers<quint32>({4 << 16 | 5, 2, 4 << 16 | 1}) + QByteArray("x\0y\0", 4);
    QTest::newRow("a structure whose names stand in their tag") << structure(shortNames, matrix + matrix).bytes() + one;
    QTest::newRow("a sparse matrix in a cell array")
        << cells({1, 1}, sparse(numbers<quint32>({4 << 16 | 5, 0}))).bytes() + one;
    const QByteArray type = numbers<quint32>({4 << 16 | 1}) + "MCOS" + matElement(testing::MatInt8, "string") + matrix;
    const QByteArray object = matElement(testing::MatUInt32, numbers<quint32>({17, 0}));
    QTest::newRow("an object of a long name")
        << matElement(testing::MatMatrix, object + matElement(testing::MatInt8, "my_string") + type) + one;
    QTest::newRow("an object of a short name")
        << matElement(testing::MatMatrix, object + numbers<quint32>({1 << 16 | 1, 's'}) + type) + one;
    QTest::newRow("60 levels of cells") << nested(60) + one;
    QTest::newRow("more data than the dimensions say") << sized({1, 2}).bytes();
    QTest::newRow("text without data, as some programs write it")
        << MatVariableBytes{"t", 4, 0, numbers<qint32>({1, 3}), matElement(1, "")}.bytes() + one;
    const QByteArray bare = changed([](MatVariableBytes& v) {
                                v.dimensions = numbers<qint32>({0, 3}), v.data.clear();
                            }).bytes();
    QTest::newRow("no elements, no data") << one + bare;
}

void MatFileCheckTest::sound()
{
    QFETCH(QByteArray, variables);
    QVERIFY2(isSound(testing::matHeader() + variables), qPrintable(m_reason));
}

void MatFileCheckTest::damaged_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* fact, const MatVariableBytes& variable, const char* reason) {
        QTest::newRow(fact) << variable.content() << QString::fromLatin1(reason);
    };
    const char* const less = "a variable has less data than its dimensions say";
    const char* const larger = "an element is larger than the one that holds it";
    const char* const dimensions = "the dimensions of a variable are damaged";
    const char* const types = "numbers of an unknown type are stored";
    const char* const more = "a cell array or structure has more elements than it can hold";
    const QByteArray matrix = MatVariableBytes().bytes();
    row("more rows than data", sized({3, 3}), less);
    row("giant dimensions", sized({most, 1}), less);
    row("dimensions whose product fits no number", sized({most, most, most, most}), dimensions);
    row("negative dimensions", sized({-2, 3}), dimensions);
    row("two negative dimensions", sized({-2, -3}), dimensions);
    row("no dimensions", sized({}), dimensions);
    row("dimensions of half a number", changed([](MatVariableBytes& v) { v.dimensions.chop(2); }), dimensions);
    row("33 dimensions", changed([](MatVariableBytes& v) { v.dimensions = QByteArray("\1\0\0\0", 4).repeated(33); }),
        dimensions);
    row("data past the element", holding(numbers<quint32>({9, 1000})), larger);
    row("data of 4 GiB", holding(numbers<quint32>({9, 0xffffffff})), larger);
    row("no data at all", holding(QByteArray()), larger);
    row("numbers of type 0", holding(matElement(0, QByteArray(48, 'x'))), types);
    row("numbers of type 8", holding(matElement(8, QByteArray(48, 'x'))), types);
    row("a matrix for numbers", holding(matElement(14, QByteArray(48, 'x'))), types);
    row("text for numbers", holding(matElement(testing::MatUtf8, "abcdef")), types);
    row("a short element of five bytes", holding(numbers<quint32>({5 << 16 | 2, 0})),
        "a short element is longer than its place");
    row("a complex matrix without imaginary part", changed([](MatVariableBytes& v) { v.flags = 0x0800; }), larger);
    row("fewer characters than columns", {"t", 4, 0, numbers<qint32>({1, 9}), matElement(testing::MatUtf8, "abc")},
        less);
    row("more cells than there are", cells({1, 2}, matrix), larger);
    row("cells without number", cells({most, most}, matrix), more);
    row("a number for a cell", cells({1, 1}, matElement(9, numbers<double>({1}))),
        "an element of a cell array or structure is no variable");
    row("a cell past its array", cells({1, 1}, numbers<quint32>({14, 5000})), larger);
    row("a damaged matrix in a cell", cells({1, 1}, sized({9, 9}).bytes()), less);
    row("a structure without names", structure(QByteArray(), QByteArray()), larger);
    row("field names of no length", structure(fieldNames(0, "ab"), matrix), "the fields of a structure are damaged");
    row("field names that are numbers",
        structure(numbers<quint32>({4 << 16 | 5, 8}) + matElement(9, "abcdefgh"), matrix),
        "the fields of a structure are damaged");
    const char* const fields = "the fields of a structure are damaged";
    row("field names of which the last is cut", structure(fieldNames(8, "abcdefghij"), matrix), fields);
    row("short field names of which the last is cut",
        structure(numbers<quint32>({4 << 16 | 5, 2, 3 << 16 | 1}) + "x\0y", matrix), fields);
    row("short field names of five bytes", structure(numbers<quint32>({4 << 16 | 5, 1, 5 << 16 | 1, 0}), matrix),
        "a short element is longer than its place");
    row("short field names that are numbers", structure(numbers<quint32>({4 << 16 | 5, 4, 4 << 16 | 5, 0}), matrix),
        fields);
    row("more short fields than values",
        structure(numbers<quint32>({4 << 16 | 5, 1, 4 << 16 | 1}) + "abcd", QByteArray()), more);
    // Each of these made matio ask for gigabytes.
    const MatVariableBytes held = {fieldNames(1, QByteArray(16, 'n')), 2, 0, numbers<qint32>({1, 1}),
                                   fieldNames(8, QByteArray())};
    row("a long name of a structure's field", structure(fieldNames(8, QByteArray(8, 'f')), held.bytes()),
        "a field of a structure has a name of its own");
    row("a sparse matrix past its end", cells({1, 1}, sparse(numbers<quint32>({5, 0x7ffffff8}))), larger);
    row("a sparse matrix with rows that are no indices",
        cells({1, 1}, sparse(matElement(testing::MatDouble, numbers<double>({0})))), "a sparse matrix is damaged");
    row("a function handle on nothing", {"f", 16, 0, numbers<qint32>({1, 1}), numbers<quint32>({14, 0})}, larger);
    row("more fields than values", structure(fieldNames(1, "abcdefgh"), matrix), larger);
}

void MatFileCheckTest::damaged()
{
    QFETCH(QByteArray, variable);
    QFETCH(QString, reason);
    const QByteArray sound = MatVariableBytes().bytes();
    for (const QByteArray& before : {QByteArray(), sound, matCompressed(sound)}) {
        QVERIFY(!isSound(testing::matHeader() + before + matElement(testing::MatMatrix, variable)));
        QCOMPARE(m_reason, reason);
        QVERIFY(!isSound(testing::matHeader() + before + matCompressed(matElement(testing::MatMatrix, variable))));
        QCOMPARE(m_reason, reason);
    }
}

void MatFileCheckTest::damagedWhenCompressed_data()
{
    QTest::addColumn<QByteArray>("variable");
    const QByteArray good = matCompressed(MatVariableBytes().bytes());
    const auto of = [](const QByteArray& deflated) {
        return numbers<quint32>({testing::MatCompressed, quint32(deflated.size())}) + deflated;
    };
    QTest::newRow("no compressed data") << of(QByteArray());
    QTest::newRow("noise") << of(QByteArray("no deflated data, but a letter"));
    QTest::newRow("compressed data that is cut") << of(good.mid(8).chopped(8));
    QTest::newRow("a wrong check sum") << of(good.mid(8).chopped(1) + 'x');
    QTest::newRow("a number instead of a matrix") << matCompressed(matElement(9, numbers<double>({1})));
    QTest::newRow("compressed twice") << matCompressed(good);
    QTest::newRow("less than a matrix says") << matCompressed(MatVariableBytes().bytes().chopped(8));
    QTest::newRow("a gigabyte that is not there")
        << matCompressed(numbers<quint32>({14, 1 << 30}) + sized({1 << 27, 1}).content());
}

void MatFileCheckTest::damagedWhenCompressed()
{
    QFETCH(QByteArray, variable);
    QVERIFY(!isSound(testing::matHeader() + variable));
    QVERIFY(!m_reason.isEmpty());
    QVERIFY(!isSound(testing::matHeader() + MatVariableBytes().bytes() + variable));
}

void MatFileCheckTest::cutAnywhere_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::newRow("a matrix") << MatVariableBytes().bytes();
    QTest::newRow("a compressed matrix") << matCompressed(MatVariableBytes().bytes());
    QTest::newRow("cells") << nested(3);
    QTest::newRow("text") << testing::matText("note", "some text").bytes();
}

void MatFileCheckTest::cutAnywhere()
{
    QFETCH(QByteArray, variable);
    const QByteArray file = testing::matHeader() + variable;
    QVERIFY(isSound(file));
    for (int size = 0; size < file.size(); ++size) {
        // The header alone is a file without variables.
        QVERIFY2(isSound(file.left(size)) == (size == 128), QByteArray::number(size).constData());
        QVERIFY(size == 128 || !m_reason.isEmpty());
    }
    // Noise behind the last variable is none of its bytes.
    QVERIFY(!isSound(file + 'x'));
    QVERIFY(!isSound(file + QByteArray(8, 'x')));
}

void MatFileCheckTest::anObjectHasNoGiantRank()
{
    const QByteArray object = matElement(testing::MatUInt32, numbers<quint32>({17, 0}));
    const QByteArray giant = numbers<quint32>({testing::MatInt32, 0x7ffffffc}) + QByteArray(64, '\0');
    QVERIFY(!isSound(testing::matHeader() + matElement(testing::MatMatrix, object + giant)));
    QCOMPARE(m_reason, QStringLiteral("the dimensions of a variable are damaged"));
}

void MatFileCheckTest::swappedBytesAreChecked()
{
    const QByteArray header = testing::matHeader().left(124) + QByteArray("\1\0MI", 4);
    QVERIFY2(isSound(header), qPrintable(m_reason));
    QVERIFY(!isSound(header + MatVariableBytes().bytes()));
}

void MatFileCheckTest::version4_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("sound");
    const QByteArray six(48, '\0');
    const QByteArray good = ::version4({0, 2, 3, 0, 2}, QByteArray("A\0", 2) + six);
    QTest::newRow("a matrix") << good << true;
    QTest::newRow("two matrices") << good + good << true;
    QTest::newRow("a matrix that is cut") << good.chopped(1) << false;
    QTest::newRow("a second matrix that is cut") << good + good.chopped(1) << false;
    QTest::newRow("giant dimensions") << ::version4({0, most, most, 0, 2}, QByteArray("A\0", 2) + six) << false;
    QTest::newRow("negative rows") << ::version4({0, -2, 3, 0, 2}, QByteArray("A\0", 2) + six) << false;
    QTest::newRow("a name of negative length") << ::version4({0, 2, 3, 0, -2}, QByteArray("A\0", 2) + six) << false;
    QTest::newRow("a name past the file") << ::version4({0, 2, 3, 0, most}, QByteArray("A\0", 2) + six) << false;
    QTest::newRow("no imaginary part") << ::version4({0, 2, 3, 1, 2}, QByteArray("A\0", 2) + six) << false;
    QTest::newRow("an unknown type") << ::version4({90, 2, 3, 0, 2}, QByteArray("A\0", 2) + six) << false;
}

void MatFileCheckTest::version4()
{
    QFETCH(QByteArray, file);
    QFETCH(bool, sound);
    QCOMPARE(isSound(file), sound);
    QCOMPARE(m_reason.isEmpty(), sound);
}

QTEST_GUILESS_MAIN(MatFileCheckTest)
#include "MatFileCheckTest.moc"
