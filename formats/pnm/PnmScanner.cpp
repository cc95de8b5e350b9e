#include "PnmScanner.h"

#include <QtGlobal>

#include <cstring>

namespace ep {
namespace pnm {
namespace {

constexpr int bufferBytes = 64 * 1024;
constexpr int longestLine = 64 * 1024;
constexpr int longestWord = 64;
constexpr int longestQuote = 16;
constexpr qint64 mostCommentBytes = 64 * 1024 * 1024;

bool isDigit(int byte)
{
    return byte >= '0' && byte <= '9';
}

}  // namespace

PnmScanner::PnmScanner(QIODevice& device)
    : m_device(device), m_buffer(bufferBytes), m_next(m_buffer.data()), m_end(m_buffer.data()),
      m_unread(qMax<qint64>(0, device.size() - device.pos()))
{
}

bool PnmScanner::fill()
{
    const qint64 count = m_device.read(m_buffer.data(), bufferBytes);
    m_next = m_buffer.data();
    m_end = m_next + qMax<qint64>(0, count);
    m_unread = count > 0 ? qMax<qint64>(0, m_unread - count) : 0;
    return count > 0;
}

int PnmScanner::skipBlanks()
{
    for (;;) {
        const int byte = peek();
        if (byte == '#')
            skipComment();
        else if (isBlank(byte))
            skip();
        else
            return byte;
    }
}

void PnmScanner::skipSeparator()
{
    const int byte = peek();
    if (byte == '#') {
        skipComment();
        if (peek() != -1)
            skip();
    } else if (isBlank(byte)) {
        skip();
    }
}

void PnmScanner::skipComment()
{
    skip();
    keepComment(bytesUpToLineEnd());
}

QByteArray PnmScanner::bytesUpToLineEnd()
{
    QByteArray text;
    for (int byte = peek(); byte != -1 && byte != '\n' && byte != '\r'; byte = peek()) {
        if (text.size() < longestLine)
            text.append(static_cast<char>(byte));
        skip();
    }
    return text;
}

void PnmScanner::keepComment(const QByteArray& text)
{
    m_commentBytes += text.size();
    if (m_commentBytes <= mostCommentBytes)
        m_comments.append(text);
}

qint64 PnmScanner::number(qint64 limit)
{
    int byte = skipBlanks();
    if (!isDigit(byte))
        return -1;
    qint64 value = 0;
    for (; isDigit(byte); byte = peek()) {
        value = qMin(value * 10 + (byte - '0'), limit + 1);
        skip();
    }
    return isBlank(byte) || byte == '#' || byte == -1 ? value : -1;
}

QByteArray PnmScanner::word()
{
    QByteArray text;
    for (int byte = skipBlanks(); byte != -1 && !isBlank(byte) && text.size() < longestWord; byte = peek()) {
        text.append(static_cast<char>(byte));
        skip();
    }
    return text;
}

QByteArray PnmScanner::line()
{
    while (peek() != -1) {
        const QByteArray text = bytesUpToLineEnd();
        const bool carriageReturn = peek() == '\r';
        if (peek() != -1)
            skip();
        if (carriageReturn && peek() == '\n')
            skip();
        if (!text.startsWith('#'))
            return text;
        keepComment(text.mid(1));
    }
    return QByteArray();
}

QString PnmScanner::quoteNext()
{
    if (skipBlanks() == -1)
        return QStringLiteral("the end of the file");
    QString text;
    int count = 0;
    for (int byte = peek(); byte != -1 && !isBlank(byte) && count < longestQuote; byte = peek(), ++count) {
        if (byte > ' ' && byte < 0x7f)
            text += QLatin1Char(static_cast<char>(byte));
        else
            text += QStringLiteral("\\x%1").arg(byte, 2, 16, QLatin1Char('0'));
        skip();
    }
    return QStringLiteral("\"%1\"").arg(text);
}

bool PnmScanner::read(void* destination, qint64 bytes)
{
    auto* target = static_cast<char*>(destination);
    while (bytes > 0) {
        if (m_next == m_end && bytes < bufferBytes && !fill())
            return false;
        qint64 count = qMin<qint64>(bytes, m_end - m_next);
        if (count > 0) {
            std::memcpy(target, m_next, static_cast<size_t>(count));
            m_next += count;
        } else {
            // Long rows go straight to their place.
            count = m_device.read(target, bytes);
            if (count <= 0)
                return false;
            m_unread = qMax<qint64>(0, m_unread - count);
        }
        target += count;
        bytes -= count;
    }
    return true;
}

}  // namespace pnm
}  // namespace ep
