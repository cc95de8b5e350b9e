#include "CxCommonMetadataSaver.h"

#include "CommonMetadataFields.h"
#include "ExactText.h"

#include <QDomDocument>
#include <QDomElement>
#include <QLocale>

namespace ep {

namespace {

/** The shortest text that reads back as the same number. */
QString text(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString text(const QVector<double>& values)
{
    QStringList texts;
    for (double value : values)
        texts.append(text(value));
    return texts.join(QLatin1Char(' '));
}

/** Appends elements with one text node each. */
class ElementWriter {
public:
    ElementWriter(QDomDocument& doc, QDomElement& parent) : m_doc(doc), m_parent(parent) {}

    QDomElement write(const char* tag, const QString& value)
    {
        QDomElement child = m_doc.createElement(QLatin1String(tag));
        child.appendChild(m_doc.createTextNode(value));
        keepExactText(value, commonExactText, child);
        m_parent.appendChild(child);
        return child;
    }
    void writeAttribute(const QString& key, const QString& value)
    {
        QDomElement child = write(commonAttributeTag, value);
        child.setAttribute(QLatin1String(commonAttributeKey), key);
        keepExactText(key, commonExactKey, child);
    }
    void writeKnown(const char* tag, const QString& value)
    {
        if (!value.isEmpty())
            write(tag, value);
    }

private:
    QDomDocument& m_doc;
    QDomElement& m_parent;
};

}  // namespace

CxCommonMetadataSaver::CxCommonMetadataSaver() = default;

bool CxCommonMetadataSaver::save(QDomDocument& doc, QDomElement& element, IxMetadataItem* item)
{
    const auto* common = qobject_cast<CxCommonImageMetadata*>(item);
    if (!common)
        return false;
    ElementWriter writer(doc, element);
    for (const auto& field : commonLayoutFields)
        writer.write(field.tag, QString::number(common->*field.member));
    for (const auto& field : commonNumberFields)
        if (common->*field.member != 0)
            writer.write(field.tag, QString::number(common->*field.member));
    for (const auto& field : commonRealFields)
        if (common->*field.member != 0)
            writer.write(field.tag, text(common->*field.member));
    for (const auto& field : commonListFields)
        writer.writeKnown(field.tag, text(common->*field.member));
    for (const auto& field : commonTextFields)
        writer.writeKnown(field.tag, common->*field.member);
    if (common->captureTime.isValid())
        writer.write(commonCaptureTimeTag, common->captureTime.toString(Qt::ISODateWithMs));
    for (auto it = common->attributes.cbegin(); it != common->attributes.cend(); ++it)
        writer.writeAttribute(it.key(), it.value());
    return true;
}

QStringList CxCommonMetadataSaver::supportedClasses() const
{
    return {QLatin1String(CxCommonImageMetadata::staticMetaObject.className())};
}

}  // namespace ep
