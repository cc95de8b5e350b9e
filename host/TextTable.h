/**
 * @file
 * Aligned columns.
 */
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

class Output;

/** Rows of cells, written with every column as wide as its widest cell. */
class TextTable {
public:
    explicit TextTable(const QStringList& headings) : m_headings(headings) {}

    void addRow(const QStringList& cells);  ///< as many cells as there are headings
    /** As addRow(), with cells longer than @p longest continued below, where there is a blank. The first cell, which
     * names the row, stays whole. */
    void addWrappedRow(const QStringList& cells, int longest);
    void write(Output& output) const;  ///< writes headings and rows as data

private:
    QString line(const QStringList& cells, const QVector<int>& widths) const;

    QStringList m_headings;
    QVector<QStringList> m_rows;
};
