#include "FitsHeader.h"

#include <cmath>

namespace ep {
namespace fits {
namespace {

constexpr qint64 longestHeader = 64 << 20;
constexpr int nameBytes = 8;

QByteArray withoutTrailingBlanks(QByteArray text)
{
    while (text.endsWith(' '))
        text.chop(1);
    return text;
}

/** The word that some reader may take for the keyword of @p line, wherever and however it stands there. */
QByteArray looseName(const QByteArray& line)
{
    const QByteArray longForm = "HIERARCH ";
    QByteArray text = line.trimmed().toUpper();
    if (text.startsWith(longForm))
        text = text.mid(longForm.size()).trimmed();
    int length = 0;
    while (length < text.size() && text[length] > ' ' && text[length] != '=')
        ++length;
    return text.left(length);
}

/** Sets text and kind of @p card from what follows the "=" of a header line. */
void takeValue(const QByteArray& field, FitsCard& card)
{
    const QByteArray value = field.trimmed();
    card.isString = value.startsWith('\'');
    if (!card.isString) {
        const int remark = value.indexOf('/');
        card.text = (remark < 0 ? value : value.left(remark)).trimmed();
        return;
    }
    QByteArray text;
    for (int i = 1; i < value.size(); ++i) {
        if (value[i] == '\'' && (i + 1 == value.size() || value[i + 1] != '\''))
            break;
        if (value[i] == '\'')
            ++i;
        text += value[i];
    }
    card.text = withoutTrailingBlanks(text);
}

}  // namespace

bool FitsHeader::read(QIODevice& device, qint64 offset, FitsHeader& header, SxFileError& error)
{
    header = FitsHeader();
    if (!device.seek(offset)) {
        error = {ExFileError::Unreadable, device.errorString()};
        return false;
    }
    while (header.m_bytes < longestHeader) {
        const QByteArray block = device.read(blockBytes);
        if (block.size() < blockBytes) {
            error = {ExFileError::Unreadable, QStringLiteral("the file ends inside a header")};
            return false;
        }
        header.m_bytes += blockBytes;
        for (int at = 0; at < blockBytes; at += cardBytes) {
            const QByteArray card = block.mid(at, cardBytes);
            if (looseName(card.left(nameBytes)) != "END") {
                header.take(card);
                continue;
            }
            if (card.trimmed() == "END")
                return true;
            // For some readers the header ends here, and for others it does not.
            error = {ExFileError::Unreadable, QStringLiteral("the end of a header is not clear")};
            return false;
        }
    }
    error = {ExFileError::Unreadable, QStringLiteral("a header does not end within 64 MiB")};
    return false;
}

void FitsHeader::take(const QByteArray& line)
{
    const QByteArray loose = looseName(line);
    if (!line.startsWith(loose.leftJustified(nameBytes) + "= ") || m_index.contains(loose))
        m_unclear.insert(loose);
    FitsCard card;
    card.name = line.left(nameBytes).trimmed();
    const int equals = line.indexOf('=');
    if (card.name == "CONTINUE") {
        takeValue(line.mid(nameBytes), card);
        if (!m_cards.isEmpty() && m_cards.last().isString && m_cards.last().text.endsWith('&')) {
            m_cards.last().text.chop(1);
            m_cards.last().text += card.text;
        }
        return;
    }
    if (card.name == "HIERARCH" && equals > nameBytes) {
        card.name = line.mid(nameBytes, equals - nameBytes).trimmed();
        takeValue(line.mid(equals + 1), card);
    } else if (line[nameBytes] == '=' && line[nameBytes + 1] == ' ' && !card.name.isEmpty()) {
        takeValue(line.mid(nameBytes + 1), card);
    } else if (card.name == "COMMENT" || card.name == "HISTORY") {
        card.text = withoutTrailingBlanks(line.mid(nameBytes));
        m_cards.append(card);
        return;
    } else {
        return;
    }
    if (!m_index.contains(card.name))
        m_index.insert(card.name, m_cards.size());
    m_cards.append(card);
}

bool FitsHeader::isUnclear(const QByteArray& stem) const
{
    for (const QByteArray& name : m_unclear)
        if (name.startsWith(stem))
            return true;
    return false;
}

QByteArray FitsHeader::text(const QByteArray& name) const
{
    const auto found = m_index.constFind(name);
    return found == m_index.constEnd() ? QByteArray() : m_cards[*found].text;
}

bool FitsHeader::number(const QByteArray& name, double& value) const
{
    bool isNumber = false;
    const double found = text(name).replace('D', 'E').toDouble(&isNumber);
    if (!isNumber || !std::isfinite(found))
        return false;
    value = found;
    return true;
}

qint64 FitsHeader::integer(const QByteArray& name, qint64 missing) const
{
    const auto card = m_index.constFind(name);
    if (card == m_index.constEnd() || m_cards[*card].isString)
        return missing;
    bool isNumber = false;
    const qint64 found = m_cards[*card].text.toLongLong(&isNumber);
    return isNumber ? found : missing;
}

}  // namespace fits
}  // namespace ep
