#include "Table.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <cstdio>

namespace benching {

namespace {

QSize sizeOf(double megapixels)
{
    // A multiple of 24 columns: the rows are even, too, and a cache line of bytes fits into most widths.
    const int columns = int(std::lround(std::sqrt(megapixels * 1.5e6) / 24)) * 24;
    return {columns, columns / 3 * 2};
}

void print(const QJsonObject& row)
{
    std::puts(QJsonDocument(row).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

}  // namespace

Table::Table(int& argc, char** argv) : m_application(argc, argv)
{
    QCommandLineParser parser;
    const QCommandLineOption list(QStringLiteral("list"));
    const QCommandLineOption alone(QStringLiteral("alone"));
    const QCommandLineOption rounds(QStringLiteral("rounds"), {}, QStringLiteral("N"), QStringLiteral("15"));
    const QCommandLineOption megapixels(QStringLiteral("megapixels"), {}, QStringLiteral("N"), QStringLiteral("24"));
    parser.addOptions({list, alone, rounds, megapixels});
    parser.process(m_application);
    m_wanted = parser.positionalArguments();
    m_isList = parser.isSet(list);
    m_isAlone = parser.isSet(alone);
    m_rounds = parser.value(rounds).toInt();
    m_size = sizeOf(parser.value(megapixels).toDouble());
    require(m_rounds > 0 && !m_size.isEmpty(), "reading the command line");
}

void Table::row(const QString& name, const std::function<void()>& measure)
{
    if (m_isList)
        std::puts(qPrintable(name));
    else if (m_wanted.isEmpty() || m_wanted.contains(name)) {
        m_row = name;
        measure();
    }
}

void Table::inTurns(const std::vector<Contestant>& contestants) const
{
    const size_t count = m_isAlone ? 1 : contestants.size();
    std::vector<QJsonArray> figures(count);
    for (int round = -1; round < m_rounds; ++round)
        for (size_t i = 0; i < count; ++i) {
            const double figure = contestants[i].figure();
            if (round >= 0)
                figures[i].append(figure);
        }
    QJsonObject named;
    for (size_t i = 0; i < count; ++i)
        named.insert(QLatin1String(contestants[i].name), figures[i]);
    print({{QStringLiteral("row"), m_row}, {QStringLiteral("figures"), named}});
}

}  // namespace benching
