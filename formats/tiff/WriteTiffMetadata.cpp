#include "WriteTiffMetadata.h"

#include "TiffTagNames.h"

#include <cmath>
#include <limits>

namespace ep {
namespace tiff {
namespace {

bool setText(TiffFile& file, uint32_t tag, const QString& text)
{
    return text.isEmpty() || file.set(tag, text.toUtf8().constData());
}

/** Sets a rational tag; numbers that it cannot hold, zero among them, stand for "not known" and are left out. */
bool setRational(TiffFile& file, uint32_t tag, double value)
{
    constexpr double most = std::numeric_limits<quint32>::max();
    return !(value > 1 / most && value < most) || file.set(tag, value);
}

/** Sets a tag from an attribute; a text that is no such number is left out. */
bool setAttribute(TiffFile& file, const TagName& tag, const CxCommonImageMetadata& common)
{
    const QString text = common.attributes.value(QString::fromLatin1(tag.name));
    bool isNumber = false;
    if (tag.kind == TagKind::Text)
        return setText(file, tag.tag, text);
    if (tag.kind == TagKind::Short) {
        const ushort code = text.toUShort(&isNumber);
        return !isNumber || file.set(tag.tag, code);
    }
    const double number = text.toDouble(&isNumber);
    const bool isSigned = TIFFFieldDataType(TIFFFieldWithTag(file.handle(), tag.tag)) == TIFF_SRATIONAL;
    const double most = isSigned ? std::numeric_limits<qint32>::max() : std::numeric_limits<quint32>::max();
    const bool fits = isNumber && std::abs(number) < most && (isSigned || number >= 0);
    return !fits || file.set(tag.tag, number);
}

template <size_t Count>
bool setAttributes(TiffFile& file, const TagName (&tags)[Count], const CxCommonImageMetadata& common)
{
    for (const TagName& tag : tags)
        if (!setAttribute(file, tag, common))
            return false;
    return true;
}

template <size_t Count>
bool hasAttribute(const TagName (&tags)[Count], const CxCommonImageMetadata& common)
{
    for (const TagName& tag : tags)
        if (common.attributes.contains(QString::fromLatin1(tag.name)))
            return true;
    return false;
}

QString timeText(const QDateTime& time)
{
    // Exif has room for four digits of the year.
    const bool fits = time.isValid() && time.date().year() >= 0 && time.date().year() <= 9999;
    return fits ? time.toString(QStringLiteral("yyyy:MM:dd HH:mm:ss")) : QString();
}

/** Offset from UTC as Exif writes it; empty when the time has none of its own. */
QString offsetText(const QDateTime& time)
{
    if (time.timeSpec() == Qt::LocalTime)
        return QString();
    const int minutes = std::abs(time.offsetFromUtc()) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(time.offsetFromUtc() < 0 ? QLatin1Char('-') : QLatin1Char('+'))
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

bool setExifTime(TiffFile& file, const QDateTime& time)
{
    const QString text = timeText(time);
    if (text.isEmpty())
        return true;
    const int milliseconds = time.time().msec();
    const QString fraction =
        milliseconds > 0 ? QStringLiteral("%1").arg(milliseconds, 3, 10, QLatin1Char('0')) : QString();
    return setText(file, EXIFTAG_DATETIMEORIGINAL, text) && setText(file, EXIFTAG_SUBSECTIMEORIGINAL, fraction)
           && setText(file, EXIFTAG_OFFSETTIMEORIGINAL, offsetText(time));
}

bool setSpeed(TiffFile& file, double iso)
{
    if (!(iso >= 0.5) || !std::isfinite(iso))
        return true;
    constexpr double most = std::numeric_limits<uint16_t>::max();
    const auto speed = static_cast<uint16_t>(std::min(std::round(iso), most));
    return file.set(EXIFTAG_ISOSPEEDRATINGS, 1, &speed);
}

bool setExif(TiffFile& file, const CxCommonImageMetadata& common)
{
    return file.set(EXIFTAG_EXIFVERSION, "0231") && setRational(file, EXIFTAG_EXPOSURETIME, common.exposureTime)
           && setRational(file, EXIFTAG_FNUMBER, common.aperture)
           && setRational(file, EXIFTAG_FOCALLENGTH, common.focalLength) && setSpeed(file, common.iso)
           && setExifTime(file, common.captureTime) && setAttributes(file, exifTags, common);
}

}  // namespace

bool writeExifDirectory(TiffFile& file, const CxCommonImageMetadata& common, quint64& offset)
{
    offset = 0;
    const bool isKnown = common.exposureTime > 0 || common.aperture > 0 || common.focalLength > 0 || common.iso > 0
                         || common.captureTime.isValid() || hasAttribute(exifTags, common);
    if (!isKnown)
        return true;
    uint64_t place = 0;
    if (TIFFCreateEXIFDirectory(file.handle()) != 0 || !setExif(file, common)
        || TIFFWriteCustomDirectory(file.handle(), &place) != 1)
        return false;
    offset = place;
    TIFFFreeDirectory(file.handle());
    return TIFFCreateDirectory(file.handle()) == 0;
}

bool setCommonTags(TiffFile& file, const CxCommonImageMetadata& common)
{
    const bool hasOrientation = common.orientation >= 1 && common.orientation <= 8;
    return setText(file, TIFFTAG_MAKE, common.cameraMake) && setText(file, TIFFTAG_MODEL, common.cameraModel)
           && setText(file, TIFFTAG_DATETIME, timeText(common.captureTime))
           && (!hasOrientation || file.set(TIFFTAG_ORIENTATION, common.orientation))
           && setAttributes(file, pageTags, common);
}

}  // namespace tiff
}  // namespace ep
