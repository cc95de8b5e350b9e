#include <ep/CxMetadata.h>

#include <ep/IxMetadataItem.h>
#include <ep/IxMetadataLoader.h>
#include <ep/IxMetadataSaver.h>

#include "CxOpaqueMetadataItem.h"
#include "MetadataServers.h"
#include "MetadataXml.h"

#include <QDomDocument>
#include <QDomElement>
#include <QXmlStreamReader>

namespace ep {

namespace {

/** Turns the elements of one text into items. */
class ItemReader {
public:
    ItemReader() : m_loaders(QStringLiteral("IxMetadataLoader"))
    {
        const QList<const QMetaObject*> classes = CxRtti::instance()->classes(QStringLiteral("IxMetadata"));
        for (const QMetaObject* metaObject : classes) {
            const QString name = QString::fromLatin1(metaObject->className());
            if (!m_classes.contains(name))
                m_classes.insert(name, metaObject);
        }
    }

    /** The item of the element at whose start @p reader stands; @p ok becomes false when its loader says so. */
    std::unique_ptr<IxMetadataItem> read(QXmlStreamReader& reader, bool& ok) const
    {
        QString className;
        if (reader.qualifiedName() == QLatin1String(metadataItemTag))
            className = reader.attributes().value(QLatin1String(metadataClassAttribute)).toString();
        IxMetadataLoader* loader = m_loaders.find(className);
        std::unique_ptr<IxMetadataItem> item = loader ? create(className) : nullptr;
        if (!item) {
            const AsciiXml xml = readVerbatimElement(reader);
            return std::make_unique<CxOpaqueMetadataItem>(xml.isSound() ? xml.xml() : QString());
        }
        QDomDocument doc;
        const QDomElement element = readDomElement(reader, doc);
        ok = loader->load(element, item.get()) && ok;
        return item;
    }

private:
    std::unique_ptr<IxMetadataItem> create(const QString& className) const
    {
        const QMetaObject* metaObject = m_classes.value(className);
        std::unique_ptr<QObject> object(metaObject ? metaObject->newInstance() : nullptr);
        std::unique_ptr<IxMetadataItem> item(qobject_cast<IxMetadataItem*>(object.get()));
        if (item)
            object.release();
        return item;
    }

    MetadataServers<IxMetadataLoader> m_loaders;
    QHash<QString, const QMetaObject*> m_classes;
};

/** The element of @p item with the contents that @p saver gives it; unsound when it cannot be written. */
AsciiXml itemXml(IxMetadataSaver& saver, IxMetadataItem& item, int indent)
{
    QDomDocument doc;
    QDomElement element = doc.createElement(QLatin1String(metadataItemTag));
    doc.appendChild(element);
    const bool saved = saver.save(doc, element, &item);
    element.setAttribute(QLatin1String(metadataClassAttribute), QLatin1String(item.metaObject()->className()));
    AsciiXml xml(indent);
    if (saved)
        writeDomElement(element, 1, xml);
    else
        xml.reject();
    return xml;
}

/** Keeps a text within what can be read again. */
class TextLimit {
public:
    /** True when the text, of @p size characters by now, can take @p element, which counts from then on. */
    bool admits(int size, const QString& element)
    {
        constexpr int roomForEnd = 1024;
        const int elements = m_elements + element.count(QLatin1Char('<')) - element.count(QLatin1String("</"));
        if (size + element.size() > maxMetadataCharacters - roomForEnd || elements > maxMetadataElements)
            return false;
        m_elements = elements;
        return true;
    }

private:
    int m_elements = 1;
};

}  // namespace

CxMetadata::CxMetadata() = default;

CxMetadata::~CxMetadata() = default;

CxMetadata::CxMetadata(const CxMetadata& other)
{
    m_items.reserve(other.m_items.size());
    for (const auto& item : other.m_items)
        addMetadata(item->clone());
}

CxMetadata& CxMetadata::operator=(const CxMetadata& other)
{
    CxMetadata copy(other);
    m_items.swap(copy.m_items);
    return *this;
}

CxMetadata::CxMetadata(CxMetadata&& other) noexcept : m_items(std::move(other.m_items)) {}

CxMetadata& CxMetadata::operator=(CxMetadata&& other) noexcept
{
    m_items.swap(other.m_items);
    if (this != &other)
        other.m_items.clear();
    return *this;
}

bool CxMetadata::isEmpty() const
{
    return m_items.empty();
}

QList<IxMetadataItem*> CxMetadata::items() const
{
    QList<IxMetadataItem*> items;
    for (const auto& item : m_items)
        items.append(item.get());
    return items;
}

IxMetadataItem* CxMetadata::findItem(const QMetaObject& type) const
{
    for (const auto& item : m_items)
        if (type.cast(item.get()))
            return item.get();
    return nullptr;
}

void CxMetadata::addMetadata(IxMetadataItem* item)
{
    std::unique_ptr<IxMetadataItem> owned(item);  // also when there is no memory for one more
    if (owned)
        m_items.push_back(std::move(owned));
}

void CxMetadata::clear()
{
    m_items.clear();
}

QString CxMetadata::saveToXml(int indent) const
{
    const MetadataServers<IxMetadataSaver> savers(QStringLiteral("IxMetadataSaver"));
    const QString root = QLatin1String(metadataRootTag);
    AsciiXml xml(indent);
    xml.startElement(root);
    TextLimit limit;
    bool isEmpty = true;
    for (const auto& item : m_items) {
        QString element;
        if (const auto* opaque = qobject_cast<CxOpaqueMetadataItem*>(item.get())) {
            element = opaque->xml();
        } else if (auto* saver = savers.find(QLatin1String(item->metaObject()->className()))) {
            const AsciiXml written = itemXml(*saver, *item, indent);
            element = written.isSound() ? written.xml() : QString();
        }
        if (element.isEmpty() || !limit.admits(xml.xml().size(), element))
            continue;
        isEmpty = false;
        xml.newLine(1);
        xml.verbatim(element);
    }
    if (!isEmpty)
        xml.newLine(0);
    xml.endElement(root);
    xml.newLine(0);
    return xml.xml();
}

bool CxMetadata::loadFromXml(const QString& xml)
{
    clear();
    if (!isSoundMetadataXml(xml))
        return false;
    const ItemReader items;
    QXmlStreamReader reader;
    startMetadataXml(reader, xml);
    reader.readNextStartElement();
    bool ok = true;
    while (reader.readNextStartElement())
        m_items.push_back(items.read(reader, ok));
    return ok;
}

}  // namespace ep
