/**
 * @file
 * The header of one unit of a FITS file.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QByteArray>
#include <QHash>
#include <QIODevice>
#include <QSet>
#include <QString>
#include <QVector>

namespace ep {
namespace fits {

/** FITS files consist of blocks of this size. */
constexpr qint64 blockBytes = 2880;
/** Bytes of one line of a header. */
constexpr int cardBytes = 80;

/** @p bytes rounded up to whole blocks. */
constexpr qint64 wholeBlocks(qint64 bytes)
{
    return (bytes + blockBytes - 1) / blockBytes * blockBytes;
}

/** One keyword with its value, or one line of remarks. */
struct FitsCard {
    QByteArray name;  ///< keyword; "COMMENT", "HISTORY" or empty for remarks
    QByteArray text;  ///< the value as it stands there, strings without their quotes
    bool isString = false;
};

/**
 * The keywords of a header, read without cfitsio: a header has to be judged before cfitsio sees it, because some (a
 * tile of no pixels) end the process there.
 */
class FitsHeader {
public:
    /** Reads the header that begins at byte @p offset of @p device; false, with the reason in @p error, when there is
     * none. */
    static bool read(QIODevice& device, qint64 offset, FitsHeader& header, SxFileError& error);

    /** Every card in its order, without the one that ends the header. */
    const QVector<FitsCard>& cards() const { return m_cards; }
    /** Bytes up to the data, in whole blocks. */
    qint64 bytes() const { return m_bytes; }

    bool has(const QByteArray& name) const { return m_index.contains(name); }
    /**
     * True when other readers may take another value than this one for a keyword that begins with @p stem: it stands
     * there more than once, in small letters, in the long form, or not in its columns.
     */
    bool isUnclear(const QByteArray& stem) const;
    /** The value of keyword @p name; empty when there is none. */
    QByteArray text(const QByteArray& name) const;
    /** The value as a finite number; false when there is none. */
    bool number(const QByteArray& name, double& value) const;
    /** The value as an integer, or @p missing when it is none. */
    qint64 integer(const QByteArray& name, qint64 missing) const;
    /** The value as a count of things; -1 when it is none, or @p missing without the keyword. */
    qint64 count(const QByteArray& name, qint64 missing) const { return integer(name, has(name) ? -1 : missing); }
    /** True for a logical value that is not F: some readers take numbers for T. */
    bool isTrue(const QByteArray& name) const { return has(name) && text(name) != "F"; }

private:
    void take(const QByteArray& card);

    QVector<FitsCard> m_cards;
    QHash<QByteArray, int> m_index;  // the first card of a name counts
    QSet<QByteArray> m_unclear;
    qint64 m_bytes = 0;
};

}  // namespace fits
}  // namespace ep
