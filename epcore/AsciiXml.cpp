#include "AsciiXml.h"

#include <algorithm>

namespace ep {

namespace {

bool isNameStart(ushort c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

bool isAsciiName(const QString& name)
{
    return !name.isEmpty() && isNameStart(name.at(0).unicode())
           && std::all_of(name.cbegin(), name.cend(), [](QChar character) {
                  const ushort c = character.unicode();
                  return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
              });
}

bool isAscii(const QString& text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
}

}  // namespace

uint xmlCodePointAt(QStringView text, int& index)
{
    const QChar c = text[index];
    if (c.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate())
        return QChar::surrogateToUcs4(c, text[++index]);
    const ushort unit = c.unicode();
    const bool isHeld = unit == '\t' || unit == '\n' || unit == '\r' || (unit >= 0x20 && unit < 0xFFFE);
    return isHeld && !c.isSurrogate() ? unit : static_cast<uint>(QChar::ReplacementCharacter);
}

void AsciiXml::startElement(const QString& elementName, const XmlAttributes& attributes)
{
    finishTag();
    m_xml += QLatin1Char('<');
    name(elementName);
    for (const auto& attribute : attributes) {
        m_xml += QLatin1Char(' ');
        name(attribute.first);
        m_xml += QLatin1String("=\"");
        escape(attribute.second, true);
        m_xml += QLatin1Char('"');
    }
    m_tagOpen = true;
}

void AsciiXml::endElement(const QString& elementName)
{
    if (m_tagOpen) {
        m_xml += QLatin1String("/>");
        m_tagOpen = false;
        return;
    }
    m_xml += QLatin1String("</");
    name(elementName);
    m_xml += QLatin1Char('>');
}

void AsciiXml::text(QStringView text)
{
    if (text.isEmpty())
        return;
    finishTag();
    escape(text, false);
}

void AsciiXml::comment(const QString& text)
{
    finishTag();
    // References mean nothing within a comment.
    QString ascii = text;
    for (QChar& c : ascii)
        if (c.unicode() >= 0x80)
            c = QLatin1Char('?');
    m_xml += QLatin1String("<!--") + ascii + QLatin1String("-->");
}

void AsciiXml::instruction(const QString& target, const QString& data)
{
    finishTag();
    if (!isAscii(target + data))
        return reject();
    m_xml += QLatin1String("<?") + target;
    if (!data.isEmpty())
        m_xml += QLatin1Char(' ') + data;
    m_xml += QLatin1String("?>");
}

void AsciiXml::verbatim(const QString& xml)
{
    finishTag();
    m_xml += xml;
}

void AsciiXml::newLine(int level)
{
    if (m_indent < 0)
        return;
    finishTag();
    m_xml += QLatin1Char('\n') + QString(level * m_indent, QLatin1Char(' '));
}

void AsciiXml::name(const QString& name)
{
    if (!isAsciiName(name))
        reject();
    m_xml += name;
}

void AsciiXml::escape(QStringView text, bool inAttribute)
{
    for (int i = 0; i < text.size(); ++i) {
        const uint c = xmlCodePointAt(text, i);
        // A parser turns \r into \n, and \n and \t in an attribute into blanks, unless they are references.
        const bool isPlain = (c >= 0x20 && c < 0x7F) || (!inAttribute && (c == '\n' || c == '\t'));
        if (c == '&')
            m_xml += QLatin1String("&amp;");
        else if (c == '<')
            m_xml += QLatin1String("&lt;");
        else if (c == '>')
            m_xml += QLatin1String("&gt;");
        else if (c == '"')
            m_xml += QLatin1String("&quot;");
        else if (isPlain)
            m_xml += QChar(static_cast<ushort>(c));
        else
            m_xml += QLatin1String("&#") + QString::number(c) + QLatin1Char(';');
    }
}

void AsciiXml::finishTag()
{
    if (m_tagOpen)
        m_xml += QLatin1Char('>');
    m_tagOpen = false;
}

}  // namespace ep
