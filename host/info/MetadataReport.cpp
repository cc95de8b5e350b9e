#include "MetadataReport.h"

#include "Json.h"

#include <orn/orn_core.h>

#include <cmath>

namespace {

/** Gathers facts, leaving out what is not known. */
class FactList {
public:
    void number(const char* label, const char* key, double value, const QString& unit = QString())
    {
        if (value != 0)
            add(label, key, numberText(value) + unit, jsonNumber(value));
    }
    void numbers(const char* label, const char* key, const QVector<double>& values)
    {
        if (!values.isEmpty())
            add(label, key, numbersText(values), jsonNumbers(values));
    }
    void string(const char* label, const char* key, const QString& value)
    {
        if (!value.isEmpty())
            add(label, key, value, value);
    }
    void add(const char* label, const char* key, const QString& text, const QJsonValue& value)
    {
        m_facts << Fact{QLatin1String(label), text, QLatin1String(key), value};
    }
    const Facts& facts() const { return m_facts; }

private:
    Facts m_facts;
};

/** An exposure as photographers say it: 1/250 s, 0.8 s, 30 s. */
QString exposureText(double seconds)
{
    const double fraction = 1 / seconds;
    const bool isUnitFraction = seconds < 0.5 && std::abs(fraction - std::round(fraction)) < 1e-3 * fraction;
    const QString number =
        isUnitFraction ? QStringLiteral("1/") + numberText(std::round(fraction)) : numberText(seconds);
    return number + QStringLiteral(" s");
}

void addLevels(const ep::CxCommonImageMetadata& item, FactList& list)
{
    list.number("bit depth", "colorBitDepth", item.colorBitDepth);
    list.string("pattern", "patternColors", item.patternColors);
    list.numbers("black level", "blackLevels", item.blackLevels);
    list.number("white level", "whiteLevel", item.whiteLevel);
    list.numbers("white balance", "whiteBalance", item.whiteBalance);
    list.numbers("colour matrix", "colorMatrix", item.colorMatrix);
}

void addSensor(const ep::CxCommonImageMetadata& item, FactList& list)
{
    if (item.sensorWidth > 0 && item.sensorHeight > 0) {
        const QJsonObject json{{QStringLiteral("width"), item.sensorWidth},
                               {QStringLiteral("height"), item.sensorHeight},
                               {QStringLiteral("leftMargin"), item.leftMargin},
                               {QStringLiteral("topMargin"), item.topMargin}};
        const QString text = QStringLiteral("%1 x %2, image at column %3, row %4")
                                 .arg(item.sensorWidth)
                                 .arg(item.sensorHeight)
                                 .arg(item.leftMargin)
                                 .arg(item.topMargin);
        list.add("sensor", "sensor", text, json);
    }
}

void addCapture(const ep::CxCommonImageMetadata& item, FactList& list)
{
    list.string("make", "cameraMake", item.cameraMake);
    list.string("model", "cameraModel", item.cameraModel);
    if (item.exposureTime != 0)
        list.add("exposure", "exposureTime", exposureText(item.exposureTime), jsonNumber(item.exposureTime));
    if (item.aperture != 0)
        list.add("aperture", "aperture", QStringLiteral("f/") + numberText(item.aperture), jsonNumber(item.aperture));
    list.number("ISO", "iso", item.iso);
    list.number("focal length", "focalLength", item.focalLength, QStringLiteral(" mm"));
    if (item.captureTime.isValid())
        list.string("taken", "captureTime", item.captureTime.toString(Qt::ISODateWithMs));
    list.number("orientation", "orientation", item.orientation);
}

Facts commonFacts(const ep::CxCommonImageMetadata& item)
{
    FactList list;
    addLevels(item, list);
    addSensor(item, list);
    addCapture(item, list);
    Facts facts = list.facts();
    QJsonObject attributes;
    for (auto it = item.attributes.begin(); it != item.attributes.end(); ++it) {
        attributes[it.key()] = it.value();
        facts << Fact{it.key(), it.value(), QString(), QJsonValue()};
    }
    facts << Fact{QString(), QString(), QStringLiteral("attributes"), attributes};
    return facts;
}

Facts matFacts(const orn::matlab::CxMatlabImageMetadata& item)
{
    FactList list;
    list.add("rows reversed", "reverseRows", item.reverseRows ? QStringLiteral("yes") : QStringLiteral("no"),
             item.reverseRows);
    list.add("channels", "origChannels", QString::number(item.origChannels), item.origChannels);
    list.add("stored planes", "savedChannels", QString::number(item.savedChannels), item.savedChannels);
    return list.facts();
}

}  // namespace

const ep::CxCommonImageMetadata* commonMetadata(const ep::CxMetadata& metadata)
{
    return qobject_cast<const ep::CxCommonImageMetadata*>(
        metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
}

QString itemTitle(const ep::IxMetadataItem& item)
{
    return ep::CxRtti::displayName(*item.metaObject());
}

Facts itemFacts(const ep::IxMetadataItem& item)
{
    if (const auto* common = qobject_cast<const ep::CxCommonImageMetadata*>(&item))
        return commonFacts(*common);
    if (const auto* mat = qobject_cast<const orn::matlab::CxMatlabImageMetadata*>(&item))
        return matFacts(*mat);
    return {};
}
