#include "OiioMetadata.h"

#include "OiioFormat.h"

#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/internal/CommonItem.h>

#include <QStringList>

#include <cmath>

namespace ep {
namespace oiio {
namespace {

constexpr char descriptionName[] = "ImageDescription";
constexpr char channelsName[] = "Channels";
constexpr char profileName[] = "ICCProfile";
constexpr char timeName[] = "Exif:DateTimeOriginal";
constexpr char orientationName[] = "Orientation";
constexpr char isoName[] = "Exif:PhotographicSensitivity";
const QString timeFormat = QStringLiteral("yyyy:MM:dd HH:mm:ss");

struct TextField {
    const char* name;
    QString CxCommonImageMetadata::*member;
};

struct NumberField {
    const char* name;
    double CxCommonImageMetadata::*member;
};

constexpr TextField textFields[] = {{"Make", &CxCommonImageMetadata::cameraMake},
                                    {"Model", &CxCommonImageMetadata::cameraModel}};
constexpr NumberField numberFields[] = {{"ExposureTime", &CxCommonImageMetadata::exposureTime},
                                        {"FNumber", &CxCommonImageMetadata::aperture},
                                        {"Exif:FocalLength", &CxCommonImageMetadata::focalLength},
                                        {isoName, &CxCommonImageMetadata::iso}};

QString textOf(OIIO::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

QByteArray bytesOf(const OIIO::ParamValue& attribute)
{
    return QByteArray(static_cast<const char*>(attribute.data()), static_cast<int>(attribute.type().size()));
}

/** The value of an attribute as text that loses nothing. */
QString valueText(const OIIO::ParamValue& attribute)
{
    const OIIO::TypeDesc type = attribute.type();
    if (type == OIIO::TypeString)
        return textOf(attribute.get_ustring());
    if (type == OIIO::TypeFloat)
        return QString::number(static_cast<double>(attribute.get_float()), 'g', 9);
    if (type == OIIO::TypeDesc::DOUBLE)
        return QString::number(*static_cast<const double*>(attribute.data()), 'g', 17);
    if (type.basetype == OIIO::TypeDesc::UINT8 && type.arraylen > 0)
        return QString::fromLatin1(bytesOf(attribute).toBase64());
    return QString::fromStdString(attribute.get_string(1 << 20));
}

/**
 * The number that a file means. OpenImageIO makes floats of fractions, so this is the shortest text that gives the
 * float: 0.008 is 1/125 again.
 */
double shortNumber(float value)
{
    for (int digits = 6; digits < 9; ++digits) {
        const double candidate = QByteArray::number(static_cast<double>(value), 'g', digits).toDouble();
        if (static_cast<float>(candidate) == value)
            return candidate;
    }
    return static_cast<double>(value);
}

/** Puts @p attribute into the field of @p common that it belongs to; false when it has none. */
bool takeField(const OIIO::ParamValue& attribute, CxCommonImageMetadata& common)
{
    const QByteArray name(attribute.name().c_str());
    for (const TextField& field : textFields)
        if (name == field.name) {
            if ((common.*field.member).isEmpty())
                common.*field.member = valueText(attribute);
            return true;
        }
    for (const NumberField& field : numberFields)
        if (name == field.name) {
            const float value = attribute.get_float();
            if (common.*field.member == 0 && value > 0 && std::isfinite(value))
                common.*field.member = shortNumber(value);
            return true;
        }
    if (name == orientationName) {
        const int orientation = attribute.get_int();
        if (common.orientation == 0 && orientation >= 1 && orientation <= 8)
            common.orientation = orientation;
        return true;
    }
    if (name == timeName) {
        if (!common.captureTime.isValid())
            common.captureTime = QDateTime::fromString(valueText(attribute), timeFormat);
        return true;
    }
    return false;
}

/** A depth that the metadata tell holds only when the samples keep to it. */
void settleDepth(CxCommonImageMetadata& common, SxImageBuf& image)
{
    qint32 used = 0;
    if (common.colorBitDepth > 0 && common.colorBitDepth < image.bitDepth && !failed(DetectColorBitDepth(image, used))
        && used <= common.colorBitDepth)
        image.bitDepth = common.colorBitDepth;
    common.colorBitDepth = image.bitDepth;
}

/** Reads a description that holds metadata as this module's saver writes it. */
bool readDescription(const OIIO::ImageSpec& spec, CxMetadata& metadata)
{
    const QString description = textOf(spec.get_string_attribute(descriptionName));
    CxMetadata found;
    if (!description.startsWith(QLatin1String("<metadata")) || !found.loadFromXml(description) || found.isEmpty())
        return false;
    metadata = std::move(found);
    return true;
}

}  // namespace

CxMetadata readOiioMetadata(const OIIO::ImageSpec& spec, SxImageBuf& image)
{
    CxMetadata metadata;
    const bool isOurs = readDescription(spec, metadata);
    CxCommonImageMetadata& common = internal::commonItem(metadata);
    if (isOurs)
        internal::takeGrid(common, image);
    else
        common.layout = image.layout;
    settleDepth(common, image);
    for (const OIIO::ParamValue& attribute : spec.extra_attribs) {
        const QString name = textOf(attribute.name());
        const bool isKnown = takeField(attribute, common) || (isOurs && name == QLatin1String(descriptionName));
        if (!isKnown && !common.attributes.contains(name))
            common.attributes.insert(name, valueText(attribute));
    }
    QStringList channels;
    for (const std::string& name : spec.channelnames)
        channels << QString::fromStdString(name);
    common.attributes.insert(QLatin1String(channelsName), channels.join(QLatin1Char(' ')));
    return metadata;
}

void writeOiioMetadata(const CxMetadata& metadata, const SxImageInfo& image, const OiioFormat& format,
                       OIIO::ImageSpec& spec)
{
    CxMetadata current(metadata);
    CxCommonImageMetadata& common = internal::commonItem(current);
    internal::tellArrangement(image, common);
    for (const TextField& field : textFields)
        if (!(common.*field.member).isEmpty())
            spec.attribute(field.name, (common.*field.member).toUtf8().toStdString());
    for (const NumberField& field : numberFields)
        if (common.*field.member > 0)
            spec.attribute(field.name, static_cast<float>(common.*field.member));
    if (common.iso > 0)
        spec.attribute(isoName, static_cast<int>(std::min(common.iso, 65535.0)));
    if (common.orientation > 0)
        spec.attribute(orientationName, common.orientation);
    if (common.captureTime.isValid())
        spec.attribute(timeName, common.captureTime.toString(timeFormat).toStdString());
    const QByteArray profile = QByteArray::fromBase64(common.attributes.value(QLatin1String(profileName)).toLatin1());
    if (!profile.isEmpty())
        spec.attribute(profileName, OIIO::TypeDesc(OIIO::TypeDesc::UINT8, profile.size()), profile.constData());

    const std::string text = current.saveToXml(-1).toStdString();
    if (text.size() <= static_cast<size_t>(format.mostDescription))
        spec.attribute(descriptionName, text);
}

}  // namespace oiio
}  // namespace ep
