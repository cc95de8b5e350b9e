#include "MetadataXml.h"

#include <QDomDocument>
#include <QDomElement>
#include <QXmlStreamReader>

#include <algorithm>
#include <iterator>

namespace ep {

namespace {

/** In the order of their names: the DOM keeps attributes in an order that changes from run to run. */
XmlAttributes sortedAttributes(const QDomElement& element)
{
    XmlAttributes sorted;
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.count(); ++i)
        sorted.append({attributes.item(i).nodeName(), attributes.item(i).nodeValue()});
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

bool isWhiteSpace(const QDomNode& node)
{
    return node.isText() && node.nodeValue().trimmed().isEmpty();
}

/** Drops the white space that only sets the child elements of @p element apart. */
void dropFormatting(QDomElement& element)
{
    if (element.firstChildElement().isNull())
        return;
    for (QDomNode node = element.firstChild(); !node.isNull();) {
        const QDomNode next = node.nextSibling();
        if (isWhiteSpace(node))
            element.removeChild(node);
        node = next;
    }
}

/** An element without its children. */
QDomElement readDomTag(const QXmlStreamReader& reader, QDomDocument& doc)
{
    QDomElement element = doc.createElement(reader.qualifiedName().toString());
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const QXmlStreamAttribute& attribute : attributes)
        element.setAttribute(attribute.qualifiedName().toString(), attribute.value().toString());
    return element;
}

/** Where the tag that starts at @p start ends; -1 when it does not or has too many attributes. */
int endOfTag(const QString& xml, int start)
{
    constexpr int quotesPerAttribute = 2;
    int quotes = 0;
    QChar open;
    for (int i = start; i < xml.size(); ++i) {
        const QChar c = xml.at(i);
        if (open.isNull() && c == QLatin1Char('>'))
            return quotes <= quotesPerAttribute * maxMetadataAttributes ? i : -1;
        if (!open.isNull() ? c == open : c == QLatin1Char('"') || c == QLatin1Char('\'')) {
            open = open.isNull() ? c : QChar();
            ++quotes;
        }
    }
    return -1;
}

/** True when no element has too many attributes, as far as the text is well-formed. */
bool hasModestTags(const QString& xml)
{
    constexpr struct {
        const char* begin;
        const char* end;
    } passedOver[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

    for (int i = xml.indexOf(QLatin1Char('<')); i >= 0; i = xml.indexOf(QLatin1Char('<'), i)) {
        const QStringView rest = QStringView(xml).mid(i);
        const auto* found = std::find_if(std::begin(passedOver), std::end(passedOver),
                                         [&](const auto& part) { return rest.startsWith(QLatin1String(part.begin)); });
        i = found != std::end(passedOver) ? xml.indexOf(QLatin1String(found->end), i) : endOfTag(xml, i);
        if (i < 0)
            return false;
    }
    return true;
}

}  // namespace

void startMetadataXml(QXmlStreamReader& reader, const QString& xml)
{
    // Prefixes are kept as they stand; declaring them is the business of whoever gave them a meaning.
    reader.setNamespaceProcessing(false);
    reader.addData(xml);
}

bool isSoundMetadataXml(const QString& xml)
{
    if (xml.size() > maxMetadataCharacters || !hasModestTags(xml))
        return false;
    QXmlStreamReader reader;
    startMetadataXml(reader, xml);
    int depth = 0;
    int elements = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::DTD: return false;
        case QXmlStreamReader::StartElement:
            if (depth == 0 && reader.qualifiedName() != QLatin1String(metadataRootTag))
                return false;
            if (++depth > maxMetadataDepth || ++elements > maxMetadataElements)
                return false;
            break;
        case QXmlStreamReader::EndElement: --depth; break;
        default: break;
        }
    }
    return !reader.hasError();
}

QDomElement readDomElement(QXmlStreamReader& reader, QDomDocument& doc)
{
    const QDomElement root = readDomTag(reader, doc);
    QDomElement current = root;
    while (!current.isNull() && !reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement: {
            const QDomElement child = readDomTag(reader, doc);
            current.appendChild(child);
            current = child;
            break;
        }
        case QXmlStreamReader::EndElement:
            dropFormatting(current);
            current = current.parentNode().toElement();
            break;
        case QXmlStreamReader::Characters:
            if (current.lastChild().isText())  // the reader hands out long text in several pieces
                current.lastChild().toText().appendData(reader.text().toString());
            else
                current.appendChild(doc.createTextNode(reader.text().toString()));
            break;
        default: break;
        }
    }
    return root;
}

AsciiXml readVerbatimElement(QXmlStreamReader& reader)
{
    AsciiXml xml;
    int depth = 0;
    do {
        switch (reader.tokenType()) {
        case QXmlStreamReader::StartElement: {
            XmlAttributes attributes;
            const QXmlStreamAttributes found = reader.attributes();
            for (const QXmlStreamAttribute& attribute : found)
                attributes.append({attribute.qualifiedName().toString(), attribute.value().toString()});
            xml.startElement(reader.qualifiedName().toString(), attributes);
            ++depth;
            break;
        }
        case QXmlStreamReader::EndElement:
            xml.endElement(reader.qualifiedName().toString());
            --depth;
            break;
        case QXmlStreamReader::Characters: xml.text(reader.text()); break;
        case QXmlStreamReader::Comment: xml.comment(reader.text().toString()); break;
        case QXmlStreamReader::ProcessingInstruction:
            xml.instruction(reader.processingInstructionTarget().toString(),
                            reader.processingInstructionData().toString());
            break;
        default: break;
        }
        if (depth > 0)
            reader.readNext();
    } while (depth > 0 && !reader.atEnd());
    return xml;
}

void writeDomElement(const QDomElement& element, int level, AsciiXml& xml)
{
    if (level >= maxMetadataDepth)
        return xml.reject();
    xml.startElement(element.tagName(), sortedAttributes(element));
    bool hasText = false;
    for (QDomNode node = element.firstChild(); !node.isNull(); node = node.nextSibling())
        hasText = hasText || node.isText();
    for (QDomNode node = element.firstChild(); !node.isNull() && xml.isSound(); node = node.nextSibling()) {
        if (node.isText())
            xml.text(node.nodeValue());
        if (!node.isElement())
            continue;
        if (!hasText)
            xml.newLine(level + 1);
        writeDomElement(node.toElement(), level + 1, xml);
    }
    if (!hasText && !element.firstChildElement().isNull())
        xml.newLine(level);
    xml.endElement(element.tagName());
}

}  // namespace ep
