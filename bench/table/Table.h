/**
 * @file
 * What the programs of the table share: a row measures a piece of work and those that it is compared with in turns, so
 * that whatever else the machine does meets all of them.
 */
#pragma once

#include "AgainstMemcpy.h"

#include <QCoreApplication>
#include <QSize>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace benching {

/** One of those that take part in a row. */
struct Contestant {
    const char* name;                ///< as bench.py knows it; the work of this project is "ours"
    std::function<double()> figure;  ///< does the work once and says what it took, mostly seconds
};

/** Work whose seconds are its figure. */
template <typename Work>
std::function<double()> timed(Work work)
{
    return [work] { return secondsOf(work); };
}

/** Ends the program when what is to be measured does not work: a failure must not look fast. */
inline void require(bool isDone, const char* what)
{
    if (!isDone)
        qFatal("%s failed", what);
}

/**
 * The rows of one program, and what its command line asks for:
 * @verbatim
 *   PROGRAM [--list] [--rounds N] [--megapixels N] [--alone] [ROW ...]
 *
 *   --list         print the names of the rows and measure nothing
 *   --rounds       how often each contestant has its turn, after one turn that does not count
 *   --megapixels   size of the images, 24 unless told
 *   --alone        measure "ours" and nobody else
 * @endverbatim
 * Each measured row is printed as a line of JSON: {"row": NAME, "figures": {CONTESTANT: [FIGURE, ...], ...}}.
 */
class Table {
public:
    Table(int& argc, char** argv);

    /** Calls @p measure, which makes what is needed and calls inTurns(), when the row is asked for. */
    void row(const QString& name, const std::function<void()>& measure);

    /** Measures the contestants of the current row, the first of which is "ours", and prints it. */
    void inTurns(const std::vector<Contestant>& contestants) const;

    /** Size of the images, in the proportion 3 : 2. */
    QSize size() const { return m_size; }

private:
    QCoreApplication m_application;
    QString m_row;
    QStringList m_wanted;
    QSize m_size;
    int m_rounds = 15;
    bool m_isList = false;
    bool m_isAlone = false;
};

/** An image of the size of @p table. */
inline ep::CxScopedBuffer makeImage(const Table& table, ep::ExImageDataType type, int channels = 1,
                                    ep::ExImageLayout layout = ep::LayoutPacked)
{
    return makeImage(type, table.size().width(), table.size().height(), channels, layout);
}

/** A copy of the bytes of @p from into @p to, which is as large: the limit of all work that moves samples. */
inline std::function<double()> timedMemcpy(const ep::CxScopedBuffer& from, const ep::CxScopedBuffer& to)
{
    return timed([&from, &to] { std::memcpy(to->data, from->data, storageBytes(from.image())); });
}

}  // namespace benching
