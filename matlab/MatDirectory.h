/**
 * @file
 * The variables of a MAT file, found in one pass.
 */
#pragma once

#include "Hdf5Lock.h"
#include "MatHandles.h"

#include <ep/SxFileError.h>

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVector>

#include <memory>
#include <vector>

namespace orn {
namespace matlab {

/** What the header of one variable says. */
struct MatEntry {
    QByteArray name;              ///< in Latin-1, as matio gives it
    QVector<quint64> dimensions;  ///< as many as its rank
    matio_classes matClass = MAT_C_EMPTY;
    bool isComplex = false;
    bool isLogical = false;
    MatVarHandle info;  ///< matio's own description, from which the data is read; null when none was kept

    bool isMatrix() const { return dimensions.size() == 2; }  ///< it has two dimensions
    /** Number of elements; negative when the product does not fit 63 bits. */
    qint64 elements() const;
};

/**
 * An open MAT file and the headers of its variables. The file is checked, opened and walked once; look-ups by name then
 * cost nothing, and data is read from where the walk found it, so that the cost of reading an image grows with the file
 * and not with the number of planes times the number of variables.
 */
class MatDirectory {
public:
    MatDirectory() = default;

    /**
     * Opens the file @p path and walks its headers.
     * @param readable prefixes of the names of variables whose data may be asked for. (A compressed variable keeps
     * 40 KB for it.) The first matrix of numbers can always be read.
     * @param memoryLimit most bytes that the descriptions of all variables may take, nested ones included
     * @param error    receives why there is no directory
     */
    bool open(const QString& path, const QList<QByteArray>& readable, qint64 memoryLimit, ep::SxFileError& error);

    const std::vector<MatEntry>& entries() const { return m_entries; }  ///< the variables in their order
    /** The first variable of that name; null when there is none. */
    MatEntry* find(const QString& name);
    /** The first two-dimensional dense numeric variable; null when there is none. */
    MatEntry* firstMatrix();
    /** The place of @p entry in entries(). */
    size_t indexOf(const MatEntry& entry) const { return static_cast<size_t>(&entry - m_entries.data()); }

    /**
     * Reads the data of @p entry, once: the description that is needed for it is given away with it.
     * @param limit most bytes that the data may take
     * @return the variable with its data, whose size is proved to be elements() times the size of one; null, with
     * @p error set, when the file does not hold it
     */
    MatVarHandle read(MatEntry& entry, qint64 limit, ep::SxFileError& error);
    /**
     * True when @p entry is an array of real numbers in an uncompressed version 5 file: any piece of it can be read at
     * the cost of that piece.
     */
    bool hasPieces(const MatEntry& entry) const;
    /**
     * Copies elements @p first to @p first + @p count - 1 of @p entry, for which hasPieces() is true, to @p target, in
     * its class. @p target is left as it was where the file has come to end earlier since it was opened.
     */
    bool readPiece(MatEntry& entry, qint64 first, qint64 count, void* target, ep::SxFileError& error);
    /**
     * Reads the char array @p entry, once, as read() does. 8-bit text is UTF-8 and ends with its first NUL: writers
     * disagree whether the dimensions count bytes or characters. Text in 16-bit units is UTF-16.
     */
    bool readText(MatEntry& entry, qint64 limit, QString& text);

    /** Why the system could not read a part of the file so far, an I/O error for example; empty when it could. */
    QString readFailure() const { return m_readFailure; }

private:
    template <typename Read>
    auto watched(Read&& read);
    MatVarHandle readData(MatEntry& entry, qint64 elementBytes, qint64 limit, ep::SxFileError& error);
    void add(MatVarHandle info, const QList<QByteArray>& readable);

    std::unique_ptr<Hdf5Lock> m_hdf5;  // before all that is released under it
    MatHandle m_mat;                   // before the entries: their descriptions may hold on to it
    std::vector<MatEntry> m_entries;
    QHash<QByteArray, size_t> m_byName;
    qint64 m_fileBytes = 0;
    QString m_readFailure;
    size_t m_firstMatrix = 0;
    bool m_hasMatrix = false;
};

}  // namespace matlab
}  // namespace orn
