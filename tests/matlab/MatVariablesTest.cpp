#include <orn/matlab/MatVariables.h>

#include <orn/Init.h>

#include "MatBytes.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <QTemporaryDir>
#include <QtTest>

using orn::matlab::ListMatVariables;
using orn::matlab::MatVariable;
using testing::matElement;
using testing::MatVariableBytes;
using testing::numbers;

namespace {

MatVariableBytes bytesMatrix(const QByteArray& name)
{
    return {name, 9, 0, numbers<qint32>({1, 2}), matElement(2, "ab")};
}

QByteArray metadataOf(int savedChannels)
{
    return testing::matText("ep_image_metadata", testing::OwnMetadata{savedChannels}.xml().toUtf8()).bytes();
}

}  // namespace

class MatVariablesTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QVector<MatVariable> m_variables;
    QString m_reason;

    bool list(const QByteArray& variables)
    {
        const QString path = m_folder.filePath(QStringLiteral("list.mat"));
        return testing::writeBytes(path, testing::matHeader() + variables)
               && ListMatVariables(path, m_variables, &m_reason);
    }

private slots:
    void initTestCase() { orn::Init(); }
    void init() { m_variables = {{QStringLiteral("before"), {}, {}, false, {}}}; }
    void classes_data();
    void classes();
    void roles_data();
    void roles();
    void failureLeavesTheListAndSaysWhy();
};

void MatVariablesTest::classes_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("className");
    QTest::addColumn<QVector<quint64>>("dimensions");
    QTest::addColumn<bool>("isComplex");
    const auto row = [](const char* name, const MatVariableBytes& variable, const QVector<quint64>& dimensions,
                        bool isComplex = false) {
        QTest::newRow(name) << variable.bytes() << QString::fromLatin1(name).section(QLatin1Char(','), 0, 0)
                            << dimensions << isComplex;
    };
    const auto dense = [](quint32 matClass, quint32 type, int bytes, quint32 flags = 0) {
        return MatVariableBytes{"v", matClass, flags, numbers<qint32>({3, 1}),
                                matElement(type, QByteArray(3 * bytes, 1))};
    };
    row("double", dense(6, 9, 8), {3, 1});
    row("single", dense(7, 7, 4), {3, 1});
    row("int8", dense(8, 1, 1), {3, 1});
    row("uint8", dense(9, 2, 1), {3, 1});
    row("int16", dense(10, 3, 2), {3, 1});
    row("uint16", dense(11, 4, 2), {3, 1});
    row("int32", dense(12, 5, 4), {3, 1});
    row("uint32", dense(13, 6, 4), {3, 1});
    row("int64", dense(14, 12, 8), {3, 1});
    row("uint64", dense(15, 13, 8), {3, 1});
    row("logical", dense(9, 2, 1, 0x0200), {3, 1});
    row("char", testing::matText("v", "text"), {1, 4});
    row("cell", {"v", 1, 0, numbers<qint32>({1, 1}), bytesMatrix("").bytes()}, {1, 1});
    MatVariableBytes complex = dense(6, 9, 8, 0x0800);
    complex.data += complex.data;
    row("double, complex", complex, {3, 1}, true);
    MatVariableBytes cube = dense(9, 2, 1);
    cube.dimensions = numbers<qint32>({1, 1, 3});
    row("uint8, of three dimensions", cube, {1, 1, 3});
}

void MatVariablesTest::classes()
{
    QFETCH(QByteArray, variable);
    QFETCH(QVector<quint64>, dimensions);
    for (const QByteArray& stored : {variable, testing::matCompressed(variable)}) {
        QVERIFY2(list(stored), qPrintable(m_reason));
        QCOMPARE(m_variables.size(), 1);
        QCOMPARE(m_variables[0].name, QStringLiteral("v"));
        QTEST(m_variables[0].className, "className");
        QCOMPARE(m_variables[0].dimensions, dimensions);
        QTEST(m_variables[0].isComplex, "isComplex");
    }
}

void MatVariablesTest::roles_data()
{
    QTest::addColumn<QByteArray>("variables");
    QTest::addColumn<QString>("roles");
    const auto row = [](const char* fact, const QByteArray& variables, const char* roles) {
        QTest::newRow(fact) << variables << QString::fromLatin1(roles);
    };
    const auto named = [](const char* name) { return bytesMatrix(name).bytes(); };
    const QByteArray planes = named("ep_image_channel_2") + named("ep_image_channel_1");
    row("a foreign file", testing::matText("t", "text").bytes() + named("B") + named("A"), "-|plane 1|-");
    row("planes without metadata are a foreign file", planes, "plane 1|-");
    row("planes by their number", planes + metadataOf(2), "plane 2|plane 1|metadata");
    row("planes past the count are passed over", planes + metadataOf(1), "-|plane 1|metadata");
    row("a count of none makes it a foreign file", planes + metadataOf(0), "plane 1|-|metadata");
    row("a plane that is missing ends them", planes + metadataOf(7), "plane 2|plane 1|metadata");
    row("metadata that is no XML", planes + testing::matText("ep_image_metadata", "text").bytes(),
        "plane 1|-|metadata");
    row("metadata that is no text", named("ep_image_metadata"), "plane 1");
    row("an entropy image", planes + named("PIG_channel_2") + named("PIG_channel_1") + metadataOf(2),
        "-|-|plane 2|plane 1|-");
    row("an entropy image by colour", named("PDG_channel_1") + named("PDG_channel_R") + named("PDG_channel_G1"),
        "-|plane 1|plane 2");
    row("PIG goes before PDG", named("PDG_channel_1") + named("PIG_channel_1"), "-|plane 1");
    row("the first of two of one name", named("A") + named("A"), "plane 1|-");
}

void MatVariablesTest::roles()
{
    QFETCH(QByteArray, variables);
    QFETCH(QString, roles);
    QVERIFY2(list(variables), qPrintable(m_reason));
    QStringList found;
    for (const MatVariable& variable : qAsConst(m_variables))
        found << (variable.role.isEmpty() ? QStringLiteral("-") : variable.role);
    QCOMPARE(found.join(QLatin1Char('|')), roles);
}

void MatVariablesTest::failureLeavesTheListAndSaysWhy()
{
    QVERIFY(!ListMatVariables(m_folder.filePath(QStringLiteral("missing.mat")), m_variables, &m_reason));
    QVERIFY(!m_reason.isEmpty());
    m_reason.clear();
    QVERIFY(!list(bytesMatrix("A").bytes().chopped(1)));
    QVERIFY(!m_reason.isEmpty());
    QCOMPARE(m_variables.size(), 1);
    QCOMPARE(m_variables[0].name, QStringLiteral("before"));
    // Nobody has to ask why.
    QVERIFY(!ListMatVariables(m_folder.path(), m_variables, nullptr));
}

QTEST_GUILESS_MAIN(MatVariablesTest)
#include "MatVariablesTest.moc"
