#include "Facts.h"

#include "Output.h"

#include <QLocale>
#include <QStringList>

#include <cmath>

QJsonObject jsonOf(const Facts& facts)
{
    QJsonObject object;
    for (const Fact& fact : facts)
        if (!fact.key.isEmpty())
            object[fact.key] = fact.value;
    return object;
}

QString factsText(const Facts& facts)
{
    constexpr int labelWidth = 18;
    QString lines;
    for (const Fact& fact : facts)
        if (!fact.label.isEmpty())
            lines += QStringLiteral("  ") + printable(fact.label).leftJustified(labelWidth) + QLatin1Char(' ')
                     + printable(fact.text) + QLatin1Char('\n');
    return lines;
}

void writeFacts(const Facts& facts, Output& output)
{
    output.data(factsText(facts));
}

QString numberText(double value)
{
    // Whole numbers up to here are exact.
    constexpr double exact = 9007199254740992.0;
    if (std::abs(value) <= exact && value == std::floor(value))
        return QString::number(static_cast<qint64>(value));
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString numbersText(const QVector<double>& values)
{
    constexpr int digits = 8;
    QStringList texts;
    for (double value : values)
        texts << QString::number(value, 'g', digits);
    return texts.join(QLatin1Char(' '));
}
