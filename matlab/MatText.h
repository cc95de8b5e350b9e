/**
 * @file
 * Text in the shape in which matio takes it.
 */
#pragma once

#include <QByteArray>
#include <QString>

namespace orn {
namespace matlab {

/**
 * The UTF-8 bytes of a text for a char variable of one column per byte.
 *
 * matio walks such a variable by characters, one per column, so with non-ASCII text it reads past the bytes that the
 * columns count. The bytes are therefore followed by zeros as far as that walk can reach:
 * @verbatim
 *    "aé"   columns 3   a C3 A9 | 00 00 ...      matio takes the characters a, é, NUL: 4 bytes
 * @endverbatim
 */
class MatText {
public:
    explicit MatText(const QString& text);

    qint64 columns() const { return m_columns; }          ///< bytes of the text itself
    qint64 storedBytes() const { return m_storedBytes; }  ///< bytes that matio stores for it
    const char* data() const { return m_bytes.constData(); }

private:
    QByteArray m_bytes;
    qint64 m_columns;
    qint64 m_storedBytes;
};

}  // namespace matlab
}  // namespace orn
