#include "ReadTiffMetadata.h"

#include "TiffTagNames.h"

#include <dng/BayerCell.h>
#include <ep/internal/CommonItem.h>

#include <cmath>

namespace ep {
namespace tiff {
namespace {

/** TIFF texts are ASCII; what programs write beyond it is mostly UTF-8. */
QString decoded(const char* text)
{
    const QString utf8 = QString::fromUtf8(text);
    return (utf8.contains(QChar::ReplacementCharacter) ? QString::fromLatin1(text) : utf8).trimmed();
}

QString readText(const TiffFile& file, uint32_t tag)
{
    const char* text = nullptr;
    return file.get(tag, &text) && text ? decoded(text) : QString();
}

/**
 * The number that a rational tag holds. libtiff keeps it as a float, so this is the simplest fraction that gives that
 * float: 1/60 s is 1/60 s again.
 */
double simplestFraction(float value)
{
    double rest = static_cast<double>(value);
    double numerators[2] = {0, 1};
    double denominators[2] = {1, 0};
    for (int i = 0; i < 20 && std::isfinite(rest); ++i) {
        const double whole = std::floor(rest);
        const double numerator = whole * numerators[1] + numerators[0];
        const double denominator = whole * denominators[1] + denominators[0];
        if (static_cast<float>(numerator / denominator) == value)
            return numerator / denominator;
        numerators[0] = std::exchange(numerators[1], numerator);
        denominators[0] = std::exchange(denominators[1], denominator);
        rest = 1 / (rest - whole);
    }
    return static_cast<double>(value);
}

/** A positive rational tag; 0 when it is not there. */
double readRational(const TiffFile& file, uint32_t tag)
{
    float value = 0;
    return file.get(tag, &value) && value > 0 && std::isfinite(value) ? simplestFraction(value) : 0;
}

QString readFloat(const TiffFile& file, uint32_t tag)
{
    float value = 0;
    // libtiff writes both resolutions when it is told one.
    const bool isResolution = tag == TIFFTAG_XRESOLUTION || tag == TIFFTAG_YRESOLUTION;
    if (!file.get(tag, &value) || (isResolution && !(value > 0)))
        return QString();
    return QString::number(static_cast<double>(value), 'g', 9);
}

QString readShort(const TiffFile& file, uint32_t tag)
{
    uint16_t value = 0;
    // The inch is what a missing unit means, and libtiff adds it by itself.
    if (!file.get(tag, &value) || (tag == TIFFTAG_RESOLUTIONUNIT && value == RESUNIT_INCH))
        return QString();
    return QString::number(value);
}

QString readAttribute(const TiffFile& file, const TagName& tag)
{
    switch (tag.kind) {
    case TagKind::Text: return readText(file, tag.tag);
    case TagKind::Float: return readFloat(file, tag.tag);
    case TagKind::Short: return readShort(file, tag.tag);
    }
    return QString();
}

/** Puts @p value into @p field when there is none yet. */
template <typename T>
void complete(T& field, const T& value)
{
    if (field == T())
        field = value;
}

void completeAttribute(CxCommonImageMetadata& common, const QString& name, const QString& value)
{
    if (!value.isEmpty() && !common.attributes.contains(name))
        common.attributes.insert(name, value);
}

template <size_t Count>
void completeAttributes(const TiffFile& file, const TagName (&tags)[Count], CxCommonImageMetadata& common)
{
    for (const TagName& tag : tags)
        completeAttribute(common, QString::fromLatin1(tag.name), readAttribute(file, tag));
}

/** Offset from UTC, such as "+02:00", in seconds. */
bool parseOffset(const QString& text, int& seconds)
{
    const QTime time = QTime::fromString(text.mid(1), QStringLiteral("hh:mm"));
    if (!time.isValid() || (text[0] != QLatin1Char('+') && text[0] != QLatin1Char('-')))
        return false;
    seconds = (text[0] == QLatin1Char('-') ? -1 : 1) * QTime(0, 0).secsTo(time);
    return true;
}

/** A time of the file, in the file's time zone where it tells one. */
QDateTime readTime(const QString& time, const QString& fraction, const QString& offset)
{
    QDateTime result = QDateTime::fromString(time, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
    if (!result.isValid())
        return QDateTime();
    bool isNumber = false;
    const int milliseconds = fraction.leftJustified(3, QLatin1Char('0'), true).toInt(&isNumber);
    if (isNumber && milliseconds > 0)
        result = result.addMSecs(milliseconds);
    int seconds = 0;
    if (parseOffset(offset, seconds))
        result.setOffsetFromUtc(seconds);
    return result;
}

/** Reads a description that holds metadata as this module's saver writes it. */
bool readDescription(const QString& description, CxMetadata& metadata)
{
    if (!description.startsWith(QLatin1String("<metadata")))
        return false;
    // Items stay although one of them may be incomplete.
    metadata.loadFromXml(description);
    return !metadata.isEmpty();
}

/** The mosaic that the tags of a colour-filter array describe. */
void completeMosaic(const TiffFile& file, CxCommonImageMetadata& common)
{
    uint16_t* repeat = nullptr;  // rows, columns
    uint16_t count = 0;
    uint8_t* colors = nullptr;
    if (common.bayerGrid != BayerGridNone || !file.get(TIFFTAG_CFAREPEATPATTERNDIM, &repeat)
        || !file.get(TIFFTAG_CFAPATTERN, &count, &colors))
        return;
    if (repeat[0] == 0 || repeat[1] == 0 || repeat[0] * repeat[1] != count)
        return;
    QString letters;
    for (uint16_t i = 0; i < count; ++i)
        letters.append(colors[i] < 7 ? QLatin1Char("RGBCMYW"[colors[i]]) : QLatin1Char('?'));
    const ExBayerGrid grid = repeat[0] == 2 && repeat[1] == 2 ? dng::bayerGridOf(letters) : BayerGridNone;
    common.bayerGrid = grid == BayerGridNone ? BayerGridCell : grid;
    common.patternWidth = repeat[1];
    common.patternHeight = repeat[0];
    complete(common.patternColors, letters);
}

void completeFromPage(const TiffFile& file, const TiffPage& page, CxCommonImageMetadata& common)
{
    complete(common.cameraMake, readText(file, TIFFTAG_MAKE));
    complete(common.cameraModel, readText(file, TIFFTAG_MODEL));
    uint16_t orientation = 0;
    if (file.get(TIFFTAG_ORIENTATION, &orientation) && orientation >= 1 && orientation <= 8)
        complete(common.orientation, qint32(orientation));
    if (page.image.channels == 1)
        completeMosaic(file, common);
    completeAttributes(file, pageTags, common);
    for (const PhotometricName& meaning : photometricNames)
        if (meaning.code == page.photometric)
            completeAttribute(common, QString::fromLatin1(photometricAttribute), QString::fromLatin1(meaning.name));
}

void completeFromExif(const TiffFile& file, CxCommonImageMetadata& common)
{
    complete(common.exposureTime, readRational(file, EXIFTAG_EXPOSURETIME));
    complete(common.aperture, readRational(file, EXIFTAG_FNUMBER));
    complete(common.focalLength, readRational(file, EXIFTAG_FOCALLENGTH));
    uint16_t count = 0;
    uint16_t* speeds = nullptr;
    if (file.get(EXIFTAG_ISOSPEEDRATINGS, &count, &speeds) && count > 0)
        complete(common.iso, static_cast<double>(speeds[0]));
    complete(common.captureTime,
             readTime(readText(file, EXIFTAG_DATETIMEORIGINAL), readText(file, EXIFTAG_SUBSECTIMEORIGINAL),
                      readText(file, EXIFTAG_OFFSETTIMEORIGINAL)));
    completeAttributes(file, exifTags, common);
}

}  // namespace

CxMetadata readTiffMetadata(TiffFile& file, const TiffPage& page)
{
    CxMetadata metadata;
    const QString description = readText(file, TIFFTAG_IMAGEDESCRIPTION);
    const bool isOurs = readDescription(description, metadata);
    const bool isNew = !internal::findCommonItem(metadata);
    CxCommonImageMetadata& common = internal::commonItem(metadata);
    if (isNew)
        common.layout = page.image.layout;
    complete(common.colorBitDepth, qint32(page.sampleFormat == SAMPLEFORMAT_IEEEFP ? page.bits : page.image.bitDepth));
    completeFromPage(file, page, common);
    if (!isOurs)
        completeAttribute(common, QStringLiteral("ImageDescription"), description);
    const QString fileTime = readText(file, TIFFTAG_DATETIME);
    uint64_t exif = 0;
    if (file.get(TIFFTAG_EXIFIFD, &exif) && TIFFReadEXIFDirectory(file.handle(), exif) == 1)
        completeFromExif(file, common);
    complete(common.captureTime, readTime(fileTime, QString(), QString()));
    return metadata;
}

}  // namespace tiff
}  // namespace ep
