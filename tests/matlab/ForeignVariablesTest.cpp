// What SciPy and Octave may write before an image: it is listed as what it is, passed over, and the image is read.

#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatVariables.h>

#include <orn/Init.h>

#include "MatBytes.h"
#include "PythonScript.h"
#include "TestImages.h"

#include <QtTest>

using testing::numbers;

namespace {

/** A variable as a program writes it down, and as it is to be listed. */
struct Foreign {
    const char* fact;
    const char* expression;
    const char* className;
    QVector<quint64> dimensions;
};

// Up to four bytes are stored in the tag itself, so the shortest names and texts stand in files in another form.
const QVector<Foreign> sciPyVariables = {
    {"a structure of two short names", "{'x': 1, 'y': 2}", "struct", {1, 1}},
    {"a structure of one short name", "{'x': 1}", "struct", {1, 1}},
    {"a structure of one name of three letters", "{'abc': 1}", "struct", {1, 1}},
    {"a structure of one name of four letters", "{'abcd': 1}", "struct", {1, 1}},
    {"a structure without fields", "{}", "struct", {1, 1}},
    {"short names in a structure", "{'inner': {'x': {'y': 1}}, 'other': 2}", "struct", {1, 1}},
    {"short names in a cell array", "cells({'x': 1, 'y': 'ab'}, {'z': cells({'a': 1})})", "cell", {1, 2}},
    {"a structure array", "structures((2, 3), 'x')", "struct", {2, 3}},
    {"an empty structure array", "structures((0, 0), 'x', 'y')", "struct", {0, 0}},
    {"an empty cell array", "numpy.zeros((0, 0), object)", "cell", {0, 0}},
    {"a cell array of small things",
     "cells(numpy.int8([1, 2, 3]), True, 'ab', '', numpy.zeros((0, 0)), 2.5, 1j)",
     "cell",
     {1, 7}},
    {"short text", "'ab'", "char", {1, 2}},
    {"text outside ASCII", "'\\u00e9'", "char", {1, 1}},
    {"empty text", "''", "char", {0, 0}},
    {"texts", "numpy.array(['ab', 'cd', 'ef'])", "char", {3, 2}},
    {"bytes of three dimensions", "numpy.ones((1, 2, 1), 'i1')", "int8", {1, 2, 1}},
    {"a sparse matrix", "scipy.sparse.eye(3)", "sparse", {3, 3}},
    {"an empty sparse matrix", "scipy.sparse.csc_matrix((3, 3))", "sparse", {3, 3}},
    {"a sparse matrix of truth values", "scipy.sparse.eye(3, dtype=bool)", "sparse", {3, 3}},
    {"sparse matrices in a cell array",
     "cells(scipy.sparse.eye(3), scipy.sparse.csc_matrix((2, 2)), scipy.sparse.eye(1), 1j * scipy.sparse.eye(3), 'ab')",
     "cell",
     {1, 5}},
};

const QVector<Foreign> octaveVariables = {
    {"a structure of two short names", "struct('x', 1, 'y', 2)", "struct", {1, 1}},
    {"a structure without fields", "struct()", "struct", {1, 1}},
    {"short names in a structure", "struct('inner', struct('x', struct('y', 1)))", "struct", {1, 1}},
    {"short names in a cell array", "{struct('x', 1), {struct('y', 'ab')}}", "cell", {1, 2}},
    {"a structure array", "repmat(struct('x', 1), 2, 3)", "struct", {2, 3}},
    {"an empty structure array", "struct('x', {}, 'y', {})", "struct", {0, 0}},
    {"an empty cell array", "{}", "cell", {0, 0}},
    {"a cell array of small things", "{int8([1 2 3]), true, 'ab', '', [], 2.5, 1i, 1:5, {}}", "cell", {1, 9}},
    {"short text", "'ab'", "char", {1, 2}},
    {"texts", "['ab'; 'cd'; 'ef']", "char", {3, 2}},
    {"bytes of three dimensions", "ones(1, 2, 3, 'int8')", "int8", {1, 2, 3}},
    {"a sparse matrix", "sparse(eye(3))", "sparse", {3, 3}},
    {"an empty sparse matrix", "sparse(3, 3)", "sparse", {3, 3}},
    {"sparse matrices in a cell array", "{sparse(eye(3)), sparse(2, 2), sparse(1), 1i * sparse(1)}", "cell", {1, 4}},
};

const char* const sciPyScript = R"(
import sys, numpy, scipy.sparse
from scipy.io import savemat

def cells(*values):
    array = numpy.empty((1, len(values)), object)
    for i, value in enumerate(values):
        array[0, i] = value
    return array

def structures(shape, *names):
    array = numpy.zeros(shape, [(name, object) for name in names])
    for name in names:
        array[name] = 1
    return array

def make(number, before):
    variables = {'before': before, 'im': numpy.arange(12.).reshape(3, 4)}
    for form in ('plain', 'compressed'):
        savemat('%s/scipy %s %d.mat' % (sys.argv[1], form, number), variables, do_compression=form == 'compressed')

)";

const char* const octaveScript = R"(
function make(number, before)
    im = reshape(0:11, 4, 3)' + 0;
    save('-v6', sprintf('%s/octave plain %d.mat', argv(){1}, number), 'before', 'im');
    save('-v7', sprintf('%s/octave compressed %d.mat', argv(){1}, number), 'before', 'im');
end

)";

QByteArray withCalls(const char* script, const QVector<Foreign>& variables)
{
    QByteArray whole = script;
    for (int i = 0; i < variables.size(); ++i)
        whole += "make(" + QByteArray::number(i) + ", " + variables[i].expression + ")\n";
    return whole;
}

}  // namespace

class ForeignVariablesTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    void isRead(const QString& path, const QString& className, const QVector<quint64>& dimensions);

private slots:
    void initTestCase();
    void beforeAnImage_data();
    void beforeAnImage();
    void otherByteOrder_data();
    void otherByteOrder();
};

void ForeignVariablesTest::initTestCase()
{
    orn::Init();
    const testing::ScriptRun python =
        testing::runPython(withCalls(sciPyScript, sciPyVariables).constData(), {m_folder.path()});
    QVERIFY2(python.isDone, python.output.constData());

    const QString script = m_folder.filePath(QStringLiteral("make_all.m"));
    QVERIFY(testing::writeFile(script, "1;\n" + withCalls(octaveScript, octaveVariables)));
    QProcess octave;
    octave.setProcessChannelMode(QProcess::MergedChannels);
    octave.start(QStringLiteral(ORN_OCTAVE), {QStringLiteral("--norc"), script, m_folder.path()});
    QVERIFY2(octave.waitForFinished(240000), qPrintable(octave.errorString()));
    QVERIFY2(octave.exitStatus() == QProcess::NormalExit && octave.exitCode() == 0, octave.readAll().constData());
}

// The image of every file is the numbers 0 to 11, row by row.
void ForeignVariablesTest::isRead(const QString& path, const QString& className, const QVector<quint64>& dimensions)
{
    QVector<orn::matlab::MatVariable> variables;
    QString reason;
    QVERIFY2(orn::matlab::ListMatVariables(path, variables, &reason), qPrintable(reason));
    QCOMPARE(variables.size(), 2);
    QCOMPARE(variables[0].name, QStringLiteral("before"));
    QCOMPARE(variables[0].className, className);
    QCOMPARE(variables[0].dimensions, dimensions);
    QCOMPARE(variables[0].role, QString());
    QCOMPARE(variables[1].name, QStringLiteral("im"));
    QCOMPARE(variables[1].role, QStringLiteral("plane 1"));

    ep::CxScopedBuffer image;
    bool isEntropy = true;
    QVERIFY(orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, nullptr));
    QVERIFY(!isEntropy);
    QCOMPARE(int(image->dataType), int(ep::DataTypeDouble));
    QCOMPARE(image->width, 4);
    QCOMPARE(image->height, 3);
    for (int i = 0; i < 12; ++i)
        QCOMPARE(testing::sampleAt<double>(image.image(), i % 4, i / 4), double(i));
}

void ForeignVariablesTest::beforeAnImage_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("className");
    QTest::addColumn<QVector<quint64>>("dimensions");
    const auto rows = [this](const QByteArray& program, const QVector<Foreign>& variables) {
        for (const QByteArray form : {"plain", "compressed"})
            for (int i = 0; i < variables.size(); ++i) {
                const QByteArray file = program + " " + form;
                QTest::newRow((file + ": " + variables[i].fact).constData())
                    << m_folder.filePath(QStringLiteral("%1 %2.mat").arg(QString::fromLatin1(file)).arg(i))
                    << QString::fromLatin1(variables[i].className) << variables[i].dimensions;
            }
    };
    rows("scipy", sciPyVariables);
    rows("octave", octaveVariables);
}

void ForeignVariablesTest::beforeAnImage()
{
    QFETCH(QString, file);
    QFETCH(QString, className);
    QFETCH(QVector<quint64>, dimensions);
    isRead(file, className, dimensions);
}

void ForeignVariablesTest::otherByteOrder_data()
{
    QTest::addColumn<bool>("isCompressed");
    QTest::newRow("plain") << false;
    QTest::newRow("compressed") << true;
}

// Neither program writes the byte order that is not the machine's.
void ForeignVariablesTest::otherByteOrder()
{
    QFETCH(bool, isCompressed);
    const auto words = [](std::initializer_list<quint32> values) { return testing::swapped(numbers(values), 4); };
    const auto variable = [&](const QByteArray& header, const QByteArray& name, const QByteArray& data) {
        const QByteArray content = words({6, 8}) + header + words({1, quint32(name.size())})
                                   + name.leftJustified((name.size() + 7) / 8 * 8, '\0') + data;
        const QByteArray element = words({14, quint32(content.size())}) + content;
        const QByteArray deflated = qCompress(element).mid(4);
        return isCompressed ? words({15, quint32(deflated.size())}) + deflated : element;
    };
    const QByteArray value = words({14, 48, 6, 8, 8, 0, 5, 8, 1, 1, 1, 0, 1 << 16 | 1, 7 << 24});
    const QByteArray fields = words({4 << 16 | 5, 2, 4 << 16 | 1}) + QByteArray("x\0y\0", 4) + value + value;
    QByteArray samples;
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 3; ++row)
            samples += testing::swapped(numbers<double>({double(row * 4 + column)}), 8);
    const QString path = m_folder.filePath(QStringLiteral("swapped.mat"));
    QVERIFY(testing::writeFile(path, QByteArray("MATLAB 5.0 MAT-file").leftJustified(124, ' ')
                                         + testing::swapped(testing::matHeader().right(4), 2)
                                         + variable(words({2, 0, 5, 8, 1, 1}), "before", fields)
                                         + variable(words({6, 0, 5, 8, 3, 4}), "im", words({9, 96}) + samples)));
    isRead(path, QStringLiteral("struct"), {1, 1});
}

QTEST_GUILESS_MAIN(ForeignVariablesTest)
#include "ForeignVariablesTest.moc"
