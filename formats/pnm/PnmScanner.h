/**
 * @file
 * The bytes of a portable map, as numbers, lines, comments and raster rows.
 */
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QIODevice>
#include <QString>

#include <vector>

namespace ep {
namespace pnm {

/** True for the six bytes that separate the words of a header. */
inline bool isBlank(int byte)
{
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

/**
 * Reads an open, random-access device from its current position on. Comments ('#' up to the end of the line) are
 * collected on the way, up to 64 MiB of them. The device must outlive the scanner and is read by nobody else meanwhile.
 */
class PnmScanner {
public:
    explicit PnmScanner(QIODevice& device);

    /** The next byte; -1 at the end. */
    int peek() { return m_next != m_end || fill() ? static_cast<unsigned char>(*m_next) : -1; }
    /** Passes the byte that peek() gave. */
    void skip() { ++m_next; }
    /** Passes blanks and comments; gives peek(). */
    int skipBlanks();
    /** Passes the one blank, or the comment with its line end, that stands between a header and its raster. */
    void skipSeparator();

    /**
     * Reads a number of decimal digits after blanks and comments. A number past @p limit gives limit + 1.
     * @return -1 where no number stands, or one that runs into something else; quoteNext() then tells what
     */
    qint64 number(qint64 limit);
    /** Reads the bytes up to the next blank, after blanks and comments; at most 64. */
    QByteArray word();
    /** Reads up to the line end, which is passed; comment lines are collected and passed. At most 64 KiB are kept. */
    QByteArray line();
    /** What comes next, for people: a quoted piece of text or "the end of the file". Passes it. */
    QString quoteNext();

    /** Bytes between the next one and the end of the file. */
    qint64 remaining() const { return m_unread + (m_end - m_next); }
    /** Reads exactly @p bytes bytes; false when the file ends before. */
    bool read(void* destination, qint64 bytes);

    /** The comments so far, one line each, without the '#'. */
    const QByteArrayList& comments() const { return m_comments; }

private:
    bool fill();
    void skipComment();
    QByteArray bytesUpToLineEnd();
    void keepComment(const QByteArray& text);

    QIODevice& m_device;
    std::vector<char> m_buffer;
    const char* m_next;
    const char* m_end;
    qint64 m_unread;  // bytes of the device that are not in the buffer yet
    QByteArrayList m_comments;
    qint64 m_commentBytes = 0;
};

}  // namespace pnm
}  // namespace ep
