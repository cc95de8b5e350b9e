#include "FitsKeywords.h"
#include "FitsMetadata.h"
#include "FitsMosaic.h"

#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/internal/CommonItem.h>

#include <QSet>
#include <QStringList>

#include <cmath>

namespace ep {
namespace fits {
namespace {

/** Texts are ASCII; what programs write beyond it is mostly UTF-8. */
QString decoded(const QByteArray& text)
{
    const QString utf8 = QString::fromUtf8(text);
    return utf8.contains(QChar::ReplacementCharacter) ? QString::fromLatin1(text) : utf8;
}

/** True for keywords that tell how the file is built. */
bool isStructure(const QByteArray& name)
{
    static const QSet<QByteArray> names{"SIMPLE",  "XTENSION", "BITPIX",   "NAXIS",    "EXTEND",   "PCOUNT",
                                        "GCOUNT",  "GROUPS",   "TFIELDS",  "THEAP",    "BLANK",    "CHECKSUM",
                                        "DATASUM", "ROWORDER", "BAYERPAT", "COLORTYP", "XBAYROFF", "YBAYROFF",
                                        "BSCALE",  "BZERO",    "DATAMAX"};
    static const char* const numbered[] = {"NAXIS", "TTYPE", "TFORM", "ZNAXIS", "ZTILE", "ZNAME", "ZVAL"};
    static const QSet<QByteArray> compressed{"ZIMAGE",   "ZBITPIX",  "ZNAXIS",   "ZCMPTYPE", "ZSIMPLE",
                                             "ZEXTEND",  "ZTENSION", "ZPCOUNT",  "ZGCOUNT",  "ZQUANTIZ",
                                             "ZDITHER0", "ZBLANK",   "ZHECKSUM", "ZDATASUM"};
    if (names.contains(name) || compressed.contains(name))
        return true;
    for (const char* stem : numbered) {
        bool isNumber = false;
        if (name.startsWith(stem) && name.mid(int(qstrlen(stem))).toUInt(&isNumber) > 0 && isNumber)
            return true;
    }
    return false;
}

/** Takes the metadata that the remarks carry; false when there are none. */
bool readRemarks(const FitsHeader& header, CxMetadata& metadata)
{
    QByteArray text;
    for (const FitsCard& card : header.cards())
        if (card.name == "COMMENT" && card.text.startsWith(metadataMark))
            text += card.text.mid(int(qstrlen(metadataMark)));
    // Items stay although one of them may be incomplete.
    if (!text.isEmpty())
        metadata.loadFromXml(QString::fromUtf8(QByteArray::fromPercentEncoding(text)));
    return !metadata.isEmpty();
}

QString remarkLines(const FitsHeader& header, const char* name)
{
    QStringList lines;
    for (const FitsCard& card : header.cards())
        if (card.name == name && !card.text.startsWith(metadataMark))
            lines.append(decoded(card.text));
    return lines.join(QLatin1Char('\n'));
}

/** Takes the moment of the exposure; false when it is not told in a form that is understood. */
bool takeTime(const FitsHeader& header, CxCommonImageMetadata& common)
{
    const QByteArray scale = header.text("TIMESYS").toUpper();
    QDateTime time = QDateTime::fromString(decoded(header.text(timeKeyword)), Qt::ISODateWithMs);
    if (!time.isValid() || !header.text(timeKeyword).contains('T') || !(scale.isEmpty() || scale == "UTC"))
        return false;
    if (time.timeSpec() == Qt::LocalTime)
        time.setTimeSpec(Qt::UTC);
    // The same moment in the time zone of its place says more.
    if (!common.captureTime.isValid() || common.captureTime.toMSecsSinceEpoch() != time.toMSecsSinceEpoch())
        common.captureTime = time;
    return true;
}

/** Takes the keywords that have a place in @p common; gives their names. */
QSet<QByteArray> takeFields(const FitsHeader& header, CxCommonImageMetadata& common)
{
    QSet<QByteArray> taken;
    for (const NumberKeyword& keyword : numberKeywords) {
        double value = 0;
        const bool isFirst = keyword.isWritten || !taken.contains("EXPTIME");
        if (header.number(keyword.name, value) && value > 0 && isFirst) {
            common.*keyword.field = value;
            taken.insert(keyword.name);
        }
    }
    if (!header.text(cameraKeyword).isEmpty()) {
        common.cameraModel = decoded(header.text(cameraKeyword));
        taken.insert(cameraKeyword);
    }
    if (takeTime(header, common))
        taken.insert(timeKeyword);
    return taken;
}

void takeAttributes(const FitsImage& source, const QSet<QByteArray>& taken, CxCommonImageMetadata& common)
{
    QSet<QByteArray> seen = taken;
    for (const FitsCard& card : source.header.cards()) {
        const bool isRemark = card.name == "COMMENT" || card.name == "HISTORY";
        if (isRemark || seen.contains(card.name) || isStructure(card.name) || card.text.isEmpty())
            continue;
        seen.insert(card.name);
        common.attributes.insert(decoded(card.name), decoded(card.text));
    }
    for (const char* name : {"COMMENT", "HISTORY"}) {
        const QString lines = remarkLines(source.header, name);
        if (!lines.isEmpty())
            common.attributes.insert(QString::fromLatin1(name), lines);
    }
    if (!source.isScaled)
        return;
    for (const char* name : {"BSCALE", "BZERO"})
        if (source.header.has(name))
            common.attributes.insert(QString::fromLatin1(name), decoded(source.header.text(name)));
}

/** Puts the depth that the largest valid sample tells into an image whose samples keep to it. */
void settleDepth(const FitsHeader& header, SxImageBuf& image)
{
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    double largest = 0;
    if (facts.isFloat || facts.isSigned
        || !(header.number(largestKeyword, largest) || header.number("SATURATE", largest)))
        return;
    for (qint32 bits = 1; bits < facts.bits; ++bits) {
        qint32 used = 0;
        if (std::ldexp(1.0, bits) - 1 == largest && !failed(DetectColorBitDepth(image, used)) && used <= bits)
            image.bitDepth = bits;
    }
}

void settleMosaic(const FitsImage& source, SxImageBuf& image, CxCommonImageMetadata& common)
{
    QString colors;
    internal::takeGrid(common, image);
    if (readFitsMosaic(source, image, colors)
        && (common.patternColors.isEmpty() || common.bayerGrid != image.bayerGrid))
        common.patternColors = colors;
    common.bayerGrid = image.bayerGrid;
    common.patternWidth = image.patternWidth;
    common.patternHeight = image.patternHeight;
}

}  // namespace

CxMetadata readFitsMetadata(const FitsImage& source, SxImageBuf& image)
{
    CxMetadata metadata;
    const bool isOurs = readRemarks(source.header, metadata);
    CxCommonImageMetadata& common = internal::commonItem(metadata);
    settleDepth(source.header, image);
    settleMosaic(source, image, common);
    takeAttributes(source, takeFields(source.header, common), common);
    if (!isOurs) {
        common.layout = image.layout;
        double largest = 0;
        if (common.whiteLevel == 0 && source.header.number(largestKeyword, largest) && largest > 0)
            common.whiteLevel = largest;
    }
    if (common.colorBitDepth == 0)
        common.colorBitDepth = image.bitDepth;
    return metadata;
}

}  // namespace fits
}  // namespace ep
