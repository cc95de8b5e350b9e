#include "TextTable.h"

#include "Output.h"

#include <algorithm>

namespace {

/** The words of @p text in lines of up to @p longest characters. */
QStringList wrapped(const QString& text, int longest)
{
    QStringList lines{QString()};
    for (const QString& word : text.split(QLatin1Char(' '))) {
        if (!lines.last().isEmpty() && lines.last().size() + 1 + word.size() > longest)
            lines << QString();
        lines.last() += (lines.last().isEmpty() ? QString() : QStringLiteral(" ")) + word;
    }
    return lines;
}

}  // namespace

void TextTable::addRow(const QStringList& cells)
{
    QStringList row;
    for (const QString& cell : cells)
        row << printable(cell);
    m_rows << row;
}

void TextTable::addWrappedRow(const QStringList& cells, int longest)
{
    QVector<QStringList> lines;
    int height = 1;
    for (const QString& cell : cells) {
        lines << (lines.isEmpty() ? QStringList{cell} : wrapped(cell, longest));
        height = std::max(height, lines.last().size());
    }
    for (int i = 0; i < height; ++i) {
        QStringList row;
        for (const QStringList& cellLines : lines)
            row << cellLines.value(i);
        addRow(row);
    }
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
