#include "TextTable.h"

#include "Output.h"

#include <algorithm>

void TextTable::addRow(const QStringList& cells)
{
    QStringList row;
    for (const QString& cell : cells)
        row << printable(cell);
    m_rows << row;
}

void TextTable::write(Output& output) const
{
    QVector<int> widths;
    for (int column = 0; column < m_headings.size(); ++column) {
        int width = m_headings[column].size();
        for (const QStringList& row : m_rows)
            width = std::max(width, row[column].size());
        widths << width;
    }
    output.data(output.emphasised(line(m_headings, widths)) + QLatin1Char('\n'));
    for (const QStringList& row : m_rows)
        output.data(line(row, widths) + QLatin1Char('\n'));
}

QString TextTable::line(const QStringList& cells, const QVector<int>& widths) const
{
    QString text;
    for (int column = 0; column < cells.size(); ++column)
        text += cells[column].leftJustified(widths[column] + 2);
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}
