#include "DngPacket.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace ep {
namespace dng {
namespace {

const auto ourNamespace = QStringLiteral("urn:ep:mosaic:1");
const auto rdfNamespace = QStringLiteral("http://www.w3.org/1999/02/22-rdf-syntax-ns#");
const auto xmpNamespace = QStringLiteral("adobe:ns:meta/");

struct NumberField {
    const char* name;
    qint32 (*get)(const SxImageInfo&);
    void (*set)(SxImageInfo&, qint32);
};

/** The fields of the record that the packet holds. */
const NumberField numberFields[] = {
    {"width", [](const SxImageInfo& i) { return i.width; }, [](SxImageInfo& i, qint32 v) { i.width = v; }},
    {"height", [](const SxImageInfo& i) { return i.height; }, [](SxImageInfo& i, qint32 v) { i.height = v; }},
    {"sampleType", [](const SxImageInfo& i) { return qint32(i.dataType); },
     [](SxImageInfo& i, qint32 v) { i.dataType = static_cast<ExImageDataType>(v); }},
    {"bitDepth", [](const SxImageInfo& i) { return i.bitDepth; }, [](SxImageInfo& i, qint32 v) { i.bitDepth = v; }},
    {"bayerGrid", [](const SxImageInfo& i) { return qint32(i.bayerGrid); },
     [](SxImageInfo& i, qint32 v) { i.bayerGrid = static_cast<ExBayerGrid>(v); }},
};

bool readNumbers(const QXmlStreamAttributes& attributes, SxImageInfo& image)
{
    for (const NumberField& field : numberFields) {
        bool isNumber = false;
        const qint32 value = attributes.value(ourNamespace, QLatin1String(field.name)).toInt(&isNumber);
        if (!isNumber)
            return false;
        field.set(image, value);
    }
    return true;
}

}  // namespace

QByteArray writeDngPacket(const SxImageInfo& image, const CxMetadata& metadata)
{
    QByteArray packet = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n";
    QXmlStreamWriter writer(&packet);
    writer.writeNamespace(xmpNamespace, QStringLiteral("x"));
    writer.writeStartElement(xmpNamespace, QStringLiteral("xmpmeta"));
    writer.writeNamespace(rdfNamespace, QStringLiteral("rdf"));
    writer.writeStartElement(rdfNamespace, QStringLiteral("RDF"));
    writer.writeNamespace(ourNamespace, QStringLiteral("ep"));
    writer.writeStartElement(rdfNamespace, QStringLiteral("Description"));
    writer.writeAttribute(rdfNamespace, QStringLiteral("about"), QString());
    for (const NumberField& field : numberFields)
        writer.writeAttribute(ourNamespace, QLatin1String(field.name), QString::number(field.get(image)));
    writer.writeTextElement(ourNamespace, QStringLiteral("metadata"), metadata.saveToXml(-1));
    writer.writeEndDocument();
    return packet + "\n<?xpacket end=\"w\"?>";
}

bool readDngPacket(const QByteArray& xmp, DngPacket& packet)
{
    packet = DngPacket();
    // The packet's own frame is not XML of the document; other programs pad it with white space or NULs.
    const int begin = xmp.indexOf("<x:xmpmeta");
    const int end = xmp.lastIndexOf('>');
    if (begin < 0 || end < begin)
        return false;
    QXmlStreamReader reader(xmp.mid(begin, end + 1 - begin));
    bool hasNumbers = false;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.namespaceUri() == rdfNamespace && reader.name() == QLatin1String("Description"))
            hasNumbers = readNumbers(reader.attributes(), packet.image) || hasNumbers;
        if (reader.namespaceUri() == ourNamespace && reader.name() == QLatin1String("metadata")) {
            // Items stay although one of them may be incomplete.
            packet.metadata.loadFromXml(reader.readElementText());
            return hasNumbers;
        }
    }
    packet = DngPacket();
    return false;
}

bool belongsTo(const DngPacket& packet, const SxImageInfo& image)
{
    return packet.image.width == image.width && packet.image.height == image.height
           && packet.image.bayerGrid == image.bayerGrid;
}

}  // namespace dng
}  // namespace ep
