/**
 * @file
 * Writing XML in pure ASCII.
 */
#pragma once

#include <QPair>
#include <QString>
#include <QStringView>
#include <QVector>

namespace ep {

using XmlAttributes = QVector<QPair<QString, QString>>;

/** The code point at @p index, which moves on to its last unit; U+FFFD for one that XML cannot hold. */
uint xmlCodePointAt(QStringView text, int& index);

/**
 * Builds XML text whose every character is ASCII: all else stands as numeric character references, and what XML cannot
 * hold at all (most control characters, half a surrogate pair) becomes U+FFFD. QXmlStreamWriter and QDomDocument do
 * neither.
 *
 * Adds no white space of its own but what newLine() asks for. A name cannot be written as references, so one outside
 * ASCII makes the text unsound.
 */
class AsciiXml {
public:
    /** @param indent spaces per level for newLine(); negative makes it do nothing */
    explicit AsciiXml(int indent = -1) : m_indent(indent) {}

    void startElement(const QString& name, const XmlAttributes& attributes = {});
    /** Ends the element started last, which was called @p name. */
    void endElement(const QString& name);
    void text(QStringView text);
    void comment(const QString& text);
    void instruction(const QString& target, const QString& data);
    /** Appends text that an AsciiXml has made. */
    void verbatim(const QString& xml);
    /** Starts a new line, indented for @p level. */
    void newLine(int level);

    /** False when something could not be written. */
    bool isSound() const { return m_sound; }
    /** Makes the text unsound. */
    void reject() { m_sound = false; }
    const QString& xml() const { return m_xml; }

private:
    void name(const QString& name);
    void escape(QStringView text, bool inAttribute);
    void finishTag();

    QString m_xml;
    int m_indent;
    bool m_tagOpen = false;  // "<name a="1"" still lacks its ">" or "/>"
    bool m_sound = true;
};

}  // namespace ep
