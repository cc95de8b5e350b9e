#include "PnmMetadata.h"

#include <ep/internal/CommonItem.h>

#include <QStringList>

namespace ep {
namespace pnm {
namespace {

constexpr char metadataMark = ':';
constexpr int longestLine = 70;  // with '#', mark and line end

const QLatin1String maxvalKey("MAXVAL");
const QLatin1String tupleTypeKey("TUPLTYPE");
const QLatin1String scaleKey("SCALE");
const QLatin1String photometricKey("PHOTOMETRIC");
const QLatin1String commentKey("COMMENT");

/** Every printable ASCII character but '%'. */
QByteArray plainCharacters()
{
    QByteArray plain;
    for (char character = ' '; character <= '~'; ++character)
        if (character != '%')
            plain.append(character);
    return plain;
}

void setAttribute(CxCommonImageMetadata& common, const QString& key, const QString& value)
{
    if (value.isEmpty())
        common.attributes.remove(key);
    else
        common.attributes.insert(key, value);
}

/** What the header says now stands before what a copy of it said when the comments were written. */
void takeHeaderFacts(const PnmHeader& header, const QStringList& remarks, CxCommonImageMetadata& common)
{
    const bool isFloat = header.kind == PnmKind::FloatMap;
    const double unit = header.scale < 0 ? -header.scale : header.scale;
    const bool isBitmap = header.kind == PnmKind::Bitmap;
    setAttribute(common, maxvalKey, isFloat || isBitmap ? QString() : QString::number(header.maxval));
    setAttribute(common, scaleKey, isFloat && unit != 1 ? QString::number(unit, 'g', 17) : QString());
    if (isBitmap)
        setAttribute(common, photometricKey, QStringLiteral("0 is white"));
    if (header.kind == PnmKind::Arbitrary)
        setAttribute(common, tupleTypeKey, QString::fromLatin1(header.tupleType));
    if (!remarks.isEmpty())
        setAttribute(common, commentKey, remarks.join(QLatin1Char('\n')));
}

/** Channels of a tuple type; 0: any number. */
qint32 channelsOf(const QString& tupleType)
{
    const QString alpha = QStringLiteral("_ALPHA");
    const bool hasAlpha = tupleType.endsWith(alpha);
    const QString base = hasAlpha ? tupleType.chopped(alpha.size()) : tupleType;
    if (base == QLatin1String("GRAYSCALE") || base == QLatin1String("BLACKANDWHITE"))
        return hasAlpha ? 2 : 1;
    return base == QLatin1String("RGB") ? (hasAlpha ? 4 : 3) : 0;
}

bool isPrintable(const QString& text)
{
    for (const QChar character : text)
        if (character < QLatin1Char(' ') || character > QLatin1Char('~'))
            return false;
    return !text.isEmpty() && text.size() <= 200;
}

}  // namespace

QByteArrayList metadataComments(const CxMetadata& metadata, const SxImageInfo& image)
{
    QByteArrayList comments;
    if (metadata.isEmpty() && image.bayerGrid == BayerGridNone)
        return comments;
    CxMetadata current(metadata);
    internal::tellArrangement(image, internal::commonItem(current));

    const QByteArray text = current.saveToXml(-1).toUtf8().toPercentEncoding(plainCharacters(), "%");
    constexpr int step = longestLine - 3;
    for (int start = 0; start < text.size(); start += step)
        comments.append(metadataMark + text.mid(start, step));
    return comments;
}

CxMetadata metadataOf(const PnmHeader& header, SxImageInfo& image)
{
    QByteArray text;
    QStringList remarks;
    for (const QByteArray& comment : header.comments) {
        if (comment.startsWith(metadataMark))
            text += comment.mid(1);
        else
            remarks.append(QString::fromUtf8(comment).trimmed());
    }
    CxMetadata metadata;
    if (!text.isEmpty())
        metadata.loadFromXml(QString::fromUtf8(QByteArray::fromPercentEncoding(text)));

    CxCommonImageMetadata& common = internal::commonItem(metadata);
    internal::takeGrid(common, image);
    common.bayerGrid = image.bayerGrid;
    common.patternWidth = image.patternWidth;
    common.patternHeight = image.patternHeight;
    common.colorBitDepth = header.bitDepth();
    takeHeaderFacts(header, remarks, common);
    return metadata;
}

QByteArray tupleTypeFor(const CxMetadata& metadata, const PnmHeader& header)
{
    const CxCommonImageMetadata* common = internal::findCommonItem(metadata);
    const QString stated = common ? common->attributes.value(tupleTypeKey) : QString();
    const qint32 channels = channelsOf(stated);
    const bool isTrue = (channels == 0 || channels == header.channels)
                        && (header.maxval == 1 || !stated.startsWith(QLatin1String("BLACKANDWHITE")));
    if (isTrue && isPrintable(stated))
        return stated.toLatin1();
    return header.channels == 1 ? "GRAYSCALE" : header.channels == 3 ? "RGB" : "";
}

}  // namespace pnm
}  // namespace ep
