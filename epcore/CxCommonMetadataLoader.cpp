#include "CxCommonMetadataLoader.h"

#include "CommonMetadataFields.h"
#include "ExactText.h"

#include <QDomElement>
#include <QHash>

namespace ep {

namespace {

// Each reads one text into one member and leaves the member alone when the text is not such a value.

void read(const QString& text, qint32& value)
{
    bool ok = false;
    const qint32 number = text.trimmed().toInt(&ok);
    if (ok)
        value = number;
}

void read(const QString& text, double& value)
{
    bool ok = false;
    const double number = text.trimmed().toDouble(&ok);
    if (ok)
        value = number;
}

void read(const QString& text, QVector<double>& values)
{
    QVector<double> numbers;
    const QStringList words = text.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& word : words) {
        bool ok = false;
        numbers.append(word.toDouble(&ok));
        if (!ok)
            return;
    }
    values = numbers;
}

void read(const QString& text, QString& value)
{
    value = text;
}

void read(const QString& text, QDateTime& value)
{
    const QDateTime time = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
    if (time.isValid())
        value = time;
}

/** The child elements' texts by tag; of several with one tag, the first. */
QHash<QString, QString> childTexts(const QDomElement& element)
{
    QHash<QString, QString> texts;
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        if (!texts.contains(child.tagName()))
            texts.insert(child.tagName(), exactText(child, commonExactText, child.text()));
    return texts;
}

template <typename Fields>
void readFields(const QHash<QString, QString>& texts, const Fields& fields, CxCommonImageMetadata& common)
{
    for (const auto& field : fields) {
        const auto found = texts.constFind(QLatin1String(field.tag));
        if (found != texts.cend())
            read(*found, common.*field.member);
    }
}

}  // namespace

CxCommonMetadataLoader::CxCommonMetadataLoader() = default;

bool CxCommonMetadataLoader::load(const QDomElement& element, IxMetadataItem* item)
{
    auto* common = qobject_cast<CxCommonImageMetadata*>(item);
    if (!common)
        return false;
    const QHash<QString, QString> texts = childTexts(element);
    readFields(texts, commonLayoutFields, *common);
    readFields(texts, commonNumberFields, *common);
    readFields(texts, commonRealFields, *common);
    readFields(texts, commonListFields, *common);
    readFields(texts, commonTextFields, *common);
    read(texts.value(QLatin1String(commonCaptureTimeTag)), common->captureTime);
    const QString tag = QLatin1String(commonAttributeTag);
    for (QDomElement child = element.firstChildElement(tag); !child.isNull(); child = child.nextSiblingElement(tag))
        common->attributes.insert(exactText(child, commonExactKey, child.attribute(QLatin1String(commonAttributeKey))),
                                  exactText(child, commonExactText, child.text()));
    return true;
}

QStringList CxCommonMetadataLoader::supportedClasses() const
{
    return {QLatin1String(CxCommonImageMetadata::staticMetaObject.className())};
}

}  // namespace ep
