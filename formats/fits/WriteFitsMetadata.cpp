#include "FitsCards.h"
#include "FitsKeywords.h"
#include "FitsMetadata.h"
#include "FitsMosaic.h"

#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/internal/CommonItem.h>

#include <QRegularExpression>

#include <cmath>

namespace ep {
namespace fits {
namespace {

/** True when a header line holds @p text so that it comes back as it was. */
bool isPlain(const QString& text, int longest)
{
    for (const QChar character : text)
        if (character < QLatin1Char(' ') || character > QLatin1Char('~'))
            return false;
    return !text.isEmpty() && !text.endsWith(QLatin1Char(' ')) && text.size() <= longest;
}

QByteArray attributeCard(const char* name, const QString& text)
{
    constexpr int longestString = 68;
    static const QRegularExpression number(QStringLiteral("^[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)(E[+-]?[0-9]{1,3})?$"));
    if (!isPlain(text, longestString - text.count(QLatin1Char('\''))))
        return QByteArray();
    const bool isValue = text == QLatin1String("T") || text == QLatin1String("F") || number.match(text).hasMatch();
    return isValue ? valueCard(name, text.toLatin1()) : stringCard(name, text.toLatin1());
}

QByteArray fieldCards(const CxCommonImageMetadata& common)
{
    QByteArray cards;
    for (const NumberKeyword& keyword : numberKeywords) {
        const double value = common.*keyword.field;
        if (keyword.isWritten && value > 0 && std::isfinite(value))
            cards += valueCard(keyword.name, realText(value));
    }
    cards += attributeCard(cameraKeyword, common.cameraModel);
    // A time without a zone is not known in UTC, which the keyword means.
    const QDateTime time = common.captureTime.toUTC();
    const bool isKnown = time.isValid() && common.captureTime.timeSpec() != Qt::LocalTime && time.date().year() >= 0
                         && time.date().year() <= 9999;
    if (isKnown)
        cards += stringCard(timeKeyword, time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")).toLatin1());
    for (const char* name : captureKeywords)
        cards += attributeCard(name, common.attributes.value(QString::fromLatin1(name)));
    return cards;
}

/** The lines of an attribute that was read from remarks, unless some would not come back as they were. */
QByteArray remarkCards(const char* name, const CxCommonImageMetadata& common)
{
    QByteArray cards;
    const QString text = common.attributes.value(QString::fromLatin1(name));
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (!isPlain(line, remarkBytes) || line.startsWith(QLatin1String(metadataMark)))
            return QByteArray();
        cards += remarkCard(name, line.toLatin1());
    }
    return cards;
}

QByteArray depthCard(const SxImageBuf& image)
{
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    qint32 used = 0;
    const bool isTold = !facts.isFloat && !facts.isSigned && image.bitDepth >= 1 && image.bitDepth < facts.bits
                        && !failed(DetectColorBitDepth(image, used)) && used <= image.bitDepth;
    return isTold ? valueCard(largestKeyword, realText(std::ldexp(1.0, image.bitDepth) - 1)) : QByteArray();
}

QByteArray mosaicCards(const SxImageBuf& image, const CxCommonImageMetadata& common)
{
    const QByteArray pattern = image.channels == 1 ? patternOf(image, common.patternColors) : QByteArray();
    if (pattern.isEmpty())
        return QByteArray();
    return stringCard("BAYERPAT", pattern) + valueCard("XBAYROFF", "0") + valueCard("YBAYROFF", "0");
}

/** Every printable ASCII character but blank and '%'. */
QByteArray plainCharacters()
{
    QByteArray plain;
    for (char character = '!'; character <= '~'; ++character)
        if (character != '%')
            plain.append(character);
    return plain;
}

QByteArray xmlCards(const CxMetadata& metadata)
{
    QByteArray cards;
    const QByteArray text = metadata.saveToXml(-1).toUtf8().toPercentEncoding(plainCharacters(), "%");
    const int step = remarkBytes - int(qstrlen(metadataMark));
    for (int start = 0; start < text.size(); start += step)
        cards += remarkCard("COMMENT", metadataMark + text.mid(start, step));
    return cards;
}

}  // namespace

QByteArray metadataCards(const CxMetadata& metadata, const SxImageBuf& image)
{
    CxMetadata current(metadata);
    CxCommonImageMetadata& common = internal::commonItem(current);
    internal::tellArrangement(image, common);
    QByteArray cards = depthCard(image) + mosaicCards(image, common) + fieldCards(common)
                       + remarkCards("HISTORY", common) + remarkCards("COMMENT", common);
    if (!metadata.isEmpty() || image.bayerGrid != BayerGridNone)
        cards += xmlCards(current);
    return cards;
}

}  // namespace fits
}  // namespace ep
